// NameIndex: finds the rows of a name without a scan.
//
// An open-addressing table of the first row of each distinct name, and for each row the next one of
// the same name, in row order: so that "the first row that matches wins" holds as in a scan. Names
// themselves stay in the string table; 12 to 20 bytes a row are kept here. Thread rule: never
// changes once built, safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_NAMEINDEX_H
#define CPI_DICTINFO_STDDI_QUERY_NAMEINDEX_H

#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "cpi/dictinfo/stddi/records.h"

namespace cpi {

class NameIndex {
 public:
  // Indexes rows 0 to `rowCount` - 1 by `nameOf(row)`, an optional view; rows without one are left
  // out. Throws std::bad_alloc.
  template <class NameOf>
  NameIndex(std::int32_t rowCount, NameOf nameOf)
      : slots_(std::bit_ceil(static_cast<std::size_t>(rowCount) * 2 + 1), kNone),
        next_(static_cast<std::size_t>(rowCount), kNone) {
    std::vector<std::int32_t> last(next_.size());  // of the chain that starts at a row
    for (std::int32_t row = 0; row < rowCount; ++row) {
      const std::optional<std::u16string_view> name = nameOf(row);
      if (!name.has_value()) continue;
      std::int32_t& first = slotOf(*name, nameOf);
      if (first == kNone) {
        first = row;
      } else {
        next_[static_cast<std::size_t>(last[static_cast<std::size_t>(first)])] = row;
      }
      last[static_cast<std::size_t>(first)] = row;
    }
  }

  // The first row of `name` that `accepts` it, or -1. `nameOf` must be that of the construction.
  template <class NameOf, class Accepts>
  std::int32_t find(std::u16string_view name, NameOf nameOf, Accepts accepts) const {
    std::int32_t row = slots_[slotIndex(name, nameOf)];
    while (row != kNone && !accepts(row)) row = next_[static_cast<std::size_t>(row)];
    return row;
  }

 private:
  // The slot that holds the first row of `name`, or the empty one where it belongs. There is
  // always an empty slot: at most half of them are taken.
  template <class NameOf>
  std::size_t slotIndex(std::u16string_view name, NameOf nameOf) const {
    std::size_t slot = std::hash<std::u16string_view>()(name) & (slots_.size() - 1);
    while (slots_[slot] != kNone && nameOf(slots_[slot]) != name) {
      slot = (slot + 1) & (slots_.size() - 1);
    }
    return slot;
  }
  template <class NameOf>
  std::int32_t& slotOf(std::u16string_view name, NameOf nameOf) {
    return slots_[slotIndex(name, nameOf)];
  }

  std::vector<std::int32_t> slots_;
  std::vector<std::int32_t> next_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_NAMEINDEX_H
