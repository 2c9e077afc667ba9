// The cost of deciding that two documents are equal, against what a user would use instead.
//
// The document is a structure holding a list of N records (N = 10 and 1,000). A record has an integer id,
// a string name, a list of three string tags, a double price, a boolean flag, a nested
// owner structure of two strings, and an optional note that half of the records carry.
// Two documents with the same content but no node in common are compared:
//
//   BM_OlmaCompareStrict / BM_OlmaCompareLoose
//                  the library's value comparator in either mode;
//   BM_JsonEqual   operator== of nlohmann::json on the equivalent JSON documents (an
//                  unset note is null).
//
// Both sides walk the whole document, since it is equal. The reporter prints the library's
// time over the peer's.
#include <string>
#include <utility>

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include "olma/core/message.h"
#include "olma/data/comparator.h"
#include "olma/data/values.h"
#include "ratio_reporter.h"

namespace {

using namespace Olma::Data;

std::string Name(int i) {
  return "record-" + std::to_string(i);
}

DataValue::PtrConstType MakeValue(int count) {
  ListValue::PtrType records = ListValue::GetInstance();
  for (int i = 0; i < count; ++i) {
    ListValue::PtrType tags = ListValue::GetInstance();
    for (const char* tag : {"alpha", "beta", "gamma"}) tags->push_back(StringValue::GetInstance(tag));
    StructValue::PtrType owner = StructValue::GetInstance("owner");
    owner->SetField("first", StringValue::GetInstance("Ada"));
    owner->SetField("last", StringValue::GetInstance("Lovelace"));
    StructValue::PtrType record = StructValue::GetInstance("record");
    record->SetField("id", IntegerValue::GetInstance(i));
    record->SetField("name", StringValue::GetInstance(Name(i)));
    record->SetField("tags", std::move(tags));
    record->SetField("price", DoubleValue::GetInstance(i * 0.25));
    record->SetField("flag", BooleanValue::GetInstance(i % 3 == 0));
    record->SetField("owner", std::move(owner));
    record->SetField("note", i % 2 == 0
                                 ? OptionalValue::GetInstance(StringValue::GetInstance("note " + Name(i)))
                                 : OptionalValue::GetInstance());
    records->push_back(std::move(record));
  }
  StructValue::PtrType document = StructValue::GetInstance("document");
  document->SetField("records", std::move(records));
  return document;
}

nlohmann::json MakeJson(int count) {
  nlohmann::json records = nlohmann::json::array();
  for (int i = 0; i < count; ++i) {
    records.push_back({
        {"id", i},
        {"name", Name(i)},
        {"tags", {"alpha", "beta", "gamma"}},
        {"price", i * 0.25},
        {"flag", i % 3 == 0},
        {"owner", {{"first", "Ada"}, {"last", "Lovelace"}}},
        {"note", i % 2 == 0 ? nlohmann::json("note " + Name(i)) : nlohmann::json(nullptr)},
    });
  }
  return {{"records", std::move(records)}};
}

template <class Mode>
void BM_OlmaCompare(benchmark::State& state) {
  const DataValue::PtrConstType a = MakeValue(state.range(0)), b = MakeValue(state.range(0));
  Olma::MessageList messages;
  for (auto _ : state) {
    const bool equal = ValueComparator<Mode>::Compare(a, b, messages);
    if (!equal) state.SkipWithError("the documents differ");
    benchmark::DoNotOptimize(equal);
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_JsonEqual(benchmark::State& state) {
  const nlohmann::json a = MakeJson(state.range(0)), b = MakeJson(state.range(0));
  for (auto _ : state) {
    const bool equal = a == b;
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
  RatioReporter reporter({
      {"BM_OlmaCompareStrict/10", "BM_JsonEqual/10"},
      {"BM_OlmaCompareLoose/10", "BM_JsonEqual/10"},
      {"BM_OlmaCompareStrict/1000", "BM_JsonEqual/1000"},
      {"BM_OlmaCompareLoose/1000", "BM_JsonEqual/1000"},
  });
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
