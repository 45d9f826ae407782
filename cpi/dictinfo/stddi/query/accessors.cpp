// Records by row and by id.
#include "cpi/dictinfo/stddi/query/lookupindex.h"

namespace cpi {

namespace {

constexpr const char* kIndexBelowZeroText = "Index < 0";
constexpr const char* kIndexAtCountText = "Index >= count";
constexpr const char* kIndexAboveCountText = "Index > count";

// The test that every bounded accessor makes: `record` is written only for a row of the table.
template <class Record>
std::int32_t findRecord(KelOperation& operation, const TableReference<Record>& table,
                        std::int32_t index, const char* boundText, const Record*& record) {
  if (index < 0) return operation.fails(kIndexBelowZeroText, kIndexBelowZero);
  if (!table.contains(index)) return operation.fails(boundText, kIndexBeyondCount);
  record = &table.row(index);
  return operation.returns(kSuccess);
}

}  // namespace

std::int32_t StdDictionaryInfo::getDependencyTableEntry(std::int32_t index,
                                                        const unsigned short*& text) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getDependencyTableEntry", index);
  const DependencyRow* record = nullptr;
  const std::int32_t result =
      findRecord(operation, dependencies_, index, kIndexAtCountText, record);
  if (result == kSuccess) text = record->Dependency;
  return result;
}

std::int32_t StdDictionaryInfo::getWireFormatEntry(std::int32_t index,
                                                   const WIREFORMAT_DEFINITION*& record) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getWireFormatEntry", index);
  return findRecord(operation, wireFormats_, index, kIndexAtCountText, record);
}

std::int32_t StdDictionaryInfo::countMembers(std::int32_t first, std::int32_t parentTypeId) const {
  if (typeMembers_.row(first).ParentTypeId != parentTypeId) return 0;
  if (const LookupIndex* const derived = index(); derived != nullptr) {
    return derived->definitions().runEnd(first) - first;
  }
  std::int32_t row = first;
  while (typeMembers_.contains(row) && typeMembers_.row(row).ParentTypeId == parentTypeId) ++row;
  return row - first;
}

std::int32_t StdDictionaryInfo::getStructureDefinitionFromIndex(
    std::int32_t index, std::int32_t& count,
    const SMD_STRUCTURE_ELEMENT_DEFINITION*& record) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getStructureDefinitionFromIndex", index);
  const std::int32_t result = findRecord(operation, typeMembers_, index, kIndexAtCountText, record);
  if (result == kSuccess) count = countMembers(index, record->ParentTypeId);
  return result;
}

std::int32_t StdDictionaryInfo::getTypeDefinitionFromIndex(
    std::int32_t index, const SMD_TYPE_DEFINITION*& record) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTypeDefinitionFromIndex", index);
  return findRecord(operation, types_, index, kIndexAtCountText, record);
}

std::int32_t StdDictionaryInfo::getValueSetDefinition(
    std::int32_t index, const SMD_VALUE_SET_DEFINITION*& record) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getValueSetDefinition", index);
  return findRecord(operation, valueSet_, index, kIndexAboveCountText, record);
}

std::int32_t StdDictionaryInfo::getValueDefinitionFromIndex(
    std::int32_t index, const SMD_VALUE_DEFINITION*& record) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getValueDefinitionFromIndex", index);
  return findRecord<SMD_VALUE_DEFINITION>(operation, values_, index, kIndexAboveCountText, record);
}

std::int32_t StdDictionaryInfo::getDictionaryIdentification(
    const DICTIONARY_IDENTIFICATION*& record) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getDictionaryIdentification");
  record = identification_.find(0);
  return operation.returns(kSuccess);
}

const DICTIONARY_IDENTIFICATION* StdDictionaryInfo::getDictionaryIdentification() const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getDictionaryIdentification");
  const DICTIONARY_IDENTIFICATION* const record = identification_.find(0);
  operation.returns(static_cast<const void*>(record));
  return record;
}

std::int32_t StdDictionaryInfo::getMsgSetDefinition(const MSGSET_DEFINITION*& record) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getMsgSetDefinition");
  record = project_.find(0);
  return operation.returns(kSuccess);
}

std::int32_t StdDictionaryInfo::getTagDefinition(std::int32_t tagId,
                                                 const SMD_TAG_DEFINITION*& record,
                                                 std::int32_t& index) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTagDefinition", tagId);
  index = getTagDefIndex(tagId);
  record = tags_.find(index);
  return operation.returns(record == nullptr ? kDefinitionNotFound : kSuccess);
}

std::int32_t StdDictionaryInfo::getTypeDefinition(std::int32_t typeId,
                                                  const SMD_TYPE_DEFINITION*& record,
                                                  std::int32_t& index) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTypeDefinition", typeId);
  index = getTypeDefIndex(typeId);
  record = types_.find(index);
  return operation.returns(record == nullptr ? kDefinitionNotFound : kSuccess);
}

std::int32_t StdDictionaryInfo::getStructureDefinition(
    std::int32_t typeId, std::int32_t& count, const SMD_STRUCTURE_ELEMENT_DEFINITION*& record,
    std::int32_t& index) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getStructureDefinition", typeId);
  index = kNone;
  std::int32_t first = kNone;
  if (const std::int32_t result = getStructDefIndexFromTypeID(typeId, first); result != kSuccess) {
    return operation.returns(result);
  }
  const SMD_STRUCTURE_ELEMENT_DEFINITION* const member = typeMembers_.find(first);
  if (member == nullptr) return operation.returns(kDefinitionNotFound);
  index = first;
  record = member;
  count = countMembers(first, typeId);
  return operation.returns(kSuccess);
}

std::int32_t StdDictionaryInfo::getStructDefFromMbrID(
    std::int32_t mbrId, std::int32_t& count, const SMD_STRUCTURE_ELEMENT_DEFINITION*& record,
    std::int32_t& index) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getStructDefFromMbrID", mbrId);
  index = kNone;
  if (mbrId <= 0) return operation.fails("mbrID <= 0", kInvalidMemberId);
  if (getStructDefIndexFromMbrID(mbrId, index) != kSuccess ||
      getStructureDefinitionFromIndex(index, count, record) != kSuccess) {
    return operation.fails("Definition Not Found", kDefinitionNotFound);
  }
  return operation.returns(kSuccess);
}

PWFData StdDictValueDefs::getData(std::int32_t row) const {
  constexpr const char* kOperation = "StdDictValueDefs::getData";
  constexpr std::int32_t kLine = 170;  // fixed: part of the error as callers know it
  KelOperation operation(nullptr, kOperation, row);
  const SMD_VALUE_DEFINITION* const record = find(row);
  switch (record == nullptr ? kNone : record->Type) {
    case LTString:
    case LTDecimal:
      return PWFData(text(row), -1, static_cast<ELogicalType>(record->Type), EOReference);
    case LTInteger: return PWFData(record->Value.Integer, false);
    case LTFloat: return PWFData(record->Value.Float);
    case LTBoolean: return PWFData(record->Value.Boolean);
    case LTInterval: return PWFData(record->Value.Interval);
    case LTDateTime: return PWFData(record->Value.DateTime);
    default: break;
  }
  throwParserError(nullptr, {"stddictionaryinfo", kLine, kOperation}, CP_DICTIONARY_ERROR,
                   "Tried to get a value from the dictionary with an invalid type");
}

}  // namespace cpi
