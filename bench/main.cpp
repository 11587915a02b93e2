// Runs the benchmarks, then prints each call's time against its SQLite floor.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <map>
#include <string>
#include <vector>

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

  void PrintRatios() const {
    struct Pair {
      const char* call;
      const char* floor;
    };
    // Login verifies an Argon2id hash and writes and ends a session, so its
    // floor is only a lower bound.
    const Pair pairs[] = {{"LoginLogout", "SqliteInsertCommit"},
                          {"AddDomain", "SqliteInsertCommit"},
                          {"GetDomain", "SqlitePointSelect"},
                          {"ResolveDomain", "SqlitePointSelect"}};
    std::printf("\n%-14s %8s %12s  %-19s %10s %9s\n", "call", "domains", "call (us)", "floor",
                "floor (us)", "ratio");
    for (const char* size : {"1000", "100000"}) {
      for (const Pair& pair : pairs) {
        auto call = microseconds_.find(std::string(pair.call) + "/" + size);
        auto floor = microseconds_.find(std::string(pair.floor) + "/" + size);
        if (call == microseconds_.end() || floor == microseconds_.end()) continue;
        std::printf("%-14s %8s %12.2f  %-19s %10.2f %8.1fx\n", pair.call, size, call->second,
                    pair.floor, floor->second, call->second / floor->second);
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
