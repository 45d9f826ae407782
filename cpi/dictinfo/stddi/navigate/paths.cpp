// What follows from the whole stack: the parent, member paths and readable names.
#include <algorithm>

#include "cpi/dictinfo/stddi/navigate/navigation.h"

namespace cpi {

namespace {

constexpr std::int32_t kNoParentTag = -3;
constexpr std::int32_t kNoParentType = -2;
constexpr std::int32_t kNoParentRepeat = -3;
constexpr const char* kGetParentTypeIndex = "StdDictionaryIterator::getParentTypeIndex";

// The tag's name, led by its namespace when it has one.
KelStringBase traceNameOf(const StdDictionaryInfo& dictionary, const SMD_TAG_DEFINITION& tag) {
  const std::u16string_view space = dictionary.namespaceText(tag.namespaceIndex);
  if (space.empty()) return KelStringBase(tag.TextIdentifier);
  std::u16string name(space);
  name += u':';
  name += textView(tag.TextIdentifier);
  return KelStringBase(std::u16string_view(name));
}

bool isAnonymousGroup(const DictionaryPosition& entry) noexcept {
  return entry.memberIndex >= 0 && entry.tagIndex == kNone;
}

}  // namespace

std::int32_t StdDictionaryIterator::parentIndex() const noexcept {
  const auto size = static_cast<std::int32_t>(positionStack.size());
  if (size == 0) return kNone;
  // A marker stands on top of the member that it follows, and that one on the parent.
  if (positionStack.back().memberIndex == kMarkerMember) return std::max(size - 3, kNone);
  return size < 2 ? kNone : size - 2;
}

std::int32_t StdDictionaryIterator::getParentStackIndex() const {
  KelOperation operation(this, "StdDictionaryIterator::getParentStackIndex");
  return operation.returns(parentIndex());
}

std::int32_t StdDictionaryIterator::getParentTagIndex() const {
  KelOperation operation(this, "StdDictionaryIterator::getParentTagIndex");
  if (dictionaryInfo == nullptr) {
    throwParserError(nullptr, siteOf(kIteratorHeader, "StdDictionaryIterator::getParentTagIndex"),
                     CP_DICTIONARY_ERROR, "null dictionary pointer");
  }
  const std::int32_t parent = parentIndex();
  return operation.returns(parent < 0 ? kNoParentTag
                                      : positionStack[static_cast<std::size_t>(parent)].tagIndex);
}

std::int32_t StdDictionaryIterator::getParentTagId() const {
  KelOperation operation(this, "StdDictionaryIterator::getParentTagId");
  const std::int32_t tagIndex = getParentTagIndex();
  if (const auto* const tag = dictionaryInfo->tags().find(tagIndex); tag != nullptr) {
    return operation.returns(tag->Id);
  }
  return operation.returns(tagIndex == kNone ? 0 : kNone);
}

std::int32_t StdDictionaryIterator::getParentMinOccurs() const {
  KelOperation operation(this, "StdDictionaryIterator::getParentMinOccurs");
  const std::int32_t parent = parentIndex();
  if (parent < 0 || dictionaryInfo == nullptr) return operation.returns(0);
  const auto* const member = dictionaryInfo->typeMembers().find(
      positionStack[static_cast<std::size_t>(parent)].memberIndex);
  return operation.returns(member == nullptr ? 0 : member->MinOccurs);
}

std::int32_t StdDictionaryIterator::getParentTypeIndex() const {
  KelOperation operation(this, kGetParentTypeIndex);
  const std::int32_t index = parentIndex();
  if (index < 0 || dictionaryInfo == nullptr) return operation.returns(kNoParentType);
  const DictionaryPosition& parent = positionStack[static_cast<std::size_t>(index)];
  switch (parent.whereDefined()) {
    case WDMember: {
      const auto* const member = dictionaryInfo->typeMembers().find(parent.memberIndex);
      return operation.returns(member == nullptr ? kNone : member->toTypeIndex);
    }
    case WDTag: {
      const auto* const tag = dictionaryInfo->tags().find(parent.tagIndex);
      return operation.returns(tag == nullptr ? kNone : tag->ToTypeIndexField);
    }
    case WDSelf: return operation.returns(kNone);
    default: break;
  }
  traceItem(this, kGetParentTypeIndex, "envalid dicationary context",
            {"memberIndex", parent.memberIndex, "tagIndex", parent.tagIndex});
  throwParserError(this, siteOf(kIteratorSource, kGetParentTypeIndex), CP_INTERNAL_ERROR,
                   "invalid dicationary context");
}

std::int32_t StdDictionaryIterator::getParentTrcRptInd() const {
  KelOperation operation(this, "StdDictionaryIterator::getParentTrcRptInd");
  const std::int32_t parent = parentIndex();
  return operation.returns(
      parent < 0 ? kNoParentRepeat : positionStack[static_cast<std::size_t>(parent)].repeatIndex);
}

KelStringBase StdDictionaryIterator::getParentTrcName() const {
  KelOperation operation(this, "StdDictionaryIterator::getParentTrcName");
  const std::int32_t tagIndex = getParentTagIndex();
  if (const auto* const tag = dictionaryInfo->tags().find(tagIndex); tag != nullptr) {
    return operation.returns(traceNameOf(*dictionaryInfo, *tag));
  }
  if (tagIndex != kNone) return operation.returns(KelStringBase());
  const auto* const type = dictionaryInfo->types().find(getParentTypeIndex());
  return operation.returns(type == nullptr ? KelStringBase() : KelStringBase(type->Identifier));
}

KelStringBase StdDictionaryIterator::getTraceName() const {
  KelOperation operation(this, "StdDictionaryIterator::getTraceName");
  const SMD_TAG_DEFINITION* const tag = getTagDef();
  return operation.returns(tag == nullptr ? KelStringBase() : traceNameOf(*dictionaryInfo, *tag));
}

KelStringBase StdDictionaryIterator::getTraceName(SearchDef search) const {
  MoveOperation operation(this, "StdDictionaryIterator::getTraceName", search);
  return operation.returns(traceNameOfSearch(search));
}

KelStringBase StdDictionaryIterator::traceNameOfSearch(const SearchDef& search) const {
  if (search.searchType == STTagName || search.searchType == STSelfDef) {
    return KelStringBase(search.name);
  }
  if (dictionaryInfo == nullptr) return KelStringBase(u"UNKNOWN");
  if (search.searchType == STTagId) {
    const auto* const tag = dictionaryInfo->tags().find(search.value);
    if (tag != nullptr) return KelStringBase(dictionaryInfo->getTraceTextForID(tag->Id));
  }
  if (search.searchType == STMember) {
    const auto* const member = dictionaryInfo->typeMembers().find(search.value);
    if (member != nullptr) return KelStringBase(dictionaryInfo->getTraceTextForID(member->Id));
  }
  if (search.searchType == STSimpleType) {
    return KelStringBase(
        dictionaryInfo->getTraceTextForLogicalType(static_cast<LOGICAL_TYPE>(search.value)));
  }
  return KelStringBase(u"UNKNOWN");
}

KelStringBase StdDictionaryIterator::getTraceParentTypeName() const {
  KelOperation operation(this, "StdDictionaryIterator::getTraceParentTypeName");
  const std::int32_t parent = getParentTypeIndex();
  const auto* const type =
      dictionaryInfo == nullptr ? nullptr : dictionaryInfo->types().find(parent);
  return operation.returns(type == nullptr ? KelStringBase(u"NONE")
                                           : KelStringBase(type->Identifier));
}

std::int32_t StdDictionaryIterator::getMemberPath(std::vector<std::int32_t>& path) const {
  KelOperation operation(this, "StdDictionaryIterator::getMemberPath");
  path.clear();
  for (std::size_t i = 1; i < positionStack.size() && dictionaryInfo != nullptr; ++i) {
    const auto* const member = dictionaryInfo->typeMembers().find(positionStack[i].memberIndex);
    path.push_back(member == nullptr ? 0 : member->Id);
  }
  return operation.returns(static_cast<std::int32_t>(path.size()));
}

std::int32_t StdDictionaryIterator::getPartialMemberPath(std::vector<MbrPathItem>& path) const {
  KelOperation operation(this, "StdDictionaryIterator::getPartialMemberPath");
  path.clear();
  const std::int32_t parent = parentIndex();
  if (parent < 0 || dictionaryInfo == nullptr) return operation.returns(0);
  const auto end = positionStack.begin() + parent + 1;
  auto start = end;
  while (start != positionStack.begin() && isAnonymousGroup(*(start - 1))) --start;
  // Groups that reach down to the context root are part of the context, not of a path in it.
  if (start == positionStack.begin()) return operation.returns(0);
  for (; start != end; ++start) {
    const auto* const member = dictionaryInfo->typeMembers().find(start->memberIndex);
    path.push_back({start->repeatIndex, member == nullptr ? 0 : member->Id, start->memberIndex});
  }
  return operation.returns(static_cast<std::int32_t>(path.size()));
}

std::vector<MbrPathItem> StdDictionaryIterator::getPartialMemberPath() const {
  std::vector<MbrPathItem> path;
  getPartialMemberPath(path);
  return path;
}

}  // namespace cpi
