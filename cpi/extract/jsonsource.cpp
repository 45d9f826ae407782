#include "cpi/extract/jsonsource.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace cpi {

namespace {

constexpr std::size_t kBytesPerUnit = 6;  // the longest escape of one code unit
constexpr std::size_t kNumberBytes = 1024;
constexpr std::size_t kPlainBytes = 1000;

bool isSpace(char byte) { return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r'; }

bool isStructural(char byte) {
  return std::string_view("{}[],:").find(byte) != std::string_view::npos;
}

bool isNumberStart(char byte) { return byte == '-' || (byte >= '0' && byte <= '9'); }

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

bool isCharacterStart(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

// Reads plain values where they lie. No function goes beyond the end; what stands there is not
// plain.
class PlainReader {
 public:
  PlainReader(const char* next, const char* end, FilePosition here)
      : next_(next), end_(end), here_(here) {}

  const char* next() const { return next_; }
  FilePosition here() const { return here_; }
  bool isAt(char byte) const { return next_ != end_ && *next_ == byte; }

  void skipSpaces() {
    for (; next_ != end_ && isSpace(*next_); ++next_) {
      ++here_.column;
      if (*next_ == '\n') here_ = {here_.line + 1, 1};
    }
  }
  bool skip(char byte) {
    if (!isAt(byte)) return false;
    moveTo(next_ + 1);
    return true;
  }
  bool read(JsonSource::PlainValue& value) {
    using enum JsonSource::PlainKind;
    value.place = here_;
    value.kind = isAt('"') ? Text : isAt('n') ? Null : Number;
    switch (value.kind) {
      case Text: return readText(value.text);
      case Null: return readNull();
      default: return readNumber(value.number);
    }
  }

 private:
  void moveTo(const char* place) {
    here_.column += static_cast<decltype(here_.column)>(place - next_);
    next_ = place;
  }
  bool readText(std::string_view& text) {
    const char* const first = next_ + 1;
    const char* const last = first + std::min<std::ptrdiff_t>(end_ - first, kPlainBytes);
    const char* quote = first;
    while (quote != last && *quote >= ' ' && *quote <= '~' && *quote != '"' && *quote != '\\') {
      ++quote;
    }
    if (quote == last || *quote != '"') return false;
    text = {first, static_cast<std::size_t>(quote - first)};
    moveTo(quote + 1);
    return true;
  }
  bool readNull() {
    if (!std::string_view(next_, end_).starts_with("null")) return false;
    moveTo(next_ + 4);
    return true;
  }
  bool readNumber(std::int64_t& number) {
    constexpr std::ptrdiff_t kDigits = 18;
    const bool isNegative = isAt('-');
    const char* const first = next_ + (isNegative ? 1 : 0);
    const char* digit = first;
    number = 0;
    for (; digit != end_ && isDigit(*digit) && digit - first < kDigits; ++digit) {
      number = number * 10 + (*digit - '0');
    }
    const std::ptrdiff_t digits = digit - first;
    const bool isLonger = digits == kDigits && digit != end_ && isDigit(*digit);
    const bool isOdd = digits > 0 && *first == '0' && (digits > 1 || isNegative);
    if (digits == 0 || isLonger || isOdd) return false;
    if (isNegative) number = -number;
    moveTo(digit);
    return true;
  }

  const char* next_;
  const char* end_;
  FilePosition here_;
};

}  // namespace

bool JsonSource::takePlain(PlainValue& value) {
  if (end_ - next_ < 2 * kPlainBytes) refillBehind();
  PlainReader reader(chunk_.data() + next_, chunk_.data() + end_, here_);
  reader.skipSpaces();
  if (!reader.read(value)) return false;
  reader.skipSpaces();
  const FilePosition comma = reader.here();
  if (!reader.skip(',')) return false;
  reader.skipSpaces();
  const bool isNextInView = reader.next() != chunk_.data() + end_;
  if (!isNextInView || reader.isAt(']') || reader.isAt('\0')) return false;
  const auto bytes = static_cast<std::size_t>(reader.next() - chunk_.data()) - next_;
  const std::size_t literalBytes = value.kind == PlainKind::Null ? literalBytes_ + bytes : 0;
  if (literalBytes > options_.maximumLiteralBytes) return false;
  next_ = static_cast<std::size_t>(reader.next() - chunk_.data());
  here_ = reader.here();
  scalar_ = value.place;
  structural_ = comma;
  isScalarLast_ = false;
  literalBytes_ = literalBytes;
  return true;
}

// Reads on behind the bytes that are left, so that no value is cut.
void JsonSource::refillBehind() {
  if (!stream_.good()) return;
  const bool isEmpty = next_ == end_;
  std::memmove(chunk_.data(), chunk_.data() + next_, end_ - next_);
  end_ -= next_;
  next_ = 0;
  stream_.read(chunk_.data() + end_, static_cast<std::streamsize>(chunk_.size() - end_));
  if (stream_.bad()) throw FileError(fileName_, here_, "the file cannot be read");
  end_ += static_cast<std::size_t>(stream_.gcount());
  if (isEmpty && end_ != 0) checkByte(chunk_[0]);
}

bool JsonSource::refill() {
  if (stream_.bad()) throw FileError(fileName_, here_, "the file cannot be read");
  stream_.read(chunk_.data(), static_cast<std::streamsize>(chunk_.size()));
  if (stream_.bad()) throw FileError(fileName_, here_, "the file cannot be read");
  next_ = 0;
  end_ = static_cast<std::size_t>(stream_.gcount());
  if (end_ == 0) return false;
  checkByte(chunk_[0]);
  return true;
}

// The parser would take a zero byte for the end of the file.
void JsonSource::checkByte(char byte) const {
  if (byte == '\0') throw FileError(fileName_, here_, "a zero byte", "JSON text");
}

void JsonSource::advance() {
  const char byte = chunk_[next_];
  follow(byte);
  step(byte);
  const bool isGap = !isInString_ && isSpace(byte);
  while (isGap && !isAtEnd() && isSpace(current())) step(current());
  if (next_ != end_) checkByte(chunk_[next_]);
}

void JsonSource::step(char byte) {
  ++next_;
  if (byte == '\n') {
    ++here_.line;
    here_.column = 1;
  } else if (isCharacterStart(byte)) {
    ++here_.column;
  }
}

void JsonSource::follow(char byte) {
  if (isInString_) return followString(byte);
  if (byte == '"') {
    isInString_ = true;
    return beginScalar(true);
  }
  if (isSpace(byte) || isStructural(byte)) {
    isInWord_ = false;
    isInNumber_ = false;
  } else if (!isInWord_) {
    isInWord_ = true;
    isInNumber_ = isNumberStart(byte);
    beginScalar(isInNumber_);
  }
  if (isStructural(byte)) {
    isScalarLast_ = false;
    structural_ = here_;
  }
  if (isInWord_) countToken();
  if (!isInNumber_) countLiteral();
}

void JsonSource::countLiteral() {
  if (++literalBytes_ <= options_.maximumLiteralBytes) return;
  throw FileError(fileName_, here_,
                  "more than " + std::to_string(options_.maximumLiteralBytes) +
                      " bytes of null, true and false in a row",
                  "a new column, with its \"row\"");
}

void JsonSource::followString(char byte) {
  countToken();  // the closing quote too is one of the text
  if (isEscaped_) {
    isEscaped_ = false;
  } else if (byte == '\\') {
    isEscaped_ = true;
  } else if (byte == '"') {
    isInString_ = false;
    isInWord_ = false;
  }
}

void JsonSource::beginScalar(bool isKeptAnew) {
  isScalarLast_ = true;
  scalar_ = here_;
  tokenBytes_ = 0;
  if (isKeptAnew) literalBytes_ = 0;
}

void JsonSource::countToken() {
  const std::size_t limit =
      isInString_ ? options_.maximumTextUnits * kBytesPerUnit + kNumberBytes : kNumberBytes;
  if (++tokenBytes_ > limit) {
    throw FileError(fileName_, scalar_, isInString_ ? "a longer text" : "a longer word or number",
                    "at most " + std::to_string(limit) + " bytes");
  }
}

}  // namespace cpi
