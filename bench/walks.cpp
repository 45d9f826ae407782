// Walks along a recorded message, by tag id and by name: what placing an element costs, without the
// parse.
#include "bench/support/replay.h"

namespace cpi::bench {
namespace {

void addWalks(const NamedModel& named) {
  add("walk/" + named.name + "/id/stddi", [of = named.model](benchmark::State& state) {
    replay<ByTagId>(state, of().dictionary(), of().steps());
  });
  add("walk/" + named.name + "/name/stddi", [of = named.model](benchmark::State& state) {
    replay<ByName>(state, of().dictionary(), of().steps());
  });
}

const bool kRegistered = registered([] {
  for (const NamedModel& named : messageModels()) addWalks(named);
  for (const std::size_t members : {10, 100, 1'000, 10'000}) addWalks(choiceModel(members));
});

}  // namespace
}  // namespace cpi::bench
