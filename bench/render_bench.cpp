// Rendering a large value tree as text, against serialising the equivalent JSON document.
//
//   BM_OlmaToString  DataValue::ToString of the sample document of 10,000 records (a
//                    list of 10,000 structures): one output buffer, an explicit work stack;
//   BM_JsonDump      nlohmann::json::dump of the equivalent JSON document.
//
// The two texts differ in syntax but carry the same content; both are built from scratch on
// every iteration.
#include <benchmark/benchmark.h>

#include "ratio_reporter.h"
#include "sample_document.h"

namespace {

constexpr int kRecords = 10000;

void BM_OlmaToString(benchmark::State& state) {
  const auto document = sample::MakeValue(kRecords);
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::string text = document->ToString();
    bytes += text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}

void BM_JsonDump(benchmark::State& state) {
  const auto document = sample::MakeJson(kRecords);
  std::size_t bytes = 0;
  for (auto _ : state) {
    const std::string text = document.dump();
    bytes += text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}

BENCHMARK(BM_OlmaToString)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_JsonDump)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  RatioReporter reporter({{"`ToString` of a list of 10,000 structures (2 MB of text)",
                           "BM_OlmaToString",
                           {{"`nlohmann::json::dump`", "BM_JsonDump"}},
                           "at most 1.5x"}});
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
