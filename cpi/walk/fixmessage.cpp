#include "cpi/walk/fixmessage.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace cpi {

namespace {

constexpr std::string_view kMessageStart = "8=FIX";
constexpr std::size_t kMaxDigits = 9;
// Bytes are read eight at a time where the first is the lowest.
constexpr bool kIsLittle = std::endian::native == std::endian::little;
// A check sum with its tag and delimiter, and some room for a wrong one.
constexpr std::size_t kCheckSumSize = 12;
// Bytes that may be looked at in vain since body lengths are wrong, and how many more for each byte
// of a message that is found. Else each line of a file could lead to its end.
constexpr std::size_t kMaxInVain = std::size_t{64} << 20;
constexpr std::size_t kGainPerByte = 16;
// A first field is shorter.
constexpr std::size_t kFirstFieldSize = 64;

bool isDigit(char unit) noexcept { return unit >= '0' && unit <= '9'; }

std::size_t widthOf(FixDelimiter delimiter) noexcept {
  return delimiter == FixDelimiter::Caret ? 2 : 1;
}

char firstOf(FixDelimiter delimiter) noexcept {
  constexpr char kFirst[] = {'\x01', '|', '^'};
  return kFirst[static_cast<std::size_t>(delimiter)];
}

std::string_view textOf(FixDelimiter delimiter) noexcept {
  constexpr std::string_view kTexts[] = {"\x01", "|", "^A"};
  return kTexts[static_cast<std::size_t>(delimiter)];
}

// Whether a tag and '=' stand at the front.
bool beginsWithTag(std::string_view text) noexcept {
  std::size_t digits = 0;
  while (digits < text.size() && digits <= kMaxDigits && isDigit(text[digits])) ++digits;
  return digits > 0 && digits <= kMaxDigits && digits < text.size() && text[digits] == '=';
}

// Where "8=FIX" stands in the line, but not as the end of a greater tag; else where the line ends.
// Lines may be long and hold many messages: nothing behind what is sought is looked at.
std::size_t findStart(std::string_view text, std::size_t from) noexcept {
  std::size_t at = from;
  for (; at < text.size() && text[at] != '\n'; ++at) {
    const bool isEnd = at > from && isDigit(text[at - 1]);
    if (!isEnd && text.substr(at).starts_with(kMessageStart)) break;
  }
  return at;
}

// The delimiter of a message is the first that it has.
FixDelimiter delimiterOf(std::string_view line) noexcept {
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == '\x01' || line[i] == '\n') return FixDelimiter::Soh;
    if (line[i] == '|') return FixDelimiter::Bar;
    if (line[i] == '^' && i + 1 < line.size() && line[i + 1] == 'A') return FixDelimiter::Caret;
  }
  return FixDelimiter::Soh;
}

// Where the check sum of a message begins by its body length; npos when it tells none. Data may
// hold anything, so that this is the safest way to the end.
std::size_t lengthOf(std::string_view text, FixDelimiter delimiter) noexcept {
  if (widthOf(delimiter) != 1) return text.npos;
  const char mark = firstOf(delimiter);
  const std::size_t first = text.substr(0, kFirstFieldSize).find(mark);
  if (first == text.npos || !text.substr(first + 1).starts_with("9=")) return text.npos;
  const std::size_t begin = first + 3;
  const std::size_t second = text.substr(0, begin + kMaxDigits + 1).find(mark, begin);
  if (second == text.npos) return text.npos;
  const std::int32_t length = fixNumberOf(text.substr(begin, second - begin));
  if (length < 0 || static_cast<std::size_t>(length) > kMaxFixMessage) return text.npos;
  return second + 1 + static_cast<std::size_t>(length);
}

// White space at the end of a line is no part of its last field.
std::size_t withoutBlanks(std::string_view text, std::size_t end) noexcept {
  return text.substr(0, end).find_last_not_of(" \t\r") + 1;
}

// The end of a message whose check sum begins at `checkSum`; npos when none does.
std::size_t endByLength(std::string_view text, std::size_t checkSum,
                        FixDelimiter delimiter) noexcept {
  const char mark = firstOf(delimiter);
  if (checkSum > text.size() || text[checkSum - 1] != mark) return text.npos;
  const std::string_view rest = text.substr(checkSum, kCheckSumSize);
  if (!rest.starts_with("10=")) return text.npos;
  const std::size_t stop = rest.find_first_of(std::string_view("\x01|\n", 3));
  if (stop == rest.npos && rest.size() == kCheckSumSize) return text.npos;
  if (stop != rest.npos && rest[stop] == mark) return checkSum + stop + 1;
  return withoutBlanks(text, checkSum + std::min(stop, rest.size()));
}

// Where a field ends, or the line.
std::size_t findEnd(std::string_view text, std::string_view mark, std::size_t from) noexcept {
  while (from < text.size() && text[from] != '\n' && !text.substr(from).starts_with(mark)) ++from;
  return from;
}

// Bytes 0x01 in a word of eight, each marked by its highest bit. Marks above the lowest one may be
// wrong, which is no matter: the lowest is asked for.
std::uint64_t zeroBytes(std::uint64_t word) noexcept {
  constexpr std::uint64_t kLow = 0x0101010101010101;
  constexpr std::uint64_t kHigh = 0x8080808080808080;
  return (word - kLow) & ~word & kHigh;
}

std::uint64_t wordAt(std::string_view text, std::size_t at) noexcept {
  std::uint64_t word = 0;
  std::memcpy(&word, text.data() + at, sizeof word);
  return word;
}

// Values are short: eight bytes at a time beat a call.
inline std::size_t findByte(std::string_view text, std::size_t from, char byte) noexcept {
  if constexpr (kIsLittle) {
    const std::uint64_t pattern = 0x0101010101010101 * static_cast<unsigned char>(byte);
    for (; from + sizeof pattern <= text.size(); from += sizeof pattern) {
      const std::uint64_t marks = zeroBytes(wordAt(text, from) ^ pattern);
      if (marks != 0) return from + static_cast<std::size_t>(std::countr_zero(marks)) / 8;
    }
  }
  while (from < text.size() && text[from] != byte) ++from;
  return from;
}

// The sum of all bytes.
std::uint64_t sumOf(std::string_view text) noexcept {
  constexpr std::uint64_t kEven = 0x00ff00ff00ff00ff;
  constexpr std::size_t kStep = sizeof(std::uint64_t);
  constexpr std::size_t kBlock = 128 * kStep;  // as many as fit in lanes of 16 bits
  std::uint64_t sum = 0;
  std::size_t at = 0;
  while (at + kStep <= text.size()) {
    std::uint64_t lanes = 0;
    const std::size_t end = std::min(text.size(), at + kBlock);
    for (; at + kStep <= end; at += kStep) {
      const std::uint64_t word = wordAt(text, at);
      lanes += (word & kEven) + ((word >> 8) & kEven);
    }
    sum += (lanes & 0xffff) + (lanes >> 16 & 0xffff) + (lanes >> 32 & 0xffff) + (lanes >> 48);
  }
  for (; at < text.size(); ++at) sum += static_cast<unsigned char>(text[at]);
  return sum;
}

// Whether a message whose check sum begins at `checkSum` is one, and not the rest of one that was
// cut off and the next line's. Data may hold such a line: then the sum tells.
bool isOneMessage(std::string_view text, std::size_t checkSum, FixDelimiter delimiter) noexcept {
  constexpr std::string_view kNextLine = "\n8=FIX";
  const std::string_view body = text.substr(0, checkSum);
  if (body.find(kNextLine) == body.npos) return true;
  const auto mark = static_cast<std::uint64_t>(firstOf(delimiter));
  const auto marks = static_cast<std::uint64_t>(std::ranges::count(body, firstOf(delimiter)));
  const std::uint64_t sum = sumOf(body) - marks * (mark - 1);
  return fixNumberOf(text.substr(checkSum + 3, 3)) == static_cast<std::int32_t>(sum % 256);
}

struct Tag {
  std::int32_t number = kNone;
  std::uint32_t size = 0;
};

// A number of up to four digits with '=' behind it, and how many digits there are; 0: other bytes
// stand there. Tags of all lengths alternate, so that one way for all beats a loop.
Tag shortTagOf(std::uint64_t word) noexcept {
  constexpr std::uint64_t kEach = 0x0101010101010101;
  const std::uint64_t ends = zeroBytes(word ^ kEach * '=');
  const auto size = static_cast<std::uint32_t>(std::countr_zero(ends)) / 8;
  if (size - 1 > 3) return {};
  const auto text = static_cast<std::uint32_t>(word);
  const std::uint32_t digits = (text ^ 0x30303030) << (32 - 8 * size);
  if ((((digits + 0x76767676) | digits) & 0x80808080) != 0) return {};
  const std::uint32_t pairs = digits * 10 + (digits >> 8);
  return {static_cast<std::int32_t>((pairs & 0xff) * 100 + (pairs >> 16 & 0xff)), size};
}

// The same for any number that fits.
Tag tagOf(std::string_view text) noexcept {
  const std::size_t end = std::min(text.size(), kMaxDigits);
  Tag tag{0, 0};
  for (; tag.size < end && isDigit(text[tag.size]); ++tag.size) {
    tag.number = tag.number * 10 + (text[tag.size] - '0');
  }
  const bool isTag = tag.size > 0 && tag.size < text.size() && text[tag.size] == '=';
  return isTag ? tag : Tag();
}

}  // namespace

FixFramer::Outcome FixFramer::next(std::string_view text, bool isLast, std::size_t& at,
                                   FixFrame& frame) {
  while (at < text.size()) {
    // Messages that follow one another are found without a look at lines.
    std::size_t start = at;
    if (!isFresh_ || !beginsWithTag(text.substr(at))) {
      start = findStart(text, at);
      if (start == text.size() && !isLast) return passOver(text, at);
      if (start == text.size() || text[start] == '\n') {
        at = std::min(start + 1, text.size());
        isFresh_ = true;
        continue;
      }
    }
    const std::string_view rest = text.substr(start, kMaxFixMessage + kCheckSumSize);
    const bool isCut = rest.size() < text.size() - start;
    if (!frameAt(rest, isLast || isCut, frame)) return Outcome::NeedsMore;
    isFresh_ = !isCut || frame.end < rest.size();
    frame.begin += start;
    frame.end += start;
    at = frame.end;
    inVain_ -= std::min(inVain_, kGainPerByte * (frame.end - frame.begin));
    return Outcome::Found;
  }
  return isLast ? Outcome::None : Outcome::NeedsMore;
}

// In a line without end, all but what may be the start of a message is done with.
FixFramer::Outcome FixFramer::passOver(std::string_view text, std::size_t& at) noexcept {
  if (text.size() - at > 2 * kMessageStart.size()) {
    at = text.size() - 2 * kMessageStart.size();
    isFresh_ = false;
  }
  return Outcome::NeedsMore;
}

// Where the field that begins at `begin` ends: at its delimiter, or with the line. `dataSize` is
// what the field before says of data, and becomes what this one does; kNone: nothing.
std::size_t FixFramer::findFieldEnd(std::string_view text, FixDelimiter delimiter,
                                    std::size_t begin, std::int32_t& dataSize) const noexcept {
  const std::string_view mark = textOf(delimiter);
  const std::int32_t size = std::exchange(dataSize, kNone);
  const Tag tag = tagOf(text.substr(begin));
  const FixForm form = tag.size == 0 ? FixForm::Text : model_->field(tag.number).form;
  const std::size_t value = begin + tag.size + 1;
  if (form == FixForm::Data && size > 0) {
    const std::size_t end = value + static_cast<std::size_t>(size);
    if (end < text.size() && text.substr(end).starts_with(mark)) return end;
  }
  const std::size_t end = findEnd(text, mark, begin);
  if (form == FixForm::Length) dataSize = fixNumberOf(text.substr(value, end - value));
  return end;
}

// The message at the front of `text`; false when more text is needed to tell where it ends.
bool FixFramer::frameAt(std::string_view text, bool isLast, FixFrame& frame) noexcept {
  frame.begin = 0;
  frame.delimiter = delimiterOf(text);
  const std::size_t byLength = lengthOf(text, frame.delimiter);
  if (byLength != text.npos) {
    if (!isLast && byLength + kCheckSumSize > text.size()) return false;
    if (endsByLength(text, byLength, frame)) return true;
  }
  const std::size_t width = widthOf(frame.delimiter);
  std::int32_t dataSize = kNone;
  std::size_t end = findFieldEnd(text, frame.delimiter, 0, dataSize);
  while (end < text.size() && text[end] != '\n') {
    const std::size_t begin = end + width;
    const std::string_view field = text.substr(begin);
    frame.end = begin;
    if (field.starts_with(kMessageStart)) return true;
    end = findFieldEnd(text, frame.delimiter, begin, dataSize);
    if (!field.starts_with("10=") || end == text.size() || text[end] == '\n') continue;
    frame.end = end + width;
    return true;
  }
  frame.end = withoutBlanks(text, end);
  return isLast || end < text.size();
}

bool FixFramer::endsByLength(std::string_view text, std::size_t checkSum,
                             FixFrame& frame) noexcept {
  frame.end = endByLength(text, checkSum, frame.delimiter);
  if (frame.end == text.npos || inVain_ > kMaxInVain) return false;
  if (isOneMessage(text, checkSum, frame.delimiter)) return true;
  inVain_ += checkSum;
  return false;
}

// What has no tag is all value.
inline void FixMessage::readTag(const FixModel& model, FixField& field) const noexcept {
  const std::string_view rest = text_.substr(field.begin);
  Tag tag;
  if (kIsLittle && rest.size() >= sizeof(std::uint64_t)) tag = shortTagOf(wordAt(rest, 0));
  if (tag.size == 0) tag = tagOf(rest);
  field.valueBegin = field.begin;
  if (tag.size == 0) return;
  const FixModel::Field known = model.field(tag.number);
  field.number = tag.number;
  field.row = known.row;
  field.form = known.form;
  field.valueBegin = field.begin + tag.size + 1;
}

// The end of the text when there is none.
inline std::uint32_t FixMessage::findDelimiter(std::uint32_t from, char mark) const noexcept {
  std::size_t at = findByte(text_, from, mark);
  while (delimiter_ == FixDelimiter::Caret && at < text_.size() && !isDelimiter(at)) {
    at = findByte(text_, at + 1, mark);
  }
  return static_cast<std::uint32_t>(at);
}

void FixMessage::parse(const FixModel& model, std::string_view text, FixDelimiter delimiter) {
  text_ = text;
  delimiter_ = delimiter;
  fields_.clear();
  if (text.size() > kMaxFixMessage) return;
  const auto size = static_cast<std::uint32_t>(text.size());
  const auto width = static_cast<std::uint32_t>(widthOf(delimiter));
  const char mark = firstOf(delimiter);
  for (std::uint32_t at = 0; at < size;) {
    // Written where it stays: a copy of what was written piece by piece is slow.
    FixField& field = fields_.emplace_back();
    field.begin = at;
    // From the tag on, which holds no delimiter: to the next field nothing waits for the tag.
    field.end = findDelimiter(at, mark);
    readTag(model, field);
    if (field.form == FixForm::Data) takeData(field);
    at = field.end + width;
  }
}

// Data may hold delimiters; the field before it says how many bytes it has.
void FixMessage::takeData(FixField& field) const {
  if (fields_.size() < 2) return;
  const FixField& before = fields_[fields_.size() - 2];
  if (before.form != FixForm::Length) return;
  const std::int32_t length = fixNumberOf(value(before));
  const std::size_t end = std::size_t{field.valueBegin} + static_cast<std::uint32_t>(length);
  field.hasWrongLength = length < 0 || end > text_.size() || !isDelimiter(end);
  if (!field.hasWrongLength) field.end = static_cast<std::uint32_t>(end);
}

bool FixMessage::isDelimiter(std::size_t at) const noexcept {
  return at == text_.size() || text_.substr(at).starts_with(textOf(delimiter_));
}

std::int64_t FixMessage::length(const FixField& from, const FixField& to) const noexcept {
  const std::int64_t fields = &to - &from;
  const auto extra = static_cast<std::int64_t>(widthOf(delimiter_)) - 1;
  return std::int64_t{to.begin} - std::int64_t{from.begin} - fields * extra;
}

std::int32_t FixMessage::checkSum(const FixField& end) const noexcept {
  std::uint64_t sum = sumOf(text_.substr(0, end.begin));
  if (delimiter_ != FixDelimiter::Soh) {
    const auto fields = static_cast<std::uint64_t>(&end - fields_.data());
    sum += fields - fields * sumOf(textOf(delimiter_));
  }
  return static_cast<std::int32_t>(sum % 256);
}

}  // namespace cpi
