#include "cpi/dictinfo/stddi/query/memberindex.h"

#include <algorithm>
#include <utility>

#include "cpi/dictinfo/stddi/query/rangecheck.h"

namespace cpi {

namespace {

// Limits beyond which members are looked at one by one. A search may pass over as many candidates
// as are reached through one level and still stay far below the cost at which it gives up, so that
// it ends the same way whether it passes over them or not.
constexpr std::int64_t kMaximumReach = 40'000;
constexpr std::int32_t kMaximumDepth = 32;
// For each member of the dictionary: keys that groups are entered by, and steps of the analysis.
constexpr std::int64_t kKeysPerMember = 4;
constexpr std::int64_t kStepsPerMember = 8;

using Member = SMD_STRUCTURE_ELEMENT_DEFINITION;

}  // namespace

// Builds an index: what each group leads to, then the runs, then the entries.
class MemberIndexBuilder {
 public:
  explicit MemberIndexBuilder(MemberIndex& index)
      : index_(index),
        rowCount_(static_cast<std::int32_t>(index.memberCount_)),
        stepsLeft_(kStepsPerMember * rowCount_ + 64) {}

  void build() {
    findRuns();
    dropRepeatedRuns();
    if (hasGroups_) {
      groupOfType_.assign(index_.typeCount_, kUnseen);
      for (std::int32_t row = 0; row < rowCount_; ++row) {
        if (isGroup(row)) analyse(index_.members_[row].toTypeIndex, 0);
      }
      makePlaces();
    }
    for (Run& run : runs_) {
      if (run.isIndexed) checkRun(run);
    }
    index_.slots_ = IndexArray<std::int32_t>(slotCountFor(memberEntries_), kNone);
    index_.groupSlots_ = IndexArray<MemberIndex::GroupSlot>(slotCountFor(groupEntries_));
    for (Run& run : runs_) {
      if (run.isIndexed && hasGroups_) findPlaces(run);
      if (run.isIndexed) run.isIndexed = addRows(run);
      if (!run.isIndexed) leaveOut(run);
    }
  }

 private:
  static constexpr std::int32_t kNoRow = MemberIndex::kNoRow;
  static constexpr std::int32_t kUnseen = -1;
  static constexpr std::int32_t kIrregular = -2;  // also while it is analysed: it contains itself

  // What a search that enters a type's group may meet.
  struct Group {
    std::int64_t reach = 0;          // candidates
    bool isOpen = false;             // an element without member may be placed
    std::vector<std::int32_t> keys;  // in ascending order
  };

  // Members that stand beside one another.
  struct Run {
    std::int32_t first;
    std::int32_t end;
    bool isIndexed = true;
  };

  static std::size_t slotCountFor(std::int64_t entries) {
    return static_cast<std::size_t>(entries + entries / 2 + 1);
  }
  std::int32_t& groupOfType(std::int32_t type) {
    return groupOfType_[static_cast<std::size_t>(type)];
  }
  const Group& groupAt(std::int32_t row) {
    return groups_[static_cast<std::size_t>(groupOfType(index_.members_[row].toTypeIndex))];
  }
  bool isGroup(std::int32_t row) const noexcept { return index_.isGroup(row); }
  std::int32_t parentOf(std::int32_t row) const { return index_.members_[row].ParentTypeId; }
  bool isInRunOf(std::int32_t row, std::int32_t other) const {
    return row < rowCount_ && parentOf(row) == parentOf(other);
  }

  void findRuns() {
    for (std::int32_t row = 0; row < rowCount_; ++row) {
      if (row == 0 || !isInRunOf(row, row - 1)) runs_.push_back({row, row});
      runs_.back().end = row + 1;
      hasGroups_ |= isGroup(row);
    }
  }

  // A run is known by its parent type: those that share one are left out.
  void dropRepeatedRuns() {
    const auto parent = [this](const Run* run) { return parentOf(run->first); };
    std::vector<Run*> runs;
    runs.reserve(runs_.size());
    for (Run& run : runs_) runs.push_back(&run);
    if (!std::ranges::is_sorted(runs, {}, parent)) std::ranges::sort(runs, {}, parent);
    for (std::size_t i = 1; i < runs.size(); ++i) {
      if (parent(runs[i]) != parent(runs[i - 1])) continue;
      runs[i]->isIndexed = runs[i - 1]->isIndexed = false;
    }
  }

  // Makes the group of a type known, and those inside it. False when it is irregular: it contains
  // itself, its composition is none, or it leads to too much.
  bool analyse(std::int32_t type, std::int32_t depth) {
    if (groupOfType(type) != kUnseen) return groupOfType(type) != kIrregular;
    if (depth > kMaximumDepth) return false;
    groupOfType(type) = kIrregular;
    const SMD_TYPE_DEFINITION& definition = index_.types_[type];
    if (definition.Composition < TYPE_SINGLE || definition.Composition > TYPE_MESSAGE) return false;
    Group group;
    group.isOpen = definition.Content != CONTENT_CLOSED;
    const std::int32_t first = definition.ToTypeMbrIndex;
    if (index_.member(first) != nullptr) {
      for (std::int32_t row = first; isInRunOf(row, first); ++row) {
        if (!addToGroup(group, row, depth)) return false;
      }
    }
    std::sort(group.keys.begin(), group.keys.end());
    group.keys.erase(std::unique(group.keys.begin(), group.keys.end()), group.keys.end());
    groupOfType(type) = static_cast<std::int32_t>(groups_.size());
    groups_.push_back(std::move(group));
    return true;
  }

  bool addToGroup(Group& group, std::int32_t row, std::int32_t depth) {
    group.reach += 1;
    stepsLeft_ -= 1;
    if (isGroup(row)) {
      if (!analyse(index_.members_[row].toTypeIndex, depth + 1)) return false;
      const Group& inner = groupAt(row);
      group.reach += inner.reach;
      stepsLeft_ -= static_cast<std::int64_t>(inner.keys.size());
      if (stepsLeft_ < 0) return false;
      group.isOpen |= inner.isOpen;
      group.keys.insert(group.keys.end(), inner.keys.begin(), inner.keys.end());
    } else if (const std::int32_t key = keyOf(row); key != kNone) {
      group.keys.push_back(key);
    }
    return group.reach <= kMaximumReach && stepsLeft_ >= 0;
  }

  std::int32_t keyOf(std::int32_t row) const {
    return index_.keyOfTag(index_.members_[row].toTagIndex);
  }

  // Counts the entries; takes a run out that leads to something irregular or to too much.
  void checkRun(Run& run) {
    std::int64_t reach = run.end - run.first;
    std::int64_t groups = 0;
    std::int64_t groupKeys = 0;
    for (std::int32_t row = run.first; hasGroups_ && row < run.end; ++row) {
      if (!isGroup(row)) continue;
      run.isIndexed &= groupOfType(index_.members_[row].toTypeIndex) >= 0;
      if (!run.isIndexed) return;
      reach += groupAt(row).reach;
      groupKeys += static_cast<std::int64_t>(groupAt(row).keys.size());
      ++groups;
    }
    run.isIndexed = reach <= kMaximumReach && groupKeys <= keysLeft_;
    if (!run.isIndexed) return;
    keysLeft_ -= groupKeys;
    memberEntries_ += run.end - run.first - groups;
    groupEntries_ += groupKeys;
  }

  void makePlaces() {
    if (index_.places_.empty()) index_.places_ = IndexArray<MemberIndex::Place>(asSize(rowCount_));
  }

  // The last that was seen of each kind, going backwards.
  void findPlaces(Run& run) {
    std::int32_t group = kNoRow, required = kNoRow, requiredGroup = kNoRow, openGroup = kNoRow;
    for (std::int32_t row = run.end; row-- > run.first;) {
      const bool isRequired = index_.members_[row].MinOccurs > 0;
      if (isGroup(row)) {
        group = row;
        if (isRequired) requiredGroup = row;
        if (groupAt(row).isOpen) openGroup = row;
      } else if (isRequired) {
        required = row;
      }
      index_.places_[asSize(row)] = {distance(row, group, run), distance(row, required, run),
                                     distance(row, requiredGroup, run),
                                     distance(row, openGroup, run)};
    }
  }

  static MemberIndex::Distance distance(std::int32_t row, std::int32_t next, Run& run) {
    if (next == kNoRow) return MemberIndex::kNowhere;
    if (next - row >= MemberIndex::kUnindexed) run.isIndexed = false;
    return static_cast<MemberIndex::Distance>(next - row);
  }

  void leaveOut(const Run& run) {
    makePlaces();
    for (std::int32_t row = run.first; row < run.end; ++row) {
      index_.places_[asSize(row)] = {.group = MemberIndex::kUnindexed};
    }
  }

  bool addRows(const Run& run) {
    const std::int64_t number = static_cast<std::uint32_t>(parentOf(run.first));
    for (std::int32_t row = run.first; row < run.end; ++row) {
      if (hasGroups_ && isGroup(row)) {
        for (const std::int32_t key : groupAt(row).keys) {
          if (!add(index_.groupSlots_, number, key, {row, key})) return false;
        }
      } else if (const std::int32_t key = keyOf(row); key != kNone) {
        if (!add(index_.slots_, number, key, row)) return false;
      }
    }
    return true;
  }

  template <class Slot>
  static bool add(IndexArray<Slot>& slots, std::int64_t run, std::int32_t key, const Slot& entry) {
    std::size_t place = MemberIndex::slotOf(run, key, slots.size());
    for (std::size_t steps = 0; steps < MemberIndex::kMaximumSteps; ++steps) {
      if (MemberIndex::rowOf(slots[place]) == kNone) {
        slots[place] = entry;
        return true;
      }
      if (++place == slots.size()) place = 0;
    }
    return false;
  }

  static std::size_t asSize(std::int32_t row) { return static_cast<std::size_t>(row); }

  MemberIndex& index_;
  const std::int32_t rowCount_;
  std::int64_t stepsLeft_;
  std::int64_t keysLeft_ = kKeysPerMember * rowCount_ + 64;
  std::int64_t memberEntries_ = 0;
  std::int64_t groupEntries_ = 0;
  bool hasGroups_ = false;
  std::vector<std::int32_t> groupOfType_;  // by Types row: kUnseen, kIrregular or one of groups_
  std::vector<Group> groups_;
  std::vector<Run> runs_;
};

MemberIndex::MemberIndex(const StdDictionaryInfo& dictionary, const ElementNames& names)
    : MemberIndex(dictionary, names, WithoutArrays()) {
  MemberIndexBuilder(*this).build();
}

MemberIndex::MemberIndex(const StdDictionaryInfo& dictionary, const ElementNames& names,
                         WithoutArrays) noexcept
    : names_(names),
      members_(dictionary.typeMembers().records()),
      types_(dictionary.types().records()),
      tags_(dictionary.tags().records()),
      memberCount_(static_cast<std::uint32_t>(dictionary.typeMembers().rowCount())),
      typeCount_(static_cast<std::uint32_t>(dictionary.types().rowCount())),
      tagCount_(static_cast<std::uint32_t>(dictionary.tags().rowCount())) {}

bool MemberIndex::isGroup(std::int32_t row) const noexcept {
  const Member& member = members_[row];
  if (member.toTagIndex != kNone) return false;
  const SMD_TYPE_DEFINITION* const found = type(member.toTypeIndex);
  return found != nullptr && found->LogicalType == 0;
}

bool MemberIndex::isSound() const noexcept {
  if (slots_.empty() || groupSlots_.empty()) return false;
  const auto rowCount = static_cast<std::int32_t>(memberCount_);
  bool areRows = (places_.empty() || places_.size() == memberCount_) &&
                 areRowsOrNone(slots_.elements(), rowCount) &&
                 areAllUnmarked(groupSlots_.elements(), [rowCount](const GroupSlot& slot) {
                   return markUnlessRowOrNone(slot.row, rowCount);
                 });
  if (!areRows || places_.empty()) return areRows;
  for (std::uint32_t row = 0; row < memberCount_; ++row) {
    const Place& place = places_[row];
    const std::uint32_t left = memberCount_ - row;  // distances are less, or lead nowhere
    // The two that lead nowhere, the largest there are, become 0 and 1.
    static_assert(static_cast<Distance>(kUnindexed + 2) == 0);
    const auto leadsToRow = [left](Distance distance) -> unsigned {
      return static_cast<Distance>(distance + 2) < std::uint64_t{left} + 2;
    };
    areRows &= leadsToRow(place.group) & leadsToRow(place.required) &
               leadsToRow(place.requiredGroup) & leadsToRow(place.openGroup);
    if (place.group == 0) areRows &= isGroup(static_cast<std::int32_t>(row));
  }
  return areRows;
}

}  // namespace cpi
