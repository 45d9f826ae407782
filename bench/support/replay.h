// Leads an iterator along the recorded elements of a message: the structure alone, without a parse.
#ifndef BENCH_SUPPORT_REPLAY_H
#define BENCH_SUPPORT_REPLAY_H

#include <stdexcept>
#include <vector>

#include "bench/support/measure.h"
#include "bench/support/model.h"

namespace cpi::bench {

struct ByTagId {
  static bool firstChild(StdDictionaryIterator& at, const Step& step) {
    return at.moveToFirstChildTagId(step.tagId, true, true);
  }
  static bool nextSibling(StdDictionaryIterator& at, const Step& step) {
    return at.moveToNextSiblingTagId(step.tagId, true, true);
  }
};

struct ByName {
  static bool firstChild(StdDictionaryIterator& at, const Step& step) {
    return at.moveToFirstChildTagName(step.name, step.namespaceURI, true, true);
  }
  static bool nextSibling(StdDictionaryIterator& at, const Step& step) {
    return at.moveToNextSiblingTagName(step.name, step.namespaceURI, true, true);
  }
};

// For elements that are all members.
struct ByMemberId {
  static bool firstChild(StdDictionaryIterator& at, const Step& step) {
    return at.moveToFirstChildMemberId(memberId(at, step), true);
  }
  static bool nextSibling(StdDictionaryIterator& at, const Step& step) {
    return at.moveToNextSiblingMemberId(memberId(at, step), true);
  }
  static std::int32_t memberId(const StdDictionaryIterator& at, const Step& step) {
    return at.getDictionaryInfo()->typeMembers().row(step.memberIndex).Id;
  }
};

template <class By>
bool move(StdDictionaryIterator& at, const Step& step) {
  for (std::int32_t i = step.leaves; i > 0; --i) at.moveToParent();
  return step.isFirstChild ? By::firstChild(at, step) : By::nextSibling(at, step);
}

// Whether the iterator stands where the element belongs; what is no member has several sentinels.
inline bool isAtPlaceOf(const StdDictionaryIterator& at, const Step& step) {
  const std::int32_t member = at.getCurrentPosition()->memberIndex;
  return member == step.memberIndex || (member < 0 && step.memberIndex < 0);
}

// Throws unless each element comes to lie where it belongs.
template <class By>
void checkReplay(StdDictionaryIterator& at, const std::vector<Step>& steps) {
  at.setContextFromTag(steps.front().tagId);
  for (std::size_t i = 1; i < steps.size(); ++i) {
    if (!move<By>(at, steps[i]) || !isAtPlaceOf(at, steps[i])) {
      throw std::runtime_error("misplaced: element " + std::to_string(i));
    }
  }
}

template <class By>
void replay(benchmark::State& state, const StdDictionaryInfo& dictionary,
            const std::vector<Step>& steps) {
  StdDictionaryIterator at(nullptr, &dictionary, steps.front().tagId);
  checkReplay<By>(at, steps);
  measure(state, static_cast<std::int64_t>(steps.size()), [&] {
    at.setContextFromTag(steps.front().tagId);
    bool isPlaced = true;
    for (std::size_t i = 1; i < steps.size(); ++i) isPlaced &= move<By>(at, steps[i]);
    benchmark::DoNotOptimize(isPlaced);
  });
}

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_REPLAY_H
