// StackGuard: an exception that leaves a move leaves the position stack as it was at the call.
#ifndef CPI_DICTINFO_STDDI_NAVIGATE_STACKGUARD_H
#define CPI_DICTINFO_STDDI_NAVIGATE_STACKGUARD_H

#include <algorithm>
#include <cstddef>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"

namespace cpi {

// Taken at the start of a move on a stack that is not empty. A move that fails without an exception
// restores the stack itself; this is for exceptions alone. It copies only what a move may change
// before it saves the stack: the entries from the topmost that is no marker upward. For all below
// the saved copy serves, so that a move allocates nothing. Only when a copy was saved before the
// move began, which its own save then leaves in force, is the whole stack copied.
class StackGuard {
 public:
  using Stack = std::vector<DictionaryPosition>;

  StackGuard(Stack& stack, const Stack& saved, bool& isSaved)
      : stack_(stack),
        saved_(saved),
        isSaved_(isSaved),
        size_(stack.size()),
        settled_(stack.back()),
        marker_(stack.back()) {
    std::size_t markers = 0;
    while (markers + 1 < size_ && stack[size_ - 1 - markers].memberIndex == kMarkerMember) {
      ++markers;
    }
    settled_ = stack[size_ - 1 - markers];
    hasMarker_ = markers == 1;
    // What the moves themselves never leave behind is copied whole.
    if (isSaved || markers > 1 || settled_.repeatIndex < 0) whole_ = stack;
  }
  StackGuard(const StackGuard&) = delete;
  StackGuard& operator=(const StackGuard&) = delete;

  // Runs the move; when an exception leaves it, restores the stack.
  template <class Move>
  bool run(Move move) {
    try {
      return move();
    } catch (...) {
      restore();
      throw;
    }
  }

 private:
  // Caches that were filled meanwhile stay: they are true of the entry.
  static bool isSameOccurrence(const DictionaryPosition& a, const DictionaryPosition& b) noexcept {
    return a.memberIndex == b.memberIndex && a.tagIndex == b.tagIndex &&
           a.typeIndex == b.typeIndex && a.repeatIndex == b.repeatIndex;
  }

  // Whether nothing but caches changed; the saved copy is then in force as it was, too.
  bool isUnchanged() const {
    if (stack_.size() != size_) return false;
    const std::size_t below = size_ - (hasMarker_ ? 2 : 1);
    const Stack& before = !whole_.empty() ? whole_ : isSaved_ ? saved_ : stack_;
    const std::size_t compared = whole_.empty() ? below : size_;
    if (before.size() < compared ||
        !std::equal(before.begin(), before.begin() + static_cast<std::ptrdiff_t>(compared),
                    stack_.begin(), isSameOccurrence)) {
      return false;
    }
    return !whole_.empty() || (isSameOccurrence(stack_[below], settled_) &&
                               (!hasMarker_ || isSameOccurrence(stack_.back(), marker_)));
  }

  void restore() {
    if (isUnchanged()) return;
    if (!whole_.empty()) {
      stack_.swap(whole_);
    } else {
      const std::size_t below = size_ - (hasMarker_ ? 2 : 1);
      const Stack& source = isSaved_ && saved_.size() >= below ? saved_ : stack_;
      if (&source != &stack_) stack_.assign(source.begin(), source.end());
      const bool isKept = stack_.size() > below && isSameOccurrence(stack_[below], settled_);
      const std::size_t kept = std::min(below + (isKept ? 1 : 0), stack_.size());
      stack_.erase(stack_.begin() + static_cast<std::ptrdiff_t>(kept), stack_.end());
      if (!isKept) stack_.push_back(settled_);
      if (hasMarker_) stack_.push_back(marker_);
    }
    isSaved_ = false;
  }

  Stack& stack_;
  const Stack& saved_;
  bool& isSaved_;
  const std::size_t size_;
  DictionaryPosition settled_;  // the topmost entry that is no marker
  DictionaryPosition marker_;   // the marker on top of it
  bool hasMarker_ = false;
  Stack whole_;  // empty unless the whole stack had to be copied
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_NAVIGATE_STACKGUARD_H
