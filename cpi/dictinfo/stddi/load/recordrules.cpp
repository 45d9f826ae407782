#include "cpi/dictinfo/stddi/load/recordrules.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

namespace {

using Bytes = std::span<const unsigned char>;

constexpr Column kWireFormatColumns[] = {
    {kFormatNameColumn, "FormatName", ColumnKind::FixedText, 0}};
static_assert(offsetof(WIREFORMAT_DEFINITION, FormatName) == 0);

std::span<const Column> columnsOf(TableSlot slot) {
  if (slot == TableSlot::Dependency) return {};
  if (slot == TableSlot::WireFormat) return kWireFormatColumns;
  return std::ranges::find(allSections(), slot, &Section::slot)->columns;
}

// The bytes of a column's field in the record; 0 for what is kept elsewhere.
std::size_t fieldSize(ColumnKind kind) {
  switch (kind) {
    case ColumnKind::Key:
    case ColumnKind::Integer:
    case ColumnKind::ClassCode: return sizeof(std::int32_t);
    case ColumnKind::Flag: return sizeof(bool);
    case ColumnKind::FixedText: return kFixedTextUnits * sizeof(unsigned short);
    default: return 0;
  }
}

// The bytes of a value's member of the union; 0 for a text, which is a pointer there.
std::size_t valueSize(std::int32_t type) {
  switch (type) {
    case LTInteger: return sizeof(std::int64_t);
    case LTFloat: return sizeof(double);
    case LTBoolean: return sizeof(bool);
    case LTDateTime: return sizeof(PWFDateTime);
    case LTInterval: return sizeof(PWFInterval);
    default: return 0;
  }
}

std::int32_t integerAt(const unsigned char* place) {
  std::int32_t number = 0;
  std::memcpy(&number, place, sizeof number);
  return number;
}

// Units of a fixed text up to its terminator; all of them when there is none.
std::size_t fixedTextUnits(const unsigned char* place) {
  std::size_t units = 0;
  while (units < kFixedTextUnits && (place[2 * units] != 0 || place[2 * units + 1] != 0)) ++units;
  return units;
}

// --- What holds no value -----------------------------------------------------------------------

struct Gap {
  std::size_t start;
  std::size_t size;
};

// The bytes of a record between its fields.
std::vector<Gap> gapsOf(std::span<const Column> columns, std::size_t recordSize) {
  std::vector<char> isField(recordSize, 0);
  for (const Column& column : columns) {
    std::fill_n(isField.begin() + column.offset, fieldSize(column.kind), char{1});
  }
  std::vector<Gap> gaps;
  for (std::size_t i = 0; i < recordSize; ++i) {
    if (isField[i] != 0) continue;
    if (i > 0 && isField[i - 1] == 0) {
      ++gaps.back().size;
    } else {
      gaps.push_back({i, 1});
    }
  }
  return gaps;
}

void clearTexts(std::span<const Column> columns, unsigned char* record) {
  for (const Column& column : columns) {
    if (column.kind != ColumnKind::FixedText) continue;
    unsigned char* const text = record + column.offset;
    const std::size_t used = fixedTextUnits(text) * sizeof(unsigned short);
    std::fill(text + used, text + fieldSize(column.kind), static_cast<unsigned char>(0));
  }
}

template <TableSlot slot, class Record>
void clearUnused(std::span<unsigned char> records) {
  const std::span<const Column> columns = columnsOf(slot);
  const std::vector<Gap> gaps = gapsOf(columns, sizeof(Record));
  const bool hasTexts = std::ranges::count(columns, ColumnKind::FixedText, &Column::kind) != 0;
  if (gaps.empty() && !hasTexts) return;
  for (std::size_t i = 0; i < records.size(); i += sizeof(Record)) {
    for (const Gap& gap : gaps) std::memset(records.data() + i + gap.start, 0, gap.size);
    if (hasTexts) clearTexts(columns, records.data() + i);
  }
}

template <>
void clearUnused<TableSlot::Values, SMD_VALUE_DEFINITION>(std::span<unsigned char> records) {
  using Record = SMD_VALUE_DEFINITION;
  constexpr std::size_t kTypeEnd = offsetof(Record, Type) + sizeof(Record::Type);
  constexpr std::size_t kValue = offsetof(Record, Value);
  for (std::size_t i = 0; i < records.size(); i += sizeof(Record)) {
    unsigned char* const record = records.data() + i;
    const std::size_t used = kValue + valueSize(integerAt(record + offsetof(Record, Type)));
    std::memset(record + kTypeEnd, 0, kValue - kTypeEnd);
    std::memset(record + used, 0, sizeof(Record) - used);
  }
}

// --- What no dictionary has --------------------------------------------------------------------

struct Expectation {
  bool isMet;
  const char* expected;
};

bool isClass(std::int32_t code) {
  constexpr std::uint32_t kLetters = 1U << ('C' - 'C') | 1U << ('E' - 'C') | 1U << ('F' - 'C') |
                                     1U << ('M' - 'C') | 1U << ('S' - 'C') | 1U << ('T' - 'C');
  const std::uint32_t letter = static_cast<std::uint32_t>(code) - 'C';
  // Without branches: the classes of neighbours follow no pattern.
  return (((letter < 32) & (kLetters >> letter % 32)) | (code == kNotSupplied)) != 0;
}

Expectation classExpectation(std::int32_t code) {
  return {isClass(code), "the class letter C, E, F, M, S or T, or -99"};
}

Expectation levelExpectation(const Column& column, std::int32_t level) {
  static_assert(STD_MINIMUM_FORMAT_DICTIONARY_LEVEL == 2 &&
                STD_CURRENT_FORMAT_DICTIONARY_LEVEL == 8);
  if (column.id == kFormatLevelColumn) {
    return {level >= STD_MINIMUM_FORMAT_DICTIONARY_LEVEL, "a level of 2 or more"};
  }
  if (column.id == kCompatibilityLevelColumn) {
    return {level <= STD_CURRENT_FORMAT_DICTIONARY_LEVEL, "a level of 8 or less"};
  }
  return {true, ""};
}

std::optional<RecordFault> findFieldFault(const Column& column, const unsigned char* place,
                                          std::size_t offset) {
  std::int64_t found = 0;
  Expectation expectation{true, ""};
  switch (column.kind) {
    case ColumnKind::ClassCode:
      expectation = classExpectation(integerAt(place));
      found = integerAt(place);
      break;
    case ColumnKind::Integer:
      expectation = levelExpectation(column, integerAt(place));
      found = integerAt(place);
      break;
    case ColumnKind::Flag:
      expectation = {*place <= 1, "0 or 1"};
      found = *place;
      break;
    case ColumnKind::FixedText:
      expectation = {fixedTextUnits(place) < kFixedTextUnits, "a terminator within 256 units"};
      found = static_cast<std::int64_t>(kFixedTextUnits);
      break;
    default: break;
  }
  if (expectation.isMet) return std::nullopt;
  const char* const unit = column.kind == ColumnKind::FixedText ? " units" : "";
  return RecordFault{offset, std::string(column.name) + " " + std::to_string(found) + unit,
                     expectation.expected};
}

bool isChecked(const Column& column) {
  switch (column.kind) {
    case ColumnKind::ClassCode:
    case ColumnKind::Flag:
    case ColumnKind::FixedText: return true;
    default: return column.id == kFormatLevelColumn || column.id == kCompatibilityLevelColumn;
  }
}

// Whether all rows have a value that their class and flag columns, one of each at most, may have;
// one pass for both.
template <class Record>
bool areClassesAndFlagsSound(std::span<const Column> columns, Bytes records) {
  const auto classes = std::ranges::find(columns, ColumnKind::ClassCode, &Column::kind);
  const auto flags = std::ranges::find(columns, ColumnKind::Flag, &Column::kind);
  const bool hasFlags = flags != columns.end();
  if (classes == columns.end()) return !hasFlags;
  const unsigned char* const end = records.data() + records.size();
  bool areSound = true;
  for (const auto* row = records.data(); row != end; row += sizeof(Record)) {
    areSound &= isClass(integerAt(row + classes->offset));
    if (hasFlags) areSound &= row[flags->offset] <= 1;
  }
  return areSound;
}

template <TableSlot slot, class Record>
std::optional<RecordFault> findFault(Bytes records) {
  const std::span<const Column> columns = columnsOf(slot);
  const bool isSound = areClassesAndFlagsSound<Record>(columns, records);
  for (const Column& column : columns) {
    const bool isKnown = column.kind == ColumnKind::ClassCode || column.kind == ColumnKind::Flag;
    if (!isChecked(column) || (isSound && isKnown)) continue;
    for (std::size_t i = column.offset; i < records.size(); i += sizeof(Record)) {
      if (auto fault = findFieldFault(column, records.data() + i, i)) return fault;
    }
  }
  return std::nullopt;
}

bool isKnownType(std::int32_t type) {
  return type == LTUndefined || type == LTString || type == LTDecimal || valueSize(type) != 0;
}

template <>
std::optional<RecordFault> findFault<TableSlot::Values, SMD_VALUE_DEFINITION>(Bytes records) {
  using Record = SMD_VALUE_DEFINITION;
  for (std::size_t i = 0; i < records.size(); i += sizeof(Record)) {
    const std::int32_t type = integerAt(records.data() + i + offsetof(Record, Type));
    if (!isKnownType(type)) {
      return RecordFault{i, "a value of type " + std::to_string(type),
                         "-1, 2, 4, 6, 12, 14, 15 or 16"};
    }
    const std::size_t value = i + offsetof(Record, Value);
    if (type == LTBoolean && records[value] > 1) {
      return RecordFault{value, "a boolean of " + std::to_string(records[value]), "0 or 1"};
    }
  }
  return std::nullopt;
}

// --- The rules of each table -------------------------------------------------------------------

template <TableSlot slot, class Record>
constexpr RecordRules rulesOf(std::uint32_t minimumRows = 0,
                              std::uint32_t maximumRows = RecordRules{}.maximumRows) {
  return {sizeof(Record), minimumRows, maximumRows, clearUnused<slot, Record>,
          findFault<slot, Record>};
}

constexpr RecordRules kRules[] = {
    rulesOf<TableSlot::Identification, DICTIONARY_IDENTIFICATION>(1, 1),
    rulesOf<TableSlot::Project, MSGSET_DEFINITION>(0, 1),
    rulesOf<TableSlot::Dependency, DependencyRow>(),
    rulesOf<TableSlot::WireFormat, WIREFORMAT_DEFINITION>(),
    rulesOf<TableSlot::Tags, SMD_TAG_DEFINITION>(),
    rulesOf<TableSlot::TypeMembers, SMD_STRUCTURE_ELEMENT_DEFINITION>(),
    rulesOf<TableSlot::Types, SMD_TYPE_DEFINITION>(),
    rulesOf<TableSlot::PathBasedInfo, SMD_PATH_BASED_DEFINITION>(),
    rulesOf<TableSlot::MemberPath, MemberPathRow>(),
    rulesOf<TableSlot::ValueSet, SMD_VALUE_SET_DEFINITION>(),
    rulesOf<TableSlot::Values, SMD_VALUE_DEFINITION>(),
    rulesOf<TableSlot::MemberIdIndex, MemberIdRow>(),
    rulesOf<TableSlot::Namespaces, NamespaceRow>(),
};
static_assert(std::size(kRules) == kTableCount);

}  // namespace

const RecordRules& recordRulesOf(TableSlot slot) noexcept {
  return kRules[static_cast<std::size_t>(slot)];
}

}  // namespace cpi
