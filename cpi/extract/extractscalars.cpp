// The values of an extract: names, ids, numbers and the data of items.
#include <bit>
#include <charconv>
#include <limits>
#include <optional>

#include "cpi/extract/extractparser.h"
#include "cpi/runtime/datacnv.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

namespace {

constexpr std::size_t kDoubleDigits = 16;
constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kSmallest = std::numeric_limits<std::int32_t>::min();

}  // namespace

bool ExtractParser::take(const Scalar& value) {
  if (frames_.empty()) failScalar(value, "an object");
  Frame& frame = frames_.back();
  switch (frame.kind) {
    case FrameKind::Object: takeByKey(frame, value); break;
    case FrameKind::Entries: failScalar(value, "an object"); break;
    case FrameKind::TypedValue: takeTypedValue(value); break;
    case FrameKind::Units: takeUnit(value); break;
    case FrameKind::Values:
      // A null leaves its row out.
      if (std::holds_alternative<std::monostate>(value)) {
        ++frame.row;
      } else {
        sendItem(valueOf(value));
      }
      break;
  }
  return true;
}

void ExtractParser::takeByKey(Frame& frame, const Scalar& value) {
  constexpr Integer kIndex{kSmallest, kLargest, "a 32-bit integer"};
  switch (frame.key) {
    case ExtractKey::Extract:
      takeInteger(value, {kExtractVersion, kExtractVersion, "version 1"});
      break;
    case ExtractKey::Start: hasStart_ = takeFlag(value); break;
    case ExtractKey::End: frame.isEndSent = takeFlag(value); break;
    case ExtractKey::Section:
    case ExtractKey::Column:
    case ExtractKey::StartElement:
    case ExtractKey::EndElement: takeElementId(frame, value); break;
    case ExtractKey::Kind: takeKind(frame, value); break;
    case ExtractKey::Row: frame.row = takeInteger(value, kIndex); break;
    case ExtractKey::Extra:
      frame.extra = static_cast<std::int32_t>(takeInteger(value, kIndex));
      break;
    case ExtractKey::Data:
      if (std::holds_alternative<std::monostate>(value)) failScalar(value, "a value");
      deliver(valueOf(value));
      break;
    case ExtractKey::Message: takeMessage(value); break;
    default: failScalar(value, "an array"); break;
  }
}

void ExtractParser::takeElementId(Frame& frame, const Scalar& value) {
  constexpr Integer kId{kSmallest, kLargest, "an id of 32 bits"};
  frame.place = source_.scalar();
  if (frame.key == ExtractKey::Section) {
    frame.id = takeSection(value);
    frame.eventKind = EKStructure;
  } else if (frame.key == ExtractKey::Column) {
    frame.id = takeColumn(value);
  } else {
    frame.id = static_cast<std::int32_t>(takeInteger(value, kId));
  }
  if (frame.key != ExtractKey::EndElement) return;
  send(frame.place, [&] { handler_.endElement(frame.id, nullptr); });
}

void ExtractParser::takeKind(Frame& frame, const Scalar& value) {
  constexpr Integer kOfSection{EKStructure, EKRepeatedStructure, "2 or 3, the kinds of sections"};
  constexpr Integer kOfItem{EKField, EKRepeatedField, "0 or 1, the kinds of items"};
  constexpr Integer kAny{0, std::numeric_limits<unsigned short>::max(), "a kind, 0 to 65535"};
  const Integer& bounds = frame.first == ExtractKey::Section  ? kOfSection
                          : frame.first == ExtractKey::Column ? kOfItem
                                                              : kAny;
  frame.eventKind = static_cast<std::int32_t>(takeInteger(value, bounds));
}

void ExtractParser::takeMessage(const Scalar& value) {
  const auto* const text = std::get_if<std::string_view>(&value);
  if (text != nullptr && *text == "start") {
    send(source_.scalar(), [&] { handler_.startMessage(nullptr); });
  } else if (text != nullptr && *text == "end") {
    send(source_.scalar(), [&] { handler_.endMessage(nullptr); });
  } else {
    failScalar(value, "\"start\" or \"end\"");
  }
}

bool ExtractParser::takeFlag(const Scalar& value) const {
  const bool* const flag = std::get_if<bool>(&value);
  if (flag == nullptr) failScalar(value, "true or false");
  return *flag;
}

std::int32_t ExtractParser::takeSection(const Scalar& value) const {
  constexpr Integer kId{kSmallest, kLargest, "the name or the id of a section"};
  const auto* const name = std::get_if<std::string_view>(&value);
  if (name == nullptr) return static_cast<std::int32_t>(takeInteger(value, kId));
  const std::int32_t id = sectionIdOf(*name);
  if (id == kNoSection) failScalar(value, kId.expected);
  return id;
}

std::int32_t ExtractParser::takeColumn(const Scalar& value) const {
  constexpr Integer kId{kSmallest, kLargest, "the name or the id of a column"};
  const auto* const name = std::get_if<std::string_view>(&value);
  if (name == nullptr) return static_cast<std::int32_t>(takeInteger(value, kId));
  const SectionNames section = names();
  if (section.name.empty()) failScalar(value, "a column's id, for no known section is open");
  const Column* const column = section.column(*name);
  if (column == nullptr) failScalar(value, "a column of " + std::string(section.name));
  return column->id;
}

std::int64_t ExtractParser::takeInteger(const Scalar& value, const Integer& bounds) const {
  const std::int64_t* const number = std::get_if<std::int64_t>(&value);
  if (number == nullptr || *number < bounds.minimum || *number > bounds.maximum) {
    failScalar(value, bounds.expected);
  }
  return *number;
}

// --- Values ------------------------------------------------------------------------------------

const std::u16string& ExtractParser::decode(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) {
    fail(source_.scalar(), "U+0000 in a text", "any other characters");
  }
  text_ = toUtf16(text);
  checkLength();
  return text_;
}

void ExtractParser::checkLength() const {
  if (text_.size() <= options_.maximumTextUnits) return;
  fail(source_.scalar(), "a text of " + std::to_string(text_.size()) + " units",
       "at most " + std::to_string(options_.maximumTextUnits));
}

// What the texts of the open column or raw entry are.
ELogicalType ExtractParser::textType() const {
  const Frame& frame = frames_.back();
  const bool isItem = frame.kind == FrameKind::Values;
  return isItem && holdsDecimals(names().column(frame.id)) ? LTDecimal : LTString;
}

PWFData ExtractParser::textValue(ELogicalType type) {
  return PWFData(text_.c_str(), -1, type, EOReference);
}

PWFData ExtractParser::valueOf(const Scalar& value) {
  if (const bool* const flag = std::get_if<bool>(&value)) return PWFData(*flag);
  if (const auto* const number = std::get_if<std::int64_t>(&value)) return PWFData(*number, false);
  if (const auto* const number = std::get_if<std::uint64_t>(&value)) {
    return PWFData(static_cast<std::int64_t>(*number), true);
  }
  if (const double* const number = std::get_if<double>(&value)) return PWFData(*number);
  decode(std::get<std::string_view>(value));
  return textValue(textType());
}

void ExtractParser::takeTypedValue(const Scalar& value) {
  const unsigned short* const none = nullptr;
  const ExtractKey key = frames_.back().key;
  const auto* const text = std::get_if<std::string_view>(&value);
  const bool isNull = std::holds_alternative<std::monostate>(value);
  if (key == ExtractKey::Text || key == ExtractKey::Decimal) {
    const ELogicalType type = key == ExtractKey::Text ? LTString : LTDecimal;
    if (isNull) return deliver(PWFData(none, -1, type, EOReference));
    if (text == nullptr) failScalar(value, "a string, null or an array of code units");
    decode(*text);
    deliver(textValue(type));
  } else if (key == ExtractKey::Double) {
    deliver(PWFData(takeDouble(value)));
  } else if (key == ExtractKey::Nothing) {
    if (!isNull) failScalar(value, "null");
    deliver(PWFData());
  } else {
    if (text == nullptr) failScalar(value, "a string");
    deliver(convertedText(value));
  }
}

PWFData ExtractParser::convertedText(const Scalar& value) {
  const DataCnv converter(0, EEndianLittle, EFloatFmtIEEE, 0, nullptr, nullptr, 0, true, 0,
                          nullptr);
  const unsigned short* const text = asUnits(decode(std::get<std::string_view>(value)).c_str());
  std::optional<PWFData> converted;
  send(source_.scalar(), [&] {
    if (frames_.back().key == ExtractKey::Interval) {
      converted.emplace(converter.StrToInterval(text, -1));
    } else {
      converted.emplace(converter.StrToDateTime(text, CPI_STD_DATETIME_FORMAT, -1));
    }
  });
  return *converted;
}

double ExtractParser::takeDouble(const Scalar& value) const {
  constexpr const char* kExpected = "\"inf\", \"-inf\", \"nan\" or the 16 hex digits of a double";
  const auto* const text = std::get_if<std::string_view>(&value);
  if (text == nullptr) failScalar(value, kExpected);
  if (*text == "inf") return std::numeric_limits<double>::infinity();
  if (*text == "-inf") return -std::numeric_limits<double>::infinity();
  if (*text == "nan") return std::numeric_limits<double>::quiet_NaN();
  std::uint64_t bits = 0;
  const char* const end = text->data() + text->size();
  const auto result = std::from_chars(text->data(), end, bits, 16);
  const bool isWhole = result.ec == std::errc() && result.ptr == end;
  if (text->size() != kDoubleDigits || !isWhole) failScalar(value, kExpected);
  return std::bit_cast<double>(bits);
}

void ExtractParser::takeUnit(const Scalar& value) {
  constexpr Integer kUnit{1, std::numeric_limits<char16_t>::max(), "a code unit, 1 to 65535"};
  text_ += static_cast<char16_t>(takeInteger(value, kUnit));
  if (text_.size() > options_.maximumTextUnits) {
    fail(source_.scalar(), "a longer text",
         "at most " + std::to_string(options_.maximumTextUnits) + " units");
  }
}

// The value belongs to the open raw data entry or to the open column.
void ExtractParser::deliver(const PWFData& value) {
  const bool isTyped = frames_.back().kind == FrameKind::TypedValue;
  const Frame& owner = isTyped ? frames_[frames_.size() - 2] : frames_.back();
  if (owner.kind == FrameKind::Values) return sendItem(value);
  send(source_.scalar(), [&] { handler_.data(value, nullptr); });
}

void ExtractParser::sendItem(const PWFData& value, FilePosition place) {
  const bool isTyped = frames_.back().kind == FrameKind::TypedValue;
  Frame& column = isTyped ? frames_[frames_.size() - 2] : frames_.back();
  if (column.row > kLargest) {
    fail(place, "a value for row " + std::to_string(column.row), "rows up to 2147483647");
  }
  send(place, [&] {
    handler_.startElement(column.id, static_cast<unsigned short>(column.eventKind), nullptr,
                          static_cast<std::int32_t>(column.row), column.extra);
    handler_.data(value, nullptr);
    handler_.endElement(column.id, nullptr);
  });
  ++column.row;
}

}  // namespace cpi
