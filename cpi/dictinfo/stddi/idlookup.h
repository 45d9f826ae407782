// IdLookup: finds the row of an id without a search.
//
// A view of what a dictionary derives from a column of ids when a load ends: nothing where the ids
// are consecutive, an array where they are dense, and otherwise a perfect hash, in which an id has
// one place where it can be. It serves StdDictionaryInfo, inline, and is not called by others.
// Thread rule: `const` means safe to share.
#ifndef CPI_DICTINFO_STDDI_IDLOOKUP_H
#define CPI_DICTINFO_STDDI_IDLOOKUP_H

#include <cstdint>

#include "cpi/dictinfo/stddi/records.h"

namespace cpi {

// The arrays of a perfect hash of 64-bit keys, each of which has one row. A key belongs to a group;
// the group's factor sends each of its keys to a slot of its own. Slots without a key repeat
// another one, so that whoever looks a key up has to compare, and need do no more.
struct KeyHash {
  struct Slot {
    std::uint32_t key;  // the lower half
    std::int32_t row;
  };
  static constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;

  const std::uint16_t* factors = nullptr;  // by group; odd numbers
  const Slot* slots = nullptr;
  std::uint32_t groupShift = 63;
  std::uint32_t slotCount = 0;

  static std::uint64_t place(std::uint64_t spread, std::uint64_t factor,
                             std::uint64_t slotCount) noexcept {
    return ((spread * factor) >> 32) * slotCount >> 32;
  }
  // The only slot that may have `key`.
  const Slot& slotOf(std::uint64_t key) const noexcept {
    const std::uint64_t spread = key * kSpread;
    return slots[place(spread, factors[spread >> groupShift], slotCount)];
  }
};

class IdLookup {
 public:
  // Knows nothing of the column: `isBuilt` is false.
  IdLookup() noexcept = default;
  // The row of each of `count` ids from `low` on, -1 for one that no row has. Without `rows` the
  // ids stand one after the other in as many rows.
  static IdLookup dense(std::int32_t low, std::uint32_t count, const std::int32_t* rows) noexcept {
    IdLookup lookup;
    lookup.low_ = static_cast<std::uint32_t>(low);
    lookup.count_ = count;
    lookup.rows_ = rows;
    lookup.countFromZero_ = low == 0 && rows != nullptr ? count : 0;
    lookup.isBuilt_ = true;
    return lookup;
  }
  static IdLookup sparse(const KeyHash& hash) noexcept {
    IdLookup lookup;
    lookup.hash_ = hash;
    lookup.isBuilt_ = true;
    return lookup;
  }

  bool isBuilt() const noexcept { return isBuilt_; }
  // Whether the row of `wanted` stands at that place of an array, which is then `rowAtId`: the
  // usual case, with nothing more to load or to compare than it takes.
  bool isInArray(std::int32_t wanted) const noexcept {
    return static_cast<std::uint32_t>(wanted) < countFromZero_;
  }
  std::int32_t rowAtId(std::int32_t wanted) const noexcept { return rows_[wanted]; }
  // Whether `wanted` is among the ids of a dense column, whose row is then `denseRow`.
  bool isDense(std::int32_t wanted) const noexcept { return placeOf(wanted) < count_; }
  std::int32_t denseRow(std::int32_t wanted) const noexcept {
    const std::uint32_t place = placeOf(wanted);
    return rows_ == nullptr ? static_cast<std::int32_t>(place) : rows_[place];
  }
  // The row of an id that isDense does not admit, or -1. Only when isBuilt.
  std::int32_t sparseRow(std::int32_t wanted) const noexcept {
    if (hash_.slots == nullptr) return kNone;
    const KeyHash::Slot& slot = hash_.slotOf(static_cast<std::uint32_t>(wanted));
    return slot.key == static_cast<std::uint32_t>(wanted) ? slot.row : kNone;
  }
  // The row of the id, or -1. Only when isBuilt.
  std::int32_t find(std::int32_t wanted) const noexcept {
    return isDense(wanted) ? denseRow(wanted) : sparseRow(wanted);
  }

 private:
  std::uint32_t placeOf(std::int32_t wanted) const noexcept {
    return static_cast<std::uint32_t>(wanted) - low_;
  }

  std::uint32_t countFromZero_ = 0;  // of an array that begins with id 0
  std::uint32_t low_ = 0;
  std::uint32_t count_ = 0;
  const std::int32_t* rows_ = nullptr;
  KeyHash hash_;
  bool isBuilt_ = false;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_IDLOOKUP_H
