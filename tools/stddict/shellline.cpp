#include "tools/stddict/shellline.h"

#include <fmt/core.h>

#include <algorithm>
#include <optional>

#include "cpi/runtime/kelstring.h"

namespace shell {

namespace {

constexpr char16_t kQuote = u'"';

bool isBlank(char16_t unit) { return unit == u' ' || unit == u'\t' || unit == u'\r'; }

std::optional<unsigned> hexDigit(char16_t unit) {
  if (unit >= u'0' && unit <= u'9') return unit - u'0';
  if (unit >= u'a' && unit <= u'f') return unit - u'a' + 10U;
  if (unit >= u'A' && unit <= u'F') return unit - u'A' + 10U;
  return std::nullopt;
}

// Goes through a line from left to right.
class Splitter {
 public:
  explicit Splitter(std::u16string_view line) : line_(line) {}

  std::vector<Word> words() {
    std::vector<Word> words;
    for (skipBlanks(); !isAtEnd() && line_[at_] != u'#'; skipBlanks()) {
      words.push_back(line_[at_] == kQuote ? quoted() : bare());
    }
    return words;
  }

 private:
  bool isAtEnd() const { return at_ == line_.size(); }

  void skipBlanks() {
    while (!isAtEnd() && isBlank(line_[at_])) ++at_;
  }

  [[noreturn]] void refuse(std::size_t place, std::string_view what) const {
    throw LineError(fmt::format("column {}: {}", place + 1, what));
  }

  Word bare() {
    const std::size_t start = at_;
    while (!isAtEnd() && !isBlank(line_[at_])) ++at_;
    return {std::u16string(line_.substr(start, at_ - start)), false};
  }

  Word quoted() {
    const std::size_t start = at_++;
    Word word{{}, true};
    for (;;) {
      if (isAtEnd()) refuse(start, "this quote is not closed");
      const char16_t unit = line_[at_++];
      if (unit == kQuote) break;
      word.text += unit == u'\\' ? escape() : unit;
    }
    if (!isAtEnd() && !isBlank(line_[at_])) refuse(at_, "expected a blank behind the quote");
    return word;
  }

  char16_t escape() {
    constexpr std::u16string_view kLetters = u"\"\\/bfnrt";
    constexpr std::u16string_view kMeanings = u"\"\\/\b\f\n\r\t";
    const std::size_t start = at_ - 1;
    const char16_t letter = isAtEnd() ? u'\0' : line_[at_++];
    if (letter == u'u') return unitEscape(start);
    const std::size_t found = kLetters.find(letter);
    if (found == kLetters.npos) refuse(start, R"(expected one of \" \\ \/ \b \f \n \r \t \uXXXX)");
    return kMeanings[found];
  }

  char16_t unitEscape(std::size_t start) {
    constexpr std::size_t kDigits = 4;
    unsigned unit = 0;
    for (std::size_t i = 0; i < kDigits; ++i) {
      const auto digit = isAtEnd() ? std::nullopt : hexDigit(line_[at_++]);
      if (!digit) refuse(start, "expected four hexadecimal digits behind \\u");
      unit = unit * 16 + *digit;
    }
    if (unit == 0) refuse(start, "a text cannot hold \\u0000, which ends it");
    return static_cast<char16_t>(unit);
  }

  std::u16string_view line_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<Word> splitLine(std::string_view line) {
  if (line.size() > kLineLimit) {
    throw LineError(fmt::format("the line is longer than {} bytes", kLineLimit));
  }
  if (line.find('\0') != line.npos) throw LineError("the line holds a NUL");
  const std::u16string units = cpi::toUtf16(line);
  // Ill-formed bytes were replaced and do not come back.
  if (cpi::toUtf8(units) != line) throw LineError("the line is not UTF-8");
  return Splitter(units).words();
}

bool readLine(std::istream& input, std::string& line) {
  line.clear();
  std::streambuf& buffer = *input.rdbuf();
  constexpr int kEnd = std::char_traits<char>::eof();
  int byte = buffer.sbumpc();
  if (byte == kEnd) return false;
  for (; byte != kEnd && byte != '\n'; byte = buffer.sbumpc()) {
    if (line.size() <= kLineLimit) line += static_cast<char>(byte);
  }
  return true;
}

}  // namespace shell
