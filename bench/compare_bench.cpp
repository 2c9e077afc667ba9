// The cost of deciding that two documents are equal, against what a user would use instead.
//
// Two sample documents (sample_document.h, N = 10 and 1,000 records) with the same content
// but no node in common are compared:
//
//   BM_OlmaCompareStrict / BM_OlmaCompareLoose
//                  the library's value comparator in either mode;
//   BM_JsonEqual   operator== of nlohmann::json on the equivalent JSON documents.
//
// Both sides walk the whole document, since it is equal. The reporter prints the library's
// time over the peer's.
#include <cstdint>
#include <string>
#include <utility>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include "olma/core/message.h"
#include "olma/data/comparator.h"
#include "olma/data/values.h"
#include "ratio_reporter.h"
#include "sample_document.h"

namespace {

using namespace Olma::Data;

// The documents of both sides, built once before anything is timed, so that every
// repetition walks the same nodes in the same places (a pair rebuilt per benchmark lands
// wherever earlier benchmarks left holes in the heap, and its walk time swings with that).
struct Pair {
  explicit Pair(int records)
      : a(sample::MakeValue(records)),
        b(sample::MakeValue(records)),
        jsonA(sample::MakeJson(records)),
        jsonB(sample::MakeJson(records)) {}
  DataValue::PtrConstType a, b;
  nlohmann::json jsonA, jsonB;
};

const Pair& PairOf(std::int64_t records) {
  static const Pair small(10), large(1000);
  return records == 10 ? small : large;
}

template <class Mode>
void BM_OlmaCompare(benchmark::State& state) {
  const Pair& pair = PairOf(state.range(0));
  Olma::MessageList messages;
  for (auto _ : state) {
    const bool equal = ValueComparator<Mode>::Compare(pair.a, pair.b, messages);
    if (!equal) state.SkipWithError("the documents differ");
    benchmark::DoNotOptimize(equal);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_JsonEqual(benchmark::State& state) {
  const Pair& pair = PairOf(state.range(0));
  for (auto _ : state) {
    const bool equal = pair.jsonA == pair.jsonB;
    if (!equal) state.SkipWithError("the documents differ");
    benchmark::DoNotOptimize(equal);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_OlmaCompareStrict(benchmark::State& state) {
  BM_OlmaCompare<CompModeStrict>(state);
}
void BM_OlmaCompareLoose(benchmark::State& state) {
  BM_OlmaCompare<CompModeLoose>(state);
}

BENCHMARK(BM_OlmaCompareStrict)->Arg(10)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_OlmaCompareLoose)->Arg(10)->Arg(1000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_JsonEqual)->Arg(10)->Arg(1000)->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  PairOf(10);
  RatioReporter reporter({
      {"compare two equal 1,000-record documents, strict",
       "BM_OlmaCompareStrict/1000",
       {{"`nlohmann::json ==`", "BM_JsonEqual/1000"}},
       "at most 1.2x"},
      {"compare two equal 1,000-record documents, loose",
       "BM_OlmaCompareLoose/1000",
       {{"`nlohmann::json ==`", "BM_JsonEqual/1000"}},
       "at most 1.2x"},
      {"compare two equal 10-record documents, strict",
       "BM_OlmaCompareStrict/10",
       {{"`nlohmann::json ==`", "BM_JsonEqual/10"}},
       "at most 1.2x"},
      {"compare two equal 10-record documents, loose",
       "BM_OlmaCompareLoose/10",
       {{"`nlohmann::json ==`", "BM_JsonEqual/10"}},
       "at most 1.2x"},
  });
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
