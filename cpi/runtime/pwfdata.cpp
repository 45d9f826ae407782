#include "cpi/runtime/pwfdata.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>
#include <string>
#include <string_view>

#include "cpi/runtime/kelexception.h"

namespace cpi {

namespace {

// Room for every written form: a date-time of nine 32-bit fields is the longest.
constexpr std::size_t kWrittenUnits = 160;
constexpr std::size_t kNumberUnits = 400;  // longer texts are no number that anyone writes

[[noreturn]] void fail(const char* operation, const char* message, const PWFData& value) {
  throwParserError(nullptr, {"cpi/runtime/pwfdata", __LINE__, operation}, CP_DICTIONARY_ERROR,
                   message, {KelStringBase(value.getDebugString().getStringValue())});
}

// A text of ASCII characters, gathered in place.
class Writer {
 public:
  void put(const char* text) { print("%s", text); }
  template <class... Arguments>
  void print(const char* format, Arguments... arguments) {
    const int written =
        std::snprintf(text_ + length_, sizeof text_ - length_, format, arguments...);
    length_ += static_cast<std::size_t>(written);
  }
  void shortest(double value) {
    length_ =
        static_cast<std::size_t>(std::to_chars(text_, text_ + sizeof text_, value).ptr - text_);
  }
  // A decimal point and the microseconds without the zeros at their end; nothing for 0.
  void fraction(std::int32_t microsecond) {
    if (microsecond == 0) return;
    print(".%06d", microsecond);
    while (text_[length_ - 1] == '0') --length_;
  }
  PWFData value() const {
    unsigned short units[kWrittenUnits];
    for (std::size_t i = 0; i < length_; ++i) units[i] = static_cast<unsigned char>(text_[i]);
    return PWFData(units, static_cast<std::int32_t>(length_), LTString, EOCopy);
  }

 private:
  char text_[kWrittenUnits];
  std::size_t length_ = 0;
};

void writeZone(Writer& out, std::int32_t zoneMinutes) {
  if (zoneMinutes == 0) return out.put("Z");
  const std::int64_t size = std::abs(std::int64_t{zoneMinutes});
  out.print("%c%02lld:%02lld", zoneMinutes < 0 ? '-' : '+', static_cast<long long>(size / 60),
            static_cast<long long>(size % 60));
}

// A time alone has no date: neither a month nor a day is ever 0 in a full date-time.
PWFData writeDateTime(const PWFDateTime& at) {
  Writer out;
  if (at.year != 0 || at.month != 0 || at.day != 0) {
    const long long year = std::abs(std::int64_t{at.year});
    out.print("%s%04lld-%02d-%02dT", at.year < 0 ? "-" : "", year, at.month, at.day);
  }
  out.print("%02d:%02d:%02d", at.hour, at.minute, at.second);
  out.fraction(at.microsecond);
  if (at.hasZone != 0) writeZone(out, at.zoneMinutes);
  return out.value();
}

void writeUnit(Writer& out, std::int32_t count, char unit) {
  if (count != 0) out.print("%d%c", count, unit);
}

PWFData writeInterval(const PWFInterval& span) {
  Writer out;
  out.put(span.isNegative != 0 ? "-P" : "P");
  writeUnit(out, span.years, 'Y');
  writeUnit(out, span.months, 'M');
  writeUnit(out, span.days, 'D');
  const bool hasSeconds = span.seconds != 0 || span.microseconds != 0;
  const bool hasTime = span.hours != 0 || span.minutes != 0 || hasSeconds;
  const bool isEmpty = !hasTime && span.years == 0 && span.months == 0 && span.days == 0;
  if (hasTime || isEmpty) out.put("T");
  writeUnit(out, span.hours, 'H');
  writeUnit(out, span.minutes, 'M');
  if (hasSeconds || isEmpty) {
    out.print("%d", span.seconds);
    out.fraction(span.microseconds);
    out.put("S");
  }
  return out.value();
}

// Reads the whole text as a number: decimal digits with a sign, for a double also a point and an
// exponent. Spaces, names of numbers and other notations are refused.
template <class Number>
std::errc parseNumber(std::u16string_view text, Number& number) {
  constexpr std::u16string_view kAdmitted =
      std::is_integral_v<Number> ? u"+-0123456789" : u"+-0123456789.eE";
  if (text.empty() || text.size() > kNumberUnits) return std::errc::invalid_argument;
  if (text.find_first_not_of(kAdmitted) != text.npos) return std::errc::invalid_argument;
  char digits[kNumberUnits];
  for (std::size_t i = 0; i < text.size(); ++i) digits[i] = static_cast<char>(text[i]);
  const char* const end = digits + text.size();
  const bool hasPlus = digits[0] == '+' && text.size() > 1 && text[1] != u'-';
  const auto result = std::from_chars(hasPlus ? digits + 1 : digits, end, number);
  if (result.ec != std::errc()) return result.ec;
  return result.ptr == end ? std::errc() : std::errc::invalid_argument;
}

template <class Number>
Number numberOfText(const char* operation, const PWFData& value) {
  Number number = 0;
  const std::errc error = parseNumber(textView(value.getStringValue()), number);
  if (error == std::errc::result_out_of_range) fail(operation, "the number does not fit", value);
  if (error != std::errc()) fail(operation, "the text is no decimal number", value);
  return number;
}

}  // namespace

// A text whose length is given may lack a terminator, so that only a copy of it can be handed out.
PWFData::PWFData(const unsigned short* text, std::int32_t length, ELogicalType logicalType,
                 EOwnership ownership)
    : logicalType_(logicalType), value_(Reference(nullptr)) {
  if (text == nullptr) return;
  if (length >= 0) {
    value_ = KelStringBase(std::u16string_view(asChars(text), static_cast<std::size_t>(length)));
  } else if (ownership == EOReference) {
    value_ = text;
  } else {
    value_ = KelStringBase(text);
  }
}

PWFData::PWFData(double value) noexcept : logicalType_(LTFloat), value_(value) {}
PWFData::PWFData(const PWFDateTime& value) noexcept : logicalType_(LTDateTime), value_(value) {}
PWFData::PWFData(const PWFInterval& value) noexcept : logicalType_(LTInterval), value_(value) {}

const unsigned short* PWFData::getStringValue() const noexcept {
  if (const Reference* const text = std::get_if<Reference>(&value_)) return *text;
  const KelStringBase* const text = std::get_if<KelStringBase>(&value_);
  return text == nullptr ? nullptr : text->getText();
}

std::int32_t PWFData::getInt32Value() const {
  constexpr const char* kOperation = "PWFData::getInt32Value";
  const std::int64_t number = getInt64Value();
  const auto narrow = static_cast<std::int32_t>(number);
  if (narrow != number) fail(kOperation, "the number does not fit 32 bits", *this);
  return narrow;
}

std::int64_t PWFData::getInt64Value() const {
  constexpr const char* kOperation = "PWFData::getInt64Value";
  constexpr double kLimit = 9223372036854775808.0;  // 2^63
  if (const std::int64_t* const number = std::get_if<std::int64_t>(&value_)) {
    if (isUnsigned_ && *number < 0) fail(kOperation, "the number does not fit", *this);
    return *number;
  }
  if (const bool* const flag = std::get_if<bool>(&value_)) return *flag ? 1 : 0;
  if (const double* const number = std::get_if<double>(&value_)) {
    const bool fits = *number >= -kLimit && *number < kLimit && std::trunc(*number) == *number;
    if (!fits) fail(kOperation, "the number is no 64-bit integer", *this);
    return static_cast<std::int64_t>(*number);
  }
  if (getStringValue() != nullptr) return numberOfText<std::int64_t>(kOperation, *this);
  fail(kOperation, "the value is no number", *this);
}

double PWFData::getDoubleValue() const {
  constexpr const char* kOperation = "PWFData::getDoubleValue";
  if (const double* const number = std::get_if<double>(&value_)) return *number;
  if (const std::int64_t* const number = std::get_if<std::int64_t>(&value_)) {
    if (isUnsigned_) return static_cast<double>(static_cast<std::uint64_t>(*number));
    return static_cast<double>(*number);
  }
  if (const bool* const flag = std::get_if<bool>(&value_)) return *flag ? 1 : 0;
  if (getStringValue() != nullptr) return numberOfText<double>(kOperation, *this);
  fail(kOperation, "the value is no number", *this);
}

bool PWFData::getBooleanValue() const noexcept {
  const bool* const flag = std::get_if<bool>(&value_);
  return flag != nullptr && *flag;
}

PWFData PWFData::getDebugString() const {
  if (const KelStringBase* const text = std::get_if<KelStringBase>(&value_)) {
    return PWFData(text->getText(), -1, LTString, EOCopy);
  }
  if (const PWFDateTime* const value = getDateTimeValue()) return writeDateTime(*value);
  if (const PWFInterval* const value = getIntervalValue()) return writeInterval(*value);
  if (const unsigned short* const text = getStringValue()) {
    return PWFData(text, -1, LTString, EOCopy);
  }
  Writer out;
  if (const std::int64_t* const number = std::get_if<std::int64_t>(&value_)) {
    const auto bits = static_cast<long long>(*number);
    isUnsigned_ ? out.print("%llu", static_cast<unsigned long long>(bits))
                : out.print("%lld", bits);
  } else if (const double* const real = std::get_if<double>(&value_)) {
    out.shortest(*real);
  } else if (const bool* const flag = std::get_if<bool>(&value_)) {
    out.put(*flag ? "true" : "false");
  }
  return out.value();
}

}  // namespace cpi
