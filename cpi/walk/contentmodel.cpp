#include "cpi/walk/contentmodel.h"

#include <algorithm>
#include <stdexcept>

namespace cpi {
namespace {

// Members of all types together, those that types share counted for each. Types mostly have members
// of their own; many that share many would make each question about all members take very long.
constexpr std::int64_t kMaxMembersOfTypes = 5'000'000;
// What depends on groups is found in rounds; real models need two or three.
constexpr int kMaxRounds = 64;

Order orderOfComposition(std::int32_t composition) noexcept {
  switch (composition) {
    case TYPE_SINGLE:
    case TYPE_CHOICE:
    case TYPE_MESSAGE: return Order::Choice;
    case TYPE_UNORDERED:
    case TYPE_ALL: return Order::Any;
    default: return Order::Sequence;
  }
}

}  // namespace

ContentModel::ContentModel(const StdDictionaryInfo& dictionary) : dictionary_(&dictionary) {
  readContents();
  findEmptiable();
  findReach();
  const std::int32_t rows = dictionary.typeMembers().rowCount();
  requiredUpTo_.assign(static_cast<std::size_t>(rows) + 1, 0);
  for (std::int32_t row = 0; row < rows; ++row) {
    const auto slot = static_cast<std::size_t>(row);
    requiredUpTo_[slot + 1] = requiredUpTo_[slot] + (demandsContent(row) ? 1 : 0);
  }
}

bool ContentModel::isGroup(std::int32_t memberRow) const {
  const SMD_STRUCTURE_ELEMENT_DEFINITION& one = member(memberRow);
  if (one.toTagIndex != kNone) return false;
  const SMD_TYPE_DEFINITION* const type = dictionary_->types().find(one.toTypeIndex);
  return type != nullptr && type->LogicalType < 1;
}

Order ContentModel::orderOf(std::int32_t typeIndex) const noexcept {
  const Content* const content = find(typeIndex);
  return content == nullptr ? Order::Sequence : content->order;
}

MemberRange ContentModel::membersOf(std::int32_t typeIndex) const noexcept {
  const Content* const content = find(typeIndex);
  return content == nullptr ? MemberRange{} : content->members;
}

bool ContentModel::canBeEmpty(std::int32_t typeIndex) const noexcept {
  const Content* const content = find(typeIndex);
  return content == nullptr || content->canBeEmpty;
}

std::int64_t ContentModel::reachOf(std::int32_t typeIndex) const noexcept {
  const Content* const content = find(typeIndex);
  return content == nullptr ? 0 : content->reach;
}

void ContentModel::readContents() {
  const auto& types = dictionary_->types();
  const auto& members = dictionary_->typeMembers();
  contents_.resize(static_cast<std::size_t>(types.rowCount()));
  // The end of the run that a row stands in, from the last row back.
  std::vector<std::int32_t> endOfRun(static_cast<std::size_t>(members.rowCount()));
  for (std::int32_t row = members.rowCount() - 1; row >= 0; --row) {
    const auto slot = static_cast<std::size_t>(row);
    const bool isLast = row + 1 == members.rowCount() ||
                        members.row(row + 1).ParentTypeId != members.row(row).ParentTypeId;
    endOfRun[slot] = isLast ? row + 1 : endOfRun[slot + 1];
  }
  std::int64_t membersOfTypes = -std::int64_t{members.rowCount()};
  for (std::int32_t row = 0; row < types.rowCount(); ++row) {
    Content& content = contents_[static_cast<std::size_t>(row)];
    content.order = orderOfComposition(types.row(row).Composition);
    const std::int32_t first = types.row(row).ToTypeMbrIndex;
    if (!members.contains(first)) continue;
    content.members = {first, endOfRun[static_cast<std::size_t>(first)]};
    membersOfTypes += content.members.end - content.members.begin;
    if (membersOfTypes > kMaxMembersOfTypes) {
      throw std::length_error("too many types of the dictionary share their members");
    }
  }
}

// Types are taken to need content until shown otherwise, again and again while that shows more:
// so groups that contain one another find an end.
void ContentModel::findEmptiable() {
  const std::int32_t count = dictionary_->types().rowCount();
  bool hasChanged = true;
  for (int round = 0; hasChanged && round < kMaxRounds; ++round) {
    hasChanged = false;
    for (std::int32_t row = count - 1; row >= 0; --row) {  // groups mostly follow their owners
      bool& known = contents_[static_cast<std::size_t>(row)].canBeEmpty;
      if (known || !isEmptiable(row)) continue;
      known = true;
      hasChanged = true;
    }
  }
}

// Groups that contain themselves, or lie very deep, have no end by half of the rounds: from then on
// what still grows is as large as can be.
void ContentModel::findReach() {
  bool hasChanged = true;
  for (int round = 0; hasChanged && round < kMaxRounds; ++round) {
    hasChanged = false;
    for (std::size_t type = contents_.size(); type-- > 0;) {
      const auto [begin, end] = contents_[type].members;
      std::int32_t reach = 0;
      for (std::int32_t row = begin; row < end && reach < kMaxReach; ++row) {
        reach = addedReach(reach, row);
      }
      std::int32_t& known = contents_[type].reach;
      if (reach == known) continue;
      known = round < kMaxRounds / 2 ? reach : kMaxReach;
      hasChanged = true;
    }
  }
  const auto& members = dictionary_->typeMembers();
  reachBefore_.assign(static_cast<std::size_t>(members.rowCount()), 0);
  for (std::int32_t row = 1; row < members.rowCount(); ++row) {
    if (members.row(row).ParentTypeId != members.row(row - 1).ParentTypeId) continue;
    const auto slot = static_cast<std::size_t>(row);
    reachBefore_[slot] = addedReach(reachBefore_[slot - 1], row - 1);
  }
}

std::int32_t ContentModel::addedReach(std::int32_t reach, std::int32_t memberRow) const {
  const std::int64_t inside = isGroup(memberRow) ? reachOf(member(memberRow).toTypeIndex) : 0;
  return static_cast<std::int32_t>(std::min<std::int64_t>(kMaxReach, reach + 1 + inside));
}

bool ContentModel::isEmptiable(std::int32_t typeIndex) const {
  const auto [begin, end] = membersOf(typeIndex);
  const bool isChoice = orderOf(typeIndex) == Order::Choice;
  for (std::int32_t row = begin; row < end; ++row) {
    if (demandsContent(row) != isChoice) return isChoice;
  }
  return !isChoice || begin == end;
}

bool ContentModel::demandsContent(std::int32_t memberRow) const {
  const SMD_STRUCTURE_ELEMENT_DEFINITION& one = member(memberRow);
  if (one.MinOccurs <= 0) return false;
  return !isGroup(memberRow) || !canBeEmpty(one.toTypeIndex);
}

}  // namespace cpi
