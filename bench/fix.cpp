// FIX: the fields of a message parsed, and each placed.
#include "bench/support/fix.h"

#include "bench/support/directory.h"
#include "bench/support/measure.h"
#include "cpi/compile/fixcompiler.h"
#include "cpi/walk/fixwalker.h"

namespace cpi::bench {
namespace {

const StdDictionaryInfo& fixModelDictionary() {
  static const auto dictionary = [] {
    const TemporaryDirectory directory;
    const std::string path = directory.write("fix.xml", fixDictionary());
    FixReport report;
    auto loaded = std::make_unique<StdDictionaryInfo>(0);
    feed(compileFix({path}, {}, report), *loaded);
    return loaded;
  }();
  return *dictionary;
}

const bool kRegistered = registered([] {
  add("fix/stddi", [](benchmark::State& state) {
    const FixModel model(fixModelDictionary());
    FixWalker walker(model);
    const std::string message = fixMessage();
    if (!walker.walkText(message, "message").isAllPlaced()) {
      throw std::runtime_error("the message is not of its dictionary");
    }
    measure(state, kFixFields,
            [&] { benchmark::DoNotOptimize(walker.walkText(message, "message").elements); });
  });
});

}  // namespace
}  // namespace cpi::bench
