#include "cpi/dictinfo/stddi/query/memberindex.h"

#include <algorithm>
#include <utility>

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
    if (hasGroups_) {
      groupOfType_.assign(index_.typeCount_, kUnseen);
      index_.hints_.assign(index_.places_.size(), {kNoRow, kNoRow, kNoRow});
      for (std::int32_t row = 0; row < rowCount_; ++row) {
        if (isGroup(row)) analyse(index_.members_[row].toTypeIndex, 0);
      }
    }
    checkRuns();
    findHints();
    index_.slots_.resize(static_cast<std::size_t>(2 * entryCount_ + 1));
    for (std::int32_t row = 0; row < rowCount_; ++row) addRow(row);
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

  MemberIndex::Place& place(std::int32_t row) {
    return index_.places_[static_cast<std::size_t>(row)];
  }
  std::int32_t& groupOfType(std::int32_t type) {
    return groupOfType_[static_cast<std::size_t>(type)];
  }
  const Group& groupAt(std::int32_t row) {
    return groups_[static_cast<std::size_t>(groupOfType(index_.members_[row].toTypeIndex))];
  }
  bool isGroup(std::int32_t row) const {
    const Member& member = index_.members_[row];
    const SMD_TYPE_DEFINITION* const type = index_.type(member.toTypeIndex);
    return member.toTagIndex == kNone && type != nullptr && type->LogicalType == 0;
  }
  bool isInRunOf(std::int32_t row, std::int32_t other) const {
    return row < rowCount_ &&
           index_.members_[row].ParentTypeId == index_.members_[other].ParentTypeId;
  }

  void findRuns() {
    index_.places_.resize(static_cast<std::size_t>(rowCount_));
    for (std::int32_t row = 0; row < rowCount_; ++row) {
      place(row).run = row > 0 && isInRunOf(row, row - 1) ? place(row - 1).run : row;
    }
    for (std::int32_t row = rowCount_; row-- > 0;) {
      const bool isLast = row + 1 == rowCount_ || place(row + 1).run != place(row).run;
      place(row).nextGroup = isGroup(row) ? row : isLast ? kNoRow : place(row + 1).nextGroup;
      hasGroups_ |= place(row).nextGroup == row;
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

  // Counts the entries, and takes the runs out that lead to something irregular or to too much.
  void checkRuns() {
    std::int64_t budget = kKeysPerMember * rowCount_ + 64;
    for (std::int32_t first = 0; first < rowCount_;) {
      std::int64_t reach = 0;
      std::int64_t groupKeys = 0;
      bool isRegular = true;
      std::int32_t row = first;
      for (; isInRunOf(row, first); ++row) {
        reach += 1;
        if (place(row).nextGroup != row) continue;
        if (groupOfType(index_.members_[row].toTypeIndex) < 0) {
          isRegular = false;
        } else {
          reach += groupAt(row).reach;
          groupKeys += static_cast<std::int64_t>(groupAt(row).keys.size());
        }
      }
      if (!isRegular || reach > kMaximumReach || groupKeys > budget) {
        dropRun(first);
      } else {
        budget -= groupKeys;
        entryCount_ += row - first + groupKeys;
      }
      first = row;
    }
  }

  void dropRun(std::int32_t first) {
    for (std::int32_t row = first; isInRunOf(row, first); ++row) place(row).run = kNone;
  }

  void findHints() {
    for (std::int32_t row = rowCount_; hasGroups_ && row-- > 0;) {
      if (place(row).run == kNone) continue;
      auto& hint = index_.hints_[static_cast<std::size_t>(row)];
      if (isInRunOf(row + 1, row)) hint = index_.hints_[static_cast<std::size_t>(row) + 1];
      const bool isRequired = index_.members_[row].MinOccurs > 0;
      if (place(row).nextGroup == row) {
        if (isRequired) hint.requiredGroup = row;
        if (groupAt(row).isOpen) hint.openGroup = row;
      } else if (isRequired) {
        hint.required = row;
      }
    }
  }

  void addRow(std::int32_t row) {
    if (place(row).run == kNone) return;
    if (place(row).nextGroup == row) {
      for (const std::int32_t key : groupAt(row).keys) {
        if (!add(row, key)) return;
      }
    } else if (const std::int32_t key = keyOf(row); key != kNone) {
      add(row, key);
    }
  }

  bool add(std::int32_t row, std::int32_t key) {
    std::size_t slot = index_.slotOf(place(row).run, key);
    for (std::size_t steps = 0; steps < MemberIndex::kMaximumSteps; ++steps) {
      if (index_.slots_[slot].row == kNone) {
        index_.slots_[slot] = {row, key};
        return true;
      }
      if (++slot == index_.slots_.size()) slot = 0;
    }
    dropRun(place(row).run);
    return false;
  }

  MemberIndex& index_;
  const std::int32_t rowCount_;
  std::int64_t stepsLeft_;
  std::int64_t entryCount_ = 0;
  bool hasGroups_ = false;
  std::vector<std::int32_t> groupOfType_;  // by Types row: kUnseen, kIrregular or one of groups_
  std::vector<Group> groups_;
};

MemberIndex::MemberIndex(const StdDictionaryInfo& dictionary, const ElementNames& names)
    : names_(names),
      members_(dictionary.typeMembers().records()),
      types_(dictionary.types().records()),
      tags_(dictionary.tags().records()),
      memberCount_(static_cast<std::uint32_t>(dictionary.typeMembers().rowCount())),
      typeCount_(static_cast<std::uint32_t>(dictionary.types().rowCount())),
      tagCount_(static_cast<std::uint32_t>(dictionary.tags().rowCount())) {
  MemberIndexBuilder(*this).build();
}

}  // namespace cpi
