// NameIndex: finds the rows of a name, and of a name in a namespace, without a scan.
//
// An open-addressing table of the distinct names. A slot leads straight to the text in the string
// table and to the first row of the name; from there a chain goes through the first row of each
// further namespace that the name occurs in, in row order. So "the first row that matches wins"
// holds as in a scan. Thread rule: never changes once built, safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_NAMEINDEX_H
#define CPI_DICTINFO_STDDI_QUERY_NAMEINDEX_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string_view>

#include "cpi/dictinfo/stddi/query/indexarray.h"
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

  // An index that was built from the same table before, once its arrays are filled in.
  NameIndex(const StringTable* strings, Ending ending) : strings_(strings), ending_(ending) {}
  // Calls `visit` with each array that makes the index.
  template <class Visit>
  void visitArrays(Visit&& visit) {
    visit(slots_);
    visit(nextSpace_);
  }
  template <class Visit>
  void visitArrays(Visit&& visit) const {
    visit(slots_);
    visit(nextSpace_);
  }
  // Whether a look-up among arrays that were filled in stays inside the table and ends.
  bool isSound(std::int32_t rowCount) const noexcept;

  bool isBuilt() const noexcept { return !slots_.empty(); }
  // Whether all rows are in; otherwise the answers are of no use.
  bool isComplete() const noexcept { return isComplete_; }
  // The first row of `name`, or -1. No unit of `name` is 0.
  std::int32_t find(std::u16string_view name) const noexcept;
  // The first row of the same name in the next namespace, or -1.
  std::int32_t nextSpace(std::int32_t row) const noexcept {
    return nextSpace_.empty() ? kNone : nextSpace_[static_cast<std::size_t>(row)];
  }
  std::size_t bytes() const noexcept { return slots_.bytes() + nextSpace_.bytes(); }

 private:
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t text = 0;    // where the name starts in the string table's buffer
    std::int32_t row = kNone;  // the first of the name; -1: the slot is empty
  };

  // The slots are no power of two: the upper bits of hash times count are the place.
  static std::size_t slotCountFor(std::size_t names) noexcept { return names + names / 4 + 1; }
  std::size_t placeOf(std::uint32_t hash) const noexcept {
    return static_cast<std::size_t>((std::uint64_t{hash} * slots_.size()) >> 32);
  }
  std::size_t after(std::size_t place) const noexcept {
    return place + 1 == slots_.size() ? 0 : place + 1;
  }
  bool isNamed(const Slot& slot, std::u16string_view name) const noexcept;
  Slot& slotOf(std::uint32_t hash, std::u16string_view name, std::size_t& steps) noexcept;
  void shrink(std::size_t names);

  const StringTable* strings_ = nullptr;
  Ending ending_ = Ending::Nothing;
  bool isComplete_ = true;
  IndexArray<Slot> slots_;
  IndexArray<std::int32_t> nextSpace_;  // empty while no name has more than one namespace
};

inline bool NameIndex::isNamed(const Slot& slot, std::u16string_view name) const noexcept {
  const std::size_t bytes = name.size() * sizeof(char16_t);
  const unsigned char* const text = strings_->buffer + slot.text;
  // A text that fits up to the end of the buffer has room for its terminator there too.
  if (bytes + sizeof(char16_t) > strings_->bufferUsed - slot.text) return false;
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
  const auto rows = static_cast<std::uint32_t>(rowCount);
  const std::uint32_t textEnd = strings_ == nullptr ? 0 : strings_->bufferUsed;
  std::size_t taken = 0;
  std::uint32_t faults = 0;
  for (const Slot& slot : slots_) {
    if (slot.row == kNone) continue;
    ++taken;
    faults |= static_cast<std::uint32_t>(static_cast<std::uint32_t>(slot.row) >= rows) |
              static_cast<std::uint32_t>(slot.text >= textEnd) | (slot.text & 1);
  }
  if (faults != 0 || taken >= slots_.size()) return false;
  if (nextSpace_.empty()) return true;
  if (nextSpace_.size() != rows) return false;
  for (std::int32_t row = 0; row < rowCount; ++row) {
    const std::int32_t next = nextSpace(row);
    if (next != kNone && (next <= row || next >= rowCount)) return false;
  }
  return true;
}

inline std::int32_t NameIndex::find(std::u16string_view name) const noexcept {
  const std::uint32_t hash = hashOf(name);
  std::size_t place = placeOf(hash);
  for (;; place = after(place)) {
    const Slot& slot = slots_[place];
    if (slot.row == kNone || (slot.hash == hash && isNamed(slot, name))) return slot.row;
  }
}

// The slot of `name`, or the empty one where it belongs. There always is an empty one.
inline NameIndex::Slot& NameIndex::slotOf(std::uint32_t hash, std::u16string_view name,
                                          std::size_t& steps) noexcept {
  std::size_t place = placeOf(hash);
  for (; slots_[place].row != kNone; place = after(place), ++steps) {
    if (slots_[place].hash == hash && isNamed(slots_[place], name)) break;
  }
  return slots_[place];
}

// Where most rows repeat a name, the slots were too many by far.
inline void NameIndex::shrink(std::size_t names) {
  if (names > slots_.size() / 2) return;
  IndexArray<Slot> old(slotCountFor(names));
  std::swap(old, slots_);
  for (const Slot& slot : old) {
    if (slot.row == kNone) continue;
    std::size_t place = placeOf(slot.hash);
    while (slots_[place].row != kNone) place = after(place);
    slots_[place] = slot;
  }
}

template <class NameOf, class SpaceOf>
NameIndex::NameIndex(const StringTable* strings, Ending ending, std::int32_t rowCount,
                     NameOf nameOf, SpaceOf spaceOf, IndexArray<std::int32_t>* keys)
    : strings_(strings), ending_(ending), slots_(slotCountFor(static_cast<std::size_t>(rowCount))) {
  // Names of a hostile dictionary may share one hash. Honest ones need a few steps each.
  constexpr std::size_t kStepsPerRow = 32;
  const std::size_t maximumSteps = 1000 + kStepsPerRow * static_cast<std::size_t>(rowCount);
  if (keys != nullptr) *keys = IndexArray<std::int32_t>(static_cast<std::size_t>(rowCount), kNone);
  std::size_t steps = 0;
  std::size_t names = 0;
  for (std::int32_t row = 0; row < rowCount; ++row) {
    const std::optional<std::u16string_view> name = nameOf(row);
    if (!name.has_value()) continue;
    const std::uint32_t hash = hashOf(*name);
    Slot& slot = slotOf(hash, *name, steps);
    std::int32_t key = slot.row;
    if (key == kNone) {
      const auto* const start = reinterpret_cast<const unsigned char*>(name->data());
      slot = {hash, static_cast<std::uint32_t>(start - strings->buffer), row};
      key = row;
      ++names;
    }
    while (spaceOf(key) != spaceOf(row)) {
      ++steps;
      if (nextSpace_.empty())
        nextSpace_ = IndexArray<std::int32_t>(static_cast<std::size_t>(rowCount), kNone);
      std::int32_t& next = nextSpace_[static_cast<std::size_t>(key)];
      if (next == kNone) next = row;
      key = next;
    }
    if (keys != nullptr) (*keys)[static_cast<std::size_t>(row)] = key;
    if (steps > maximumSteps) {
      isComplete_ = false;
      return;
    }
  }
  shrink(names);
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_NAMEINDEX_H
