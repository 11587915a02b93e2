// Throughput of several administrators at once against one at a time: the
// mix of the concurrency test (members added to and taken from one group and
// one domain's lists, rules added to one realm) run by 1 process with 1
// thread, and by 2 processes with 4 threads each. Reported as calls per
// second of wall time; a fresh store for each run.
#include <benchmark/benchmark.h>

#include <string>

#include "BenchStores.h"
#include "support/ConcurrentMix.h"
#include "support/Environment.h"

namespace xo::bench {
namespace {

void ConcurrentMix(benchmark::State& state) {
  const test::MixPlan plan{static_cast<int>(state.range(0)), static_cast<int>(state.range(1)),
                           static_cast<int>(state.range(2))};
  int64_t calls = 0;
  int64_t busy = 0;
  double seconds = 0;
  int run = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const std::string path = ScratchDirectory() + "/mix-" +
                             std::to_string(plan.processes * plan.threads) + "-" +
                             std::to_string(run++) + ".db";
    test::PrepareMixStore(path, plan);
    state.ResumeTiming();
    const test::MixOutcome outcome = test::RunMix(path, plan);
    state.PauseTiming();
    if (!outcome.unexpected.empty()) {
      state.SkipWithError(("a call failed: " + outcome.unexpected.front()).c_str());
      break;
    }
    calls += outcome.calls;
    busy += outcome.busy;
    seconds += outcome.seconds;
    state.ResumeTiming();
  }
  state.counters["calls"] = static_cast<double>(calls);
  state.counters["busy"] = static_cast<double>(busy);
  state.counters["calls/s"] = seconds > 0 ? static_cast<double>(calls) / seconds : 0;
}

// Processes, threads each, members of each list per thread: the same
// calls in all (480), one at a time or eight at a time.
BENCHMARK(ConcurrentMix)
    ->Args({1, 1, 96})
    ->Args({2, 4, 12})
    ->Unit(benchmark::kMillisecond)
    ->Iterations(3)
    ->UseRealTime();

}  // namespace
}  // namespace xo::bench
