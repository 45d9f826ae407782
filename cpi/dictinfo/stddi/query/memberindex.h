// MemberIndex: which member of a type, or which group among its members, leads to a tag.
//
// A search for a tag or a name walks the members of a type one by one. With this index it goes
// from one member to the next that matters: one that carries the tag, a group inside which the tag
// may stand, or one that changes how the search goes on although it does not match. What lies
// between is passed over, with the same outcome.
//
// Memory: 8 bytes a member, 12 more when the dictionary has groups, and 16 bytes for each entry,
// of which there are at most five a member: itself, and those by which the groups around it are
// found to lead to it. What would need more is left to the plain search, and so are groups that
// contain themselves. Thread rule: never changes once built, safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_MEMBERINDEX_H
#define CPI_DICTINFO_STDDI_QUERY_MEMBERINDEX_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

#include "cpi/dictinfo/stddi/query/elementnames.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

class MemberIndex {
 public:
  // Behind every row.
  static constexpr std::int32_t kNoRow = std::numeric_limits<std::int32_t>::max();

  // Reads the tables of `dictionary` and the keys of `names`; both outlive this object. Throws
  // std::bad_alloc.
  MemberIndex(const StdDictionaryInfo& dictionary, const ElementNames& names);
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
    return static_cast<std::uint32_t>(row) < memberCount_ ? members_ + row : nullptr;
  }
  const SMD_TYPE_DEFINITION* type(std::int32_t row) const noexcept {
    return static_cast<std::uint32_t>(row) < typeCount_ ? types_ + row : nullptr;
  }
  const SMD_TAG_DEFINITION* tag(std::int32_t row) const noexcept {
    return static_cast<std::uint32_t>(row) < tagCount_ ? tags_ + row : nullptr;
  }

  // In all below `row` is one of Type Members. The members that stand beside one another, rows of
  // one parent type without another in between, are a run.

  // The first row of the run, or -1 when the members of this run have to be looked at one by one.
  std::int32_t runOf(std::int32_t row) const noexcept { return places_[asSize(row)].run; }
  // The first row from `row` on in its run that carries a tag of this key, or is a group that may
  // lead to one; kNoRow when there is none. The run must be indexed.
  std::int32_t find(std::int32_t row, std::int32_t key) const noexcept;
  // The same for any `row`, of a member with no group in front of it; kNoRow also for a row that is
  // none and for a run that is not indexed.
  std::int32_t findBeforeGroups(std::int32_t row, std::int32_t key) const noexcept {
    if (member(row) == nullptr || runOf(row) < 0) return kNoRow;
    const std::int32_t found = find(row, key);
    return found < nextGroup(row) ? found : kNoRow;
  }
  // The first group from `row` on in its run, or kNoRow.
  std::int32_t nextGroup(std::int32_t row) const noexcept { return places_[asSize(row)].nextGroup; }
  // The same for groups that must occur, and for groups that may admit an element without member.
  std::int32_t nextRequiredGroup(std::int32_t row) const noexcept {
    return hints_.empty() ? kNoRow : hints_[asSize(row)].requiredGroup;
  }
  std::int32_t nextOpenGroup(std::int32_t row) const noexcept {
    return hints_.empty() ? kNoRow : hints_[asSize(row)].openGroup;
  }
  // The first member from `row` on in its run that must occur and is no group, or kNoRow. Only for
  // dictionaries with groups; the rule that needs it is one of groups.
  std::int32_t nextRequired(std::int32_t row) const noexcept {
    return hints_.empty() ? kNoRow : hints_[asSize(row)].required;
  }

  // What the index occupies beside the tables.
  std::size_t bytes() const noexcept {
    return sizeof *this + places_.size() * sizeof(Place) + hints_.size() * sizeof(Hint) +
           slots_.size() * sizeof(Slot);
  }

 private:
  friend class MemberIndexBuilder;

  struct Place {
    std::int32_t run;
    std::int32_t nextGroup;
  };
  struct Hint {
    std::int32_t required;
    std::int32_t requiredGroup;
    std::int32_t openGroup;
  };
  struct Slot {
    std::int32_t row = kNone;
    std::int32_t key = kNone;
  };

  // Steps after which a search for a slot ends: an entry that finds no slot by then makes its run
  // one that is not indexed.
  static constexpr std::size_t kMaximumSteps = 256;

  static std::size_t asSize(std::int32_t row) noexcept { return static_cast<std::size_t>(row); }
  std::size_t slotOf(std::int32_t run, std::int32_t key) const noexcept {
    // Two multiplications side by side: a move waits for this.
    const std::uint64_t hash = static_cast<std::uint32_t>(run) * 0xD6E8FEB86659FD93 +
                               static_cast<std::uint32_t>(key) * 0x9E3779B97F4A7C15;
    return static_cast<std::size_t>(((hash >> 32) * slots_.size()) >> 32);
  }

  const ElementNames& names_;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* members_;
  const SMD_TYPE_DEFINITION* types_;
  const SMD_TAG_DEFINITION* tags_;
  std::uint32_t memberCount_;
  std::uint32_t typeCount_;
  std::uint32_t tagCount_;
  std::vector<Place> places_;
  std::vector<Hint> hints_;  // empty when the dictionary has no groups
  std::vector<Slot> slots_;  // entries of one run and key in the order of their rows
};

inline std::int32_t MemberIndex::find(std::int32_t row, std::int32_t key) const noexcept {
  const std::int32_t run = runOf(row);
  std::size_t slot = slotOf(run, key);
  for (std::size_t steps = 0; steps < kMaximumSteps; ++steps) {
    const Slot& entry = slots_[slot];
    if (entry.row == kNone) return kNoRow;
    if (entry.key == key && entry.row >= row && runOf(entry.row) == run) return entry.row;
    if (++slot == slots_.size()) slot = 0;
  }
  return kNoRow;
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_MEMBERINDEX_H
