// MemberIndex: which member of a type, or which group among its members, leads to a tag.
//
// A search for a tag or a name walks the members of a type one by one. With this index it goes
// from one member to the next that matters: one that carries the tag, a group inside which the tag
// may stand, or one that changes how the search goes on although it does not match. What lies
// between is passed over, with the same outcome.
//
// Memory: about 4 bytes for each entry, 8 for one by which a group is found to lead to a member,
// and half as much again for free slots; 8 bytes a member when the dictionary has groups. There are
// at most four entries a member of the second kind. What would need more is left to the plain
// search, and so are groups that contain themselves, and members of one type that stand apart.
// Thread rule: `const` means safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_MEMBERINDEX_H
#define CPI_DICTINFO_STDDI_QUERY_MEMBERINDEX_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "cpi/dictinfo/stddi/query/elementnames.h"
#include "cpi/dictinfo/stddi/query/indexarray.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

class MemberIndex {
 public:
  // Behind every row.
  static constexpr std::int32_t kNoRow = std::numeric_limits<std::int32_t>::max();

  // Reads the tables of `dictionary` and the keys of `names`; both outlive this object. Throws
  // std::bad_alloc.
  MemberIndex(const StdDictionaryInfo& dictionary, const ElementNames& names);
  // One of which the arrays that visitArrays visits are to be filled in.
  struct WithoutArrays {};
  MemberIndex(const StdDictionaryInfo& dictionary, const ElementNames& names,
              WithoutArrays) noexcept;
  // As NameIndex has them.
  template <class Self, class Visit>
  static void visitArrays(Self& self, Visit&& visit) {
    visit(self.places_);
    visit(self.slots_);
    visit(self.groupSlots_);
  }
  // Whether all that is found among arrays that were filled in is a row, and each group one.
  bool isSound() const noexcept;
  MemberIndex(const MemberIndex&) = delete;
  MemberIndex& operator=(const MemberIndex&) = delete;

  // The key by which the members of a tag are found; nothing is found by -1.
  std::int32_t keyOfTag(std::int32_t tagIndex) const noexcept {
    if (static_cast<std::uint32_t>(tagIndex) >= tagCount_) return kNone;
    const std::int32_t key = names_.keyOfTag(tagIndex);
    return key == kNone ? tagIndex : key;
  }
  const ElementNames& names() const noexcept { return names_; }

  // Rows as they are; null when there is no such row.
  const SMD_STRUCTURE_ELEMENT_DEFINITION* member(std::int32_t row) const noexcept {
    return static_cast<std::uint32_t>(row) < memberCount_ ? rowAt(members_, row) : nullptr;
  }
  const SMD_TYPE_DEFINITION* type(std::int32_t row) const noexcept {
    return static_cast<std::uint32_t>(row) < typeCount_ ? rowAt(types_, row) : nullptr;
  }
  const SMD_TAG_DEFINITION* tag(std::int32_t row) const noexcept {
    return static_cast<std::uint32_t>(row) < tagCount_ ? rowAt(tags_, row) : nullptr;
  }

  // In all below `row` is one of Type Members. The members that stand beside one another, rows of
  // one parent type without another in between, are a run.

  // A number of the run, the same for all of its rows, or -1 when the members of this run have to
  // be looked at one by one.
  std::int64_t runOf(std::int32_t row) const noexcept {
    const bool isIndexed = places_.empty() || places_[asSize(row)].group != kUnindexed;
    return isIndexed ? std::int64_t{static_cast<std::uint32_t>(members_[row].ParentTypeId)} : kNone;
  }
  // The first row from `row` on in its run that carries a tag of this key, or is a group that may
  // lead to one; kNoRow when there is none. The run must be indexed.
  std::int32_t find(std::int32_t row, std::int32_t key) const noexcept;
  // The same for any `row`, of a member with no group in front of it; kNoRow also for a row that is
  // none and for a run that is not indexed.
  std::int32_t findBeforeGroups(std::int32_t row, std::int32_t key) const noexcept {
    if (member(row) == nullptr || runOf(row) < 0) return kNoRow;
    const std::int32_t found = findMember(row, key);
    return found < nextGroup(row) ? found : kNoRow;
  }
  // The first group from `row` on in its run, or kNoRow.
  std::int32_t nextGroup(std::int32_t row) const noexcept { return placeOf(row, &Place::group); }
  // The same for groups that must occur, and for groups that may admit an element without member.
  std::int32_t nextRequiredGroup(std::int32_t row) const noexcept {
    return placeOf(row, &Place::requiredGroup);
  }
  std::int32_t nextOpenGroup(std::int32_t row) const noexcept {
    return placeOf(row, &Place::openGroup);
  }
  // The first member from `row` on in its run that must occur and is no group, or kNoRow. Only for
  // dictionaries with groups; the rule that needs it is one of groups.
  std::int32_t nextRequired(std::int32_t row) const noexcept {
    return placeOf(row, &Place::required);
  }

  // What the index occupies beside the tables.
  std::size_t bytes() const noexcept {
    return sizeof *this + places_.bytes() + slots_.bytes() + groupSlots_.bytes();
  }

 private:
  friend class MemberIndexBuilder;

  // How many rows behind a member the next of a kind stands in its run.
  using Distance = std::uint16_t;
  static constexpr Distance kNowhere = 0xFFFF;
  static constexpr Distance kUnindexed = 0xFFFE;  // as the distance to a group: of all of a run
  struct Place {
    Distance group = kNowhere;
    Distance required = kNowhere;
    Distance requiredGroup = kNowhere;
    Distance openGroup = kNowhere;
  };
  struct GroupSlot {
    std::int32_t row = kNone;
    std::int32_t key = kNone;
  };

  // Steps after which a search for a slot ends: an entry that finds no slot by then makes its run
  // one that is not indexed.
  static constexpr std::size_t kMaximumSteps = 256;

  std::int32_t placeOf(std::int32_t row, Distance Place::*kind) const noexcept {
    if (places_.empty()) return kNoRow;
    const Distance distance = places_[asSize(row)].*kind;
    return distance >= kUnindexed ? kNoRow : row + distance;
  }
  bool isGroup(std::int32_t row) const noexcept;
  // Spares callers a test that they have made.
  template <class Row>
  static const Row* rowAt(const Row* rows, std::int32_t row) noexcept {
    const Row* const found = rows + row;
    if (found == nullptr) __builtin_unreachable();
    return found;
  }
  static std::size_t asSize(std::int32_t row) noexcept { return static_cast<std::size_t>(row); }
  static std::size_t slotOf(std::int64_t run, std::int32_t key, std::size_t slotCount) noexcept {
    // Two multiplications side by side: a move waits for this.
    const std::uint64_t hash = static_cast<std::uint64_t>(run) * 0xD6E8FEB86659FD93 +
                               static_cast<std::uint32_t>(key) * 0x9E3779B97F4A7C15;
    return static_cast<std::size_t>(((hash >> 32) * slotCount) >> 32);
  }
  // The first row from `row` on in its run that carries a tag of the key.
  std::int32_t findMember(std::int32_t row, std::int32_t key) const noexcept;
  // The first entry of the run and key from `row` on; entries have a row, -1 in a free slot.
  template <class Slot, class KeyOf>
  std::int32_t findIn(const IndexArray<Slot>& slots, std::int64_t run, std::int32_t row,
                      std::int32_t key, KeyOf keyOf) const noexcept;
  static std::int32_t rowOf(std::int32_t slot) noexcept { return slot; }
  static std::int32_t rowOf(const GroupSlot& slot) noexcept { return slot.row; }

  const ElementNames& names_;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* members_;
  const SMD_TYPE_DEFINITION* types_;
  const SMD_TAG_DEFINITION* tags_;
  std::uint32_t memberCount_;
  std::uint32_t typeCount_;
  std::uint32_t tagCount_;
  // Empty when the dictionary has no groups, and all runs are indexed.
  IndexArray<Place> places_;
  // The entries, those of one run and key in the order of their rows: the rows of members that are
  // no groups, by the keys of their tags, and of groups, by the keys that are found through them.
  IndexArray<std::int32_t> slots_;
  IndexArray<GroupSlot> groupSlots_;
};

template <class Slot, class KeyOf>
std::int32_t MemberIndex::findIn(const IndexArray<Slot>& slots, std::int64_t run, std::int32_t row,
                                 std::int32_t key, KeyOf keyOf) const noexcept {
  std::size_t place = slotOf(run, key, slots.size());
  for (std::size_t steps = 0; steps < kMaximumSteps; ++steps) {
    const Slot& slot = slots[place];
    const std::int32_t found = rowOf(slot);
    if (found == kNone) return kNoRow;
    const std::uint32_t parent = static_cast<std::uint32_t>(members_[found].ParentTypeId);
    if (found >= row && parent == run && keyOf(slot) == key) return found;
    if (++place == slots.size()) place = 0;
  }
  return kNoRow;
}

inline std::int32_t MemberIndex::findMember(std::int32_t row, std::int32_t key) const noexcept {
  const auto keyOfMember = [&](std::int32_t found) { return keyOfTag(members_[found].toTagIndex); };
  return findIn(slots_, runOf(row), row, key, keyOfMember);
}

inline std::int32_t MemberIndex::find(std::int32_t row, std::int32_t key) const noexcept {
  const std::int64_t run = runOf(row);
  const std::int32_t member = findMember(row, key);
  if (nextGroup(row) >= member) return member;
  const auto keyOfGroup = [](const GroupSlot& slot) { return slot.key; };
  return std::min(member, findIn(groupSlots_, run, row, key, keyOfGroup));
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_MEMBERINDEX_H
