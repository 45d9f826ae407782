// PositionSearch: the one loop that walks the members of the model forward from a position.
//
// Both searches of the iterator run it: the new-position search looks for a member that is the
// element, the best-position search for a level that admits an element without a member. They share
// how a candidate steps on, how a group is entered and how it is left, and differ in when they
// stop, which each tests for itself.
//
// The candidate is a value; the stack changes only when a group is entered or left, and its top
// always stands at the candidate's level.
#ifndef CPI_DICTINFO_STDDI_NAVIGATE_SEARCH_H
#define CPI_DICTINFO_STDDI_NAVIGATE_SEARCH_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "cpi/dictinfo/stddi/navigate/navigation.h"
#include "cpi/dictinfo/stddi/query/memberindex.h"

namespace cpi {

// The stack depths at which a search has started a level over. Depths of real messages fit in one
// word; only deeper ones cost an allocation.
class RestartedLevels {
 public:
  // Adds a depth; false when it was there.
  bool add(std::size_t depth) {
    if (depth >= 64) {
      if (depth >= deep_.size()) deep_.resize(depth + 1);
      if (deep_[depth]) return false;
      deep_[depth] = true;
      return true;
    }
    const std::uint64_t bit = std::uint64_t{1} << depth;
    const bool isNew = (shallow_ & bit) == 0;
    shallow_ |= bit;
    return isNew;
  }

 private:
  std::uint64_t shallow_ = 0;
  std::vector<bool> deep_;
};

class PositionSearch {
 public:
  // `operation` names the search in errors and traces; `search` must outlive this object.
  PositionSearch(StdDictionaryIterator& iterator, const char* operation, const SearchDef& search,
                 bool matchCurrent, bool enforceRequired)
      : iterator_(iterator),
        operation_(operation),
        search_(search),
        matchCurrent_(matchCurrent),
        enforceRequired_(enforceRequired),
        start_(iterator.positionStack.back()),
        candidate_(start_) {}

  // Lets the search match names by their key, and pass over members that it would look at in vain.
  // Not while log items are written, which tell of each of them.
  void passOver(const Passing& passing) noexcept;

  // The searches; see StdDictionaryIterator.
  bool findNewPosition();
  bool findBestPosition(bool replaceCurrent);

  // Runs a search that matches nothing and shows `visit` each candidate at which a search that
  // matches it would be found, with the occurrence that it would be. Until its first match every
  // search by tag, name or logical type goes the same way, so what it would find is what is shown
  // first of all that it matches. `visit` returns whether to go on. Leaves the stack where the
  // search ended.
  template <class Visit>
  void visitCandidates(Visit visit) {
    while (!isExhausted()) {
      const bool isRepeat = candidate_.repeatIndex >= 0 && isFirst_;
      const std::int32_t last = std::min(candidate_.repeatIndex, kUnbounded - 1);
      const bool isFound = !isRepeat || mayRepeat();
      if (isFound && !visit(candidate_, isRepeat ? last + 1 : 0)) return;
      if (!entersGroup() && advance() == Step::Ended) return;
    }
  }

 private:
  // What a step led to.
  enum class Step : std::uint8_t {
    Candidate,   // another candidate, to be tested
    Left,        // the entry of a group that was left: its level goes on behind it
    GroupFound,  // the group that was asked for, at a new occurrence
    Ended,       // the end of the level, and with it of the search: the parent is no group
  };

  // --- Shared by both searches ---
  bool isExhausted() noexcept;
  bool entersGroup();
  bool isInsideItself() noexcept;
  Step advance();
  std::int32_t nextMember(const SMD_TYPE_DEFINITION& parent);
  bool isAllIndexed(const MemberIndex& members) const noexcept;
  std::int32_t passedOver(std::int32_t row, const SMD_TYPE_DEFINITION& parent);
  std::int32_t nextStop(std::int32_t row, std::int32_t group,
                        const SMD_TYPE_DEFINITION& parent) const;
  bool isRefused(const SMD_TYPE_DEFINITION& parent) const noexcept;
  bool countsFromStart() const noexcept;
  bool isMatching(const DictionaryPosition& position, bool atStartEntry) const;
  bool isAlternativeTaken() const;
  bool restartsLevel();
  bool closesLevel() const;
  Step leaveGroup();
  void removeLeftEntries();
  bool repeatsGroup() const;
  void pushFirstMember();
  const SMD_TYPE_DEFINITION* parentType() const;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* memberOf(const DictionaryPosition& position) const {
    return dictionary().typeMembers().find(position.memberIndex);
  }
  std::int32_t occurrenceLimit() const;
  void markMatched() noexcept;

  // --- New position ---
  bool isCandidateFound();
  bool mayRepeat() const;
  bool placeFound();
  bool failNewPosition();
  bool repeatStartEntry();
  bool countRepeat();

  // --- Best position ---
  bool placeUndefined(bool replaceCurrent);
  DictionaryPosition undefinedPosition(std::int32_t memberIndex) const;
  bool failBestPosition();

  DictionaryPosition& top() const { return iterator_.positionStack.back(); }
  const StdDictionaryInfo& dictionary() const { return *iterator_.dictionaryInfo; }
  bool isSearchFor(ESearchType type) const noexcept { return search_.searchType == type; }

  StdDictionaryIterator& iterator_;
  const char* const operation_;
  const SearchDef& search_;
  const bool matchCurrent_;
  const bool enforceRequired_;
  Passing passing_;  // without an index a name is compared with those of the tags
  bool passesOver_ = false;
  bool isBestPosition_ = false;
  bool replaceCurrent_ = false;  // by an element without member: what stands at the level
  const DictionaryPosition start_;
  DictionaryPosition candidate_;
  bool isFirst_ = true;       // the candidate is still the start entry
  bool isDescended_ = false;  // a group was entered since one was last left
  bool isMatched_ = false;    // by the last test
  bool isRepeat_ = false;     // by the last test: a match repeats the start entry
  std::int64_t cost_ = 0;     // of the search so far
  RestartedLevels restarted_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_NAVIGATE_SEARCH_H
