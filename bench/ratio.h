// ratio.h: benchmark mains that report speed targets as ratios.
//
// A benchmark program registers pairs (subject, baseline) with
// ZORVAT_BENCH_RATIO; after the run the main prints, for each pair measured,
// "ratio <subject> / <baseline> = x" from the time per iteration (the
// median when repeated), so a target is read off one run on one machine.
//
//   ZORVAT_BENCH_RATIO("BM_Copy", "BM_MallocMemcpy");
//   ZORVAT_BENCH_MAIN();
#pragma once

#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace zorvat_bench {

inline std::vector<std::pair<std::string, std::string>>& ratio_pairs() {
  static std::vector<std::pair<std::string, std::string>> pairs;
  return pairs;
}

struct ratio_registrar {
  ratio_registrar(const char* subject, const char* baseline) {
    ratio_pairs().emplace_back(subject, baseline);
  }
};

// Passes everything to the console reporter and remembers each run's real
// time per iteration by name.
class ratio_reporter : public benchmark::ConsoleReporter {
 public:
  // With --benchmark_repetitions the median of the repetitions stands for
  // the benchmark (it arrives after them and replaces the last one's time).
  void ReportRuns(const std::vector<Run>& runs) override {
    for (const auto& r : runs) {
      const std::string name = r.run_name.str();
      // CPU time unless the benchmark asked for real time: other processes
      // on a shared machine then disturb the ratio less.
      const double t = name.find("/real_time") != std::string::npos ? r.GetAdjustedRealTime()
                                                                      : r.GetAdjustedCPUTime();
      if (r.run_type == Run::RT_Iteration || r.aggregate_name == "median") times_[name] = t;
    }
    ConsoleReporter::ReportRuns(runs);
  }
  void print_ratios() const {
    for (const auto& [subject, baseline] : ratio_pairs()) {
      auto s = times_.find(subject), b = times_.find(baseline);
      if (s == times_.end() || b == times_.end() || b->second <= 0) continue;
      std::printf("ratio %s / %s = %.3f\n", subject.c_str(), baseline.c_str(),
                  s->second / b->second);
    }
  }

 private:
  std::map<std::string, double> times_;
};

inline int run_main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  ratio_reporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.print_ratios();
  benchmark::Shutdown();
  return 0;
}

}  // namespace zorvat_bench

#define ZORVAT_BENCH_CONCAT2(a, b) a##b
#define ZORVAT_BENCH_CONCAT(a, b) ZORVAT_BENCH_CONCAT2(a, b)
#define ZORVAT_BENCH_RATIO(subject, baseline)                                  \
  static ::zorvat_bench::ratio_registrar ZORVAT_BENCH_CONCAT(ratio_, __LINE__)( \
      subject, baseline)
#define ZORVAT_BENCH_MAIN() \
  int main(int argc, char** argv) { return ::zorvat_bench::run_main(argc, argv); }
