// The structure of an extract: its objects, arrays and keys.
#include "cpi/extract/extractparser.h"

#include <array>
#include <charconv>
#include <limits>
#include <utility>

#include "cpi/extract/numberrun.h"

namespace cpi {

namespace {

constexpr std::size_t kQuotedBytes = 64;  // of an offending text, in a message

std::string inQuotes(std::string_view text) {
  std::size_t length = text.size();
  if (length > kQuotedBytes) {
    length = kQuotedBytes;
    while ((static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;  // whole characters
  }
  std::string quote = "\"";
  for (const char byte : text.substr(0, length)) {
    quote += static_cast<unsigned char>(byte) < ' ' ? '?' : byte;  // keeps a message on its line
  }
  return quote + (length < text.size() ? "\"..." : "\"");
}

// The value's reason from the JSON parser's message "... - unexpected X; expected Y".
std::pair<std::string, std::string> splitMessage(std::string message) {
  const auto cut = [&](std::string_view mark, bool isLast) {
    const std::size_t at = isLast ? message.rfind(mark) : message.find(mark);
    if (at == std::string::npos) return std::string();
    std::string tail = message.substr(at + mark.size());
    message.resize(at);
    return tail;
  };
  std::string expected = cut("; expected ", true);
  cut("; last read", false);  // may be as long as the file
  if (std::string reason = cut(" - ", false); !reason.empty()) message = std::move(reason);
  constexpr std::string_view kUnexpected = "unexpected ";
  if (message.starts_with(kUnexpected)) message.erase(0, kUnexpected.size());
  return {message, expected.empty() ? "JSON text" : expected};
}

}  // namespace

ExtractParser::ExtractParser(JsonSource& source, FIHandler& handler, const ReadOptions& options)
    : source_(source), handler_(handler), options_(options) {}

void ExtractParser::finish() {
  if (hasEnd_) send(source_.here(), [&] { handler_.endMessage(nullptr); });
}

void ExtractParser::fail(FilePosition place, const std::string& found,
                         const std::string& expected) const {
  throw FileError(source_.fileName(), place, found, expected);
}

void ExtractParser::failScalar(const Scalar& value, const std::string& expected) const {
  fail(source_.scalar(), describe(value), expected);
}

std::string ExtractParser::describe(const Scalar& value) {
  struct Describe {
    std::string operator()(std::monostate) const { return "null"; }
    std::string operator()(bool flag) const { return flag ? "true" : "false"; }
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(std::uint64_t number) const { return std::to_string(number); }
    std::string operator()(double number) const {
      char digits[32];
      return std::string(digits, std::to_chars(digits, digits + sizeof digits, number).ptr);
    }
    std::string operator()(std::string_view text) const { return inQuotes(text); }
  };
  return std::visit(Describe(), value);
}

// --- The JSON parser's calls -------------------------------------------------------------------

bool ExtractParser::number_unsigned(std::uint64_t value) {
  constexpr std::uint64_t kSigned = std::numeric_limits<std::int64_t>::max();
  return value > kSigned ? take(value) : take(static_cast<std::int64_t>(value));
}

// The parser turns integers that are too large for it into doubles, which would lose digits.
bool ExtractParser::number_float(double value, const std::string& digits) {
  if (digits.find_first_of(".eE") == std::string::npos) {
    fail(source_.scalar(), digits.substr(0, kQuotedBytes), "an integer of at most 64 bits");
  }
  return take(value);
}

ExtractParser::Frame& ExtractParser::open(FrameKind kind) {
  if (frames_.size() >= options_.maximumDepth) {
    fail(source_.structural(),
         "an array or object inside " + std::to_string(frames_.size()) + " others",
         "at most " + std::to_string(options_.maximumDepth) + " levels");
  }
  return frames_.emplace_back(Frame{.kind = kind});
}

bool ExtractParser::start_object(std::size_t) {
  if (frames_.empty()) {
    open(FrameKind::Object).rules = fileKeys();
    return true;
  }
  const Frame& owner = frames_.back();
  const bool isValue = owner.kind == FrameKind::Values || owner.key == ExtractKey::Data;
  if (owner.kind == FrameKind::Entries) {
    open(FrameKind::Object).isEntry = true;
  } else if (isValue) {
    open(FrameKind::TypedValue);
  } else {
    fail(source_.structural(), "an object", "a value of another kind");
  }
  return true;
}

bool ExtractParser::key(std::string& name) {
  Frame& frame = frames_.back();
  if (frame.first == ExtractKey::None && frame.rules.empty()) {
    const bool isTyped = frame.kind == FrameKind::TypedValue;
    frame.rules = isTyped ? typedValueKeys(name) : entryKeys(name);
    if (frame.rules.empty()) {
      fail(source_.scalar(), "key " + inQuotes(name),
           isTyped ? listTypedValueKeys() : listEntryKeys());
    }
  }
  for (std::size_t i = 0; i < frame.rules.size(); ++i) {
    if (frame.rules[i].name == name) {
      frame.key = frame.rules[i].key;
      if (frame.first == ExtractKey::None) frame.first = frame.key;
      frame.rules = frame.rules.subspan(i + 1);
      return true;
    }
    if (frame.rules[i].isRequired) break;
  }
  fail(source_.scalar(), "key " + inQuotes(name), listKeys(frame.rules));
}

bool ExtractParser::start_array(std::size_t) {
  if (frames_.empty()) fail(source_.structural(), "an array", "an object");
  Frame& owner = frames_.back();
  const bool isText = owner.key == ExtractKey::Text || owner.key == ExtractKey::Decimal;
  if (owner.key == ExtractKey::Stream || owner.key == ExtractKey::Content) {
    openEntries(owner);
  } else if (owner.key == ExtractKey::Values) {
    openValues(owner);
  } else if (owner.kind == FrameKind::TypedValue && isText) {
    text_.clear();
    open(FrameKind::Units);
  } else {
    fail(source_.structural(), "an array", "a value of another kind");
  }
  return true;
}

void ExtractParser::openEntries(Frame& owner) {
  if (owner.key == ExtractKey::Stream) {
    if (hasStart_) send(source_.structural(), [&] { handler_.startMessage(nullptr); });
  } else {
    send(owner.place, [&] {
      handler_.startElement(owner.id, static_cast<unsigned short>(owner.eventKind), nullptr,
                            static_cast<std::int32_t>(owner.row), owner.extra);
    });
    sections_.push_back(SectionNames::of(owner.id));
  }
  open(FrameKind::Entries);
}

void ExtractParser::openValues(const Frame& owner) {
  const Frame column = owner;  // the reference goes when the stack grows
  Frame& values = open(FrameKind::Values);
  values.id = column.id;
  values.eventKind = column.eventKind;
  values.row = column.row;
  values.extra = column.extra;
  takePlainValues();
}

// Nearly all of a file is in columns of plain values. The parser sees the rest.
void ExtractParser::takePlainValues() {
  constexpr std::size_t kRun = 256;
  std::array<std::int64_t, kRun> numbers;
  std::array<FilePosition, kRun> places;
  std::size_t count = 0;
  const auto flush = [&] {
    sendNumbers(std::span(numbers).first(count), std::span(places).first(count));
    count = 0;
  };
  const ELogicalType type = textType();
  for (JsonSource::PlainValue value; source_.takePlain(value);) {
    if (value.kind == JsonSource::PlainKind::Number) {
      numbers[count] = value.number;
      places[count++] = value.place;
      if (count == kRun) flush();
      continue;
    }
    flush();
    if (value.kind == JsonSource::PlainKind::Null) {
      ++frames_.back().row;
    } else {
      text_.assign(value.text.begin(), value.text.end());  // of ASCII characters
      checkLength();
      sendItem(textValue(type), value.place);
    }
  }
  flush();
}

// Of the open column; each is told with its place if it is refused.
void ExtractParser::sendNumbers(std::span<const std::int64_t> numbers,
                                std::span<const FilePosition> places) {
  Frame& column = frames_.back();
  const auto sendOne = [&](std::size_t i) { sendItem(PWFData(numbers[i], false), places[i]); };
  const std::int64_t end = column.row + std::ssize(numbers);
  if (column.extra != 0 || column.row < 0 || end > std::numeric_limits<std::int32_t>::max()) {
    for (std::size_t i = 0; i < numbers.size(); ++i) sendOne(i);
    return;
  }
  const std::int64_t first = column.row;
  cpi::sendNumbers(handler_, column.id, static_cast<unsigned short>(column.eventKind),
                   static_cast<std::int32_t>(first), numbers, [&](std::size_t i) {
                     column.row = first + static_cast<std::int64_t>(i);
                     sendOne(i);
                   });
  column.row = end;
}

bool ExtractParser::end_array() {
  const bool isText = frames_.back().kind == FrameKind::Units;
  frames_.pop_back();
  Frame& owner = frames_.back();
  if (isText) deliver(textValue(owner.key == ExtractKey::Decimal ? LTDecimal : LTString));
  return true;
}

bool ExtractParser::end_object() {
  const Frame frame = frames_.back();
  if (frame.first == ExtractKey::None && frame.isEntry) {
    fail(source_.structural(), "an empty object", listEntryKeys());
  }
  if (frame.first == ExtractKey::None && frame.kind == FrameKind::TypedValue) {
    fail(source_.structural(), "an empty object", listTypedValueKeys());
  }
  for (const KeyRule& rule : frame.rules) {
    if (rule.isRequired) {
      fail(source_.structural(), "the end of the object", listKeys(frame.rules));
    }
  }
  finishObject(frame);
  frames_.pop_back();
  return true;
}

void ExtractParser::finishObject(const Frame& frame) {
  if (frame.first == ExtractKey::StartElement) {
    send(frame.place, [&] {
      handler_.startElement(frame.id, static_cast<unsigned short>(frame.eventKind), nullptr,
                            static_cast<std::int32_t>(frame.row), frame.extra);
    });
  } else if (frame.first == ExtractKey::Section) {
    sections_.pop_back();
    if (!frame.isEndSent) return;
    send(source_.structural(), [&] { handler_.endElement(frame.id, nullptr); });
  } else if (frame.first == ExtractKey::Extract) {
    hasEnd_ = frame.isEndSent;
  }
}

bool ExtractParser::parse_error(std::size_t, const std::string&,
                                const nlohmann::json::exception& error) {
  constexpr int kNumberOverflow = 406;
  if (error.id == kNumberOverflow) {
    fail(source_.scalar(), "a number beyond the range", "a number that a double can hold");
  }
  const auto [found, expected] = splitMessage(error.what());
  const bool isAtEnd = found.find("end of input") != std::string::npos;
  fail(isAtEnd ? source_.here() : source_.token(), found, expected);
}

}  // namespace cpi
