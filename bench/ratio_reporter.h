// A console reporter that, after the usual table, prints the rows of the README's
// performance table for the benchmarks of one program: each library benchmark with its
// peers, their times and the ratios, as Markdown rows ready to paste.
//
//   RatioReporter reporter({{"`ToString` of a list of 10,000 structures", "BM_OlmaToString",
//                            {{"`nlohmann::json::dump`", "BM_JsonDump"}}, "at most 1.5x"}});
//   benchmark::RunSpecifiedBenchmarks(&reporter);
//
// Times are CPU times (wall-clock times for a `realTime` row), the median of the repetitions of the run
// (--benchmark_repetitions); a run without repetitions uses its single measurement. A benchmark with
// arguments is named by its full name ("BM_Crc32/1048576"). When the environment variable OLMA_BENCH_TABLE
// names a file, the rows are also appended to it (scripts/bench.sh collects every program's rows that way).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

class RatioReporter : public benchmark::ConsoleReporter {
 public:
  // A peer of a row: its label in the peer column and the benchmark that measures it. With
  // a `difference` text the ratio column shows the library's time minus the peer's,
  // followed by that text, instead of the ratio.
  struct Peer {
    std::string label;
    std::string benchmark;
    std::string difference;
  };

  // One row: its text in the benchmark column, the library's benchmark, the peers (shown
  // side by side, ratios in the same order) and the goal. A `throughput` row shows bytes
  // per second instead of times (the ratio stays a time ratio). A `realTime` row compares
  // wall-clock times per iteration: for a benchmark run on several threads that is the
  // inverse of their combined throughput, which is what a scaling row wants.
  struct Row {
    std::string benchmark;
    std::string library;
    std::vector<Peer> peers;
    std::string goal;
    bool throughput = false;
    bool realTime = false;
  };

  explicit RatioReporter(std::vector<Row> rows) : rows_(std::move(rows)) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.run_type != Run::RT_Iteration || run.iterations == 0 || run.error_occurred) continue;
      Samples& samples = samples_[run.run_name.str()];
      samples.seconds.push_back(run.GetAdjustedCPUTime() / benchmark::GetTimeUnitMultiplier(run.time_unit));
      samples.realSeconds.push_back(run.GetAdjustedRealTime() /
                                    benchmark::GetTimeUnitMultiplier(run.time_unit));
      const auto bytes = run.counters.find("bytes_per_second");
      if (bytes != run.counters.end()) samples.bytesPerSecond.push_back(bytes->second.value);
    }
  }

  void Finalize() override {
    ConsoleReporter::Finalize();
    std::string table;
    for (const Row& row : rows_) table += Format(row);
    std::printf("\nREADME rows (CPU time, median of the repetitions; ratio = library / peer):\n%s",
                table.c_str());
    if (const char* path = std::getenv("OLMA_BENCH_TABLE")) {
      if (std::FILE* file = std::fopen(path, "a")) {
        std::fputs(table.c_str(), file);
        std::fclose(file);
      }
    }
  }

 private:
  struct Samples {
    std::vector<double> seconds;
    std::vector<double> realSeconds;
    std::vector<double> bytesPerSecond;
  };

  static double Median(std::vector<double> values) {
    if (values.empty()) return NAN;
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
  }

  // Three significant digits in the unit that fits: "72.7 ns", "3.20 µs", "16.8 ms".
  static std::string Time(double seconds) {
    if (std::isnan(seconds)) return "n/a";
    static const std::pair<double, const char*> kUnits[] = {
        {1, "s"}, {1e-3, "ms"}, {1e-6, "µs"}, {1e-9, "ns"}};
    for (const auto& [scale, unit] : kUnits) {
      if (std::fabs(seconds) >= scale || scale == 1e-9) return Significant(seconds / scale) + " " + unit;
    }
    return "n/a";
  }

  static std::string Throughput(double bytesPerSecond) {
    if (std::isnan(bytesPerSecond)) return "n/a";
    if (bytesPerSecond >= 1e9) return Significant(bytesPerSecond / 1e9) + " GB/s";
    return Significant(bytesPerSecond / 1e6) + " MB/s";
  }

  static std::string Significant(double value) {
    char text[32];
    const double magnitude = std::fabs(value);
    std::snprintf(text, sizeof(text), magnitude >= 100 ? "%.0f" : magnitude >= 10 ? "%.1f" : "%.2f", value);
    return text;
  }

  double Seconds(const std::string& benchmark, bool realTime = false) const {
    const auto found = samples_.find(benchmark);
    if (found == samples_.end()) return NAN;
    return Median(realTime ? found->second.realSeconds : found->second.seconds);
  }

  std::string Format(const Row& row) const {
    const double library = Seconds(row.library, row.realTime);
    std::string libraryText;
    if (row.throughput) {
      const auto found = samples_.find(row.library);
      libraryText = Throughput(found == samples_.end() ? NAN : Median(found->second.bytesPerSecond));
    } else {
      libraryText = Time(library);
    }
    std::string peers;
    std::string ratios;
    for (const Peer& peer : row.peers) {
      const double seconds = Seconds(peer.benchmark, row.realTime);
      if (!peers.empty()) peers += "; ";
      if (!ratios.empty()) ratios += " / ";
      peers += peer.label + " " + Time(seconds);
      if (!peer.difference.empty()) {
        ratios += Time(library - seconds) + " " + peer.difference;
      } else {
        char ratio[32];
        std::snprintf(ratio, sizeof(ratio), "%.2fx", library / seconds);
        ratios += ratio;
      }
    }
    return "| " + row.benchmark + " | " + libraryText + " | " + peers + " | " + ratios + " | " + row.goal +
           " |\n";
  }

  std::vector<Row> rows_;
  std::map<std::string, Samples> samples_;
};
