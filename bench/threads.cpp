// One dictionary and two threads, each with an iterator of its own, against one thread.
#include "bench/support/messages.h"
#include "bench/support/replay.h"

namespace cpi::bench {
namespace {

template <class By>
void addThreads(const std::string& way) {
  add("threads/payment/" + way + "/stddi",
      [](benchmark::State& state) {
        replay<By>(state, paymentModel().dictionary(), paymentModel().steps());
      })
      ->ThreadRange(1, 2)
      ->UseRealTime();
}

const bool kRegistered = registered([] {
  addThreads<ByTagId>("id");
  addThreads<ByName>("name");
});

}  // namespace
}  // namespace cpi::bench
