// Moves by tag and by name, and those among them whose outcome the index tells at once. Such a
// shortcut shows first that the search would come to the same, and otherwise leaves everything to
// the search: it answers false and has changed nothing.
#include "cpi/dictinfo/stddi/navigate/navigation.h"
#include "cpi/dictinfo/stddi/query/lookupindex.h"

namespace cpi {

namespace {

using Member = SMD_STRUCTURE_ELEMENT_DEFINITION;

// The type that the members below an entry belong to, or null where the entry says another.
const SMD_TYPE_DEFINITION* typeBelow(const MemberIndex& members,
                                     const DictionaryPosition& entry) noexcept {
  std::int32_t typeIndex = kNone;
  if (const Member* const member = members.member(entry.memberIndex); member != nullptr) {
    typeIndex = member->toTypeIndex;
  } else if (const auto* const tag = members.tag(entry.tagIndex); tag != nullptr) {
    typeIndex = tag->ToTypeIndexField;
  }
  return typeIndex == entry.typeIndex ? members.type(typeIndex) : nullptr;
}

// Members follow one another, and none was matched yet: the search goes through all of them.
bool isPassedThrough(const SMD_TYPE_DEFINITION& type) noexcept {
  return type.Composition >= TYPE_CHOICE && type.Composition <= TYPE_MESSAGE;
}

bool isInOrder(const SMD_TYPE_DEFINITION& type) noexcept {
  return type.Composition == TYPE_SEQUENCE || type.Composition == TYPE_ORDERED;
}

bool isInAnyOrder(const SMD_TYPE_DEFINITION& type) noexcept {
  return type.Composition == TYPE_UNORDERED || type.Composition == TYPE_ALL;
}

// Whether one more occurrence is within the limit.
bool mayOccurAgain(const Member& member, std::int32_t repeatIndex) noexcept {
  return repeatIndex < (member.MaxOccurs < 0 ? kUnbounded : member.MaxOccurs) - 1;
}

}  // namespace

// How a search may pass over members that it would look at in vain; every member is looked at where
// the log tells of it, and where nothing was derived from the tables.
Passing StdDictionaryIterator::passing() const noexcept {
  if (isStepByStep || dictionaryInfo == nullptr || KelLog::isOn(LLTrace)) return {};
  const LookupIndex* const index = dictionaryInfo->index();
  return {index == nullptr ? nullptr : index->members(), kNone};
}

// A row that is no tag is left to the search, for which it may be what any group has.
Passing StdDictionaryIterator::passingForTag(std::int32_t tagIndex) const noexcept {
  Passing found = passing();
  if (found.members != nullptr) found.key = found.members->keyOfTag(tagIndex);
  return found.key == kNone ? Passing() : found;
}

// No name is one that the search refuses.
Passing StdDictionaryIterator::passingForName(const unsigned short* name,
                                              const KelStringBase& namespaceURI) const noexcept {
  Passing found = name == nullptr || *name == 0 ? Passing() : passing();
  if (found.members != nullptr) {
    found.key = found.members->names().keyOf(textView(name), namespaceURI.view());
  }
  return found;
}

Passing StdDictionaryIterator::passingFor(const SearchDef& search) const noexcept {
  switch (search.searchType) {
    case STTagId: return passingForTag(search.value);
    case STTagName: return passingForName(search.name, search.namespaceURI);
    case STSelfDef: return passing();
    default: return {};
  }
}

// The first child that is a member of the current type, with no group in front of it.
bool StdDictionaryIterator::goToChild(const Passing& passing, std::int32_t tagIndex) {
  if (positionStack.empty() || positionStack.size() > kMaximumPassingDepth) return false;
  const MemberIndex& members = *passing.members;
  const DictionaryPosition& parent = positionStack.back();
  const SMD_TYPE_DEFINITION* const type = typeBelow(members, parent);
  if (type == nullptr || type->LogicalType > 0 || parent.repeatIndex < 0) return false;
  const std::int32_t row = members.findBeforeGroups(type->ToTypeMbrIndex, passing.key);
  if (row == MemberIndex::kNoRow || !isPassedThrough(*type)) return false;
  const Member& member = *members.member(row);
  if (tagIndex != kNone && member.toTagIndex != tagIndex) return false;
  positionStack.emplace_back(dictionaryInfo, row, member.toTagIndex, member.toTypeIndex,
                             kPathInfoUnknown, 0, NTUndefined);
  positionStackSaved = false;
  return true;
}

// The current member once more, a member behind it at its level, or one of its group begun again.
bool StdDictionaryIterator::goToPeer(const Passing& passing, std::int32_t tagIndex) {
  const std::size_t size = positionStack.size();
  if (size < 2 || size > kMaximumPassingDepth) return false;
  const MemberIndex& members = *passing.members;
  DictionaryPosition& current = positionStack[size - 1];
  const DictionaryPosition& parent = positionStack[size - 2];
  const Member* const member = members.member(current.memberIndex);
  const SMD_TYPE_DEFINITION* const type = typeBelow(members, parent);
  if (member == nullptr || type == nullptr || current.repeatIndex < 0 || parent.repeatIndex < 0 ||
      current.tagIndex != member->toTagIndex || type->Composition == TYPE_MESSAGE) {
    return false;
  }
  const std::int32_t key = members.keyOfTag(current.tagIndex);
  if (key == kNone) return false;
  if (tagIndex == kNone ? key == passing.key : current.tagIndex == tagIndex) {
    if (!mayOccurAgain(*member, current.repeatIndex) && !isInAnyOrder(*type)) return false;
    current.pathBasedInfoIndex = kNone;  // as if its limit had been asked for
    if (current.repeatIndex < kUnbounded) ++current.repeatIndex;
    positionStackSaved = false;
    return true;
  }
  if (type->Composition == TYPE_CHOICE) return goToNextRound(passing, tagIndex, *type);
  if (!isInOrder(*type) && !isInAnyOrder(*type)) return false;
  const std::int32_t from = isInOrder(*type) ? current.memberIndex + 1 : type->ToTypeMbrIndex;
  if (members.member(from) == nullptr || members.runOf(from) != members.runOf(current.memberIndex))
    return false;
  const std::int32_t row = members.findBeforeGroups(from, passing.key);
  if (row == MemberIndex::kNoRow) return false;
  const Member& found = *members.member(row);
  if (tagIndex != kNone && found.toTagIndex != tagIndex) return false;
  current = DictionaryPosition(dictionaryInfo, row, found.toTagIndex, found.toTypeIndex,
                               kPathInfoUnknown, 0, NTUndefined);
  positionStackSaved = false;
  return true;
}

// A member of the repeating choice that the current member is an alternative of.
bool StdDictionaryIterator::goToNextRound(const Passing& passing, std::int32_t tagIndex,
                                          const SMD_TYPE_DEFINITION& type) {
  const MemberIndex& members = *passing.members;
  const std::size_t size = positionStack.size();
  const DictionaryPosition& group = positionStack[size - 2];
  const Member* const groupMember = members.member(group.memberIndex);
  if (groupMember == nullptr || group.tagIndex != kNone || groupMember->MaxOccurs == 0 ||
      groupMember->MaxOccurs == 1 || !mayOccurAgain(*groupMember, group.repeatIndex)) {
    return false;
  }
  const std::int32_t row = members.findBeforeGroups(type.ToTypeMbrIndex, passing.key);
  if (row == MemberIndex::kNoRow) return false;
  const Member& found = *members.member(row);
  if (tagIndex != kNone && found.toTagIndex != tagIndex) return false;
  savedPositionStack = positionStack;
  positionStackSaved = true;
  positionStack[size - 2].pathBasedInfoIndex = kNone;  // as if its limit had been asked for
  ++positionStack[size - 2].repeatIndex;
  positionStack[size - 1] = DictionaryPosition(dictionaryInfo, row, found.toTagIndex,
                                               found.toTypeIndex, kPathInfoUnknown, 0, NTUndefined);
  return true;
}

bool StdDictionaryIterator::moveToFirstChildTagId(std::int32_t tagId, bool allowUndefined,
                                                  bool enforceRequired) {
  if (dictionaryInfo == nullptr) return moveToFirstChild();  // which refuses it
  const std::int32_t row = dictionaryInfo->getTagDefIndex(tagId);
  const Passing passing = passingForTag(row);
  if (passing.members != nullptr && goToChild(passing, row)) return true;
  SearchDef search(STTagId, row);
  return moveToChild(search, KelStringBase(), passing, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::moveToFirstChildTagName(const unsigned short* name,
                                                    const KelStringBase& namespaceURI,
                                                    bool allowUndefined, bool enforceRequired) {
  const Passing passing = passingForName(name, namespaceURI);
  if (passing.members != nullptr && goToChild(passing, kNone)) return true;
  SearchDef search(STTagName, name, passing.members != nullptr ? KelStringBase() : namespaceURI);
  return moveToChild(search, namespaceURI, passing, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::moveToNextSiblingTagId(std::int32_t tagId, bool allowUndefined,
                                                   bool enforceRequired) {
  if (dictionaryInfo == nullptr) return moveToNextSibling();  // which refuses it
  const std::int32_t row = dictionaryInfo->getTagDefIndex(tagId);
  const Passing passing = passingForTag(row);
  if (passing.members != nullptr && goToPeer(passing, row)) return true;
  SearchDef search(STTagId, row);
  return moveToPeer(search, KelStringBase(), passing, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::moveToNextSiblingTagName(const unsigned short* name,
                                                     const KelStringBase& namespaceURI,
                                                     bool /*allowUndefined*/,
                                                     bool enforceRequired) {
  const Passing passing = passingForName(name, namespaceURI);
  if (passing.members != nullptr && goToPeer(passing, kNone)) return true;
  SearchDef search(STTagName, name, passing.members != nullptr ? KelStringBase() : namespaceURI);
  return moveToPeer(search, namespaceURI, passing, true, enforceRequired);
}

}  // namespace cpi
