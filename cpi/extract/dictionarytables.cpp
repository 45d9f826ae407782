#include "cpi/extract/dictionarytables.h"

#include <algorithm>
#include <bit>
#include <iterator>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/tablebindings.h"

namespace cpi {

namespace {

std::u16string ownText(const unsigned short* text) { return std::u16string(textView(text)); }

Text optionalText(const unsigned short* text) {
  return text == nullptr ? Text() : Text(ownText(text));
}

// Copies one column of all rows; the record's place of the field comes from the schema.
template <class Row, class Record>
class ColumnCopy {
 public:
  ColumnCopy(const TableReference<Record>& table, const Column& column, std::vector<Row>& rows)
      : table_(table), column_(column), rows_(rows) {}

  void operator()(Text Row::*field) const {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      rows_[i].*field = optionalText(table_.text(static_cast<std::int32_t>(i)));
    }
  }
  void operator()(std::u16string Row::*field) const {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      rows_[i].*field = ownText(reinterpret_cast<const unsigned short*>(place(i)));
    }
  }
  template <class Scalar>
  void operator()(Scalar Row::*field) const {
    for (std::size_t i = 0; i < rows_.size(); ++i) {
      rows_[i].*field = *reinterpret_cast<const Scalar*>(place(i));
    }
  }

 private:
  const unsigned char* place(std::size_t row) const {
    return reinterpret_cast<const unsigned char*>(table_.records() + row) + column_.offset;
  }

  const TableReference<Record>& table_;
  const Column& column_;
  std::vector<Row>& rows_;
};

template <class Row, class Record>
std::vector<Row> rowsOf(const TableReference<Record>& table) {
  const Section& section = *findSection(Bindings<Row>::section);
  std::vector<Row> rows(static_cast<std::size_t>(table.rowCount()));
  for (const Binding<Row>& binding : Bindings<Row>::columns) {
    const Column& column = *findColumn(section, binding.column);
    std::visit(ColumnCopy<Row, Record>(table, column, rows), binding.field);
  }
  return rows;
}

template <class Row, class Record>
std::optional<Row> onlyRowOf(const TableReference<Record>& table) {
  std::vector<Row> rows = rowsOf<Row>(table);
  return rows.empty() ? std::optional<Row>() : std::optional<Row>(std::move(rows.front()));
}

std::vector<DependencyText> dependenciesOf(const StdDictionaryInfo& dictionary) {
  std::vector<DependencyText> rows;
  for (std::int32_t i = 0; i < dictionary.dependencies().rowCount(); ++i) {
    rows.push_back({optionalText(dictionary.dependencies().text(i))});
  }
  return rows;
}

std::vector<WireFormatRow> wireFormatsOf(const StdDictionaryInfo& dictionary) {
  std::vector<WireFormatRow> rows;
  for (std::int32_t i = 0; i < dictionary.wireFormats().rowCount(); ++i) {
    const WIREFORMAT_DEFINITION& record = dictionary.wireFormats().row(i);
    rows.push_back({ownText(record.FormatName), optionalText(record.FormatId)});
  }
  return rows;
}

ValueRow::Constant constantOf(const SMD_VALUE_DEFINITION& record) {
  switch (record.Type) {
    case LTString:
    case LTDecimal: return optionalText(record.Value.Text);
    case LTInteger: return record.Value.Integer;
    case LTFloat: return record.Value.Float;
    case LTBoolean: return record.Value.Boolean;
    case LTDateTime: return record.Value.DateTime;
    case LTInterval: return record.Value.Interval;
    default: return std::monostate();
  }
}

std::vector<ValueRow> valuesOf(const StdDictionaryInfo& dictionary) {
  std::vector<ValueRow> rows;
  for (std::int32_t i = 0; i < dictionary.values().rowCount(); ++i) {
    const SMD_VALUE_DEFINITION& record = dictionary.values().row(i);
    rows.push_back({record.Type, constantOf(record)});
  }
  return rows;
}

// The property that holds the text column is no named property.
bool isTextColumn(const StringTable& property) {
  return property.type == PTText && property.tableMemberName == KelStringBase(CPI_VLS_TABMBR) &&
         property.memberName == KelStringBase(CPI_StringMember);
}

NamedProperty propertyOf(const StringTable& source, TableSlot slot) {
  NamedProperty property{.table = slot,
                         .tableMemberName = std::u16string(source.tableMemberName.view()),
                         .memberName = std::u16string(source.memberName.view()),
                         .type = source.type};
  for (std::uint32_t row = 0; row < source.rowCount; ++row) {
    auto& value = property.values.emplace_back();
    if (const auto number = source.GetIntValue(row)) value = *number;
    if (const unsigned short* const text = source.GetValue(row)) value = ownText(text);
  }
  return property;
}

// A group keeps properties of one memberName newest first; they are listed in order of creation.
void appendProperties(const Section& section, const DictTable& table,
                      std::vector<NamedProperty>& properties) {
  std::vector<NamedProperty> found;
  const auto& sources = table.properties.tables();
  for (auto source = sources.rbegin(); source != sources.rend(); ++source) {
    const bool isColumn = section.hasText && isTextColumn(**source);
    if (!isColumn) found.push_back(propertyOf(**source, section.slot));
  }
  std::ranges::stable_sort(found, {}, &NamedProperty::memberName);
  std::ranges::move(found, std::back_inserter(properties));
}

const DictTable& tableOf(const StdDictionaryInfo& dictionary, TableSlot slot) {
  // The dictionary's own tables are the last ones: a derived class keeps its own before them.
  const auto tables = dictionary.tables();
  return tables[tables.size() - kTableCount + static_cast<std::size_t>(slot)];
}

}  // namespace

bool operator==(const ValueRow& a, const ValueRow& b) noexcept {
  const double* const left = std::get_if<double>(&a.Value);
  const double* const right = std::get_if<double>(&b.Value);
  if (a.Type != b.Type) return false;
  if (left == nullptr || right == nullptr) return a.Value == b.Value;
  return std::bit_cast<std::uint64_t>(*left) == std::bit_cast<std::uint64_t>(*right);
}

DictionaryTables tablesOf(const StdDictionaryInfo& dictionary) {
  DictionaryTables tables;
  tables.Identification = onlyRowOf<IdentificationRow>(dictionary.identification());
  tables.Project = onlyRowOf<ProjectRow>(dictionary.project());
  tables.Dependencies = dependenciesOf(dictionary);
  tables.WireFormats = wireFormatsOf(dictionary);
  tables.Tags = rowsOf<TagRow>(dictionary.tags());
  tables.TypeMembers = rowsOf<MemberRow>(dictionary.typeMembers());
  tables.Types = rowsOf<TypeRow>(dictionary.types());
  tables.PathBasedInfo = rowsOf<PathBasedRow>(dictionary.pathBasedInfo());
  tables.MemberPath = rowsOf<MemberPathStep>(dictionary.memberPath());
  tables.ValueSet = rowsOf<ValueSetRow>(dictionary.valueSet());
  tables.Values = valuesOf(dictionary);
  tables.MemberIdIndex = rowsOf<MemberIdEntry>(dictionary.memberIdIndex());
  tables.Namespaces = rowsOf<NamespaceText>(dictionary.namespaces());
  for (const Section& section : allSections()) {
    appendProperties(section, tableOf(dictionary, section.slot), tables.namedProperties);
  }
  return tables;
}

}  // namespace cpi
