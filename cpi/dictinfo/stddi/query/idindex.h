// IdIndex and KeyIndex: the arrays behind look-ups by id and by pairs of ids.
//
// Thread rule: `const` means safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_IDINDEX_H
#define CPI_DICTINFO_STDDI_QUERY_IDINDEX_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "cpi/dictinfo/stddi/idlookup.h"
#include "cpi/dictinfo/stddi/query/indexarray.h"

namespace cpi {

// A perfect hash: keys to rows.
class KeyIndex {
 public:
  struct Entry {
    std::uint64_t key;
    std::int32_t row;
  };

  KeyIndex() = default;
  // Indexes entries of distinct keys. Throws std::bad_alloc. Without entries, and for keys that
  // were chosen to collide, isBuilt is false.
  explicit KeyIndex(const std::vector<Entry>& entries);
  KeyIndex(KeyIndex&&) noexcept = default;
  KeyIndex& operator=(KeyIndex&&) noexcept = default;

  bool isBuilt() const noexcept { return !slots_.empty(); }
  // Valid as long as this object.
  const KeyHash& hash() const noexcept { return hash_; }
  // As NameIndex has it.
  template <class Self, class Visit>
  static void visitArrays(Self& self, Visit&& visit) {
    visit(self.factors_);
    visit(self.slots_);
  }
  // Takes arrays that were filled in into use. False when a look-up among them would leave them, or
  // lead to a row that a table of `rowCount` rows has not.
  bool adopt(std::int32_t rowCount) noexcept;
  std::size_t bytes() const noexcept { return slots_.bytes() + factors_.bytes(); }

 private:
  void setHash() noexcept;
  bool place(const std::vector<Entry>& entries);
  std::uint16_t placeGroup(std::span<const Entry> group, std::int64_t& tries);

  IndexArray<std::uint16_t> factors_;
  IndexArray<KeyHash::Slot> slots_;
  KeyHash hash_;
};

// Where the ids of a strictly ascending column are. Columns in any other order are not indexed:
// which of several rows of an id a bisection reaches is for the bisection to say.
class IdIndex {
 public:
  // `idOf(row)` is the id of each of `rowCount` rows. Throws std::bad_alloc.
  template <class IdOf>
  IdIndex(std::int32_t rowCount, IdOf idOf);
  // Finds nothing until its arrays are filled in.
  IdIndex() = default;
  IdIndex(const IdIndex&) = delete;
  IdIndex& operator=(const IdIndex&) = delete;

  // Valid as long as this object; not built when the column is not indexed.
  const IdLookup& lookup() const noexcept { return lookup_; }
  std::size_t bytes() const noexcept { return places_.bytes() + keys_.bytes(); }
  // As KeyIndex has them.
  template <class Self, class Visit>
  static void visitArrays(Self& self, Visit&& visit) {
    visit(self.places_);
    KeyIndex::visitArrays(self.keys_, visit);
  }
  bool adopt(std::int32_t rowCount) noexcept;

 private:
  // A dense array costs as much as a sparse index, at most, up to two places an id.
  static constexpr std::int64_t kPlacesPerId = 2;

  static constexpr std::size_t kFirstRow = 2;
  void setLookup() noexcept;

  IdLookup lookup_;
  // Of ids that stand close: the first, how many places there are from there on, and the row at
  // each place unless the ids are consecutive.
  IndexArray<std::int32_t> places_;
  KeyIndex keys_;  // of the others
};

template <class IdOf>
IdIndex::IdIndex(std::int32_t rowCount, IdOf idOf) {
  for (std::int32_t row = 1; row < rowCount; ++row) {
    if (idOf(row) <= idOf(row - 1)) return;
  }
  std::int32_t low = rowCount == 0 ? 0 : idOf(0);
  std::int64_t places = rowCount == 0 ? 0 : std::int64_t{idOf(rowCount - 1)} - low + 1;
  if (places <= kPlacesPerId * rowCount) {
    const bool isConsecutive = places == rowCount;
    // An array that begins with id 0 is the quickest, where it is not much longer.
    if (!isConsecutive && low > 0 && places + low <= kPlacesPerId * rowCount) {
      places += std::exchange(low, 0);
    }
    const auto count = kFirstRow + (isConsecutive ? 0 : static_cast<std::size_t>(places));
    places_ = IndexArray<std::int32_t>(count, kNone);
    places_[0] = low;
    places_[1] = static_cast<std::int32_t>(places);
    for (std::int32_t row = 0; row < rowCount && !isConsecutive; ++row) {
      places_[kFirstRow + static_cast<std::size_t>(std::int64_t{idOf(row)} - low)] = row;
    }
  } else {
    std::vector<KeyIndex::Entry> entries;
    entries.reserve(static_cast<std::size_t>(rowCount));
    for (std::int32_t row = 0; row < rowCount; ++row) {
      entries.push_back({static_cast<std::uint32_t>(idOf(row)), row});
    }
    keys_ = KeyIndex(entries);
  }
  setLookup();
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_IDINDEX_H
