// Runs the benchmarks, then prints each call's time against its SQLite floor.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "Ratios.h"

namespace {

// Keeps the real time per iteration of every run, in microseconds (the median
// when runs are repeated), while the console report goes on as usual.
class SummaryReporter : public benchmark::ConsoleReporter {
 public:
  // Plain text: the report usually ends up in a log or a file.
  SummaryReporter() : ConsoleReporter(OO_Tabular) {}

  void ReportRuns(const std::vector<Run>& runs) override {
    ConsoleReporter::ReportRuns(runs);
    for (const Run& run : runs) {
      if (run.error_occurred) continue;
      // A median comes after the repetitions it sums up, and replaces them.
      if (run.run_type == Run::RT_Aggregate && run.aggregate_name != "median") continue;
      microseconds_[run.run_name.str()] =
          run.GetAdjustedRealTime() * 1e6 / benchmark::GetTimeUnitMultiplier(run.time_unit);
    }
  }

  // A row for each run of a registered call whose floor ran with the same
  // argument (or without one).
  void PrintRatios() const {
    std::printf("\n%-18s %8s %12s  %-22s %10s %9s\n", "call", "size", "call (us)", "floor",
                "floor (us)", "ratio");
    for (const xo::bench::RatioPair& pair : xo::bench::Ratios()) {
      for (const auto& [name, callTime] : microseconds_) {
        std::string size;
        if (name != pair.call) {
          if (name.rfind(pair.call + "/", 0) != 0) continue;
          size = name.substr(pair.call.size() + 1);
        }
        auto floor = microseconds_.find(size.empty() ? pair.floor : pair.floor + "/" + size);
        if (floor == microseconds_.end()) continue;
        std::printf("%-18s %8s %12.2f  %-22s %10.2f %8.1fx\n", pair.call.c_str(),
                    size.empty() ? "-" : size.c_str(), callTime, pair.floor.c_str(), floor->second,
                    callTime / floor->second);
      }
    }
  }

 private:
  std::map<std::string, double> microseconds_;
};

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  SummaryReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.PrintRatios();
  benchmark::Shutdown();
  return 0;
}
