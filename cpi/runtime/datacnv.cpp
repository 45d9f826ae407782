#include "cpi/runtime/datacnv.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "cpi/runtime/kelstring.h"

namespace cpi {

namespace {

// "YYYY-MM-DDThh:mm:ss.fZ", spelled out so that no code runs before main.
constexpr unsigned short kDateTimeFormat[] = {'Y', 'Y', 'Y', 'Y', '-', 'M', 'M', '-',
                                              'D', 'D', 'T', 'h', 'h', ':', 'm', 'm',
                                              ':', 's', 's', '.', 'f', 'Z', 0};

constexpr std::size_t kQuotedUnits = 64;  // of a refused text, in the message
constexpr std::int32_t kMaximumZoneHours = 14;
constexpr int kMicrosecondDigits = 6;

std::string quoted(std::u16string_view text) {
  const bool isCut = text.size() > kQuotedUnits;
  return "\"" + toUtf8(text.substr(0, kQuotedUnits)) + (isCut ? "\"..." : "\"");
}

// Reads a text from its start to its end; every failure names the place.
class Scanner {
 public:
  Scanner(const char* what, std::u16string_view text) : what_(what), text_(text) {}

  [[noreturn]] void fail(std::size_t offset, const std::string& reason) const {
    throw DataCnvError(std::string(what_) + " " + quoted(text_) + ": " + reason + " at offset " +
                       std::to_string(offset));
  }
  std::size_t offset() const noexcept { return offset_; }
  bool isAtEnd() const noexcept { return offset_ == text_.size(); }
  bool isDigit() const noexcept {
    return !isAtEnd() && text_[offset_] >= u'0' && text_[offset_] <= u'9';
  }
  bool lookingAt(char16_t unit, std::size_t ahead = 0) const noexcept {
    return offset_ + ahead < text_.size() && text_[offset_ + ahead] == unit;
  }
  bool skip(char16_t unit) noexcept {
    if (!lookingAt(unit)) return false;
    ++offset_;
    return true;
  }
  void require(char16_t unit) {
    if (!skip(unit)) fail(offset_, "'" + toUtf8({&unit, 1}) + "' expected");
  }
  void requireEnd(const char* expected) const {
    if (!isAtEnd()) fail(offset_, std::string(expected) + " expected");
  }

  // Any number of digits; `minimumDigits` of them at least.
  std::int32_t number(const char* name, std::size_t minimumDigits) {
    const std::size_t start = offset_;
    std::int64_t value = 0;
    while (isDigit()) {
      value = value * 10 + (text_[offset_++] - u'0');
      if (value > std::numeric_limits<std::int32_t>::max()) {
        fail(start, std::string("the ") + name + " does not fit 32 bits");
      }
    }
    if (offset_ - start < minimumDigits) failDigit(name);
    return static_cast<std::int32_t>(value);
  }
  // Exactly two digits, within bounds.
  std::int32_t twoDigits(const char* name, std::int32_t minimum, std::int32_t maximum) {
    const std::size_t start = offset_;
    std::int32_t value = 0;
    for (int i = 0; i < 2; ++i) {
      if (!isDigit()) failDigit(name);
      value = value * 10 + (text_[offset_++] - u'0');
    }
    if (value < minimum || value > maximum) {
      fail(start, std::string("the ") + name + " must be " + std::to_string(minimum) + " to " +
                      std::to_string(maximum));
    }
    return value;
  }
  // A decimal point with digits behind it, or nothing. Digits beyond microseconds are cut.
  std::int32_t fraction() {
    if (!skip(u'.')) return 0;
    if (!isDigit()) failDigit("fraction");
    std::int32_t value = 0;
    for (int i = 0; i < kMicrosecondDigits; ++i) {
      value = value * 10 + (isDigit() ? text_[offset_++] - u'0' : 0);
    }
    while (isDigit()) ++offset_;
    return value;
  }

 private:
  [[noreturn]] void failDigit(const char* name) const {
    fail(offset_, std::string("a digit of the ") + name + " expected");
  }

  const char* what_;
  std::u16string_view text_;
  std::size_t offset_ = 0;
};

bool isLeapYear(std::int32_t year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

std::int32_t daysIn(std::int32_t year, std::int32_t month) {
  constexpr std::int32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  return month == 2 && isLeapYear(year) ? 29 : kDays[month - 1];
}

void readDate(Scanner& in, PWFDateTime& at) {
  const bool isNegative = in.skip(u'-');
  at.year = in.number("year", 4);
  if (isNegative) at.year = -at.year;
  in.require(u'-');
  at.month = in.twoDigits("month", 1, 12);
  in.require(u'-');
  at.day = in.twoDigits("day", 1, daysIn(at.year, at.month));
}

void readTime(Scanner& in, PWFDateTime& at) {
  const std::size_t start = in.offset();
  at.hour = in.twoDigits("hour", 0, 24);
  in.require(u':');
  at.minute = in.twoDigits("minute", 0, 59);
  in.require(u':');
  at.second = in.twoDigits("second", 0, 59);
  at.microsecond = in.fraction();
  const bool isMidnight = at.minute == 0 && at.second == 0 && at.microsecond == 0;
  if (at.hour == 24 && !isMidnight) in.fail(start, "hour 24 is only valid as 24:00:00");
}

void readZone(Scanner& in, PWFDateTime& at) {
  const bool isWest = in.lookingAt(u'-');
  if (in.isAtEnd()) return;
  at.hasZone = 1;
  if (in.skip(u'Z')) return;
  if (!in.skip(u'+') && !in.skip(u'-')) return;
  const std::size_t start = in.offset();
  const std::int32_t hours = in.twoDigits("zone's hour", 0, kMaximumZoneHours);
  in.require(u':');
  const std::int32_t minutes = hours * 60 + in.twoDigits("zone's minute", 0, 59);
  if (minutes > kMaximumZoneHours * 60) in.fail(start, "a zone is at most 14:00 from UTC");
  at.zoneMinutes = isWest ? -minutes : minutes;
}

struct IntervalUnit {
  char16_t letter;
  std::int32_t PWFInterval::*field;
  std::int32_t factor;
};
constexpr IntervalUnit kDateUnits[] = {{u'Y', &PWFInterval::years, 1},
                                       {u'M', &PWFInterval::months, 1},
                                       {u'W', &PWFInterval::days, 7},
                                       {u'D', &PWFInterval::days, 1}};
constexpr IntervalUnit kTimeUnits[] = {{u'H', &PWFInterval::hours, 1},
                                       {u'M', &PWFInterval::minutes, 1},
                                       {u'S', &PWFInterval::seconds, 1}};

void addUnit(const Scanner& in, std::size_t start, const IntervalUnit& unit, std::int64_t count,
             PWFInterval& span) {
  const std::int64_t sum = span.*unit.field + count * unit.factor;
  if (sum > std::numeric_limits<std::int32_t>::max()) {
    in.fail(start, "the number of days does not fit 32 bits");
  }
  span.*unit.field = static_cast<std::int32_t>(sum);
}

// Reads the units of one half in their order; `expected` names those that may come.
template <std::size_t N>
void readUnits(Scanner& in, const IntervalUnit (&units)[N], const char* expected,
               PWFInterval& span) {
  const IntervalUnit* next = units;
  do {
    const std::size_t start = in.offset();
    const std::int32_t count = in.number("number", 1);
    const bool hasFraction = in.lookingAt(u'.');
    const std::int32_t microseconds = in.fraction();
    next = std::find_if(next, std::end(units),
                        [&](const IntervalUnit& unit) { return in.lookingAt(unit.letter); });
    if (next == std::end(units)) in.fail(in.offset(), expected);
    if (hasFraction && next->letter != u'S') in.fail(start, "only seconds have a fraction");
    addUnit(in, start, *next, count, span);
    span.microseconds = microseconds;
    in.skip(next->letter);
    ++next;
  } while (in.isDigit());
}

std::u16string_view checkedView(const char* what, const unsigned short* text, std::int32_t length) {
  if (text == nullptr) throw DataCnvError(std::string(what) + ": a text was expected, not null");
  if (length < 0) return textView(text);
  return {asChars(text), static_cast<std::size_t>(length)};
}

}  // namespace

const unsigned short* const CPI_STD_DATETIME_FORMAT = kDateTimeFormat;

DataCnvError::~DataCnvError() = default;

DataCnv::DataCnv(std::int32_t, EEndian, EFloatFmt, std::int32_t, const unsigned short*,
                 const unsigned short*, std::int32_t, bool, std::int32_t,
                 const KelLogSource*) noexcept {}

PWFDateTime DataCnv::StrToDateTime(const unsigned short* text, const unsigned short* format,
                                   std::int32_t length) const {
  if (textView(format) != textView(CPI_STD_DATETIME_FORMAT)) {
    throw DataCnvError("unknown date-time format " + quoted(textView(format)) + "; expected " +
                       quoted(textView(CPI_STD_DATETIME_FORMAT)));
  }
  Scanner in("date-time", checkedView("date-time", text, length));
  PWFDateTime at{};
  if (!in.lookingAt(u':', 2)) {
    readDate(in, at);
    if (in.skip(u'T')) readTime(in, at);
  } else {
    readTime(in, at);
  }
  readZone(in, at);
  in.requireEnd("the end or a time zone");
  return at;
}

PWFInterval DataCnv::StrToInterval(const unsigned short* text, std::int32_t length) const {
  Scanner in("interval", checkedView("interval", text, length));
  PWFInterval span{};
  span.isNegative = in.skip(u'-') ? 1 : 0;
  in.require(u'P');
  if (!in.lookingAt(u'T')) readUnits(in, kDateUnits, "Y, M, W or D in this order expected", span);
  if (in.skip(u'T')) readUnits(in, kTimeUnits, "H, M or S in this order expected", span);
  in.requireEnd("the end or T");
  return span;
}

}  // namespace cpi
