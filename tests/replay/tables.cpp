#include "tables.h"

#include <bit>
#include <charconv>

#include "cpi/runtime/datacnv.h"

namespace cpi::replay {
namespace {

Json className(std::int32_t code) {
  if (code == kNotSupplied) return nullptr;
  if (code < 0 || code > 0xFFFF) return code;
  const auto unit = static_cast<char16_t>(code);
  return fromUnits({&unit, 1});
}

Json bitsOf(double value) {
  char digits[17] = {};
  const auto bits = std::bit_cast<std::uint64_t>(value);
  for (unsigned i = 0; i < 16; ++i) digits[i] = "0123456789abcdef"[bits >> (60 - 4 * i) & 15U];
  return "0x" + std::string(digits);
}

Json rowJson(const DICTIONARY_IDENTIFICATION& row) {
  return {{"IdentityStr", fromText(row.IdentityStr)},
          {"Name", fromText(row.Name)},
          {"MsgSetLevel", row.MsgSetLevel},
          {"ModelLevelMajor", row.ModelLevelMajor},
          {"ModelLevelMinor", row.ModelLevelMinor},
          {"FreezeTimestamp", fromText(row.FreezeTimestamp)},
          {"DescriptorType", row.DescriptorType},
          {"FormatLevel", row.FormatLevel},
          {"CompatibilityLevel", row.CompatibilityLevel}};
}

Json rowJson(const MSGSET_DEFINITION& row) {
  return {{"DefaultWireFormat", fromText(row.DefaultWireFormat)},
          {"MessageTypePrefix", fromText(row.MessageTypePrefix)},
          {"UseNamespaces", row.UseNamespaces}};
}

Json rowJson(const DependencyRow& row) { return {{"Dependency", fromText(row.Dependency)}}; }

Json rowJson(const WIREFORMAT_DEFINITION& row) {
  return {{"FormatName", fromText(row.FormatName)}, {"FormatId", fromText(row.FormatId)}};
}

Json rowJson(const SMD_TAG_DEFINITION& row) {
  return {{"Id", row.Id},
          {"TextIdentifier", fromText(row.TextIdentifier)},
          {"Class", className(row.Class)},
          {"Type", row.Type},
          {"MinLength", row.MinLength},
          {"MaxLength", row.MaxLength},
          {"NullPermitted", row.NullPermitted},
          {"ValueSetTableIndex", row.ValueSetTableIndex},
          {"DVTableIndex", row.DVTableIndex},
          {"PathBaseInfoTableIndex", row.PathBaseInfoTableIndex},
          {"ToTypeIndexField", row.ToTypeIndexField},
          {"namespaceIndex", row.namespaceIndex}};
}

Json rowJson(const SMD_STRUCTURE_ELEMENT_DEFINITION& row) {
  return {{"Id", row.Id},
          {"ParentTypeId", row.ParentTypeId},
          {"ChildTagId", row.ChildTagId},
          {"ChildTypeId", row.ChildTypeId},
          {"ChildClass", className(row.ChildClass)},
          {"PhysicalName", fromText(row.PhysicalName)},
          {"SeqNbr", row.SeqNbr},
          {"MinOccurs", row.MinOccurs},
          {"MaxOccurs", row.MaxOccurs},
          {"RepIndicator", row.RepIndicator},
          {"toTagIndex", row.toTagIndex},
          {"toTypeIndex", row.toTypeIndex}};
}

Json rowJson(const SMD_TYPE_DEFINITION& row) {
  return {{"TypeId", row.TypeId},
          {"Identifier", fromText(row.Identifier)},
          {"Content", row.Content},
          {"Composition", row.Composition},
          {"BaseTypeId", row.BaseTypeId},
          {"LogicalType", row.LogicalType},
          {"ToTypeMbrIndex", row.ToTypeMbrIndex},
          {"NamespaceIndex", row.NamespaceIndex}};
}

Json rowJson(const SMD_PATH_BASED_DEFINITION& row) {
  return {{"MsgId", row.MsgId},
          {"EndFieldId", row.EndFieldId},
          {"MemberPathIndex", row.MemberPathIndex},
          {"ValueSetIndex", row.ValueSetIndex},
          {"DVIndex", row.DVIndex},
          {"MinOccurs", row.MinOccurs},
          {"MaxOccurs", row.MaxOccurs},
          {"MinLength", row.MinLength},
          {"MaxLength", row.MaxLength},
          {"NullPermitted", row.NullPermitted}};
}

Json rowJson(const MemberPathRow& row) { return {{"MemberPathMemberId", row.MemberPathMemberId}}; }

Json rowJson(const SMD_VALUE_SET_DEFINITION& row) {
  return {{"ValueSetValueIndex", row.ValueSetValueIndex},
          {"ValueSetValueRole", row.ValueSetValueRole}};
}

Json rowJson(const MemberIdRow& row) {
  return {{"MbrIDToTypeMbrIndexId", row.MbrIDToTypeMbrIndexId},
          {"MbrIDToTypeMbrIndexIndex", row.MbrIDToTypeMbrIndexIndex}};
}

Json rowJson(const NamespaceRow& row) { return {{"Space", fromText(row.Space)}}; }

// Read from the record itself: what getData makes of it is compared elsewhere.
Json storedValue(const SMD_VALUE_DEFINITION& row) {
  switch (row.Type) {
    case LTString:
    case LTDecimal: return fromText(row.Value.Text);
    case LTInteger: return std::to_string(row.Value.Integer);
    case LTFloat: return bitsOf(row.Value.Float);
    case LTBoolean: return row.Value.Boolean;
    case LTDateTime: return valueJson(PWFData(row.Value.DateTime));
    case LTInterval: return valueJson(PWFData(row.Value.Interval));
    default: return nullptr;
  }
}

Json rowJson(const SMD_VALUE_DEFINITION& row) {
  return {{"Type", row.Type}, {"Value", storedValue(row)}};
}

template <class Record>
Json rowsJson(const TableReference<Record>& table) {
  Json rows = Json::array();
  for (std::int32_t i = 0; i < table.rowCount(); ++i) rows.push_back(rowJson(table.row(i)));
  return rows;
}

// Calls `visit` with the name and the reference of each table.
template <class Visit>
void forEachTable(const StdDictionaryInfo& dictionary, Visit visit) {
  visit("Identification", dictionary.identification());
  visit("Project", dictionary.project());
  visit("Dependency", dictionary.dependencies());
  visit("WireFormat", dictionary.wireFormats());
  visit("Tags", dictionary.tags());
  visit("TypeMembers", dictionary.typeMembers());
  visit("Types", dictionary.types());
  visit("PathBasedInfo", dictionary.pathBasedInfo());
  visit("MemberPath", dictionary.memberPath());
  visit("ValueSet", dictionary.valueSet());
  visit("Values", dictionary.values());
  visit("MbrIdIndex", dictionary.memberIdIndex());
  visit("Namespaces", dictionary.namespaces());
}

DataCnv converter() {
  return DataCnv(1200, EEndianLittle, EFloatFmtIEEE, 53, nullptr, nullptr, 0, true, 12, nullptr);
}

Json convertedValue(std::int32_t kind, const Text& text) {
  if (kind == LTDateTime) {
    return valueJson(PWFData(converter().StrToDateTime(text.units(), CPI_STD_DATETIME_FORMAT, -1)));
  }
  return valueJson(PWFData(converter().StrToInterval(text.units(), -1)));
}

bool isTextColumn(const StringTable& property) {
  return property.tableMemberName == KelStringBase(CPI_VLS_TABMBR) &&
         property.memberName == KelStringBase(CPI_StringMember);
}

Json propertyName(const KelStringBase& name) {
  if (name == KelStringBase(CPI_VLS_TABMBR)) return {{"const", "CPI_VLS_TABMBR"}};
  if (name == KelStringBase(CPI_StringMember)) return {{"const", "CPI_StringMember"}};
  return fromText(name);
}

Json propertyValue(const StringTable& property, std::uint32_t row) {
  if (const auto number = property.GetIntValue(row)) return std::to_string(*number);
  return fromText(property.GetValue(row));
}

Json propertyJson(const StringTable& property) {
  Json values = Json::array();
  for (std::uint32_t row = 0; row < property.rowCount; ++row) {
    values.push_back(propertyValue(property, row));
  }
  return {{"tableMemberName", propertyName(property.tableMemberName)},
          {"memberName", propertyName(property.memberName)},
          {"type", property.type},
          {"rowCount", property.rowCount},
          {"values", values},
          {"bufferSize", property.bufferSize},
          {"bufferUsed", property.bufferUsed}};
}

Json propertiesJson(const DictTable& table) {
  Json list = Json::array();
  for (const auto& property : table.properties.tables()) {
    if (!isTextColumn(*property)) list.push_back(propertyJson(*property));
  }
  return list;
}

}  // namespace

Json tablesJson(const StdDictionaryInfo& dictionary) {
  Json tables = Json::object();
  forEachTable(dictionary,
               [&](const char* name, const auto& table) { tables[name] = rowsJson(table); });
  return tables;
}

Json expectedTables(Json tables) {
  const auto values = tables.find("Values");
  if (values == tables.end()) return tables;
  for (Json& row : *values) {
    row["Value"] = expectedValue(row.at("Type").get<std::int32_t>(), row.at("Value"));
  }
  return tables;
}

Json valueJson(const PWFData& value) {
  switch (value.getLogicalType()) {
    case LTString:
    case LTDecimal: return fromText(value.getStringValue());
    case LTInteger: return std::to_string(value.getInt64Value());
    case LTFloat: return bitsOf(value.getDoubleValue());
    case LTBoolean: return value.getBooleanValue();
    case LTDateTime:
    case LTInterval: return fromText(value.getDebugString().getStringValue());
    default: return nullptr;
  }
}

Json expectedValue(std::int32_t kind, const Json& value) {
  if ((kind != LTDateTime && kind != LTInterval) || !value.is_string()) return value;
  try {
    return convertedValue(kind, Text(value));
  } catch (const DataCnvError&) {
    return value;
  }
}

Json namedPropertiesJson(const StdDictionaryInfo& dictionary) {
  Json tables = Json::object();
  forEachTable(dictionary, [&](const char* name, const auto& reference) {
    Json list = propertiesJson(reference.table());
    if (!list.empty()) tables[name] = std::move(list);
  });
  return tables;
}

Json textColumnsJson(const StdDictionaryInfo& dictionary, const Json& wanted) {
  Json tables = Json::object();
  forEachTable(dictionary, [&](const char* name, const auto& reference) {
    const StringTable* const strings = reference.strings();
    if (!wanted.contains(name) || strings == nullptr) return;
    tables[name] = {{"rowCount", strings->rowCount},
                    {"bufferSize", strings->bufferSize},
                    {"bufferUsed", strings->bufferUsed}};
  });
  return tables;
}

}  // namespace cpi::replay
