// Whether a candidate is the element, and whether a type admits an element that it does not define.
#include "cpi/dictinfo/stddi/navigate/navigation.h"

namespace cpi {

namespace {

bool isTagNamed(const StdDictionaryInfo& dictionary, const SMD_TAG_DEFINITION& tag,
                const SearchDef& search) noexcept {
  return tag.TextIdentifier != nullptr && comparedName(tag.TextIdentifier) == search.nameView() &&
         dictionary.isInNamespace(tag.namespaceIndex, search.namespaceURI);
}

bool isMatched(const StdDictionaryInfo& dictionary, const SearchDef& search,
               const DictionaryPosition& position, bool atStartEntry, bool matchCurrent) {
  switch (search.searchType) {
    case STAny: return !atStartEntry || matchCurrent;
    case STTagId: return position.memberIndex >= 0 && position.tagIndex == search.value;
    case STMember: return position.memberIndex == search.value;
    case STTagName: {
      if (position.memberIndex < 0) return false;
      const auto* const tag = dictionary.tags().find(position.tagIndex);
      return tag != nullptr && isTagNamed(dictionary, *tag, search);
    }
    case STSimpleType:
      return position.tagIndex == kNone &&
             dictionary.getTypeValueLogicalType(position.typeIndex) == search.value;
    default: return false;
  }
}

// Whether the search names a tag of the dictionary.
bool isDefinedTag(const StdDictionaryInfo& dictionary, const SearchDef& search) {
  if (search.searchType == STTagId) return search.value >= 0;
  return search.searchType == STTagName &&
         dictionary.getTagDefIndexFromName(search.name, search.namespaceURI, false) >= 0;
}

}  // namespace

bool StdDictionaryIterator::isElementMatched(SearchDef const& search,
                                             DictionaryPosition const& position, bool atStartEntry,
                                             bool matchCurrent) const {
  MoveOperation operation(this, "StdDictionaryIterator::isElementMatched", search,
                          position.memberIndex, atStartEntry, matchCurrent);
  return operation.returns(dictionaryInfo != nullptr && isMatched(*dictionaryInfo, search, position,
                                                                  atStartEntry, matchCurrent));
}

bool StdDictionaryIterator::isTypeContentMatched(SearchDef const& search) const {
  MoveOperation operation(this, "StdDictionaryIterator::isTypeContentMatched", search);
  const std::int32_t typeIndex = getParentTypeIndex();
  const SMD_TYPE_DEFINITION* const type =
      dictionaryInfo == nullptr ? nullptr : dictionaryInfo->types().find(typeIndex);
  if (type == nullptr) return operation.returns(true);
  const bool isChoice = type->Composition == TYPE_CHOICE || type->Composition == TYPE_MESSAGE;
  if (isChoice && positionStack.back().repeatIndex >= 0 && commonParentIndex() == parentIndex()) {
    return operation.returns(false);  // the one alternative has been taken
  }
  if (type->Content == CONTENT_CLOSED) return operation.returns(false);
  if (type->Content == CONTENT_DEFINED) {
    return operation.returns(isDefinedTag(*dictionaryInfo, search));
  }
  return operation.returns(true);
}

}  // namespace cpi
