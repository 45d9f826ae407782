// Positions and search definitions.
#include "cpi/dictinfo/stddi/navigate/navigation.h"

namespace cpi {

namespace {

constexpr const char* kSearchDef = "SearchDef::SearchDef";

ENodeType nodeTypeOf(std::int32_t classLetter) noexcept {
  switch (classLetter) {
    case TCField: return NTField;
    case TCMessage: return NTMessage;
    case TCStructure: return NTStructure;
    default: return NTUndefined;
  }
}

}  // namespace

DictionaryPosition::DictionaryPosition(StdDictionaryInfo const* dictionary,
                                       std::int32_t memberIndex)
    : DictionaryPosition(dictionary, memberIndex, kUnsetTag, kUnsetType, kPathInfoUnknown,
                         kUnmatchedRepeat, NTUndefined) {
  if (memberIndex < 0 || dictionary == nullptr) return;
  if (const auto* const member = dictionary->typeMembers().find(memberIndex); member != nullptr) {
    tagIndex = member->toTagIndex;
    typeIndex = member->toTypeIndex;
  }
}

DictionaryPosition::DictionaryPosition()
    : DictionaryPosition(nullptr, kContextMember, kUnsetTag, kUnsetType, kPathInfoUnknown,
                         kUnmatchedRepeat, NTUndefined) {
  throwParserError(nullptr, siteOf(kIteratorHeader, "DictionaryPosition::DictionaryPosition"),
                   CP_INTERNAL_ERROR,
                   "default constuctor for DictionaryPosition should never have been called");
}

EWhereDefined DictionaryPosition::whereDefined() const noexcept {
  if (memberIndex >= 0) return WDMember;
  if (tagIndex >= 0) return WDTag;
  return tagIndex == kNone || tagIndex == kSelfDefinedTag ? WDSelf : WDUndefined;
}

ENodeType DictionaryPosition::getNodeType() const noexcept {
  if (nodeType != NTUndefined || dictionary == nullptr) return nodeType;
  std::int32_t letter = 0;  // the class of nothing
  if (memberIndex >= 0) {
    const auto* const member = dictionary->typeMembers().find(memberIndex);
    if (member != nullptr) letter = member->ChildClass;
  } else if (const auto* const tag = dictionary->tags().find(tagIndex); tag != nullptr) {
    letter = tag->Class;
  }
  return nodeType = nodeTypeOf(letter);
}

SearchDef::SearchDef(ESearchType searchType, std::int32_t value)
    : searchType(searchType), value(value) {
  if (searchType == STAny || value >= 0) return;
  throwParserError(nullptr, siteOf(kIteratorHeader, kSearchDef), CP_INTERNAL_ERROR,
                   "Invalid dictionary index when searching creating a SearchDef object");
}

SearchDef::SearchDef(ESearchType searchType, const unsigned short* name,
                     const KelStringBase& namespaceURI)
    : searchType(searchType), name(name), nameLength(textLength(name)), namespaceURI(namespaceURI) {
  if (nameLength != 0) return;
  throwParserError(nullptr, siteOf(kIteratorHeader, kSearchDef), CP_INTERNAL_ERROR,
                   "Empty tag name when creating a SearchDef object");
}

SearchDef::SearchDef(ESearchType searchType, ELogicalType logicalType)
    : searchType(searchType), value(logicalType) {
  if (logicalType > 0) return;
  throwParserError(nullptr, siteOf(kIteratorHeader, kSearchDef), CP_INTERNAL_ERROR,
                   "Invalid logical type in when creating a SearchDef object");
}

SearchLabel labelOf(const SearchDef& search) {
  switch (search.searchType) {
    case STUndefined: return {"Undefined", ""};
    case STAny: return {"Any", ""};
    case STTagId: return {"TagId", search.value};
    case STMember: return {"Member", search.value};
    case STTagName: return {"Tag Name", search.name};
    case STSelfDef: return {"Self Def", search.name};
    default: return {"", search.value};
  }
}

}  // namespace cpi
