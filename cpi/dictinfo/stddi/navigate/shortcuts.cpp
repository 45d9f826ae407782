// Moves by tag, by name and by member, and those among them whose outcome the index tells at once.
// Such a shortcut shows first that the search would come to the same, and otherwise leaves
// everything to the search: it answers false and has changed nothing.
#include "cpi/dictinfo/stddi/navigate/route.h"
#include "cpi/dictinfo/stddi/query/lookupindex.h"

namespace cpi {

namespace {

using Member = SMD_STRUCTURE_ELEMENT_DEFINITION;
constexpr std::int32_t kNoRow = MemberIndex::kNoRow;

// The type that the members below an entry belong to; null where no member or tag leads to it.
const SMD_TYPE_DEFINITION* typeBelow(const MemberIndex& members,
                                     const DictionaryPosition& entry) noexcept {
  return entry.memberIndex >= 0 || entry.tagIndex >= 0 ? members.type(entry.typeIndex) : nullptr;
}

// Whether one more occurrence is within the limit.
bool mayOccurAgain(const Member& member, std::int32_t repeatIndex) noexcept {
  return repeatIndex < (member.MaxOccurs < 0 ? kUnbounded : member.MaxOccurs) - 1;
}

bool isBeside(const MemberIndex& members, std::int32_t row, std::int32_t other) noexcept {
  return members.member(row) != nullptr && members.runOf(row) == members.runOf(other);
}

// Whether a member from `row` on, beside `other`, carries the key or leads to it. Where it is not
// known, so it may.
bool isAmong(const MemberIndex& members, std::int32_t row, std::int32_t other,
             std::int32_t key) noexcept {
  return isBeside(members, row, other) &&
         (members.runOf(row) < 0 || members.find(row, key) != kNoRow);
}

// What a move looks for: a tag, or any of the tags of a key.
struct SoughtTag {
  std::int32_t tagIndex;

  bool isMetBy(std::int32_t tag) const noexcept { return tag == tagIndex; }
};
struct SoughtKey {
  const MemberIndex& members;
  std::int32_t key;

  bool isMetBy(std::int32_t tag) const noexcept {
    return members.tag(tag) != nullptr && members.keyOfTag(tag) == key;
  }
};

// The first of a few members from `row` on, rows of the parent type, that is what is looked for; -1
// where it is none of these or a group may stand in front of it. Most messages leave out few
// members, and then the index need not be asked.
template <class Sought>
std::int32_t nearMember(const MemberIndex& members, std::int32_t row, std::int32_t parentTypeId,
                        const Sought& sought) noexcept {
  constexpr std::int32_t kNearMembers = 3;
  for (const std::int32_t end = row + kNearMembers; row < end; ++row) {
    const Member* const member = members.member(row);
    if (member == nullptr || member->ParentTypeId != parentTypeId || member->toTagIndex == kNone) {
      return kNone;
    }
    if (sought.isMetBy(member->toTagIndex)) return row;
  }
  return kNone;
}

// Whether the row is a member of the tag, or of any tag when it is -1, and not a group.
bool isOfTag(const MemberIndex& members, std::int32_t row, std::int32_t tagIndex) noexcept {
  return row != kNoRow && (tagIndex == kNone || members.member(row)->toTagIndex == tagIndex);
}

// Whether a search for the member `row` that starts at `first` comes to it past members alone.
bool leadsTo(const MemberIndex& members, std::int32_t first, std::int32_t row) noexcept {
  return first <= row && members.member(first) != nullptr && isBeside(members, row, first) &&
         members.runOf(row) >= 0 && members.nextGroup(first) > row;
}

}  // namespace

// How a search may pass over members that it would look at in vain; every member is looked at where
// the log tells of it, and where nothing was derived from the tables.
inline Passing StdDictionaryIterator::passing() const noexcept {
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
inline Passing StdDictionaryIterator::passingForName(
    const unsigned short* name, const KelStringBase& namespaceURI) const noexcept {
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

// The type of the current entry, where the index can tell how a search goes on from the first of
// its members; null otherwise.
inline const SMD_TYPE_DEFINITION* StdDictionaryIterator::typeOfChildren(
    const MemberIndex& members) const noexcept {
  if (positionStack.empty() || positionStack.size() > kMaximumPassingDepth) return nullptr;
  const DictionaryPosition& parent = positionStack.back();
  const SMD_TYPE_DEFINITION* const type = typeBelow(members, parent);
  const bool isRegular = type != nullptr && type->LogicalType <= 0 && parent.repeatIndex >= 0 &&
                         isPassedThrough(*type);
  return isRegular ? type : nullptr;
}

// A first child that is one of the first members of the current type.
template <class Sought>
inline bool StdDictionaryIterator::goToNearChild(const MemberIndex& members, const Sought& sought) {
  const SMD_TYPE_DEFINITION* const type = typeOfChildren(members);
  const Member* const first = type == nullptr ? nullptr : members.member(type->ToTypeMbrIndex);
  if (first == nullptr) return false;
  const std::int32_t row = nearMember(members, type->ToTypeMbrIndex, first->ParentTypeId, sought);
  if (row < 0) return false;
  positionStack.push_back(matchedPosition(dictionaryInfo, row, *members.member(row)));
  positionStackSaved = false;
  return true;
}

// The first child that is a member of the current type, or of a group in it.
bool StdDictionaryIterator::goToChild(Passing passing, std::int32_t tagIndex) {
  const MemberIndex& members = *passing.members;
  const SMD_TYPE_DEFINITION* const type = typeOfChildren(members);
  if (type == nullptr) return false;
  const std::int32_t first = type->ToTypeMbrIndex;
  const std::int32_t row = members.findBeforeGroups(first, passing.key);
  if (isOfTag(members, row, tagIndex)) {
    positionStack.push_back(matchedPosition(dictionaryInfo, row, *members.member(row)));
    positionStackSaved = false;
    return true;
  }
  Route route(members);
  if (!route.find(first, passing.key, tagIndex)) return false;
  route.makeRoom(positionStack);
  if (route.entersGroups()) {
    savedPositionStack = positionStack;
    savedPositionStack.emplace_back(dictionaryInfo, first);  // where the search would start
  }
  positionStackSaved = route.entersGroups();
  route.append(positionStack, dictionaryInfo);
  return true;
}

// The type of the current member's level, where the index can tell how a search goes on from that
// member; null otherwise.
inline const SMD_TYPE_DEFINITION* StdDictionaryIterator::typeOfPeers(
    const MemberIndex& members) const noexcept {
  const std::size_t size = positionStack.size();
  if (size < 2 || size > kMaximumPassingDepth) return nullptr;
  const DictionaryPosition& current = positionStack[size - 1];
  const DictionaryPosition& parent = positionStack[size - 2];
  const Member* const member = members.member(current.memberIndex);
  const SMD_TYPE_DEFINITION* const type = typeBelow(members, parent);
  const bool isRegular = member != nullptr && type != nullptr && current.repeatIndex >= 0 &&
                         parent.repeatIndex >= 0 && current.tagIndex == member->toTagIndex &&
                         members.tag(current.tagIndex) != nullptr &&
                         type->Composition != TYPE_MESSAGE;
  return isRegular ? type : nullptr;
}

// Whether the current member may occur once more at its level.
inline bool StdDictionaryIterator::maySeeAgain(const MemberIndex& members,
                                               const SMD_TYPE_DEFINITION& type) const noexcept {
  const DictionaryPosition& current = positionStack.back();
  return mayOccurAgain(*members.member(current.memberIndex), current.repeatIndex) ||
         isInAnyOrder(type);
}

// The current member once more, or one of the next behind it.
template <class Sought>
inline bool StdDictionaryIterator::goToNearPeer(const MemberIndex& members, const Sought& sought) {
  const SMD_TYPE_DEFINITION* const type = typeOfPeers(members);
  if (type == nullptr) return false;
  DictionaryPosition& current = positionStack.back();
  if (sought.isMetBy(current.tagIndex)) return maySeeAgain(members, *type) && goToSame();
  if (!isInOrder(*type)) return false;
  const std::int32_t parentTypeId = members.member(current.memberIndex)->ParentTypeId;
  const std::int32_t row = nearMember(members, current.memberIndex + 1, parentTypeId, sought);
  if (row < 0) return false;
  current = matchedPosition(dictionaryInfo, row, *members.member(row));
  positionStackSaved = false;
  return true;
}

// The current member once more, a member behind it at its level, or one of its group begun again.
bool StdDictionaryIterator::goToPeer(Passing passing, std::int32_t tagIndex) {
  const MemberIndex& members = *passing.members;
  const SMD_TYPE_DEFINITION* const type = typeOfPeers(members);
  if (type == nullptr) return false;
  const DictionaryPosition& current = positionStack.back();
  if (tagIndex == kNone ? members.keyOfTag(current.tagIndex) == passing.key
                        : current.tagIndex == tagIndex) {
    return maySeeAgain(members, *type) && goToSame();
  }
  if (isInOrder(*type)) {
    return goToMember(passing, tagIndex, current.memberIndex + 1) ||
           (!isAmong(members, current.memberIndex + 1, current.memberIndex, passing.key) &&
            goToNextRound(passing, tagIndex, *type));
  }
  if (isInAnyOrder(*type)) return goToMember(passing, tagIndex, type->ToTypeMbrIndex);
  return type->Composition == TYPE_CHOICE && goToNextRound(passing, tagIndex, *type);
}

// The first child that is this very member.
bool StdDictionaryIterator::goToChildMember(std::int32_t row) {
  const MemberIndex* const members = passing().members;
  const SMD_TYPE_DEFINITION* const type = members == nullptr ? nullptr : typeOfChildren(*members);
  if (type == nullptr || !leadsTo(*members, type->ToTypeMbrIndex, row)) return false;
  positionStack.push_back(matchedPosition(dictionaryInfo, row, *members->member(row)));
  positionStackSaved = false;
  return true;
}

// This very member: the current one once more, or another at its level.
bool StdDictionaryIterator::goToPeerMember(std::int32_t row) {
  const MemberIndex* const members = passing().members;
  const SMD_TYPE_DEFINITION* const type = members == nullptr ? nullptr : typeOfPeers(*members);
  if (type == nullptr || !isPassedThrough(*type)) return false;
  DictionaryPosition& current = positionStack.back();
  if (row == current.memberIndex) return maySeeAgain(*members, *type) && goToSame();
  const std::int32_t first = isInAnyOrder(*type) ? type->ToTypeMbrIndex : current.memberIndex + 1;
  if (!leadsTo(*members, first, row) || !isBeside(*members, row, current.memberIndex)) return false;
  current = matchedPosition(dictionaryInfo, row, *members->member(row));
  positionStackSaved = false;
  return true;
}

bool StdDictionaryIterator::goToSame() noexcept {
  DictionaryPosition& current = positionStack.back();
  current.pathBasedInfoIndex = kNone;  // as if its limit had been asked for
  if (current.repeatIndex < kUnbounded) ++current.repeatIndex;
  positionStackSaved = false;
  return true;
}

// A member at the level of the current one, or in a group there, from the row `from` on.
bool StdDictionaryIterator::goToMember(Passing passing, std::int32_t tagIndex, std::int32_t from) {
  const MemberIndex& members = *passing.members;
  DictionaryPosition& current = positionStack.back();
  if (!isBeside(members, from, current.memberIndex)) return false;
  const std::int32_t row = members.findBeforeGroups(from, passing.key);
  if (isOfTag(members, row, tagIndex)) {
    current = matchedPosition(dictionaryInfo, row, *members.member(row));
    positionStackSaved = false;
    return true;
  }
  Route route(members);
  if (!route.find(from, passing.key, tagIndex)) return false;
  route.makeRoom(positionStack);
  if (route.entersGroups()) savedPositionStack = positionStack;
  positionStackSaved = route.entersGroups();
  positionStack.pop_back();
  route.append(positionStack, dictionaryInfo);
  return true;
}

// A member of the repeating group that the current member is in, when nothing is left behind it.
bool StdDictionaryIterator::goToNextRound(Passing passing, std::int32_t tagIndex,
                                          const SMD_TYPE_DEFINITION& type) {
  const MemberIndex& members = *passing.members;
  const std::size_t size = positionStack.size();
  const DictionaryPosition& group = positionStack[size - 2];
  const Member* const member = members.member(group.memberIndex);
  if (member == nullptr || group.tagIndex != kNone || !mayOccurAgain(*member, group.repeatIndex)) {
    return false;
  }
  Route route(members);
  if (!route.find(type.ToTypeMbrIndex, passing.key, tagIndex) ||
      (isInOrder(type) && route.isClosedBefore(type.ToTypeMbrIndex))) {
    return false;
  }
  route.makeRoom(positionStack);
  savedPositionStack = positionStack;
  positionStackSaved = true;
  positionStack.pop_back();
  positionStack.back().pathBasedInfoIndex = kNone;  // as if its limit had been asked for
  ++positionStack.back().repeatIndex;
  route.append(positionStack, dictionaryInfo);
  return true;
}

std::int32_t StdDictionaryIterator::keyOfName(const StdDictionaryInfo& dictionary,
                                              const unsigned short* name,
                                              const KelStringBase& namespaceURI) noexcept {
  const LookupIndex* const index = dictionary.index();
  if (index == nullptr || index->members() == nullptr || name == nullptr || *name == 0) {
    return kNone;
  }
  return index->members()->names().keyOf(textView(name), namespaceURI.view());
}

bool StdDictionaryIterator::goToFirstChild(std::int32_t key) {
  const MemberIndex* const members = passing().members;
  if (members == nullptr || key == kNone) return false;
  return goToNearChild(*members, SoughtKey{*members, key}) || goToChild({members, key}, kNone);
}

bool StdDictionaryIterator::goToNextSibling(std::int32_t key) {
  const MemberIndex* const members = passing().members;
  if (members == nullptr || key == kNone) return false;
  return goToNearPeer(*members, SoughtKey{*members, key}) || goToPeer({members, key}, kNone);
}

bool StdDictionaryIterator::moveToFirstChildMemberId(std::int32_t memberId, bool enforceRequired) {
  if (dictionaryInfo == nullptr) return moveToFirstChild();  // which refuses it
  const std::int32_t row = dictionaryInfo->getStructDefIndexFromMbrID(memberId);
  return goToChildMember(row) || moveToFirstChild(SearchDef(STMember, row), true, enforceRequired);
}

bool StdDictionaryIterator::moveToNextSiblingMemberId(std::int32_t memberId, bool enforceRequired) {
  if (dictionaryInfo == nullptr) return moveToNextSibling();  // which refuses it
  const std::int32_t row = dictionaryInfo->getStructDefIndexFromMbrID(memberId);
  return goToPeerMember(row) ||
         moveToSibling(SearchDef(STMember, row), true, true, enforceRequired);
}

bool StdDictionaryIterator::moveToFirstChildTagId(std::int32_t tagId, bool allowUndefined,
                                                  bool enforceRequired) {
  if (dictionaryInfo == nullptr) return moveToFirstChild();  // which refuses it
  const std::int32_t row = dictionaryInfo->getTagDefIndex(tagId);
  const MemberIndex* const members = passing().members;
  if (members != nullptr && row >= 0 && goToNearChild(*members, SoughtTag{row})) return true;
  return findFirstChildTag(row, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::moveToNextSiblingTagId(std::int32_t tagId, bool allowUndefined,
                                                   bool enforceRequired) {
  if (dictionaryInfo == nullptr) return moveToNextSibling();  // which refuses it
  const std::int32_t row = dictionaryInfo->getTagDefIndex(tagId);
  const MemberIndex* const members = passing().members;
  if (members != nullptr && row >= 0 && goToNearPeer(*members, SoughtTag{row})) return true;
  return findNextSiblingTag(row, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::moveToFirstChildTagName(const unsigned short* name,
                                                    const KelStringBase& namespaceURI,
                                                    bool allowUndefined, bool enforceRequired) {
  const Passing passing = passingForName(name, namespaceURI);
  if (passing.key != kNone &&
      goToNearChild(*passing.members, SoughtKey{*passing.members, passing.key})) {
    return true;
  }
  return findFirstChildTagName(name, namespaceURI, passing, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::moveToNextSiblingTagName(const unsigned short* name,
                                                     const KelStringBase& namespaceURI,
                                                     bool /*allowUndefined*/,
                                                     bool enforceRequired) {
  const Passing passing = passingForName(name, namespaceURI);
  if (passing.key != kNone &&
      goToNearPeer(*passing.members, SoughtKey{*passing.members, passing.key})) {
    return true;
  }
  return findNextSiblingTagName(name, namespaceURI, passing, enforceRequired);
}

}  // namespace cpi
