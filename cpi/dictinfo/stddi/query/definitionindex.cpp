#include "cpi/dictinfo/stddi/query/definitionindex.h"

#include <algorithm>
#include <map>
#include <utility>
#include <vector>

namespace cpi {

namespace {

using Entry = KeyIndex::Entry;

std::uint64_t keyOf(std::int32_t a, std::int32_t b) noexcept {
  return std::uint64_t{static_cast<std::uint32_t>(a)} << 32 | static_cast<std::uint32_t>(b);
}

// Leaves the first entry of each key.
void sortFirsts(std::vector<Entry>& entries) {
  std::ranges::sort(entries, {},
                    [](const Entry& entry) { return std::pair(entry.key, entry.row); });
  const auto isSame = [](const Entry& a, const Entry& b) { return a.key == b.key; };
  entries.erase(std::unique(entries.begin(), entries.end(), isSame), entries.end());
}

}  // namespace

DefinitionIndex::DefinitionIndex(const MemberTable& members, const TypeTable& types,
                                 const OverrideTable& overrides)
    : DefinitionIndex(members, overrides, WithoutArrays()) {
  indexWideRuns();
  indexLogicalTypes(types);
  indexOverrides();
}

bool DefinitionIndex::adopt(const TypeTable& types) noexcept {
  if (!tagsOfRuns_.adopt(members_.rowCount()) || !overrideKeys_.adopt(overrides_.rowCount())) {
    return false;
  }
  const auto isInside = [this](std::int32_t row) { return row >= 0 && row <= members_.rowCount(); };
  const bool isAscending =
      std::ranges::is_sorted(wideRuns_) && std::ranges::all_of(wideRuns_, isInside);
  const auto isType = [&](const LogicalType& type) { return types.contains(type.row); };
  if (!isAscending || !std::ranges::all_of(logicalTypes_, isType)) return false;
  const auto rows = static_cast<std::uint32_t>(overrides_.rowCount());
  const auto isCount = [rows](std::int32_t count) {
    return static_cast<std::uint32_t>(count) <= rows;
  };
  return overrideCounts_.size() == (hasOverrides() ? rows : 0) &&
         std::ranges::all_of(overrideCounts_, isCount);
}

// Where the wide runs start and end. The others are told by their members.
std::vector<std::int32_t> DefinitionIndex::findWideRuns() const {
  const auto* const rows = members_.records();
  std::vector<std::int32_t> bounds;
  for (std::int32_t first = 0; first < members_.rowCount();) {
    std::int32_t end = first + 1;
    while (end < members_.rowCount() && rows[end].ParentTypeId == rows[first].ParentTypeId) ++end;
    if (end - first > kNarrowRun) {
      if (bounds.empty() || bounds.back() != first) bounds.push_back(first);
      bounds.push_back(end);
    }
    first = end;
  }
  return bounds;
}

void DefinitionIndex::indexWideRuns() {
  wideRuns_ = IndexArray<std::int32_t>(findWideRuns());
  std::vector<Entry> entries;
  std::int32_t first = kNone;
  for (std::int32_t row = 0; row < members_.rowCount(); ++row) {
    const bool isInRun = first != kNone && members_.records()[row].ParentTypeId ==
                                               members_.records()[first].ParentTypeId;
    if (!isInRun) first = std::ranges::binary_search(wideRuns_, row) ? row : kNone;
    if (first != kNone) entries.push_back({keyOf(first, members_.records()[row].ChildTagId), row});
  }
  sortFirsts(entries);
  tagsOfRuns_ = KeyIndex(entries);
}

void DefinitionIndex::indexLogicalTypes(const TypeTable& types) {
  std::map<std::int32_t, std::int32_t> firstRows;
  std::int32_t previous = 0;  // types of one kind often stand together; 0 is never asked for
  for (std::int32_t row = 0; row < types.rowCount(); ++row) {
    const std::int32_t logicalType = types.records()[row].LogicalType;
    if (logicalType != previous && logicalType != 0) firstRows.emplace(logicalType, row);
    previous = logicalType;
  }
  std::vector<LogicalType> found;
  found.reserve(firstRows.size());
  for (const auto& [code, row] : firstRows) found.push_back({code, row});
  logicalTypes_ = IndexArray<LogicalType>(found);
}

void DefinitionIndex::indexOverrides() {
  const auto keyOfRow = [&](std::int32_t row) {
    const SMD_PATH_BASED_DEFINITION& record = overrides_.records()[row];
    return keyOf(record.MsgId, record.EndFieldId);
  };
  std::vector<Entry> entries;
  for (std::int32_t row = 0; row < overrides_.rowCount(); ++row) {
    entries.push_back({keyOfRow(row), row});
  }
  sortFirsts(entries);
  overrideKeys_ = KeyIndex(entries);
  if (!hasOverrides()) return;
  overrideCounts_ = IndexArray<std::int32_t>(static_cast<std::size_t>(overrides_.rowCount()));
  for (std::int32_t row = 0; row < overrides_.rowCount(); ++row) {
    ++overrideCounts_[static_cast<std::size_t>(overrideKeys_.hash().slotOf(keyOfRow(row)).row)];
  }
}

std::int32_t DefinitionIndex::runEnd(std::int32_t row) const noexcept {
  const auto* const first = members_.records() + row;
  const std::int32_t near = std::min(kNarrowRun, members_.rowCount() - row);
  for (std::int32_t i = 1; i < near; ++i) {
    if (first[i].ParentTypeId != first->ParentTypeId) return row + i;
  }
  const auto* const bound = std::ranges::upper_bound(wideRuns_, row);
  return bound == wideRuns_.end() ? members_.rowCount() : *bound;
}

bool DefinitionIndex::isIndexedRun(std::int32_t first) const noexcept {
  return tagsOfRuns_.isBuilt() && std::ranges::binary_search(wideRuns_, first);
}

std::int32_t DefinitionIndex::firstOfTag(std::int32_t first, std::int32_t tagId) const noexcept {
  const std::int32_t row = tagsOfRuns_.hash().slotOf(keyOf(first, tagId)).row;
  const bool isInRun = row >= first && row < runEnd(first);
  return isInRun && members_.records()[row].ChildTagId == tagId ? row : kNone;
}

std::int32_t DefinitionIndex::firstOfLogicalType(std::int32_t logicalType) const noexcept {
  const auto* const found =
      std::ranges::lower_bound(logicalTypes_, logicalType, {}, &LogicalType::code);
  return found != logicalTypes_.end() && found->code == logicalType ? found->row : kNone;
}

DefinitionIndex::Overrides DefinitionIndex::overridesOf(std::int32_t msgId,
                                                        std::int32_t endFieldId) const noexcept {
  const std::int32_t row = overrideKeys_.hash().slotOf(keyOf(msgId, endFieldId)).row;
  const SMD_PATH_BASED_DEFINITION& record = overrides_.records()[row];
  if (record.MsgId != msgId || record.EndFieldId != endFieldId) return {};
  return {row, overrideCounts_[static_cast<std::size_t>(row)]};
}

std::size_t DefinitionIndex::bytes() const noexcept {
  return wideRuns_.bytes() + tagsOfRuns_.bytes() + logicalTypes_.bytes() + overrideKeys_.bytes() +
         overrideCounts_.bytes();
}

}  // namespace cpi
