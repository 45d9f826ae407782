// Moving to the next sibling.
#include <algorithm>

#include "cpi/dictinfo/stddi/navigate/navigation.h"
#include "cpi/dictinfo/stddi/navigate/stackguard.h"

namespace cpi {

namespace {

constexpr const char* kMoveToSibling = "StdDictionaryIterator::moveToSibling";
constexpr const char* kMoveOfMbrId = "StdDictionaryIterator::moveToNextSiblingOfMbrId";
constexpr const char* kNoPeers = "Context not valid for peer move. positionStack.size() < 2.";
constexpr const char* kInvalidSearch = "Invalid value for search type in StdDictionaryIterator";

void checkDictionary(const StdDictionaryInfo* dictionary, const char* operation) {
  if (dictionary != nullptr) return;
  throwParserError(nullptr, siteOf(kIteratorSource, operation), CP_DICT_ITERATOR_NOT_INITIALISED,
                   "null dictionary pointer");
}

}  // namespace

bool StdDictionaryIterator::moveToNextSibling() {
  return moveToSibling(SearchDef(STAny, kNone), true, true, true);
}

bool StdDictionaryIterator::moveToNextSiblingSimpleType(ELogicalType logicalType,
                                                        bool allowUndefined, bool enforceRequired) {
  return moveToSibling(SearchDef(STSimpleType, logicalType), true, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::moveToNextSiblingSelfDef(const unsigned short* name,
                                                     const KelStringBase& namespaceURI,
                                                     bool enforceRequired) {
  return moveToSibling(SearchDef(STSelfDef, name, namespaceURI), true, true, enforceRequired);
}

bool StdDictionaryIterator::moveToPreviousSibling() {
  return moveToSibling(SearchDef(STAny, kNone), false, true, true);
}

bool StdDictionaryIterator::moveToSibling(SearchDef search, bool moveFwd, bool allowUndefined,
                                          bool enforceRequired) {
  if (moveFwd) {
    const KelStringBase namespaceURI = search.namespaceURI;
    return moveToPeer(search, namespaceURI, passingFor(search), allowUndefined, enforceRequired);
  }
  MoveOperation operation(this, kMoveToSibling, search, moveFwd, allowUndefined, enforceRequired);
  positionStackSaved = false;
  checkDictionary(dictionaryInfo, kMoveToSibling);
  throwParserError(this, siteOf(kIteratorSource, kMoveToSibling), CP_INTERNAL_ERROR,
                   "moveFwd false not supported");
}

bool StdDictionaryIterator::moveToPeer(SearchDef& search, const KelStringBase& namespaceURI,
                                       Passing passing, bool allowUndefined, bool enforceRequired) {
  MoveOperation operation(this, kMoveToSibling, search, true, allowUndefined, enforceRequired);
  positionStackSaved = false;
  checkDictionary(dictionaryInfo, kMoveToSibling);
  if (positionStack.size() < 2) {
    traceItem(this, kMoveToSibling, kNoPeers, {positionStack.size()});
    return operation.returns(false);
  }
  checkNamedMessage(search);
  StackGuard guard(positionStack, savedPositionStack, positionStackSaved);
  return operation.returns(guard.run([&] {
    const SMD_TYPE_DEFINITION* const parent = dictionaryInfo->types().find(getParentTypeIndex());
    if (parent == nullptr) return moveWithoutModel(search, namespaceURI, passing, allowUndefined);
    const bool isFirstChildMarker = settleCurrentEntry();
    return searchNewPosition(search, passing, false, true, enforceRequired) ||
           (allowUndefined && placeSibling(search, namespaceURI, passing, isFirstChildMarker));
  }));
}

// Inside a message composition that has a tag there is room for one message.
bool StdDictionaryIterator::isInNamedMessage() const {
  const std::int32_t index = parentIndex();
  if (index < 0 || positionStack[static_cast<std::size_t>(index)].tagIndex < 0) return false;
  const SMD_TYPE_DEFINITION* const parent = dictionaryInfo->types().find(getParentTypeIndex());
  return parent != nullptr && parent->Composition == TYPE_MESSAGE;
}

void StdDictionaryIterator::checkNamedMessage(const SearchDef& search) const {
  if (!isInNamedMessage()) return;
  throwParserError(this, siteOf(kIteratorSource, kMoveToSibling),
                   CP_DICT_EMBEDDED_MESSAGE_NOT_ALLOWED,
                   "Can't move to the next sibling of a named message composition",
                   {getTraceName(search), getTraceParentTypeName(), dictionaryInfo->msgSetID});
}

// Makes the current entry one that a search can start from. Returns whether the finished element
// stood alone at its level, as a first child marker.
bool StdDictionaryIterator::settleCurrentEntry() {
  const auto isDebug = [] { return KelLog::isOn(LLDebug); };
  while (positionStack.size() > 1 && positionStack.back().memberIndex == kMarkerMember) {
    if (isDebug()) {
      KelLog::debug(this, kMoveToSibling,
                    "Current child is a self, tag or value defined element peer marker. Poping "
                    "item off the position stack.");
    }
    positionStack.pop_back();
  }
  DictionaryPosition& current = positionStack.back();
  if (current.memberIndex < kNone) {
    traceItem(this, kMoveToSibling, "positionStack.back().memberIndex is an invalid value",
              {current.memberIndex});
    throwParserError(this, siteOf(kIteratorSource, kMoveToSibling), CP_INTERNAL_ERROR,
                     "invalid positionStack.back().memberIndex value");
  }
  if (current.memberIndex >= 0) return false;
  if (current.getNodeType() != NTMessage) {
    if (isDebug()) {
      KelLog::debug(this, kMoveToSibling,
                    "Current child is a self or tag defined element first child marker of an "
                    "empty compound type. Setting the index so we know we haven't matched "
                    "anything yet.");
    }
    // Asked now: below more than one marker stands another parent than below the topmost.
    const auto* const parent = dictionaryInfo->types().find(getParentTypeIndex());
    current = DictionaryPosition(dictionaryInfo, firstMember(*dictionaryInfo, parent));
    current.repeatIndex = kRestartedRepeat;
  }
  return true;
}

// The element is no member: placed as one that the model does not define here.
bool StdDictionaryIterator::placeSibling(SearchDef& search, const KelStringBase& namespaceURI,
                                         Passing& passing, bool isFirstChildMarker) {
  switch (search.searchType) {
    case STAny:
    case STMember: return false;
    case STTagName:
      if (!resolveTagName(search, namespaceURI, passing)) {
        return moveToPeer(search, namespaceURI, passing, true, true);
      }
      break;
    case STTagId:
    case STSimpleType:
    case STSelfDef: break;
    default:
      throwParserError(this, siteOf(kIteratorSource, kMoveToSibling), CP_INTERNAL_ERROR,
                       kInvalidSearch);
  }
  if (search.searchType == STTagId && !isMessageAllowed(kMoveToSibling)) return false;
  if (search.searchType == STSimpleType) {
    isFirstChildMarker = positionStack.back().memberIndex == kNone;
    const auto* const parent = dictionaryInfo->types().find(getParentTypeIndex());
    if (parent != nullptr && parent->Composition == TYPE_MESSAGE) {
      traceItem(this, kMoveToSibling,
                "Types of composition TYPE_MESSAGE must have a child of class TCMessage");
      return false;
    }
  }
  if (search.searchType == STSelfDef) checkNamedMessage(search);
  if (searchBestPosition(search, passing, isFirstChildMarker, true)) return true;
  return pushSibling(search, isFirstChildMarker);
}

// Puts the element beside the finished one: in its place when that was undefined too.
bool StdDictionaryIterator::pushSibling(const SearchDef& search, bool isFirstChildMarker) {
  if (!positionStack.empty() && positionStack.back().memberIndex < 0) positionStack.pop_back();
  positionStack.push_back(undefinedChild(search, isFirstChildMarker ? kNone : kMarkerMember));
  return true;
}

// Under a parent without a type there is nothing to search.
bool StdDictionaryIterator::moveWithoutModel(SearchDef& search, const KelStringBase& namespaceURI,
                                             Passing& passing, bool allowUndefined) {
  switch (search.searchType) {
    case STMember:
      throwParserError(this, siteOf(kIteratorSource, kMoveToSibling), CP_INTERNAL_ERROR,
                       "Can't look for a member id in StdDictionaryIterator when the parent is "
                       "self defined.");
    case STTagName:
      if (!resolveTagName(search, namespaceURI, passing)) {
        return moveToPeer(search, namespaceURI, passing, allowUndefined, true);
      }
      break;
    case STTagId:
    case STSimpleType:
    case STSelfDef: break;
    default:
      throwParserError(this, siteOf(kIteratorSource, kMoveToSibling), CP_INTERNAL_ERROR,
                       kInvalidSearch);
  }
  return pushSibling(search, positionStack.back().memberIndex == kNone);
}

bool StdDictionaryIterator::moveToNextSiblingOfMbrId(std::int32_t memberId,
                                                     std::int32_t nextMemberId,
                                                     bool enforceRequired) {
  KelOperation operation(this, kMoveOfMbrId, memberId, nextMemberId, enforceRequired);
  if (memberId <= 0) {
    traceItem(this, kMoveOfMbrId, kNoPeers, {positionStack.size()});
    return operation.returns(false);
  }
  checkDictionary(dictionaryInfo, kMoveOfMbrId);
  const auto found = std::find_if(
      positionStack.begin(), positionStack.end(), [&](const DictionaryPosition& entry) {
        const auto* const member = dictionaryInfo->typeMembers().find(entry.memberIndex);
        return member != nullptr && member->Id == memberId;
      });
  if (found == positionStack.end()) {
    traceItem(this, kMoveOfMbrId, "MemberId not found in current positionStack");
    return operation.returns(false);
  }
  const std::int32_t memberIndex = found->memberIndex;
  positionStackSaved = false;
  ensurePositionStackSaved();
  while (positionStack.back().memberIndex != memberIndex) positionStack.pop_back();
  return operation.returns(moveOnFromMember(nextMemberId, enforceRequired));
}

// On from the current entry, a member; the stack at the call is in the saved copy.
bool StdDictionaryIterator::moveOnFromMember(std::int32_t nextMemberId, bool enforceRequired) {
  // A nested move takes a saved copy of its own; from then on this one holds the stack.
  std::vector<DictionaryPosition> atCall;
  const auto rewind = [&] {
    if (!atCall.empty()) savedPositionStack.swap(atCall);
    positionStackSaved = true;
  };
  try {
    for (;;) {
      DictionaryPosition& current = positionStack.back();
      const auto* const row = dictionaryInfo->typeMembers().find(current.memberIndex);
      const std::int32_t next = row == nullptr ? kNone : current.memberIndex + 1;
      const auto* const nextRow = dictionaryInfo->typeMembers().find(next);
      if (nextRow != nullptr && row != nullptr && nextRow->ParentTypeId == row->ParentTypeId) {
        current = DictionaryPosition(dictionaryInfo, next);
        if (searchNewPosition(SearchDef(STAny, kNone), {}, true, true, enforceRequired))
          return true;
        break;
      }
      if (!isParentAnonymous() || nextMemberId <= 0) break;
      if (atCall.empty()) atCall = savedPositionStack;
      positionStack.pop_back();
      if (moveToFirstChildMemberId(nextMemberId, true)) return true;
    }
  } catch (...) {
    rewind();
    positionStack = savedPositionStack;
    positionStackSaved = false;
    throw;
  }
  rewind();
  restorePositionStackFromSaved();
  return false;
}

// Whether the parent is one that the message does not show: only out of it a search may go up.
bool StdDictionaryIterator::isParentAnonymous() const {
  const std::int32_t tagIndex = getParentTagIndex();
  if (tagIndex == kNone) return true;
  const SMD_TAG_DEFINITION* const tag = dictionaryInfo->tags().find(tagIndex);
  return tag != nullptr && tag->Id == 0;
}

}  // namespace cpi
