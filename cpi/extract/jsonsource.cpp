#include "cpi/extract/jsonsource.h"

#include <string_view>

namespace cpi {

namespace {

constexpr std::size_t kBytesPerUnit = 6;  // the longest escape of one code unit
constexpr std::size_t kNumberBytes = 1024;

bool isSpace(char byte) { return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r'; }

bool isStructural(char byte) {
  return std::string_view("{}[],:").find(byte) != std::string_view::npos;
}

bool isNumberStart(char byte) { return byte == '-' || (byte >= '0' && byte <= '9'); }

bool isCharacterStart(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

}  // namespace

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
  if (isEscaped_) {
    isEscaped_ = false;
  } else if (byte == '\\') {
    isEscaped_ = true;
  } else if (byte == '"') {
    isInString_ = false;
    isInWord_ = false;
  }
  countToken();
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
