// QuickFIX: the parse of a message along its dictionary, and the check that may follow.
#include "bench/peers/quickfix_parser.h"
#include "bench/support/fix.h"
#include "bench/support/measure.h"

namespace cpi::bench {
namespace {

const bool kRegistered = registered([] {
  add("fix/quickfix", [](benchmark::State& state) {
    QuickFixParser parser(fixDictionary());
    measure(state, kFixFields, [&, message = fixMessage()] { parser.parse(message); });
  });
  add("fix/quickfix-validate", [](benchmark::State& state) {
    QuickFixParser parser(fixDictionary());
    measure(state, kFixFields, [&, message = fixMessage()] {
      parser.parse(message);
      parser.validate();
    });
  });
});

}  // namespace
}  // namespace cpi::bench
