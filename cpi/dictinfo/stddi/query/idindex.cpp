#include "cpi/dictinfo/stddi/query/idindex.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <numeric>
#include <span>
#include <utility>

#include "cpi/dictinfo/stddi/query/rangecheck.h"

namespace cpi {

namespace {

constexpr std::size_t kKeysPerGroup = 4;
// More keys than chance puts into one group; such keys were chosen, and are left to a search.
constexpr std::size_t kMaximumGroup = 64;
constexpr std::uint32_t kFactorEnd = 1 << 16;

using Entry = KeyIndex::Entry;

std::uint64_t spreadOf(const Entry& entry) noexcept { return entry.key * KeyHash::kSpread; }

constexpr KeyHash::Slot kEmpty{0, kNone};

KeyHash::Slot slotFor(const Entry& entry) noexcept {
  return {static_cast<std::uint32_t>(entry.key), entry.row};
}

std::uint32_t shiftFor(std::size_t places) noexcept {
  return 64 - static_cast<std::uint32_t>(std::countr_zero(places));
}

// The entries by group, and the groups by size.
class Groups {
 public:
  Groups(const std::vector<Entry>& entries, std::size_t count, std::uint32_t shift)
      : starts_(count + 1), order_(entries.size()) {
    for (const Entry& entry : entries) ++starts_[spreadOf(entry) >> shift];
    largest_ = *std::ranges::max_element(starts_);
    std::partial_sum(starts_.begin(), starts_.end(), starts_.begin());
    // Filled from its end, each group has its start in the end.
    for (std::size_t i = entries.size(); i-- > 0;) {
      order_[--starts_[spreadOf(entries[i]) >> shift]] = entries[i];
    }
  }

  std::size_t largest() const noexcept { return largest_; }
  std::size_t count() const noexcept { return starts_.size() - 1; }
  std::span<const Entry> group(std::size_t number) const noexcept {
    return std::span(order_).subspan(starts_[number], starts_[number + 1] - starts_[number]);
  }

 private:
  std::vector<std::uint32_t> starts_;
  std::vector<Entry> order_;
  std::size_t largest_ = 0;
};

}  // namespace

KeyIndex::KeyIndex(const std::vector<Entry>& entries) {
  if (entries.empty()) return;
  // At least two of each, for a shift by 64 bits is none.
  factors_ = IndexArray<std::uint16_t>(
      std::bit_ceil(std::max(entries.size() / kKeysPerGroup, std::size_t{2})));
  slots_ = IndexArray<KeyHash::Slot>(entries.size() + entries.size() / 4 + 1, kEmpty);
  setHash();
  if (place(entries)) {
    const KeyHash::Slot any = slotFor(entries.front());
    for (std::size_t i = 0; i < slots_.size(); ++i) {
      if (slots_[i].row == kNone) slots_[i] = any;
    }
  } else {
    *this = KeyIndex();
  }
}

void KeyIndex::setHash() noexcept {
  hash_ = {factors_.data(), slots_.data(), shiftFor(factors_.size()),
           static_cast<std::uint32_t>(slots_.size())};
}

bool KeyIndex::adopt(std::int32_t rowCount) noexcept {
  if (factors_.empty() && slots_.empty()) return true;
  const bool areRows = areAllUnmarked(slots_.elements(), [rowCount](const KeyHash::Slot& slot) {
    const auto row = static_cast<std::uint32_t>(slot.row);
    return row | (static_cast<std::uint32_t>(rowCount) - 1 - row);
  });
  constexpr std::size_t kMaximumSlots = std::numeric_limits<std::uint32_t>::max();
  if (!areRows || slots_.empty() || slots_.size() > kMaximumSlots || factors_.size() < 2 ||
      !std::has_single_bit(factors_.size())) {
    return false;
  }
  setHash();
  return true;
}

// Large groups first, while there is room.
bool KeyIndex::place(const std::vector<Entry>& entries) {
  const Groups groups(entries, factors_.size(), hash_.groupShift);
  if (groups.largest() > kMaximumGroup) return false;
  std::vector<std::vector<std::uint32_t>> groupsOfSize(groups.largest() + 1);
  for (std::uint32_t group = 0; group < groups.count(); ++group) {
    groupsOfSize[groups.group(group).size()].push_back(group);
  }
  // Chance needs a few tries a group; keys that were chosen must not take forever.
  std::int64_t tries = 1000 + 32 * static_cast<std::int64_t>(entries.size());
  for (std::size_t size = groups.largest(); size > 0; --size) {
    for (const std::uint32_t group : groupsOfSize[size]) {
      factors_[group] = placeGroup(groups.group(group), tries);
      if (factors_[group] == 0) return false;
    }
  }
  return true;
}

// Gives each entry of a group the slot to which the factor found sends it; 0 when there is none.
std::uint16_t KeyIndex::placeGroup(std::span<const Entry> group, std::int64_t& tries) {
  for (std::uint32_t factor = 1; factor < kFactorEnd && tries > 0; factor += 2, --tries) {
    const auto slotOf = [&](const Entry& entry) -> KeyHash::Slot& {
      return slots_[KeyHash::place(spreadOf(entry), factor, slots_.size())];
    };
    std::size_t placed = 0;
    for (; placed < group.size() && slotOf(group[placed]).row == kNone; ++placed) {
      slotOf(group[placed]) = slotFor(group[placed]);
    }
    if (placed == group.size()) return static_cast<std::uint16_t>(factor);
    for (const Entry& entry : group.first(placed)) slotOf(entry) = kEmpty;
  }
  return 0;
}

void IdIndex::setLookup() noexcept {
  const std::int32_t* const places = std::as_const(places_).data();
  if (!places_.empty()) {
    const bool hasRows = places_.size() > kFirstRow;
    lookup_ = IdLookup::dense(places[0], static_cast<std::uint32_t>(places[1]),
                              hasRows ? places + kFirstRow : nullptr);
  } else if (keys_.isBuilt()) {
    lookup_ = IdLookup::sparse(keys_.hash());
  }
}

bool IdIndex::adopt(std::int32_t rowCount) noexcept {
  if (!keys_.adopt(rowCount)) return false;
  if (!places_.empty()) {
    if (places_.size() < kFirstRow) return false;
    const std::int32_t* const places = std::as_const(places_).data();
    const std::span rows(places + kFirstRow, places_.size() - kFirstRow);
    const std::size_t reached = rows.empty() ? static_cast<std::size_t>(rowCount) : rows.size();
    if (!areRowsOrNone(rows, rowCount) || static_cast<std::uint32_t>(places[1]) > reached)
      return false;
  }
  setLookup();
  return true;
}

}  // namespace cpi
