// Route: the way to a member from one level of the model, as the index tells it.
#ifndef CPI_DICTINFO_STDDI_NAVIGATE_ROUTE_H
#define CPI_DICTINFO_STDDI_NAVIGATE_ROUTE_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cpi/dictinfo/stddi/navigate/navigation.h"
#include "cpi/dictinfo/stddi/query/memberindex.h"

namespace cpi {

// Members follow one another, and none was matched yet: the search goes through all of them.
inline bool isPassedThrough(const SMD_TYPE_DEFINITION& type) noexcept {
  return type.Composition >= TYPE_CHOICE && type.Composition <= TYPE_MESSAGE;
}

inline bool isInOrder(const SMD_TYPE_DEFINITION& type) noexcept {
  return type.Composition == TYPE_SEQUENCE || type.Composition == TYPE_ORDERED;
}

inline DictionaryPosition matchedPosition(const StdDictionaryInfo* dictionary, std::int32_t row,
                                          const SMD_STRUCTURE_ELEMENT_DEFINITION& member) noexcept {
  return {dictionary, row, member.toTagIndex, member.toTypeIndex, kPathInfoUnknown, 0, NTUndefined};
}

// The groups to enter, and the member itself.
class Route {
 public:
  explicit Route(const MemberIndex& members) noexcept : members_(members) {}

  // Finds the first member from `first` on that a search would come to: with no group in front of
  // it that is entered in vain, here and in each group that it enters, and none in front that
  // closes a group. `tagIndex` is the only tag to accept, or -1.
  bool find(std::int32_t first, std::int32_t key, std::int32_t tagIndex) noexcept {
    if (!addMember(first, key)) return false;
    while (members_.nextGroup(rows_[count_ - 1]) == rows_[count_ - 1]) {
      const SMD_TYPE_DEFINITION& type =
          *members_.type(members_.member(rows_[count_ - 1])->toTypeIndex);
      if (count_ == kMaximumGroups || !isPassedThrough(type) ||
          !addMember(type.ToTypeMbrIndex, key)) {
        return false;
      }
      if (isInOrder(type) && isClosedBefore(type.ToTypeMbrIndex, count_ - 1)) return false;
    }
    return tagIndex == kNone || members_.member(rows_[count_ - 1])->toTagIndex == tagIndex;
  }
  bool entersGroups() const noexcept { return count_ > 1; }
  // Whether a member that must occur stands between the first of a group and the one found in it:
  // a search that has entered the group does not pass over that.
  bool isClosedBefore(std::int32_t first, std::size_t level = 0) const noexcept {
    return members_.nextRequired(first) < rows_[level];
  }
  // Makes room, so that append does not throw.
  void makeRoom(std::vector<DictionaryPosition>& stack) const {
    if (stack.capacity() - stack.size() < count_) stack.reserve(2 * (stack.size() + count_));
  }
  void append(std::vector<DictionaryPosition>& stack, const StdDictionaryInfo* dictionary) const {
    for (std::size_t i = 0; i < count_; ++i) {
      stack.push_back(matchedPosition(dictionary, rows_[i], *members_.member(rows_[i])));
    }
  }

 private:
  static constexpr std::size_t kMaximumGroups = 32;  // as deep as the index goes

  // The first row that carries the key or leads to it, unless it is behind another group.
  bool addMember(std::int32_t first, std::int32_t key) noexcept {
    if (members_.member(first) == nullptr || members_.runOf(first) < 0) return false;
    const std::int32_t row = members_.find(first, key);
    if (row == MemberIndex::kNoRow || members_.nextGroup(first) < row) return false;
    rows_[count_++] = row;
    return true;
  }

  const MemberIndex& members_;
  std::size_t count_ = 0;
  std::int32_t rows_[kMaximumGroups + 1];
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_NAVIGATE_ROUTE_H
