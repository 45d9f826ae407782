// IdLookup: finds the row of an id without a search.
//
// A view of what a dictionary derives from a column of ids when a load ends: nothing where the ids
// are consecutive, an array where they are dense, and otherwise a perfect hash, in which an id has
// one place where it can be. It serves StdDictionaryInfo, inline, and is not called by others.
// Thread rule: a value that never changes while its arrays live; safe to share.
#ifndef CPI_DICTINFO_STDDI_IDLOOKUP_H
#define CPI_DICTINFO_STDDI_IDLOOKUP_H

#include <cstdint>

#include "cpi/dictinfo/stddi/records.h"

namespace cpi {

// The arrays of a perfect hash of 64-bit keys, each of which has one row. A key belongs to a group;
// the group's factor sends each of its keys to a slot of its own. Slots without a key lead to row
// 0, so that whoever looks a key up has to compare the row's own key, and need do no more.
struct KeyHash {
  static constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;

  const std::uint16_t* factors = nullptr;  // by group; odd numbers
  const std::int32_t* rows = nullptr;      // by slot
  std::uint32_t groupShift = 63;
  std::uint32_t slotShift = 63;

  // The only row that may have `key`.
  std::int32_t candidate(std::uint64_t key) const noexcept {
    const std::uint64_t spread = key * kSpread;
    return rows[(spread * factors[spread >> groupShift]) >> slotShift];
  }
};

class IdLookup {
 public:
  enum class Kind : std::uint8_t { None, Consecutive, Dense, Sparse };

  // Knows nothing of the column: `isBuilt` is false.
  IdLookup() noexcept = default;
  // The ids from `low` on stand in `count` rows, one after the other.
  static IdLookup consecutive(std::int32_t low, std::uint32_t count) noexcept {
    IdLookup lookup;
    lookup.kind_ = Kind::Consecutive;
    lookup.low_ = static_cast<std::uint32_t>(low);
    lookup.count_ = count;
    return lookup;
  }
  // `rows` holds, from the id `low` on, the row of each of `count` ids, or -1.
  static IdLookup dense(std::int32_t low, std::uint32_t count, const std::int32_t* rows) noexcept {
    IdLookup lookup = consecutive(low, count);
    lookup.kind_ = Kind::Dense;
    lookup.hash_.rows = rows;
    return lookup;
  }
  static IdLookup sparse(const KeyHash& hash) noexcept {
    IdLookup lookup;
    lookup.kind_ = Kind::Sparse;
    lookup.hash_ = hash;
    return lookup;
  }

  bool isBuilt() const noexcept { return kind_ != Kind::None; }
  // The row whose member `id` is `wanted`, or -1. `records` are those of the column's table. Only
  // when isBuilt.
  template <class Record>
  std::int32_t find(std::int32_t wanted, const Record* records,
                    std::int32_t Record::*id) const noexcept {
    if (kind_ == Kind::Sparse) {
      const std::int32_t row = hash_.candidate(static_cast<std::uint32_t>(wanted));
      return records[row].*id == wanted ? row : kNone;
    }
    const std::uint32_t place = static_cast<std::uint32_t>(wanted) - low_;
    if (place >= count_) return kNone;
    return kind_ == Kind::Dense ? hash_.rows[place] : static_cast<std::int32_t>(place);
  }

 private:
  KeyHash hash_;
  std::uint32_t low_ = 0;
  std::uint32_t count_ = 0;
  Kind kind_ = Kind::None;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_IDLOOKUP_H
