// NameIndex: finds the rows of a name, and of a name in a namespace, without a scan.
//
// An open-addressing table of the distinct pairs of name and namespace. A slot leads straight to
// the text in the string table and to the first row of its pair; the slots of one name follow each
// other in row order on the way of a probe. So "the first row that matches wins" holds as in a
// scan. Thread rule: `const` means safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_NAMEINDEX_H
#define CPI_DICTINFO_STDDI_QUERY_NAMEINDEX_H

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include "cpi/dictinfo/stddi/query/indexarray.h"
#include "cpi/dictinfo/stddi/query/rangecheck.h"
#include "cpi/dictinfo/stddi/query/texthash.h"
#include "cpi/dictinfo/stddi/records.h"
#include "cpi/dictinfo/stringtable.h"

namespace cpi {

class NameIndex {
 public:
  // What may stand behind a name in the text of its row.
  enum class Ending : bool { Nothing, Spaces };

  // Not built: not to be asked.
  NameIndex() = default;
  // Indexes rows 0 to `rowCount` - 1 by `nameOf(row)`, an optional view into the texts of
  // `strings`, and by `spaceOf(row)`, the number of the row's namespace. Rows without a name are
  // left out. `keys` gets for each row the first one of the same name and namespace, or -1; it may
  // be null. Throws std::bad_alloc. Stops, see isComplete, when the names were made to collide.
  template <class NameOf, class SpaceOf>
  NameIndex(const StringTable* strings, Ending ending, std::int32_t rowCount, NameOf nameOf,
            SpaceOf spaceOf, IndexArray<std::int32_t>* keys = nullptr);

  // An index that was built from the same table before, once its array is filled in.
  NameIndex(const StringTable* strings, Ending ending, std::int32_t rowCount) noexcept;
  // Calls `visit` with each array that makes the index.
  template <class Visit>
  void visitArrays(Visit&& visit) {
    visit(slots_);
  }
  template <class Visit>
  void visitArrays(Visit&& visit) const {
    visit(slots_);
  }
  // Whether a look-up among slots that were filled in stays inside the table and ends.
  bool isSound(std::int32_t rowCount) const noexcept;

  bool isBuilt() const noexcept { return !slots_.empty(); }
  // Whether all rows are in; otherwise the answers are of no use.
  bool isComplete() const noexcept { return isComplete_; }
  // The first row of `name` that `isWanted`, which must say the same of all rows of one namespace;
  // -1 when there is none. No unit of `name` is 0.
  template <class IsWanted>
  std::int32_t find(std::u16string_view name, IsWanted isWanted) const noexcept;
  std::size_t bytes() const noexcept { return slots_.bytes(); }

 private:
  // From the lowest bit: the row, plus 1; where the name starts in the string table's buffer, in
  // units; as much of the hash as there is room for. 0: the slot is empty.
  using Slot = std::uint64_t;

  // The slots are no power of two: the upper bits of hash times count are the place.
  static std::size_t slotCountFor(std::size_t names) noexcept { return names + names / 4 + 1; }
  std::size_t placeOf(std::uint32_t hash) const noexcept {
    return static_cast<std::size_t>((std::uint64_t{hash} * slots_.size()) >> 32);
  }
  std::size_t after(std::size_t place) const noexcept {
    return place + 1 == slots_.size() ? 0 : place + 1;
  }
  std::int32_t rowOf(Slot slot) const noexcept {
    return static_cast<std::int32_t>(slot & ((Slot{1} << rowBits_) - 1)) - 1;
  }
  // In bytes.
  std::uint64_t textOf(Slot slot) const noexcept {
    return (slot & ((Slot{1} << hashShift_) - 1)) >> rowBits_ << 1;
  }
  bool isNamed(Slot slot, std::uint32_t hash, std::u16string_view name) const noexcept {
    return ((slot ^ (Slot{hash} << hashShift_)) >> hashShift_) == 0 && isText(textOf(slot), name);
  }
  bool isText(std::uint64_t start, std::u16string_view name) const noexcept;
  template <class NameOf>
  void shrink(std::size_t names, NameOf nameOf);

  const StringTable* strings_ = nullptr;
  Ending ending_ = Ending::Nothing;
  bool isComplete_ = true;
  std::uint8_t rowBits_ = 0;
  std::uint8_t hashShift_ = 0;
  IndexArray<Slot> slots_;
};

// A row takes at most 31 bits and a unit of a buffer of 4 GiB as many.
inline NameIndex::NameIndex(const StringTable* strings, Ending ending,
                            std::int32_t rowCount) noexcept
    : strings_(strings), ending_(ending) {
  const std::uint32_t units = strings == nullptr ? 0 : strings->bufferUsed / 2;
  const int rowBits = std::bit_width(static_cast<std::uint32_t>(rowCount));
  rowBits_ = static_cast<std::uint8_t>(rowBits);
  hashShift_ = static_cast<std::uint8_t>(rowBits + std::bit_width(units));
}

inline bool NameIndex::isText(std::uint64_t start, std::u16string_view name) const noexcept {
  const std::size_t bytes = name.size() * sizeof(char16_t);
  const unsigned char* const text = strings_->buffer + start;
  // A text that fits up to the end of the buffer has room for its terminator there too.
  if (bytes + sizeof(char16_t) > strings_->bufferUsed - start) return false;
  if (!texthash::isEqual(text, reinterpret_cast<const unsigned char*>(name.data()), bytes)) {
    return false;
  }
  const auto* rest = reinterpret_cast<const unsigned short*>(text + bytes);
  if (ending_ == Ending::Spaces) {
    while (*rest == u' ') ++rest;
  }
  return *rest == 0;
}

inline bool NameIndex::isSound(std::int32_t rowCount) const noexcept {
  const Slot units = strings_ == nullptr ? 0 : strings_->bufferUsed / 2;
  const Slot textEnd = std::max(units << rowBits_, Slot{1});  // an empty slot is inside
  const Slot textMask = (Slot{1} << hashShift_) - 1;
  const Slot rowMask = (Slot{1} << rowBits_) - 1;
  const auto rows = static_cast<Slot>(rowCount);
  const bool areInside = areAllUnmarked(slots_.elements(), [&](Slot slot) {
    return (rows - (slot & rowMask)) | (textEnd - 1 - (slot & textMask));
  });
  return areInside && std::ranges::find(slots_, Slot{0}) != slots_.end();
}

template <class IsWanted>
std::int32_t NameIndex::find(std::u16string_view name, IsWanted isWanted) const noexcept {
  const std::uint32_t hash = hashOf(name);
  for (std::size_t place = placeOf(hash); slots_[place] != 0; place = after(place)) {
    const Slot slot = slots_[place];
    if (isNamed(slot, hash, name) && isWanted(rowOf(slot))) return rowOf(slot);
  }
  return kNone;
}

// Where most rows repeat a name, the slots were too many by far. The rows go in again in order.
template <class NameOf>
void NameIndex::shrink(std::size_t names, NameOf nameOf) {
  if (names > slots_.size() / 2) return;
  IndexArray<Slot> old(slotCountFor(names));
  std::swap(old, slots_);
  std::vector<Slot> taken;
  std::ranges::copy_if(old, std::back_inserter(taken), [](Slot slot) { return slot != 0; });
  std::ranges::sort(taken, {}, [this](Slot slot) { return rowOf(slot); });
  for (const Slot slot : taken) {
    std::size_t place = placeOf(hashOf(*nameOf(rowOf(slot))));
    while (slots_[place] != 0) place = after(place);
    slots_[place] = slot;
  }
}

template <class NameOf, class SpaceOf>
NameIndex::NameIndex(const StringTable* strings, Ending ending, std::int32_t rowCount,
                     NameOf nameOf, SpaceOf spaceOf, IndexArray<std::int32_t>* keys)
    : NameIndex(strings, ending, rowCount) {
  const auto rows = static_cast<std::size_t>(rowCount);
  slots_ = IndexArray<Slot>(slotCountFor(rows));
  if (keys != nullptr) *keys = IndexArray<std::int32_t>(rows, kNone);
  // Names of a hostile dictionary may share one hash. Honest ones need a few steps each.
  constexpr std::size_t kStepsPerRow = 32;
  std::size_t stepsLeft = 1000 + kStepsPerRow * rows;
  std::size_t names = 0;
  for (std::int32_t row = 0; row < rowCount; ++row) {
    const std::optional<std::u16string_view> name = nameOf(row);
    if (!name.has_value()) continue;
    const std::uint32_t hash = hashOf(*name);
    std::size_t place = placeOf(hash);
    while (slots_[place] != 0 && !(isNamed(slots_[place], hash, *name) &&
                                   spaceOf(rowOf(slots_[place])) == spaceOf(row))) {
      place = after(place);
      isComplete_ = --stepsLeft != 0;
      if (!isComplete_) return;
    }
    if (slots_[place] == 0) {
      const auto* const start = reinterpret_cast<const unsigned char*>(name->data());
      const auto units = static_cast<std::uint64_t>(start - strings->buffer) / sizeof(char16_t);
      slots_[place] = Slot{hash} << hashShift_ | units << rowBits_ | static_cast<Slot>(row + 1);
      ++names;
    }
    if (keys != nullptr) (*keys)[static_cast<std::size_t>(row)] = rowOf(slots_[place]);
  }
  shrink(names, nameOf);
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_NAMEINDEX_H
