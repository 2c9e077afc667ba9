// Rendering a large value tree as text, against serialising the equivalent JSON document.
//
//   BM_OlmaToString  DataValue::ToString of the sample document of 10,000 records (a
//                    list of 10,000 structures): one output buffer, an explicit work stack;
//   BM_JsonDump      nlohmann::json::dump of the equivalent JSON document.
//
// The two texts differ in syntax but carry the same content; both are built from scratch on
// every iteration.
#include <malloc.h>
#include <sys/resource.h>

#include <benchmark/benchmark.h>

#include "ratio_reporter.h"
#include "sample_document.h"

namespace {

constexpr int kRecords = 10000;

// Both documents are built once, before anything is timed, so that every repetition of
// either side walks the same nodes in the same places: a document rebuilt per benchmark
// lands wherever the previous benchmarks left holes in the heap, and its walk time then
// swings with that history.
struct Documents {
  Olma::Data::DataValue::PtrConstType value = sample::MakeValue(kRecords);
  nlohmann::json json = sample::MakeJson(kRecords);
};
const Documents* documents = nullptr;

long PageFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt + usage.ru_majflt;
}

// Runs `render` once per iteration and reports bytes per second and page faults per
// rendering.
template <class Render>
void Measure(benchmark::State& state, Render render) {
  std::size_t bytes = 0;
  const long faults = PageFaults();
  for (auto _ : state) {
    const std::string text = render();
    bytes += text.size();
    benchmark::DoNotOptimize(text.data());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
  state.counters["faults"] =
      benchmark::Counter(static_cast<double>(PageFaults() - faults), benchmark::Counter::kAvgIterations);
}

void BM_OlmaToString(benchmark::State& state) {
  Measure(state, [] { return documents->value->ToString(); });
}

void BM_JsonDump(benchmark::State& state) {
  Measure(state, [] { return documents->json.dump(); });
}

BENCHMARK(BM_OlmaToString)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_JsonDump)->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  // Each side frees megabytes of text per iteration. With the allocator's default, adaptive
  // thresholds, whether that memory goes back to the system (to be faulted in again, a page
  // at a time, by the next iteration) turns on a few bytes of difference in the sizes each
  // side happens to free. Where a page fault costs microseconds, as on virtual machines, the
  // side that tips over measures its page faults rather than its rendering. Both sides
  // therefore run with the heap neither trimmed nor bypassed by mmap for blocks this size;
  // the "faults" column shows what is left.
  mallopt(M_TRIM_THRESHOLD, 256 << 20);
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  const Documents built;
  documents = &built;
  RatioReporter reporter({{"`ToString` of a list of 10,000 structures (2 MB of text)",
                           "BM_OlmaToString",
                           {{"`nlohmann::json::dump`", "BM_JsonDump"}},
                           "at most 1.5x"}});
  benchmark::RunSpecifiedBenchmarks(&reporter);
  benchmark::Shutdown();
  return 0;
}
