#include "cpi/walk/walkcursor.h"

namespace cpi {

bool WalkCursor::isMemberWithinLimit() const {
  const SMD_STRUCTURE_ELEMENT_DEFINITION* const member = getMemberDef();
  return member != nullptr && (member->MaxOccurs < 0 || getRepeatIndex() < member->MaxOccurs);
}

bool WalkCursor::isOneOfChoice() const {
  const SMD_TYPE_DEFINITION* const parent =
      getDictionaryInfo()->types().find((positionStack.rbegin() + 1)->typeIndex);
  return parent != nullptr && parent->Composition == TYPE_CHOICE && getMemberDef() != nullptr &&
         getMemberDef()->MaxOccurs == 1;
}

std::int32_t WalkCursor::unorderedMember() const {
  if (positionStack.size() < 2) return kNone;
  auto at = positionStack.rbegin();
  if (isGroup(*(at + 1)) && isOneOfChoice()) ++at;
  const auto parent = at + 1;
  const auto& types = getDictionaryInfo()->types();
  if (!types.contains(parent->typeIndex)) return kNone;
  if (!cpi::isInAnyOrder(types.records()[parent->typeIndex])) return kNone;
  if (!isGroup(*parent)) return at->memberIndex;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* const group =
      getDictionaryInfo()->typeMembers().find(parent->memberIndex);
  const bool isOnce = group != nullptr && group->MaxOccurs == 1 && !isGroup(*(parent + 1));
  return isOnce ? at->memberIndex : kNone;
}

std::int64_t WalkCursor::offset(const ContentModel& model) const {
  std::int64_t members = 0;
  for (auto at = positionStack.rbegin(); at != positionStack.rend(); ++at) {
    if (at->memberIndex < 0) break;
    members += model.reachBefore(at->memberIndex) + 1;
    if (at + 1 == positionStack.rend() || !isGroup(*(at + 1))) break;
  }
  return members;
}

void WalkCursor::readPath(std::size_t height, ContentPath& path) const {
  path.clear();
  for (std::size_t i = height; i < positionStack.size(); ++i) {
    const DictionaryPosition& position = positionStack[i];
    if (position.memberIndex < 0) return path.clear();
    path.push_back({position.memberIndex, position.repeatIndex});
  }
}

void WalkCursor::standAt(std::size_t height, ContentSearch::Path path) {
  while (positionStack.size() > height) positionStack.pop_back();
  for (const ContentStep& step : path) {
    positionStack.emplace_back(dictionaryInfo, step.memberIndex).repeatIndex = step.repeat;
  }
  positionStackSaved = false;
}

}  // namespace cpi
