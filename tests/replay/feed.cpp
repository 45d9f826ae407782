#include "feed.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <utility>

#include "cpi/dictinfo/stddi/schema.h"

namespace cpi::replay {
namespace {

// The defaults of fields, by column, where rows may not be created without an item.
constexpr std::pair<std::int32_t, std::int32_t> kDefaults[] = {
    {100003, -1}, {107, 0},  {201, -99}, {203, -99}, {205, -1},  {206, -1}, {207, 1},   {208, -1},
    {209, -1},    {210, -1}, {211, -99}, {212, -1},  {401, -99}, {402, 0},  {403, -99}, {406, -99},
    {407, -1},    {409, 0},  {410, -99}, {411, -1},  {412, -99}, {413, -99}};

std::int64_t wholeNumber(const Json& value) {
  if (!value.is_string()) return value.get<std::int64_t>();
  return std::strtoll(value.get_ref<const std::string&>().c_str(), nullptr, 10);
}

double realNumber(const Json& value) {
  if (!value.is_string()) return value.get<double>();
  const std::string& digits = value.get_ref<const std::string&>();
  return std::bit_cast<double>(std::uint64_t{std::strtoull(digits.c_str(), nullptr, 16)});
}

class Feed {
 public:
  Feed(const Json& tables, FIHandler& handler) : tables_(tables), handler_(handler) {}

  void run() {
    handler_.startMessage(nullptr);
    for (const Section& section : allSections()) feedSection(section);
    handler_.endMessage(nullptr);
  }

 private:
  // A column's values may be those of a table of their own.
  const Json& rowsFor(const Section& section, const Column& column) const {
    static const Json none = Json::array();
    std::string table(section.id == kMemberIdIndexSection ? "MbrIdIndex" : section.name);
    if (column.kind == ColumnKind::List) {
      table = column.id == kDependencyColumn ? "Dependency" : "WireFormat";
    }
    const auto found = tables_.find(table);
    return found == tables_.end() ? none : *found;
  }

  void feedSection(const Section& section) {
    const bool isCounted = section.columns.front().kind == ColumnKind::NumRows;
    const Json& rows = rowsFor(section, section.columns.front());
    if (isCounted && rows.empty()) return;
    handler_.startElement(section.id, EKStructure, nullptr, 0, 0);
    for (const Column& column : section.columns) feedColumn(column, rowsFor(section, column));
    if (section.id == kValuesSection) feedValues(section, rows);
    handler_.endElement(section.id, nullptr);
  }

  void feedColumn(const Column& column, const Json& rows) {
    if (column.kind == ColumnKind::Ignored || column.kind == ColumnKind::Value) return;
    if (column.kind == ColumnKind::NumRows) {
      return item(column.id, 0, PWFData(static_cast<std::int64_t>(rows.size()), false));
    }
    for (std::size_t i = 0; i < rows.size(); ++i) field(column, i, rows[i]);
  }

  void field(const Column& column, std::size_t index, const Json& row) {
    const auto found = row.find(column.name);
    if (found == row.end() || found->is_null()) {
      const auto* const given =
          std::ranges::find(kDefaults, column.id, &std::pair<std::int32_t, std::int32_t>::first);
      if (given != std::end(kDefaults))
        item(column.id, index, PWFData(std::int64_t{given->second}, false));
    } else if (column.kind == ColumnKind::Key || column.kind == ColumnKind::Integer ||
               column.kind == ColumnKind::Flag) {
      const std::int64_t number = found->is_boolean() ? found->get<bool>() : wholeNumber(*found);
      item(column.id, index, PWFData(number, false));
    } else {
      textItem(column.id, index, *found);
    }
  }

  void feedValues(const Section& section, const Json& rows) {
    bool isUnfilled = false;
    for (const Json& row : rows) {
      const std::int32_t type = row.value("Type", -1);
      if (type == LTUndefined) {
        isUnfilled = true;
      } else if (isUnfilled) {
        throw InputError("expected unfilled Values rows at the end only");
      } else {
        value(section, type, row.at("Value"));
      }
    }
  }

  void value(const Section& section, std::int32_t type, const Json& content) {
    const auto column = std::ranges::find(section.columns, type, &Column::valueType);
    if (column == section.columns.end()) {
      throw InputError("expected a Values row of a known type, found " + std::to_string(type));
    }
    switch (type) {
      case LTInteger: return item(column->id, 0, PWFData(wholeNumber(content), false));
      case LTFloat: return item(column->id, 0, PWFData(realNumber(content)));
      case LTBoolean: return item(column->id, 0, PWFData(std::int64_t{content.get<bool>()}, false));
      default: return textItem(column->id, 0, content);
    }
  }

  void textItem(std::int32_t column, std::size_t row, const Json& content) {
    const Text text(content);
    item(column, row, textData(text));
  }
  void item(std::int32_t column, std::size_t row, const PWFData& value) {
    handler_.startElement(column, EKField, nullptr, static_cast<std::int32_t>(row), 0);
    handler_.data(value, nullptr);
    handler_.endElement(column, nullptr);
  }

  const Json& tables_;
  FIHandler& handler_;
};

}  // namespace

void feedTables(const Json& tables, FIHandler& handler) { Feed(tables, handler).run(); }

PWFData textData(const Text& text) { return PWFData(text.units(), -1, LTString, EOReference); }

}  // namespace cpi::replay
