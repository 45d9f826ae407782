#include "tables.h"

#include <bit>
#include <charconv>

#include "cpi/dictinfo/stddi/schema.h"
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

// The field of a column; a text is the row's, whichever field it is in.
Json fieldJson(const Column& column, const unsigned char* record, const unsigned short* text) {
  const unsigned char* const field = record + column.offset;
  const auto number = [field] { return *reinterpret_cast<const std::int32_t*>(field); };
  switch (column.kind) {
    case ColumnKind::Text: return fromText(text);
    case ColumnKind::FixedText: return fromText(reinterpret_cast<const unsigned short*>(field));
    case ColumnKind::Flag: return *reinterpret_cast<const bool*>(field);
    case ColumnKind::ClassCode: return className(number());
    default: return number();
  }
}

template <class Record>
Json rowJson(Record row, const Section* section) {
  const unsigned short** const text = RecordText<Record>::field(row);
  Json fields = Json::object();
  for (const Column& column : section->columns) {
    if (column.kind == ColumnKind::NumRows || column.kind == ColumnKind::Ignored ||
        column.kind == ColumnKind::List) {
      continue;
    }
    fields[std::string(column.name)] = fieldJson(column, reinterpret_cast<unsigned char*>(&row),
                                                 text == nullptr ? nullptr : *text);
  }
  return fields;
}

Json rowJson(const DependencyRow& row, const Section*) {
  return {{"Dependency", fromText(row.Dependency)}};
}

Json rowJson(const WIREFORMAT_DEFINITION& row, const Section*) {
  return {{"FormatName", fromText(row.FormatName)}, {"FormatId", fromText(row.FormatId)}};
}

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

Json rowJson(const SMD_VALUE_DEFINITION& row, const Section*) {
  return {{"Type", row.Type}, {"Value", storedValue(row)}};
}

template <class Record>
Json rowsJson(const TableReference<Record>& table, std::int32_t section) {
  Json rows = Json::array();
  for (std::int32_t i = 0; i < table.rowCount(); ++i) {
    rows.push_back(rowJson(table.row(i), findSection(section)));
  }
  return rows;
}

// Calls `visit` with the name and the reference of each table, and with the section that fills it.
template <class Visit>
void forEachTable(const StdDictionaryInfo& dictionary, Visit visit) {
  visit("Identification", dictionary.identification(), kIdentificationSection);
  visit("Project", dictionary.project(), kProjectSection);
  visit("Dependency", dictionary.dependencies(), kNoSection);
  visit("WireFormat", dictionary.wireFormats(), kNoSection);
  visit("Tags", dictionary.tags(), kTagsSection);
  visit("TypeMembers", dictionary.typeMembers(), kTypeMembersSection);
  visit("Types", dictionary.types(), kTypesSection);
  visit("PathBasedInfo", dictionary.pathBasedInfo(), kPathBasedInfoSection);
  visit("MemberPath", dictionary.memberPath(), kMemberPathSection);
  visit("ValueSet", dictionary.valueSet(), kValueSetSection);
  visit("Values", dictionary.values(), kValuesSection);
  visit("MbrIdIndex", dictionary.memberIdIndex(), kMemberIdIndexSection);
  visit("Namespaces", dictionary.namespaces(), kNamespacesSection);
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
  forEachTable(dictionary, [&](const char* name, const auto& table, SectionId section) {
    tables[name] = rowsJson(table, section);
  });
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
  forEachTable(dictionary, [&](const char* name, const auto& reference, SectionId) {
    Json list = propertiesJson(reference.table());
    if (!list.empty()) tables[name] = std::move(list);
  });
  return tables;
}

Json textColumnsJson(const StdDictionaryInfo& dictionary, const Json& wanted) {
  Json tables = Json::object();
  forEachTable(dictionary, [&](const char* name, const auto& reference, SectionId) {
    const StringTable* const strings = reference.strings();
    if (!wanted.contains(name) || strings == nullptr) return;
    tables[name] = {{"rowCount", strings->rowCount},
                    {"bufferSize", strings->bufferSize},
                    {"bufferUsed", strings->bufferUsed}};
  });
  return tables;
}

}  // namespace cpi::replay
