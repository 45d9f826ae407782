// The messages that are parsed whole, the same for everyone.
#ifndef BENCH_SUPPORT_MESSAGES_H
#define BENCH_SUPPORT_MESSAGES_H

#include <stdexcept>
#include <string>

#include "bench/support/measure.h"
#include "bench/support/model.h"

namespace cpi::bench {

// The largest choice that the peers take in reasonable time and memory.
inline constexpr std::size_t kPeerChoices[] = {10, 100, 1'000};

// Registers for `who` the parse of each model's message. `parserOf(model)`, not timed, gives a
// function that parses the message and returns the number of elements it met.
template <class ParserOf>
void addMessages(const std::string& who, ParserOf parserOf) {
  const auto addModel = [&](const NamedModel& named) {
    add("message/" + named.name + "/" + who, [=, of = named.model](benchmark::State& state) {
      const Model& model = of();
      auto parse = parserOf(model);
      if (parse() != model.elements()) throw std::runtime_error("elements are missing");
      measure(state, model.elements(), [&] { benchmark::DoNotOptimize(parse()); });
      state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                              static_cast<std::int64_t>(model.message().size()));
    });
  };
  for (const NamedModel& named : messageModels()) addModel(named);
  for (const std::size_t members : kPeerChoices) addModel(choiceModel(members));
}

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_MESSAGES_H
