// Storing items: the bounds that every item passes, and the conversion of each kind of column.
#include <algorithm>
#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include "cpi/dictinfo/stddi/load/loaderrors.h"
#include "cpi/dictinfo/stddi/load/stddictionaryhandler.h"
#include "cpi/runtime/datacnv.h"

namespace cpi {

namespace {

constexpr std::int32_t kDataTextLength = -1;  // texts end at their terminator

DataCnv dictionaryConverter() {
  return DataCnv(1200, EEndianLittle, EFloatFmtIEEE, 53, nullptr, nullptr, 0, true, 12, nullptr);
}

bool isTagClass(std::int32_t code) {
  constexpr std::u16string_view kClasses = u"CEFMST";
  return std::ranges::any_of(kClasses, [&](char16_t letter) { return letter == code; });
}

std::string describe(std::string_view what, std::int64_t id, std::string_view name) {
  std::string text = std::string(what) + " " + std::to_string(id);
  if (!name.empty()) text += " (" + std::string(name) + ")";
  return text;
}

std::string_view columnName(const Section* section, std::int32_t id) {
  const Column* const column = section == nullptr ? nullptr : findColumn(*section, id);
  return column == nullptr ? std::string_view() : column->name;
}

}  // namespace

void StdDictionaryHandler::refuse(const ItemPlace& place, const std::string& what) const {
  std::string message = describe("section", section_, current_ == nullptr ? "" : current_->name);
  message += ", " + describe("column", place.column, columnName(current_, place.column));
  message += ", row " + std::to_string(place.row) + ": " + what;
  throwConfigurationError({kHandlerSource, kRefusedItemLine, operation_}, CP_DICTIONARY_ERROR,
                          message.c_str());
}

void StdDictionaryHandler::refuse(const std::string& what) const { refuse(openPlace(), what); }

DictTable& StdDictionaryHandler::table(TableSlot slot) const noexcept {
  // The references were bound to consecutive slots.
  return (&owner_->identification_.table())[static_cast<std::size_t>(slot)];
}

unsigned char* StdDictionaryHandler::recordAt(const ItemPlace& place) const {
  const DictTable& target = table(place.slot);
  if (place.row < 0 || place.row >= target.rowCount) {
    std::string what =
        "the row is outside the table, which has " + std::to_string(target.rowCount) + " rows";
    if (target.rowCount == 0) what += "; the items that size the table must come first";
    refuse(place, what);
  }
  const bool isOpen = current_ != nullptr && current_->slot == place.slot;
  const std::size_t recordSize =
      isOpen ? current_->recordSize : target.size / static_cast<std::uint32_t>(target.rowCount);
  return target.records + static_cast<std::size_t>(place.row) * recordSize;
}

unsigned char* StdDictionaryHandler::recordAt(std::int32_t row) const {
  return recordAt(ItemPlace{current_->slot, field_, row});
}

void StdDictionaryHandler::createTable(TableSlot slot, std::int64_t rowCount) {
  DictTable& target = table(slot);
  if (rowCount < 0 || rowCount > limits_.rows) {
    refuse("a table has 0 to " + std::to_string(limits_.rows) + " rows, not " +
           std::to_string(rowCount));
  }
  owner_->forEachReference([&](auto& reference) {
    using Row = typename std::remove_reference_t<decltype(reference)>::Row;
    if (&reference.table() != &target) return;
    // A table sized to no rows more than once needs one text property.
    if (rowCount == 0 && reference.strings() != nullptr) return;
    claim(rowCount * static_cast<std::int64_t>(sizeof(Row) + sizeof(std::uint32_t)));
    guarded([&] { target.Create(sizeof(Row), static_cast<std::uint32_t>(rowCount)); });
    std::uninitialized_value_construct_n(reinterpret_cast<Row*>(target.records), rowCount);
    if (!RecordText<Row>::exists) return;
    guarded([&] { target.CreateProperty(CPI_VLS_TABMBR, CPI_StringMember, PTText, 0); });
  });
}

void StdDictionaryHandler::claim(std::int64_t bytes) {
  if (bytes > limits_.bytes - owner_->claimedBytes_) {
    refuse("the tables would claim more than " + std::to_string(limits_.bytes) + " bytes");
  }
  owner_->claimedBytes_ += bytes;
}

void StdDictionaryHandler::createFromNumRows(const PWFData& value) {
  const std::int32_t rowCount = integer(value);
  if (openTable().rowCount != 0) {
    refuse("the table already has " + std::to_string(openTable().rowCount) +
           " rows; a table is sized once");
  }
  createTable(current_->slot, rowCount);
}

std::int32_t StdDictionaryHandler::integer(const PWFData& value) const {
  std::int32_t number = 0;
  guarded([&] { number = value.getInt32Value(); });
  return number;
}

const unsigned short* StdDictionaryHandler::text(const PWFData& value) const {
  if (value.getLogicalType() != LTString && value.getLogicalType() != LTDecimal) {
    refuse("a text was expected, not a value of logical type " +
           std::to_string(value.getLogicalType()));
  }
  return value.getStringValue();
}

void StdDictionaryHandler::collectText(std::vector<KelStringBase>& list, const PWFData& value) {
  list.emplace_back(text(value));
}

void StdDictionaryHandler::storeItem(const Column& column, const PWFData& value) {
  switch (column.kind) {
    case ColumnKind::Integer: {
      unsigned char* const record = recordAt(row_);
      *reinterpret_cast<std::int32_t*>(record + column.offset) = integer(value);
      storesTo(column);
      break;
    }
    case ColumnKind::Text:
      storeText(row_, value);
      storesTo(column);
      break;
    default: break;  // kept nowhere
  }
}

void StdDictionaryHandler::storeClass(const Column& column, const PWFData& value,
                                      const ErrorSite& site) {
  unsigned char* const record = recordAt(row_);
  const unsigned short* const letters = text(value);
  const std::int32_t code = letters == nullptr ? 0 : letters[0];
  *reinterpret_cast<std::int32_t*>(record + column.offset) = code;
  storesTo(column);
  if (isTagClass(code)) return;
  throwConfigurationError(site, CP_DICTIONARY_ERROR, "Invalid tag class", {code});
}

void StdDictionaryHandler::storeFlag(const Column& column, const PWFData& value,
                                     const ErrorSite& site) {
  unsigned char* const record = recordAt(row_);
  const std::int32_t flag = integer(value);
  if (flag != 0 && flag != 1) {
    throwConfigurationError(site, CP_DICTIONARY_ERROR, "Invalid value for null permitted.", {flag});
  }
  *reinterpret_cast<bool*>(record + column.offset) = flag != 0;
  storesTo(column);
}

// Integers of the column that was stored to last, as far as its fields can hold them.
std::size_t StdDictionaryHandler::takeRun(std::int32_t id, unsigned short kind, std::int32_t index,
                                          std::span<const std::int64_t> values) noexcept {
  if (quick_.column != id || kind > EKRepeatedField) return 0;
  switch (quick_.kind) {
    case ColumnKind::Key: return collectRun(index, values);
    case ColumnKind::Integer: return storeRun<std::int32_t>(index, values);
    case ColumnKind::Flag: return storeRun<bool>(index, values);
    default: return 0;
  }
}

// The key of row 0 begins a new list.
std::size_t StdDictionaryHandler::collectRun(std::int32_t index,
                                             std::span<const std::int64_t> values) noexcept {
  const auto isNarrow = [](std::int64_t value) {
    return value == static_cast<std::int32_t>(value);
  };
  if (index == 0 || !std::ranges::all_of(values, isNarrow)) return 0;
  std::vector<std::int32_t>& keys = current_->slot == TableSlot::Tags ? tagIds_ : parentTypeIds_;
  try {
    keys.insert(keys.end(), values.begin(), values.end());  // all of them or none
  } catch (const std::bad_alloc&) {
    return 0;
  }
  return values.size();
}

template <class Field>
std::size_t StdDictionaryHandler::storeRun(std::int32_t index,
                                           std::span<const std::int64_t> values) noexcept {
  if (index < 0 || index >= quick_.table->rowCount) return 0;
  const auto rows = static_cast<std::size_t>(quick_.table->rowCount - index);
  const std::size_t count = std::min(values.size(), rows);
  unsigned char* field =
      quick_.table->records + static_cast<std::size_t>(index) * quick_.recordSize + quick_.offset;
  std::size_t taken = 0;
  for (; taken < count; ++taken, field += quick_.recordSize) {
    const auto value = static_cast<Field>(values[taken]);
    if (std::int64_t{value} != values[taken]) break;
    *reinterpret_cast<Field*>(field) = value;
  }
  return taken;
}

// Another item of the column that was stored to last.
bool StdDictionaryHandler::storeLikeLast(const PWFData& value) {
  if (quick_.kind == ColumnKind::Ignored || quick_.column != field_ ||
      static_cast<std::uint32_t>(row_) >= static_cast<std::uint32_t>(quick_.table->rowCount)) {
    return false;
  }
  unsigned char* const field =
      quick_.table->records + static_cast<std::size_t>(row_) * quick_.recordSize + quick_.offset;
  const bool isText = value.getLogicalType() == LTString;
  operation_ = kDataOperation;
  switch (quick_.kind) {
    case ColumnKind::Text:
      if (isText) storeText(openTable(), row_, value.getStringValue());
      return isText;
    case ColumnKind::ClassCode: {
      const unsigned short* const letters = isText ? value.getStringValue() : nullptr;
      if (letters == nullptr || !isTagClass(letters[0])) return false;
      *reinterpret_cast<std::int32_t*>(field) = letters[0];
      return true;
    }
    case ColumnKind::Flag: {
      const std::int64_t* const flag = value.getSignedValue();
      if (flag == nullptr || *flag < 0 || *flag > 1) return false;
      *reinterpret_cast<bool*>(field) = *flag != 0;
      return true;
    }
    case ColumnKind::Value: return storePropertyLikeLast(value);
    default: return false;
  }
}

void StdDictionaryHandler::copyFixedText(unsigned short* field, std::u16string_view text,
                                         const ItemPlace& place) const {
  if (text.size() >= kFixedTextUnits) {
    refuse(place, "the text has " + std::to_string(text.size()) + " units; at most " +
                      std::to_string(kFixedTextUnits - 1) + " fit");
  }
  if (!text.empty()) std::memcpy(field, text.data(), text.size() * sizeof *field);
  std::fill(field + text.size(), field + kFixedTextUnits, static_cast<unsigned short>(0));
}

void StdDictionaryHandler::storeFixedText(unsigned char* field, const PWFData& value) {
  copyFixedText(reinterpret_cast<unsigned short*>(field), textView(text(value)), openPlace());
}

void StdDictionaryHandler::storeText(std::int32_t row, const PWFData& value) {
  recordAt(row);
  storeText(openTable(), row, text(value));
}

void StdDictionaryHandler::storeText(DictTable& target, std::int32_t row,
                                     const unsigned short* rowText) {
  guarded([&] { textsOf(target).SetValue(static_cast<std::uint32_t>(row), rowText); });
}

// The property of the table's text column, looked up again when the table has got another one.
StringTable& StdDictionaryHandler::textsOf(DictTable& target) {
  const std::size_t properties = target.properties.tables().size();
  if (texts_.table != &target || texts_.properties != properties) {
    StringTable& found = target.GetProperty(CPI_VLS_TABMBR, CPI_StringMember);
    // A stream may name a property of its own so, and the last one made is found.
    if (found.type != PTText)
      refuse("the property of the table's texts holds values of another kind");
    texts_ = {&target, properties, &found};
  }
  return *texts_.strings;
}

void StdDictionaryHandler::storeCollected(TableSlot slot, std::int32_t column, std::size_t row,
                                          const KelStringBase& text) {
  recordAt(ItemPlace{slot, column, static_cast<std::int64_t>(row)});
  storeText(table(slot), static_cast<std::int32_t>(row), text.getText());
}

// The value is converted before the row is touched, so that a refused item leaves the row whole.
void StdDictionaryHandler::storeValue(SMD_VALUE_DEFINITION& record, const Column& column,
                                      const PWFData& value) {
  SMD_VALUE_DEFINITION::ValueUnion stored{};
  switch (column.valueType) {
    case LTString:
    case LTDecimal:
      storeText(valueRow_, value);
      stored.Text = nullptr;  // refreshed by whoever reads the row
      break;
    case LTInteger: guarded([&] { stored.Integer = value.getInt64Value(); }); break;
    case LTFloat: guarded([&] { stored.Float = value.getDoubleValue(); }); break;
    case LTBoolean: stored.Boolean = integer(value) != 0; break;
    case LTDateTime:
      guarded([&] {
        stored.DateTime = dictionaryConverter().StrToDateTime(text(value), CPI_STD_DATETIME_FORMAT,
                                                              kDataTextLength);
      });
      break;
    default:
      guarded([&] {
        stored.Interval = dictionaryConverter().StrToInterval(text(value), kDataTextLength);
      });
      break;
  }
  record.Type = column.valueType;
  record.Value = stored;
}

StringTable& StdDictionaryHandler::openProperty(std::int32_t type) {
  recordAt(row_);
  DictTable& target = openTable();
  if (row_ == 0) {
    // Every value at row 0 makes a property of the table's length.
    if (std::ssize(target.properties.tables()) >= limits_.properties) {
      refuse("a table has at most " + std::to_string(limits_.properties) + " properties");
    }
    const std::size_t nameUnits =
        propertyTableMemberName_.view().size() + propertyMemberName_.view().size();
    claim(target.rowCount * static_cast<std::int64_t>(sizeof(std::uint32_t)) +
          static_cast<std::int64_t>(nameUnits * sizeof(char16_t)));
    guarded([&] {
      target.CreateProperty(propertyTableMemberName_.getText(), propertyMemberName_.getText(), type,
                            0);
    });
  }
  StringTable* const found = target.properties.FindTable(propertyTableMemberName_.getText(),
                                                         propertyMemberName_.getText());
  if (found == nullptr || found->memberName.view() != propertyMemberName_.view()) {
    refuse("the first value of a named property must be at row 0");
  }
  if (found->type != type) refuse("the property holds values of another kind");
  quick_ = {ColumnKind::Value, field_, &target};
  property_ = {&target, target.properties.tables().size(), found};
  return *found;
}

// The value of row 0 makes a property, of which one may be there already.
bool StdDictionaryHandler::storePropertyLikeLast(const PWFData& value) {
  if (row_ == 0 || quick_.table->properties.tables().size() != property_.properties) return false;
  StringTable& property = *property_.strings;
  const auto row = static_cast<std::uint32_t>(row_);
  if (property.type == PTText && value.getLogicalType() == LTString) {
    guarded([&] { property.SetValue(row, value.getStringValue()); });
    return true;
  }
  const std::int64_t* const number = value.getSignedValue();
  if (property.type != PTInteger || number == nullptr) return false;
  guarded([&] { property.SetIntValue(row, *number); });
  return true;
}

}  // namespace cpi
