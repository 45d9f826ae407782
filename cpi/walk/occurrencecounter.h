// OccurrenceCounter: how often each member of an unordered type has occurred in an open element.
//
// In a sequence a member's occurrences are neighbours and the iterator counts them; in an
// unordered type others may stand between them, and each run starts from the first again.
#ifndef CPI_WALK_OCCURRENCECOUNTER_H
#define CPI_WALK_OCCURRENCECOUNTER_H

#include <cstddef>
#include <cstdint>
#include <vector>

namespace cpi {

// One count per Type Members row serves all open elements: an element that counts a row for the
// first time keeps aside what an element around it had counted there, until it is left. So a count
// costs the same however many members a type has and however often it contains itself.
class OccurrenceCounter {
 public:
  explicit OccurrenceCounter(std::int32_t memberRows)
      : counts_(static_cast<std::size_t>(memberRows)) {}

  // Makes room for rows that were not there before.
  void grow(std::size_t rows) {
    if (rows > counts_.size()) counts_.resize(rows);
  }
  // The number of occurrences of a member in `element`, this one included. `element` is a number
  // that no other element of the message has; the row must exist.
  std::int32_t count(std::int64_t element, std::int32_t memberIndex) {
    Count& count = counts_[static_cast<std::size_t>(memberIndex)];
    if (count.element != element) {
      aside_.push_back({memberIndex, count});
      count = {element, 0};
    }
    return ++count.occurrences;
  }

  // How often it has occurred so far.
  std::int32_t countedFor(std::int64_t element, std::int32_t memberIndex) const noexcept {
    const auto slot = static_cast<std::size_t>(memberIndex);
    if (slot >= counts_.size()) return 0;
    return counts_[slot].element == element ? counts_[slot].occurrences : 0;
  }

  // What to hand to forget() when the element that begins now is left.
  std::size_t mark() const noexcept { return aside_.size(); }
  void forget(std::size_t mark) noexcept {
    for (; aside_.size() > mark; aside_.pop_back()) {
      counts_[static_cast<std::size_t>(aside_.back().memberIndex)] = aside_.back().count;
    }
  }

 private:
  struct Count {
    std::int64_t element = 0;  // 0: none
    std::int32_t occurrences = 0;
  };
  struct Aside {
    std::int32_t memberIndex;
    Count count;
  };

  std::vector<Count> counts_;
  std::vector<Aside> aside_;
};

}  // namespace cpi

#endif  // CPI_WALK_OCCURRENCECOUNTER_H
