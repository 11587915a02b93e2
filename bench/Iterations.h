// The loop every benchmark here runs, and how they are registered.
#pragma once

#include <benchmark/benchmark.h>

namespace xo::bench {

// Runs `step` once per iteration. A step that answers false ends the run,
// marked with `error`: what follows would measure a store in an unknown state.
template <class Step>
void RunSteps(benchmark::State& state, const char* error, Step&& step) {
  for (auto _ : state) {
    if (!step()) {
      state.SkipWithError(error);
      break;
    }
  }
}

}  // namespace xo::bench

// A benchmark on a store of `size` objects, reported in microseconds.
#define XO_BENCH(name, size) BENCHMARK(name)->Arg(size)->Unit(benchmark::kMicrosecond)
