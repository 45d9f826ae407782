// The iterator object: construction, context, and what it knows of the current element.
#include "cpi/dictinfo/stddi/navigate/navigation.h"

namespace cpi {

namespace {

constexpr const char* kConstructor = "StdDictionaryIterator::StdDictionaryIterator";
constexpr const char* kSetContextFromTag = "StdDictionaryIterator::setContextFromTag";
constexpr const char* kSetContextFromMbrId = "StdDictionaryIterator::setContextFromMbrId";
constexpr const char* kUnknownTag = "tag name not defined in the dictionary";

// A root that stands for no definition: every message may follow.
DictionaryPosition untaggedRoot(StdDictionaryInfo const* dictionary) {
  return {dictionary, kNone, kSelfDefinedTag, kNone, kPathInfoUnknown, 0, NTMessage};
}

void checkDictionary(StdDictionaryInfo const* dictionary, const char* operation) {
  if (dictionary != nullptr) return;
  throwParserError(nullptr, siteOf(kIteratorSource, operation), CP_DICTIONARY_ERROR,
                   "null dictionary pointer.");
}

}  // namespace

StdDictionaryIterator::StdDictionaryIterator(KelNamedLogSource const* owner,
                                             StdDictionaryInfo const* dictionary,
                                             std::int32_t tagId)
    : KelOwnedLogSource(owner), dictionaryInfo(dictionary) {
  KelOperation operation(this, kConstructor, static_cast<const void*>(dictionary), tagId);
  setContextFromTag(tagId);
}

StdDictionaryIterator::StdDictionaryIterator(KelNamedLogSource const* owner,
                                             StdDictionaryInfo const* dictionary,
                                             const unsigned short* tagName,
                                             const KelStringBase& namespaceURI)
    : KelOwnedLogSource(owner), dictionaryInfo(dictionary) {
  KelOperation operation(this, kConstructor, static_cast<const void*>(dictionary), tagName);
  setContextFromTag(tagName, namespaceURI);
}

StdDictionaryIterator::StdDictionaryIterator() : KelOwnedLogSource(nullptr) {
  KelOperation operation(this, kConstructor);
}

StdDictionaryIterator::~StdDictionaryIterator() {
  KelOperation operation(this, "StdDictionaryIterator::~StdDictionaryIterator");
}

void StdDictionaryIterator::clearContext() {
  KelOperation operation(this, "StdDictionaryIterator::clearContext");
  positionStackSaved = false;
  positionStack.clear();
}

void StdDictionaryIterator::setDictionaryInfo(StdDictionaryInfo const* dictionary) {
  KelOperation operation(this, "StdDictionaryIterator::setDictionaryInfo",
                         static_cast<const void*>(dictionary));
  clearContext();
  dictionaryInfo = dictionary;
}

void StdDictionaryIterator::setContextFromTag(std::int32_t tagId) {
  KelOperation operation(this, kSetContextFromTag, tagId);
  checkDictionary(dictionaryInfo, kSetContextFromTag);
  clearContext();
  if (tagId <= 0) {
    positionStack.push_back(untaggedRoot(dictionaryInfo));
    return;
  }
  const std::int32_t row = dictionaryInfo->getTagDefIndex(tagId);
  if (row < 0) {
    throwParserError(this, siteOf(kIteratorSource, kSetContextFromTag),
                     CP_DICT_SET_CONTEXT_FROM_TAG_ERROR, kUnknownTag, {tagId});
  }
  positionStack.emplace_back(dictionaryInfo, kContextMember, row,
                             dictionaryInfo->tags().row(row).ToTypeIndexField, kPathInfoUnknown, 0,
                             NTUndefined);
}

void StdDictionaryIterator::setContextFromTag(const unsigned short* tagName,
                                              const KelStringBase& namespaceURI) {
  KelOperation operation(this, kSetContextFromTag, tagName);
  checkDictionary(dictionaryInfo, kSetContextFromTag);
  clearContext();
  if (tagName == nullptr) return;
  std::int32_t tagId = 0;
  if (dictionaryInfo->getTagIdForTagText(tagName, namespaceURI, tagId, false) != kSuccess) {
    throwParserError(this, siteOf(kIteratorSource, kSetContextFromTag),
                     CP_DICT_SET_CONTEXT_FROM_TAG_ERROR, kUnknownTag, {tagName});
  }
  setContextFromTag(tagId);
}

void StdDictionaryIterator::setContextFromMbrId(std::int32_t memberId) {
  KelOperation operation(this, kSetContextFromMbrId, memberId);
  checkDictionary(dictionaryInfo, kSetContextFromMbrId);
  clearContext();
  if (memberId <= 0) {
    positionStack.push_back(untaggedRoot(dictionaryInfo));
    return;
  }
  const std::int32_t row = dictionaryInfo->getStructDefIndexFromMbrID(memberId);
  const auto* const member = dictionaryInfo->typeMembers().find(row);
  if (member == nullptr) {
    throwParserError(this, siteOf(kIteratorSource, kSetContextFromMbrId),
                     CP_DICT_SET_CONTEXT_FROM_TAG_ERROR, "MemberId not defined in the dictionary",
                     {memberId});
  }
  positionStack.emplace_back(dictionaryInfo, row, member->toTagIndex, member->toTypeIndex,
                             kPathInfoUnknown, 0, NTUndefined);
}

DictionaryPosition const* StdDictionaryIterator::getCurrentPosition() const noexcept {
  return dictionaryInfo == nullptr || positionStack.empty() ? nullptr : &positionStack.back();
}

std::int32_t StdDictionaryIterator::getTagIndex() const {
  KelOperation operation(this, "StdDictionaryIterator::getTagIndex");
  return operation.returns(positionStack.empty() ? kUnsetTag : positionStack.back().tagIndex);
}

std::int32_t StdDictionaryIterator::getRepeatIndex() const {
  KelOperation operation(this, "StdDictionaryIterator::getRepeatIndex");
  return operation.returns(positionStack.empty() ? kUnmatchedRepeat
                                                 : positionStack.back().repeatIndex);
}

std::int32_t StdDictionaryIterator::getTagId() const {
  KelOperation operation(this, "StdDictionaryIterator::getTagId");
  if (const SMD_TAG_DEFINITION* const tag = getTagDef(); tag != nullptr) {
    return operation.returns(tag->Id);
  }
  return operation.returns(
      !positionStack.empty() && positionStack.back().tagIndex == kNone ? 0 : kNone);
}

std::int32_t StdDictionaryIterator::getMemberId() const {
  KelOperation operation(this, "StdDictionaryIterator::getMemberId");
  if (const auto* const member = getMemberDef(); member != nullptr) {
    return operation.returns(member->Id);
  }
  const bool hasTag = positionStack.empty() || (positionStack.back().tagIndex != kNone &&
                                                positionStack.back().tagIndex != kSelfDefinedTag);
  return operation.returns(hasTag ? 0 : kNone);
}

std::int32_t StdDictionaryIterator::getTypeId() const {
  KelOperation operation(this, "StdDictionaryIterator::getTypeId");
  const SMD_TYPE_DEFINITION* const type = getTypeDef();
  return operation.returns(type == nullptr ? 0 : type->TypeId);
}

const unsigned short* StdDictionaryIterator::getTagName() const {
  KelOperation operation(this, "StdDictionaryIterator::getTagName");
  const SMD_TAG_DEFINITION* const tag = getTagDef();
  return operation.returns(tag == nullptr ? nullptr : tag->TextIdentifier);
}

KelStringBase StdDictionaryIterator::getNamespaceURI() const {
  KelOperation operation(this, "StdDictionaryIterator::getNamespaceURI");
  const SMD_TAG_DEFINITION* const tag = getTagDef();
  if (tag == nullptr) return operation.returns(KelStringBase());
  return operation.returns(KelStringBase(dictionaryInfo->namespaceText(tag->namespaceIndex)));
}

SMD_TAG_DEFINITION const* StdDictionaryIterator::getTagDef() const {
  KelOperation operation(this, "StdDictionaryIterator::getTagDef");
  DictionaryPosition const* const at = getCurrentPosition();
  return operation.returns(at == nullptr ? nullptr : dictionaryInfo->tags().find(at->tagIndex));
}

SMD_STRUCTURE_ELEMENT_DEFINITION const* StdDictionaryIterator::getMemberDef() const {
  KelOperation operation(this, "StdDictionaryIterator::getMemberDef");
  DictionaryPosition const* const at = getCurrentPosition();
  return operation.returns(at == nullptr ? nullptr
                                         : dictionaryInfo->typeMembers().find(at->memberIndex));
}

SMD_TYPE_DEFINITION const* StdDictionaryIterator::getTypeDef() const {
  KelOperation operation(this, "StdDictionaryIterator::getTypeDef");
  DictionaryPosition const* const at = getCurrentPosition();
  return operation.returns(at == nullptr ? nullptr : dictionaryInfo->types().find(at->typeIndex));
}

SMD_VALUE_SET_DEFINITION const* StdDictionaryIterator::getValues() const {
  KelOperation operation(this, "StdDictionaryIterator::getValues");
  return nullptr;
}

ENodeType StdDictionaryIterator::getNodeType() {
  KelOperation operation(this, "StdDictionaryIterator::getNodeType");
  return operation.returns(positionStack.empty() ? NTUndefined
                                                 : positionStack.back().getNodeType());
}

std::int32_t StdDictionaryIterator::getPathBasedInfoIndex() const {
  KelOperation operation(this, "StdDictionaryIterator::getPathBasedInfoIndex");
  if (!positionStack.empty()) positionStack.back().pathBasedInfoIndex = kNone;
  return operation.returns(kNone);
}

std::int32_t StdDictionaryIterator::getMinOccurs() const {
  KelOperation operation(this, "StdDictionaryIterator::getMinOccurs");
  getPathBasedInfoIndex();
  const auto* const member = getMemberDef();
  return operation.returns(member == nullptr ? 0 : member->MinOccurs);
}

std::int32_t StdDictionaryIterator::getMaxOccurs() const {
  KelOperation operation(this, "StdDictionaryIterator::getMaxOccurs");
  getPathBasedInfoIndex();
  const auto* const member = getMemberDef();
  const std::int32_t limit = member == nullptr ? kUnbounded : member->MaxOccurs;
  return operation.returns(limit < 0 ? kUnbounded : limit);
}

SMD_VALUE_DEFINITION const* StdDictionaryIterator::getDefaultValue() const {
  KelOperation operation(this, "StdDictionaryIterator::getDefaultValue");
  getPathBasedInfoIndex();
  const SMD_TAG_DEFINITION* const tag = getMemberDef() == nullptr ? nullptr : getTagDef();
  const SMD_VALUE_DEFINITION* const value =
      tag == nullptr ? nullptr : dictionaryInfo->values().find(tag->DVTableIndex);
  operation.returns(static_cast<const void*>(value));
  return value;
}

bool StdDictionaryIterator::canHaveChildren() const {
  KelOperation operation(this, "StdDictionaryIterator::canHaveChildren");
  const SMD_TYPE_DEFINITION* const type = getTypeDef();
  return operation.returns(type == nullptr || type->LogicalType < 1);
}

}  // namespace cpi
