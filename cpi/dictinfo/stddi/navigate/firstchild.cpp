// Moving to the parent and to the first child.
#include "cpi/dictinfo/stddi/navigate/navigation.h"
#include "cpi/dictinfo/stddi/navigate/stackguard.h"
#include "cpi/dictinfo/stddi/query/memberindex.h"

namespace cpi {

namespace {

constexpr const char* kMoveToParent = "StdDictionaryIterator::moveToParent";
constexpr const char* kMoveToFirstChild = "StdDictionaryIterator::moveToFirstChild";

}  // namespace

// Up, past anonymous groups; without log items.
inline bool StdDictionaryIterator::goToParent() noexcept {
  positionStackSaved = false;
  if (positionStack.empty()) return false;
  do {
    // A marker goes together with the member that it stands on.
    if (positionStack.back().memberIndex == kMarkerMember) positionStack.pop_back();
    if (!positionStack.empty()) positionStack.pop_back();
  } while (!positionStack.empty() && positionStack.back().memberIndex >= 0 &&
           positionStack.back().tagIndex < 0);
  return true;
}

bool StdDictionaryIterator::moveToParent() {
  return dictionaryInfo == nullptr || KelLog::isOn(LLDebug) ? leaveElement() : goToParent();
}

bool StdDictionaryIterator::leaveElement() {
  KelOperation operation(this, kMoveToParent);
  if (dictionaryInfo != nullptr) return operation.returns(goToParent());
  positionStackSaved = false;
  throwParserError(nullptr, siteOf(kIteratorSource, kMoveToParent),
                   CP_DICT_ITERATOR_NOT_INITIALISED, "null dictionary pointer");
}

bool StdDictionaryIterator::moveToFirstChild() {
  return moveToFirstChild(SearchDef(STAny, kNone), true, true);
}

bool StdDictionaryIterator::moveToFirstChildSimpleType(ELogicalType logicalType,
                                                       bool allowUndefined, bool enforceRequired) {
  return moveToFirstChild(SearchDef(STSimpleType, logicalType), allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::moveToFirstChildSelfDef(const unsigned short* name,
                                                    const KelStringBase& namespaceURI,
                                                    bool enforceRequired) {
  return moveToFirstChild(SearchDef(STSelfDef, name, namespaceURI), true, enforceRequired);
}

bool StdDictionaryIterator::moveToFirstChild(SearchDef search, bool allowUndefined,
                                             bool enforceRequired) {
  const KelStringBase namespaceURI = search.namespaceURI;
  return moveToChild(search, namespaceURI, passingFor(search), allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::moveToChild(SearchDef& search, const KelStringBase& namespaceURI,
                                        Passing passing, bool allowUndefined,
                                        bool enforceRequired) {
  MoveOperation operation(this, kMoveToFirstChild, search, allowUndefined, enforceRequired);
  positionStackSaved = false;
  if (getCurrentPosition() == nullptr) {
    throwParserError(nullptr, siteOf(kIteratorSource, kMoveToFirstChild),
                     CP_DICT_ITERATOR_NOT_INITIALISED, "null dictionary pointer or no context set");
  }
  const SMD_TYPE_DEFINITION* const type =
      dictionaryInfo->types().find(positionStack.back().typeIndex);
  if (type != nullptr && type->LogicalType > 0) {
    if (KelLog::isOn(LLDebug)) {
      KelLog::debug(this, kMoveToFirstChild,
                    "current element is a simple type so cannot move to children");
    }
    return operation.returns(false);
  }
  StackGuard guard(positionStack, savedPositionStack, positionStackSaved);
  return operation.returns(guard.run([&] {
    return isFirstChildMember(search, passing, type, enforceRequired) ||
           (allowUndefined && placeFirstChild(search, namespaceURI, passing, type));
  }));
}

// Stage 1: among the members of the current type.
bool StdDictionaryIterator::isFirstChildMember(const SearchDef& search, const Passing& passing,
                                               const SMD_TYPE_DEFINITION* type,
                                               bool enforceRequired) {
  const std::int32_t first = firstMember(*dictionaryInfo, type);
  if (search.searchType == STSelfDef || first < 0) return false;
  positionStack.emplace_back(dictionaryInfo, first);
  return searchNewPosition(search, passing, true, true, enforceRequired);
}

// Stage 2: as an element that the model does not define here.
bool StdDictionaryIterator::placeFirstChild(SearchDef& search, const KelStringBase& namespaceURI,
                                            Passing& passing, const SMD_TYPE_DEFINITION* type) {
  switch (search.searchType) {
    case STAny:
    case STMember: return false;
    case STTagName:
      if (!resolveTagName(search, namespaceURI, passing)) {
        return moveToChild(search, namespaceURI, passing, true, true);
      }
      break;
    case STTagId:
    case STSimpleType:
    case STSelfDef: break;
    default:
      throwParserError(this, siteOf(kIteratorSource, kMoveToFirstChild), CP_INTERNAL_ERROR,
                       "Invalid value for search type in StdDictionaryIterator");
  }
  if (search.searchType == STTagId && !isMessageAllowed(kMoveToFirstChild)) return false;
  if (search.searchType == STSelfDef && type != nullptr && type->Composition == TYPE_MESSAGE) {
    positionStack.emplace_back(dictionaryInfo, kNone, kSelfDefinedTag, kNone, kPathInfoUnknown, 0,
                               NTMessage);
    return true;
  }
  if (searchBestPosition(search, passing, pushProbe(search, type), true)) return true;
  DictionaryPosition child = undefinedChild(search, kNone);
  if (search.searchType == STSelfDef) child.nodeType = NTStructure;
  positionStack.push_back(child);
  return true;
}

// Pushes where the search for the best position starts; returns whether the element replaces it.
bool StdDictionaryIterator::pushProbe(const SearchDef& search, const SMD_TYPE_DEFINITION* type) {
  const std::int32_t first = firstMember(*dictionaryInfo, type);
  if (first >= 0) {
    const bool isOpen =
        type->Content == CONTENT_OPEN ||
        (search.searchType == STTagId && type->Content == CONTENT_DEFINED && search.value >= 0);
    positionStack.emplace_back(dictionaryInfo, isOpen ? kNone : first);
    return isOpen;
  }
  const SMD_TAG_DEFINITION* const tag = getTagDef();
  const bool isField = type != nullptr && tag != nullptr && tag->Class == TCField;
  positionStack.emplace_back(dictionaryInfo, isField ? kMarkerMember : kNone);
  return !isField;
}

// Turns a name search into one for the tag of that name, or for an element without definition.
bool StdDictionaryIterator::resolveTagName(SearchDef& search, const KelStringBase& namespaceURI,
                                           Passing& passing) const {
  const std::int32_t row = dictionaryInfo->getTagDefIndexFromName(search.name, namespaceURI, false);
  search.searchType = row < 0 ? STSelfDef : STTagId;
  if (row >= 0) search.value = row;
  if (passing.members != nullptr) passing.key = passing.members->keyOfTag(row);
  return row >= 0;
}

// Messages and message compositions belong together, or neither is there.
bool StdDictionaryIterator::isMessageAllowed(const char* operation) const {
  const SMD_TYPE_DEFINITION* const parent = dictionaryInfo->types().find(getParentTypeIndex());
  const SMD_TAG_DEFINITION* const tag = getTagDef();
  if (parent == nullptr || tag == nullptr) return true;
  const bool isMessage = tag->Class == TCMessage;
  if (isMessage == (parent->Composition == TYPE_MESSAGE)) return true;
  traceItem(this, operation,
            isMessage ? "A message must have a parent of type message."
                      : "Types of composition TYPE_MESSAGE must have a child of class TCMessage");
  return false;
}

DictionaryPosition StdDictionaryIterator::undefinedChild(const SearchDef& search,
                                                         std::int32_t memberIndex) const {
  DictionaryPosition child(dictionaryInfo, memberIndex, kSelfDefinedTag, kNone, kPathInfoUnknown, 0,
                           NTUndefined);
  if (search.searchType == STTagId) {
    child.tagIndex = search.value;
    const auto* const tag = dictionaryInfo->tags().find(search.value);
    child.typeIndex = tag == nullptr ? kNone : tag->ToTypeIndexField;
  } else if (search.searchType == STSimpleType) {
    child.tagIndex = kNone;
    child.typeIndex =
        dictionaryInfo->getTypeDefIndexFromLogicalType(static_cast<LOGICAL_TYPE>(search.value));
  }
  return child;
}

}  // namespace cpi
