// Moves by tag and by name, and those among them whose outcome the index tells at once. Such a
// shortcut shows first that the search would come to the same, and otherwise leaves everything to
// the search: it answers false and has changed nothing.
#include "cpi/dictinfo/stddi/navigate/navigation.h"
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

// Members follow one another, and none was matched yet: the search goes through all of them.
bool isPassedThrough(const SMD_TYPE_DEFINITION& type) noexcept {
  return type.Composition >= TYPE_CHOICE && type.Composition <= TYPE_MESSAGE;
}

bool isInOrder(const SMD_TYPE_DEFINITION& type) noexcept {
  return type.Composition == TYPE_SEQUENCE || type.Composition == TYPE_ORDERED;
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

DictionaryPosition matchedPosition(const StdDictionaryInfo* dictionary, std::int32_t row,
                                   const Member& member) noexcept {
  return {dictionary, row, member.toTagIndex, member.toTypeIndex, kPathInfoUnknown, 0, NTUndefined};
}

// Whether the row is a member of the tag, or of any tag when it is -1, and not a group.
bool isOfTag(const MemberIndex& members, std::int32_t row, std::int32_t tagIndex) noexcept {
  return row != kNoRow && (tagIndex == kNone || members.member(row)->toTagIndex == tagIndex);
}

// The way to a member from one level of the model: the groups to enter, and the member itself.
class Route {
 public:
  explicit Route(const MemberIndex& members) noexcept : members_(members) {}

  // Finds the first member from `first` on that a search would come to: with no group in front of
  // it that is entered in vain, here and in each group that it enters, and none in front that
  // closes a group. `tagIndex` is the only tag to accept, or -1.
  bool find(std::int32_t first, std::int32_t key, std::int32_t tagIndex) noexcept {
    if (!addMember(first, key)) return false;
    while (members_.nextGroup(rows_[count_ - 1]) == rows_[count_ - 1]) {
      const SMD_TYPE_DEFINITION& type =
          *members_.type(members_.member(rows_[count_ - 1])->toTypeIndex);
      if (count_ == kMaximumGroups || !isPassedThrough(type) ||
          !addMember(type.ToTypeMbrIndex, key)) {
        return false;
      }
      if (isInOrder(type) && isClosedBefore(type.ToTypeMbrIndex, count_ - 1)) return false;
    }
    return tagIndex == kNone || members_.member(rows_[count_ - 1])->toTagIndex == tagIndex;
  }
  bool entersGroups() const noexcept { return count_ > 1; }
  // Whether a member that must occur stands between the first of a group and the one found in it:
  // a search that has entered the group does not pass over that.
  bool isClosedBefore(std::int32_t first, std::size_t level = 0) const noexcept {
    return members_.nextRequired(first) < rows_[level];
  }
  // Makes room, so that append does not throw.
  void makeRoom(std::vector<DictionaryPosition>& stack) const {
    if (stack.capacity() - stack.size() < count_) stack.reserve(2 * (stack.size() + count_));
  }
  void append(std::vector<DictionaryPosition>& stack, const StdDictionaryInfo* dictionary) const {
    for (std::size_t i = 0; i < count_; ++i) {
      stack.push_back(matchedPosition(dictionary, rows_[i], *members_.member(rows_[i])));
    }
  }

 private:
  static constexpr std::size_t kMaximumGroups = 8;

  // The first row that carries the key or leads to it, unless it is behind another group.
  bool addMember(std::int32_t first, std::int32_t key) noexcept {
    if (members_.member(first) == nullptr || members_.runOf(first) < 0) return false;
    const std::int32_t row = members_.find(first, key);
    if (row == kNoRow || members_.nextGroup(first) < row) return false;
    rows_[count_++] = row;
    return true;
  }

  const MemberIndex& members_;
  std::size_t count_ = 0;
  std::int32_t rows_[kMaximumGroups + 1];
};

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

// The first child that is a member of the current type, or of a group in it.
bool StdDictionaryIterator::goToChild(Passing passing, std::int32_t tagIndex) {
  if (positionStack.empty() || positionStack.size() > kMaximumPassingDepth) return false;
  const DictionaryPosition& parent = positionStack.back();
  const SMD_TYPE_DEFINITION* const type = typeBelow(*passing.members, parent);
  if (type == nullptr || type->LogicalType > 0 || parent.repeatIndex < 0) return false;
  const std::int32_t first = type->ToTypeMbrIndex;
  if (!isPassedThrough(*type)) return false;
  const std::int32_t row = passing.members->findBeforeGroups(first, passing.key);
  if (isOfTag(*passing.members, row, tagIndex)) {
    positionStack.push_back(matchedPosition(dictionaryInfo, row, *passing.members->member(row)));
    positionStackSaved = false;
    return true;
  }
  Route route(*passing.members);
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

// The current member once more, a member behind it at its level, or one of its group begun again.
bool StdDictionaryIterator::goToPeer(Passing passing, std::int32_t tagIndex) {
  const std::size_t size = positionStack.size();
  if (size < 2 || size > kMaximumPassingDepth) return false;
  const MemberIndex& members = *passing.members;
  const DictionaryPosition& current = positionStack[size - 1];
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
    return (mayOccurAgain(*member, current.repeatIndex) || isInAnyOrder(*type)) && goToSame();
  }
  if (isInOrder(*type)) {
    return goToMember(passing, tagIndex, current.memberIndex + 1) ||
           (!isAmong(members, current.memberIndex + 1, current.memberIndex, passing.key) &&
            goToNextRound(passing, tagIndex, *type));
  }
  if (isInAnyOrder(*type)) return goToMember(passing, tagIndex, type->ToTypeMbrIndex);
  return type->Composition == TYPE_CHOICE && goToNextRound(passing, tagIndex, *type);
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
  Passing known = passing();
  known.key = key;
  return known.members != nullptr && key != kNone && goToChild(known, kNone);
}

bool StdDictionaryIterator::goToNextSibling(std::int32_t key) {
  Passing known = passing();
  known.key = key;
  return known.members != nullptr && key != kNone && goToPeer(known, kNone);
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
