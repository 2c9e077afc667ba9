// A console reporter that, after the usual table, prints the ratio of each library
// benchmark to its peer, so one run shows how the library compares on the same input.
//
//   RatioReporter reporter({{"BM_OlmaFormat", "BM_FmtFormat"}, ...});
//   benchmark::RunSpecifiedBenchmarks(&reporter);
#pragma once

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  // Each pair names a benchmark of the library and the peer it is compared with; a
  // benchmark with arguments is matched by its full name ("BM_Crc32/1048576").
  using Pairs = std::vector<std::pair<std::string, std::string>>;
  explicit RatioReporter(Pairs pairs) : pairs_(std::move(pairs)) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration && run.iterations > 0) {
        times_[run.benchmark_name()] = run.GetAdjustedCPUTime();
      }
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    std::printf("\n%-44s %-44s %10s\n", "library", "peer", "time ratio");
    for (const auto& [library, peer] : pairs_) {
      const auto a = times_.find(library);
      const auto b = times_.find(peer);
      if (a == times_.end() || b == times_.end()) continue;
      std::printf("%-44s %-44s %9.2fx\n", library.c_str(), peer.c_str(), a->second / b->second);
    }
    std::printf("(time ratio = library CPU time / peer CPU time: below 1 the library is faster)\n");
  }

 private:
  Pairs pairs_;
  std::map<std::string, double> times_;
};
