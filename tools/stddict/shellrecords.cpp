#include "tools/stddict/shellrecords.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <string>

#include "tools/stddict/shellvalues.h"

namespace shell {

namespace {

// The two tables that have no section of their own.
constexpr cpi::Column kDependencyColumns[] = {{0, "Dependency", cpi::ColumnKind::Text}};
constexpr cpi::Column kWireFormatColumns[] = {
    {0, "FormatName", cpi::ColumnKind::FixedText, offsetof(cpi::WIREFORMAT_DEFINITION, FormatName)},
    {0, "FormatId", cpi::ColumnKind::Text}};

std::span<const cpi::Column> columnsOf(std::size_t slot) {
  const auto wanted = static_cast<cpi::TableSlot>(slot);
  if (wanted == cpi::TableSlot::Dependency) return kDependencyColumns;
  if (wanted == cpi::TableSlot::WireFormat) return kWireFormatColumns;
  const auto sections = cpi::allSections();
  const auto found = std::ranges::find(sections, wanted, &cpi::Section::slot);
  return found == sections.end() ? std::span<const cpi::Column>() : found->columns;
}

template <class Field>
Field read(const void* record, const cpi::Column& column) {
  Field field;
  std::memcpy(&field, static_cast<const char*>(record) + column.offset, sizeof field);
  return field;
}

Json classJson(std::int32_t code) {
  const auto letter = static_cast<char16_t>(code);
  return letter == code ? textJson(std::u16string_view(&letter, 1)) : Json(code);
}

Json fixedTextJson(const void* record, const cpi::Column& column) {
  char16_t units[cpi::kFixedTextUnits];
  std::memcpy(units, static_cast<const char*>(record) + column.offset, sizeof units);
  return textJson(std::u16string_view(units, std::ranges::find(units, u'\0') - units));
}

bool isField(cpi::ColumnKind kind) {
  using enum cpi::ColumnKind;
  return kind != Ignored && kind != NumRows && kind != List && kind != Value;
}

Json fieldJson(const cpi::Column& column, const void* record, const unsigned short* text) {
  switch (column.kind) {
    case cpi::ColumnKind::Flag: return read<unsigned char>(record, column) != 0;
    case cpi::ColumnKind::ClassCode: return classJson(read<std::int32_t>(record, column));
    case cpi::ColumnKind::FixedText: return fixedTextJson(record, column);
    case cpi::ColumnKind::Text: return textJson(text);
    default: return read<std::int32_t>(record, column);
  }
}

bool hasValue(std::int32_t type) {
  constexpr std::int32_t kTypes[] = {cpi::LTString,  cpi::LTInteger,  cpi::LTFloat,
                                     cpi::LTBoolean, cpi::LTInterval, cpi::LTDateTime,
                                     cpi::LTDecimal};
  return std::ranges::find(kTypes, type) != std::end(kTypes);
}

}  // namespace

Json fieldsJson(std::size_t slot, std::int32_t row, const void* record,
                const unsigned short* text) {
  Json fields = {{"row", row}};
  for (const cpi::Column& column : columnsOf(slot)) {
    if (isField(column.kind)) {
      fields[std::string(column.name)] = fieldJson(column, record, text);
    }
  }
  return fields;
}

Json valueRowJson(const cpi::StdDictionaryInfo& dictionary, std::int32_t row) {
  const std::int32_t type = dictionary.values().row(row).Type;
  if (!hasValue(type)) return {{"row", row}, {"type", type}, {"value", nullptr}};
  Json fields = {{"row", row}};
  fields.update(valueJson(dictionary.values().getData(row)));
  return fields;
}

}  // namespace shell
