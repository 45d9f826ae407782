// How every workload is timed, so that its figures can be compared with those of its peers.
//
// A benchmark is named by subject, workload, and last who does it: "id/dense/10000/hit/stddi". Its
// rate of items is the figure; `allocs` are the blocks of memory that one item cost.
#ifndef BENCH_SUPPORT_MEASURE_H
#define BENCH_SUPPORT_MEASURE_H

#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <utility>

#include "bench/support/heap.h"

namespace cpi::bench {

// Times calls of `run`, each of which deals with `items` items. The first call is not timed: it
// leaves caches warm and capacities grown.
template <class Run>
void measure(benchmark::State& state, std::int64_t items, Run run) {
  run();
  const std::int64_t before = allocationCount();
  for (auto _ : state) run();
  const std::int64_t allocated = allocationCount() - before;
  const auto all = static_cast<std::int64_t>(state.iterations()) * items;
  state.SetItemsProcessed(all);
  state.counters["allocs"] = benchmark::Counter(
      static_cast<double>(allocated) / static_cast<double>(all), benchmark::Counter::kAvgThreads);
}

// Registers `body(state)`, which may throw: the benchmark then counts as failed, with the reason.
template <class Body>
benchmark::internal::Benchmark* add(const std::string& name, Body body) {
  return benchmark::RegisterBenchmark(name.c_str(), [body](benchmark::State& state) {
    try {
      body(state);
    } catch (const std::exception& error) {
      state.SkipWithError(error.what());
    }
  });
}

// Each source of benchmarks registers its own: a peer that is not installed is a source less. This
// makes one call before main.
template <class Function>
bool registered(Function function) {
  function();
  return true;
}

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_MEASURE_H
