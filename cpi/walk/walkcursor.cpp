#include "cpi/walk/walkcursor.h"

namespace cpi {

bool WalkCursor::isMemberWithinLimit() const {
  const SMD_STRUCTURE_ELEMENT_DEFINITION* const member = getMemberDef();
  return member != nullptr && (member->MaxOccurs < 0 || getRepeatIndex() < member->MaxOccurs);
}

bool WalkCursor::isInUnorderedType() const {
  const SMD_TYPE_DEFINITION* const type = getDictionaryInfo()->types().find(getParentTypeIndex());
  if (type == nullptr) return false;
  if (type->Composition != TYPE_UNORDERED && type->Composition != TYPE_ALL) return false;
  const auto parent = positionStack.rbegin() + 1;
  if (!isGroup(*parent)) return true;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* const group =
      getDictionaryInfo()->typeMembers().find(parent->memberIndex);
  return group != nullptr && group->MaxOccurs == 1 && !isGroup(*(parent + 1));
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
