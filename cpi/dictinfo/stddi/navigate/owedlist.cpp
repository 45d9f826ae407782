// What is owed before the parent may end: from the current element outward, what each level of the
// path still needs.
#include "cpi/dictinfo/stddi/navigate/expectationlist.h"

namespace cpi {

void ExpectationList::oweSiblings() {
  auto& stack = probe_.positionStack;
  const std::vector<DictionaryPosition> atCall = stack;
  while (stack.size() > 1 && stack.back().memberIndex == kMarkerMember) stack.pop_back();
  const std::size_t firstGroup = addPath();
  for (std::size_t count = expectation_.groups.size() - firstGroup;; count -= count == 0 ? 0 : 1) {
    const std::int32_t typeIndex = probe_.getParentTypeIndex();
    const SMD_TYPE_DEFINITION* const type = dictionary().types().find(typeIndex);
    if (type == nullptr) break;
    oweLevel({type, typeIndex, firstGroup, count}, stack.back());
    if (!probe_.isParentAnonymous()) break;
    stack.pop_back();
  }
  stack = atCall;
}

void ExpectationList::oweChildren() {
  const std::int32_t typeIndex = probe_.positionStack.back().typeIndex;
  const Level level{&dictionary().types().row(typeIndex), typeIndex, 0, 0};
  oweLevel(level, DictionaryPosition(probe_.dictionaryInfo, kNone));
}

// `at` is where the level stands; an entry that is no member stands before all of them.
void ExpectationList::oweLevel(const Level& level, const DictionaryPosition& at) {
  const std::int32_t first = firstMember(dictionary(), level.type);
  const bool isBegun = dictionary().typeMembers().contains(at.memberIndex) && at.repeatIndex >= 0;
  const DictionaryPosition* const current = isBegun ? &at : nullptr;
  const std::int32_t composition = level.type->Composition;
  if (composition == TYPE_SEQUENCE || composition == TYPE_ORDERED) {
    oweMembers(level, isBegun ? at.memberIndex : first, current);
  } else if (isInAnyOrder(*level.type)) {
    oweMembers(level, first, current);
  } else if (isBegun) {
    oweMember(level, at.memberIndex, current);
  } else if (composition == TYPE_SINGLE) {
    oweMember(level, first, nullptr);
  } else {
    oweAlternative(level);
  }
}

void ExpectationList::oweMembers(const Level& level, std::int32_t from,
                                 const DictionaryPosition* current) {
  const auto* const first = dictionary().typeMembers().find(from);
  const auto* member = first;
  for (std::int32_t row = from; member != nullptr && rowsLeft_-- > 0;
       member = dictionary().typeMembers().find(++row)) {
    if (member->ParentTypeId != first->ParentTypeId) return;
    oweMember(level, row, current);
  }
}

void ExpectationList::oweMember(const Level& level, std::int32_t memberIndex,
                                const DictionaryPosition* current) {
  const auto* const member = dictionary().typeMembers().find(memberIndex);
  if (member == nullptr) return;
  const bool isCurrent = current != nullptr && current->memberIndex == memberIndex;
  const std::int64_t occurred = isCurrent ? std::int64_t{current->repeatIndex} + 1 : 0;
  if (occurred >= member->MinOccurs || empty_.isOptional(*member)) return;
  OwedMember owed;
  owed.memberIndex = memberIndex;
  owed.tagIndex = member->toTagIndex;
  owed.typeIndex = member->toTypeIndex;
  owed.minOccurs = member->MinOccurs;
  owed.maxOccurs = limitOf(*member);
  owed.owed = static_cast<std::int32_t>(member->MinOccurs - occurred);
  owed.repeatIndex = static_cast<std::int32_t>(occurred);
  owe(level, owed);
}

void ExpectationList::oweAlternative(const Level& level) {
  if (empty_.isPossible(level.typeIndex)) return;
  OwedMember owed;
  owed.typeIndex = level.typeIndex;
  owed.minOccurs = 1;
  owed.owed = 1;
  owe(level, owed);
}

void ExpectationList::owe(const Level& level, OwedMember owed) {
  owed.firstGroup = level.firstGroup;
  owed.groupCount = level.groupCount;
  owed.isInAnyOrder = isInAnyOrder(*level.type);
  expectation_.owed.push_back(owed);
}

}  // namespace cpi
