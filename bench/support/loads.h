// How a model is made ready for use, and what it then holds of memory, the same for everyone.
#ifndef BENCH_SUPPORT_LOADS_H
#define BENCH_SUPPORT_LOADS_H

#include <string>

#include "bench/support/measure.h"
#include "bench/support/model.h"

namespace cpi::bench {

// Registers "load/<model>/<how>" for each model. `loaderOf(model)`, not timed, gives a function
// that makes the model ready and throws it away again.
template <class LoaderOf>
void addLoads(const std::string& how, LoaderOf loaderOf) {
  for (const NamedModel& named : messageModels()) {
    add("load/" + named.name + "/" + how, [=, of = named.model](benchmark::State& state) {
      const Model& model = of();
      auto load = loaderOf(model);
      measure(state, model.definitions(), [&] { load(); });
    });
  }
}

// The same for "memory/<model>/<who>": `makerOf(model)` gives a function that makes the model ready
// and returns what keeps it so. The counter `bytes` is the heap that it holds for a definition.
template <class MakerOf>
void addMemory(const std::string& who, MakerOf makerOf) {
  for (const NamedModel& named : messageModels()) {
    add("memory/" + named.name + "/" + who, [=, of = named.model](benchmark::State& state) {
      const Model& model = of();
      auto make = makerOf(model);
      std::int64_t held = 0;
      for (auto _ : state) {
        const std::int64_t before = heapBytes();
        const auto ready = make();
        held = heapBytes() - before;
      }
      state.counters["bytes"] =
          static_cast<double>(held) / static_cast<double>(model.definitions());
    })->Iterations(1);
  }
}

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_LOADS_H
