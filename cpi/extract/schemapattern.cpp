#include "cpi/extract/schemapattern.h"

#include <unicode/regex.h>

#include <algorithm>
#include <cstdint>
#include <utility>

namespace cpi {
namespace {

constexpr std::size_t kMaxPattern = 65'536;
constexpr std::size_t kMaxValue = 65'536;
constexpr std::int32_t kTimeLimit = 5;  // ticks of 10,000 steps
constexpr std::int32_t kStackLimit = 1'000'000;
constexpr int kMaxFailures = 16;
constexpr int kMaxNested = 64;

// Letters, digits and the others of which names consist, some too many rather than one too few.
constexpr std::u16string_view kNameStart =
    u":_A-Za-z\\u00C0-\\u02FF\\u0370-\\u1FFF\\u200C\\u200D\\u2070-\\u218F\\u2C00-\\u2FEF"
    u"\\u3001-\\uD7FF\\uF900-\\uFFFD\\U00010000-\\U000EFFFF";
constexpr std::u16string_view kNameMore = u"\\-.0-9\\u00B7\\u0300-\\u036F\\u203F\\u2040";
constexpr std::u16string_view kSpaces = u"\\u0020\\t\\n\\r";

bool isAsciiLetterOrDigit(char16_t unit) {
  return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'Z') ||
         (unit >= u'a' && unit <= u'z');
}

bool isPunctuation(char16_t unit) {
  return unit >= u' ' && unit < 0x7F && !isAsciiLetterOrDigit(unit);
}

std::u16string setOf(std::u16string_view what, bool isNot = false) {
  return (isNot ? u"[^" : u"[") + std::u16string(what) + u"]";
}

// Goes through a pattern once. Functions that meet a form without a like set hasFailed_.
class Translator {
 public:
  explicit Translator(std::u16string_view text) : text_(text) {}

  std::optional<std::u16string> translate() {
    while (!isAtEnd() && !hasFailed_) piece();
    return hasFailed_ ? std::nullopt : std::optional(std::move(out_));
  }

 private:
  bool isAtEnd() const { return at_ == text_.size(); }
  char16_t peek(std::size_t ahead = 0) const {
    return at_ + ahead < text_.size() ? text_[at_ + ahead] : u'\0';
  }
  char16_t take() {
    if (isAtEnd()) hasFailed_ = true;
    return isAtEnd() ? u'\0' : text_[at_++];
  }

  void piece() {
    const char16_t unit = take();
    const bool wasQuantifier = std::exchange(isQuantifier_, false);
    switch (unit) {
      case u'\\': out_ += escape(); return;
      case u'[': out_ += set(0); return;
      case u'.': out_ += u"[^\\n\\r]"; return;
      case u'(':
        out_ += u"(?:";
        hasFailed_ = hasFailed_ || peek() == u'?';
        return;
      case u'^':
      case u'$': out_ += {u'\\', unit}; return;
      case u'?':
      case u'*':
      case u'+':
        hasFailed_ = hasFailed_ || wasQuantifier;  // ICU has a meaning for two
        isQuantifier_ = true;
        break;
      case u'}': isQuantifier_ = true; break;
      default: break;
    }
    out_ += unit;
  }

  // What follows a backslash.
  std::u16string escape() {
    isSingle_ = false;
    const char16_t unit = take();
    switch (unit) {
      case u'd': return u"\\p{Nd}";
      case u'D': return u"\\P{Nd}";
      case u's': return setOf(kSpaces);
      case u'S': return setOf(kSpaces, true);
      case u'w': return setOf(u"\\p{P}\\p{Z}\\p{C}", true);
      case u'W': return setOf(u"\\p{P}\\p{Z}\\p{C}");
      case u'i': return setOf(kNameStart);
      case u'c': return setOf(std::u16string(kNameStart) + std::u16string(kNameMore));
      case u'p':
      case u'P': return property(unit);
      default: break;
    }
    isSingle_ = true;
    const bool isKnown = unit == u'n' || unit == u'r' || unit == u't' || isPunctuation(unit);
    hasFailed_ = hasFailed_ || !isKnown;
    return {u'\\', unit};
  }

  // \p{L}, or \p{IsBasicLatin} for a block.
  std::u16string property(char16_t letter) {
    const std::size_t end = text_.find(u'}', at_);
    if (take() != u'{' || end == text_.npos) {
      hasFailed_ = true;
      return {};
    }
    std::u16string name(text_.substr(at_, end - at_));
    at_ = end + 1;
    if (name.starts_with(u"Is")) name.replace(0, 2, u"Block=");
    return std::u16string{u'\\', letter, u'{'} + name + u'}';
  }

  // What follows a '[', the ']' included.
  std::u16string set(int depth) {
    std::u16string members = peek() == u'^' ? std::u16string{take()} : std::u16string();
    bool isRangeBegin = false;
    while (!hasFailed_ && peek() != u']') {
      const char16_t unit = take();
      if (unit == u'-' && peek() == u'[' && depth < kMaxNested) {
        take();
        members = u"[" + members + u"]--" + set(depth + 1);
        hasFailed_ = hasFailed_ || peek() != u']';
        break;
      }
      const bool isRange = unit == u'-' && isRangeBegin && peek() != u']';
      isRangeBegin = false;
      if (isRange) {
        members += u'-' + member(take());
        hasFailed_ = hasFailed_ || !isSingle_;
      } else {
        members += member(unit);
        isRangeBegin = isSingle_;
      }
    }
    take();
    return setOf(members);
  }

  std::u16string member(char16_t unit) {
    if (unit == u'\\') return escape();
    isSingle_ = true;
    hasFailed_ = hasFailed_ || unit == u'[';
    return isPunctuation(unit) ? std::u16string{u'\\', unit} : std::u16string{unit};
  }

  std::u16string_view text_;
  std::u16string out_;
  std::size_t at_ = 0;
  bool isQuantifier_ = false;  // the last unit ended one
  bool isSingle_ = false;      // the last escape or member of a set was one character
  bool hasFailed_ = false;
};

icu::UnicodeString aliasOf(std::u16string_view text) {
  return {false, text.data(), static_cast<std::int32_t>(text.size())};
}

}  // namespace

std::optional<std::u16string> icuPatternOf(std::u16string_view pattern) {
  if (pattern.size() > kMaxPattern) return std::nullopt;
  return Translator(pattern).translate();
}

struct SchemaPattern::Matcher {
  explicit Matcher(const std::u16string& pattern, UErrorCode& status)
      : regex(icu::UnicodeString(pattern.data(), static_cast<std::int32_t>(pattern.size())), 0,
              status) {
    regex.setTimeLimit(kTimeLimit, status);
    regex.setStackLimit(kStackLimit, status);
  }
  icu::RegexMatcher regex;
  int failures = 0;
};

SchemaPattern::SchemaPattern(std::u16string_view pattern) {
  const std::optional<std::u16string> translated = icuPatternOf(pattern);
  if (!translated) return;
  UErrorCode status = U_ZERO_ERROR;
  matcher_ = std::make_unique<Matcher>(*translated, status);
  if (U_FAILURE(status)) matcher_.reset();
}

SchemaPattern::~SchemaPattern() = default;
SchemaPattern::SchemaPattern(SchemaPattern&&) noexcept = default;
SchemaPattern& SchemaPattern::operator=(SchemaPattern&&) noexcept = default;

bool SchemaPattern::admits(std::u16string_view value) {
  if (matcher_ == nullptr || value.size() > kMaxValue) return true;
  const icu::UnicodeString text = aliasOf(value);
  UErrorCode status = U_ZERO_ERROR;
  matcher_->regex.reset(text);
  const bool isMatch = matcher_->regex.matches(status) != 0;
  if (U_SUCCESS(status)) return isMatch;
  if (++matcher_->failures == kMaxFailures) matcher_.reset();
  return true;
}

}  // namespace cpi
