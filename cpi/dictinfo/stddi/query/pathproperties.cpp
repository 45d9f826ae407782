// Path-based properties: override rows, member paths, and a property from one or the other.
#include "cpi/dictinfo/stddi/query/lookupindex.h"

namespace cpi {

namespace {

// One property of a field: from the override row when one is given, never mixed with the tag's.
template <class Property, class FromOverride, class FromTag>
std::int32_t readProperty(KelOperation& operation, const StdDictionaryInfo& dictionary,
                          std::int32_t tagIndex, std::int32_t pathBasedInfoIndex,
                          Property& property, FromOverride fromOverride, FromTag fromTag) {
  if (pathBasedInfoIndex >= 0) {
    const auto* const row = dictionary.pathBasedInfo().find(pathBasedInfoIndex);
    if (row == nullptr) return operation.fails("pathBasedInfoIndex >= count", kIndexBeyondCount);
    property = fromOverride(*row);
    return operation.returns(kSuccess);
  }
  if (tagIndex < 0) return operation.fails("tagIndex < 0", kIndexBelowZero);
  const SMD_TAG_DEFINITION* const tag = dictionary.tags().find(tagIndex);
  if (tag == nullptr) return operation.fails("tagIndex >= count", kIndexBeyondCount);
  property = fromTag(*tag);
  return operation.returns(kSuccess);
}

DefinitionIndex::Overrides scanOverrides(const OverrideTable& table, std::int32_t msgId,
                                         std::int32_t endFieldId) {
  DefinitionIndex::Overrides matches;
  for (std::int32_t index = 0; index < table.rowCount(); ++index) {
    const SMD_PATH_BASED_DEFINITION& row = table.row(index);
    if (row.MsgId != msgId || row.EndFieldId != endFieldId) continue;
    if (matches.count++ == 0) matches.first = index;
  }
  return matches;
}

}  // namespace

std::int32_t StdDictionaryInfo::getPathBasedInfo(std::int32_t msgId, std::int32_t endFieldId,
                                                 std::int32_t& count,
                                                 const SMD_PATH_BASED_DEFINITION*& first,
                                                 std::int32_t& firstIndex) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getPathBasedInfo", msgId, endFieldId);
  const std::int32_t rowCount = pathBasedInfo_.rowCount();
  const LookupIndex* const derived = index();
  const DefinitionIndex::Overrides matches =
      derived != nullptr && derived->definitions().hasOverrides()
          ? derived->definitions().overridesOf(msgId, endFieldId)
          : scanOverrides(pathBasedInfo_, msgId, endFieldId);
  if (matches.count > 0) {
    firstIndex = matches.first;
    first = &pathBasedInfo_.row(firstIndex);
  }
  count = 0;
  // Without a match the caller's own index decides which of the two failures is told.
  if (firstIndex < 0 || firstIndex > rowCount) {
    return operation.fails("Definiton not found (bad index)", kDefinitionNotFound);
  }
  if (matches.count < 1)
    return operation.fails("Definiton not found (bad count)", kDefinitionNotFound);
  count = matches.count;
  return operation.returns(kSuccess);
}

std::int32_t StdDictionaryInfo::getTagPathList(std::int32_t index,
                                               const std::int32_t*& list) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTagPathList", index);
  if (index < 0) return operation.fails("Index < 0", kIndexBelowZero);
  const MemberPathRow* const row = memberPath_.find(index);
  if (row == nullptr) return operation.fails("Index >= count", kIndexBeyondCount);
  list = &row->MemberPathMemberId;
  return operation.returns(kSuccess);
}

std::int32_t StdDictionaryInfo::getNullPermitted(std::int32_t tagIndex,
                                                 std::int32_t pathBasedInfoIndex,
                                                 bool& nullPermitted) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getNullPermitted", tagIndex,
                         pathBasedInfoIndex);
  return readProperty(
      operation, *this, tagIndex, pathBasedInfoIndex, nullPermitted,
      [](const SMD_PATH_BASED_DEFINITION& row) { return row.NullPermitted != 0; },
      [](const SMD_TAG_DEFINITION& tag) { return tag.NullPermitted; });
}

std::int32_t StdDictionaryInfo::getMaxLength(std::int32_t tagIndex, std::int32_t pathBasedInfoIndex,
                                             std::int32_t& maxLength) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getMaxLength", tagIndex, pathBasedInfoIndex);
  const auto property = [](const auto& row) { return row.MaxLength; };
  return readProperty(operation, *this, tagIndex, pathBasedInfoIndex, maxLength, property,
                      property);
}

std::int32_t StdDictionaryInfo::getMinLength(std::int32_t tagIndex, std::int32_t pathBasedInfoIndex,
                                             std::int32_t& minLength) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getMinLength", tagIndex, pathBasedInfoIndex);
  const auto property = [](const auto& row) { return row.MinLength; };
  return readProperty(operation, *this, tagIndex, pathBasedInfoIndex, minLength, property,
                      property);
}

}  // namespace cpi
