// feed(): tables to events.
#include <algorithm>
#include <array>
#include <climits>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "cpi/extract/dictionarytables.h"
#include "cpi/extract/numberrun.h"
#include "cpi/extract/tablebindings.h"

namespace cpi {

namespace {

// What a stream cannot carry, with the place in the tables.
[[noreturn]] void refuse(std::string_view table, std::string_view column, std::size_t row,
                         const std::string& reason) {
  throw std::invalid_argument(std::string(table) + " row " + std::to_string(row) + ", " +
                              std::string(column) + ": " + reason);
}

std::int32_t rowNumber(std::size_t row) { return static_cast<std::int32_t>(row); }

// Sends the events of one section.
class SectionFeed {
 public:
  SectionFeed(FIHandler& handler, const Section& section) : handler_(handler), section_(section) {
    handler_.startElement(section_.id, EKStructure, nullptr, 0, 0);
  }
  void finish() { handler_.endElement(section_.id, nullptr); }
  const Section& section() const noexcept { return section_; }

  void item(const Column& column, std::size_t row, const PWFData& value) {
    handler_.startElement(column.id, EKField, nullptr, rowNumber(row), 0);
    handler_.data(value, nullptr);
    handler_.endElement(column.id, nullptr);
  }
  void integer(const Column& column, std::size_t row, std::int64_t value) {
    item(column, row, PWFData(value, false));
  }
  // The handler gets a reference to `text`, which lives longer than the event.
  void text(const Column& column, std::size_t row, const std::u16string& text,
            ELogicalType type = LTString) {
    if (textLength(asUnits(text.c_str())) != text.size()) {
      refuse(section_.tableName, column.name, row, "a text cannot hold U+0000");
    }
    item(column, row, PWFData(text.c_str(), -1, type, EOReference));
  }
  void nullText(const Column& column, std::size_t row) {
    const unsigned short* const none = nullptr;
    item(column, row, PWFData(none, -1, LTString, EOReference));
  }
  void classLetter(const Column& column, std::size_t row, std::int32_t code) {
    if (code == kNotSupplied) return;
    if (code < 1 || code > USHRT_MAX) {
      refuse(section_.tableName, column.name, row, "no class letter: " + std::to_string(code));
    }
    text(column, row, std::u16string(1, static_cast<char16_t>(code)));
  }
  // `numberOf(row)` is the number of each row.
  template <class NumberOf>
  void integers(const Column& column, std::size_t rows, NumberOf numberOf) {
    std::array<std::int64_t, 256> numbers;
    for (std::size_t first = 0; first < rows; first += numbers.size()) {
      const std::size_t count = std::min(rows - first, numbers.size());
      for (std::size_t i = 0; i < count; ++i) numbers[i] = numberOf(first + i);
      sendNumbers(handler_, column.id, EKField, rowNumber(first), std::span(numbers).first(count),
                  [&](std::size_t i) { integer(column, first + i, numbers[i]); });
    }
  }
  void numRows(std::size_t count) {
    if (count > INT_MAX) throw std::invalid_argument("more than 2147483647 rows");
    if (const Column* const column = findColumn(section_, kNumRowsColumn)) {
      integer(*column, 0, static_cast<std::int64_t>(count));
    }
  }

 private:
  FIHandler& handler_;
  const Section& section_;
};

// Sends one column. A column of nothing but defaults is left out, unless `isForced`.
template <class Row>
class ColumnFeed {
 public:
  ColumnFeed(SectionFeed& out, const Column& column, std::span<const Row> rows, bool isForced)
      : out_(out), column_(column), rows_(rows), isForced_(isForced) {}

  void operator()(Text Row::*field) const {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      if ((rows_[i].*field).has_value()) out_.text(column_, i, *(rows_[i].*field));
    }
  }
  template <class Value>
  void operator()(Value Row::*field) const {
    static const Row blank{};
    const bool isNeeded =
        std::ranges::any_of(rows_, [&](const Row& row) { return row.*field != blank.*field; });
    if (!isNeeded && !isForced_) return;
    if constexpr (std::is_integral_v<Value>) {
      if (column_.kind != ColumnKind::ClassCode) {
        out_.integers(column_, rows_.size(), [&](std::size_t row) { return rows_[row].*field; });
        return;
      }
    }
    for (std::size_t i = 0; i < rows_.size(); ++i) send(i, rows_[i].*field);
  }

 private:
  void send(std::size_t row, const std::u16string& text) const { out_.text(column_, row, text); }
  void send(std::size_t row, std::int32_t code) const { out_.classLetter(column_, row, code); }

  SectionFeed& out_;
  const Column& column_;
  std::span<const Row> rows_;
  bool isForced_;
};

bool isSizedByItems(const Section& section) {
  return findColumn(section, kNumRowsColumn) == nullptr;
}

// Texts come last: row 0 of another column has to create a table that is sized by its key column,
// and a text of row 0 may be missing.
template <class Row>
void feedColumns(SectionFeed& out, std::span<const Row> rows) {
  out.numRows(rows.size());
  const bool isForced = isSizedByItems(out.section());
  for (const bool isTextTurn : {false, true}) {
    for (const Binding<Row>& binding : Bindings<Row>::columns) {
      const Column& column = *findColumn(out.section(), binding.column);
      if ((column.kind == ColumnKind::Text) != isTextTurn) continue;
      std::visit(ColumnFeed<Row>(out, column, rows, isForced), binding.field);
    }
  }
}

void feedOptional(SectionFeed& out, const Column& column, std::size_t row, const Text& text) {
  text.has_value() ? out.text(column, row, *text) : out.nullText(column, row);
}

void feedDependencies(SectionFeed& out, const std::vector<DependencyText>& rows) {
  const Column& column = *findColumn(out.section(), kDependencyColumn);
  for (std::size_t i = 0; i < rows.size(); ++i) feedOptional(out, column, i, rows[i].Dependency);
}

void feedWireFormats(SectionFeed& out, const std::vector<WireFormatRow>& rows) {
  const Column& name = *findColumn(out.section(), kFormatNameColumn);
  const Column& id = *findColumn(out.section(), kFormatIdColumn);
  for (std::size_t i = 0; i < rows.size(); ++i) out.text(name, i, rows[i].FormatName);
  std::size_t count = rows.size();  // identifiers missing at the end need no items
  while (count > 0 && !rows[count - 1].FormatId.has_value()) --count;
  for (std::size_t i = 0; i < count; ++i) feedOptional(out, id, i, rows[i].FormatId);
}

const Column& valueColumn(const Section& section, const ValueRow& row, std::size_t index) {
  const auto column = std::ranges::find_if(section.columns, [&](const Column& candidate) {
    return candidate.kind == ColumnKind::Value && candidate.valueType == row.Type;
  });
  if (column == section.columns.end()) {
    refuse(section.tableName, "Type", index, "no kind of value: " + std::to_string(row.Type));
  }
  return *column;
}

// Date-times and intervals travel as texts.
class ValueFeed {
 public:
  ValueFeed(SectionFeed& out, const Column& column, std::size_t row)
      : out_(out), column_(column), row_(row) {}

  void operator()(const Text& text) const {
    expect(column_.valueType == LTString || column_.valueType == LTDecimal);
    if (!text.has_value()) return out_.nullText(column_, row_);
    out_.text(column_, row_, *text, column_.valueType);
  }
  void operator()(std::int64_t value) const { send(PWFData(value, false)); }
  void operator()(double value) const { send(PWFData(value)); }
  void operator()(bool value) const { send(PWFData(value)); }
  void operator()(const PWFDateTime& value) const { sendAsText(PWFData(value)); }
  void operator()(const PWFInterval& value) const { sendAsText(PWFData(value)); }
  void operator()(std::monostate) const { expect(false); }

 private:
  void expect(bool isRight) const {
    if (!isRight) refuse(out_.section().tableName, column_.name, row_, "a value of another kind");
  }
  void send(const PWFData& value) const {
    expect(value.getLogicalType() == column_.valueType);
    out_.item(column_, row_, value);
  }
  void sendAsText(const PWFData& value) const {
    expect(value.getLogicalType() == column_.valueType);
    out_.item(column_, row_, value.getDebugString());
  }

  SectionFeed& out_;
  const Column& column_;
  std::size_t row_;
};

void feedValues(SectionFeed& out, const std::vector<ValueRow>& rows) {
  out.numRows(rows.size());
  std::size_t count = rows.size();  // rows without value at the end need no items
  while (count > 0 && rows[count - 1].Type == LTUndefined) --count;
  for (std::size_t i = 0; i < count; ++i) {
    std::visit(ValueFeed(out, valueColumn(out.section(), rows[i], i), i), rows[i].Value);
  }
}

// One named-property section. The value of row 0 creates the property, so that a text property
// without text there gets a null item.
class PropertyFeed {
 public:
  PropertyFeed(FIHandler& handler, const NamedProperty& property)
      : section_{kNamedPropertySection, "NamedProperty", "named property", property.table, 0, false,
                 namedPropertyColumns()},
        property_(property),
        out_(handler, section_) {}

  void send() {
    out_.text(column(kPropertyTableMemberNameColumn), 0, property_.tableMemberName);
    out_.text(column(kPropertyMemberNameColumn), 0, property_.memberName);
    for (std::size_t i = 0; i < property_.values.size(); ++i) sendValue(i);
    out_.finish();
  }

 private:
  const Column& column(std::int32_t id) const { return *findColumn(section_, id); }
  void sendValue(std::size_t row) {
    const auto& value = property_.values[row];
    const bool isText = property_.type == PTText;
    const Column& target = column(isText ? kPropertyTextColumn : kPropertyIntegerColumn);
    if (!value.has_value()) return sendMissing(target, row);
    if (std::holds_alternative<std::u16string>(*value) != isText) {
      refuse(tableName(property_.table), target.name, row, "a value of the other kind");
    }
    if (isText) return out_.text(target, row, std::get<std::u16string>(*value));
    out_.integer(target, row, std::get<std::int64_t>(*value));
  }
  void sendMissing(const Column& target, std::size_t row) {
    if (row > 0) return;
    if (property_.type == PTText) return out_.nullText(target, row);
    refuse(tableName(property_.table), target.name, row, "the first value is missing");
  }

  Section section_;
  const NamedProperty& property_;
  SectionFeed out_;
};

class DictionaryFeed {
 public:
  DictionaryFeed(const DictionaryTables& tables, FIHandler& handler)
      : tables_(tables), handler_(handler) {}

  void run() {
    handler_.startMessage(nullptr);
    identification();
    rows(tables_.Project);
    rows(tables_.Tags);
    rows(tables_.TypeMembers);
    rows(tables_.MemberIdIndex);
    rows(tables_.Types);
    rows(tables_.PathBasedInfo);
    rows(tables_.MemberPath);
    rows(tables_.ValueSet);
    values();
    rows(tables_.Namespaces);
    handler_.endMessage(nullptr);
  }

 private:
  template <class Row>
  void rows(const std::optional<Row>& row) {
    if (row.has_value()) section(std::span<const Row>(&*row, 1));
  }
  template <class Row>
  void rows(const std::vector<Row>& rows) {
    if (!rows.empty()) section(std::span<const Row>(rows));
  }
  template <class Row>
  void section(std::span<const Row> rows) {
    SectionFeed out(handler_, *findSection(Bindings<Row>::section));
    feedColumns(out, rows);
    close(out);
  }
  // Opens every stream, even when there is nothing in it.
  void identification() {
    SectionFeed out(handler_, *findSection(kIdentificationSection));
    if (tables_.Identification.has_value()) {
      feedColumns(out, std::span<const IdentificationRow>(&*tables_.Identification, 1));
    }
    feedDependencies(out, tables_.Dependencies);
    feedWireFormats(out, tables_.WireFormats);
    close(out);
  }
  void values() {
    if (tables_.Values.empty()) return;
    SectionFeed out(handler_, *findSection(kValuesSection));
    feedValues(out, tables_.Values);
    close(out);
  }
  void close(SectionFeed& out) {
    for (const NamedProperty& property : tables_.namedProperties) {
      if (property.table == out.section().slot) PropertyFeed(handler_, property).send();
    }
    out.finish();
  }

  const DictionaryTables& tables_;
  FIHandler& handler_;
};

}  // namespace

void feed(const DictionaryTables& tables, FIHandler& handler) {
  DictionaryFeed(tables, handler).run();
}

}  // namespace cpi
