// PWFData: one typed value, as the parser hands it to a dictionary and gets it back.
//
// A value is text, a 64-bit integer, a double, a boolean, a date-time, an interval or a decimal
// held as its text. Thread rule: one thread at a time.
#ifndef CPI_RUNTIME_PWFDATA_H
#define CPI_RUNTIME_PWFDATA_H

#include <concepts>
#include <cstdint>
#include <variant>

#include "cpi/runtime/export.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

// The kinds of typed value. The type of a dictionary may carry any code; only these have a value.
enum ELogicalType : std::int32_t {
  LTUndefined = -1,
  LTString = 2,
  LTInteger = 4,
  LTFloat = 6,
  LTBoolean = 12,
  LTInterval = 14,
  LTDateTime = 15,
  LTDecimal = 16,
};

// Who owns the text that a value is made from.
enum EOwnership : std::int32_t {
  EOCopy = 0,       // the value takes a copy
  EOReference = 2,  // the value refers to the caller's text, which must outlive it and its copies
};

// A point in time: the fields of the written form, with its zone when it had one.
struct PWFDateTime {
  std::int32_t year;  // proleptic Gregorian; may be negative
  std::int32_t month;
  std::int32_t day;
  std::int32_t hour;
  std::int32_t minute;
  std::int32_t second;
  std::int32_t microsecond;
  std::int32_t zoneMinutes;  // east of UTC; meaningful when hasZone is not 0
  std::int32_t hasZone;

  friend bool operator==(const PWFDateTime&, const PWFDateTime&) = default;
};

// A duration: months and smaller units are kept apart, for no fixed factor joins them.
struct PWFInterval {
  std::int32_t isNegative;
  std::int32_t years;
  std::int32_t months;
  std::int32_t days;
  std::int32_t hours;
  std::int32_t minutes;
  std::int32_t seconds;
  std::int32_t microseconds;

  friend bool operator==(const PWFInterval&, const PWFInterval&) = default;
};

class CPI_API PWFData {
 public:
  // A value without kind: LTUndefined.
  PWFData() noexcept = default;
  // A text or decimal value. `length` counts code units; -1 means up to the terminator. Only a text
  // given with -1 is referred to; one with a length is copied, for it may lack a terminator. A null
  // text stays null.
  PWFData(const unsigned short* text, std::int32_t length, ELogicalType logicalType,
          EOwnership ownership);
  template <Char16 C>
  PWFData(const C* text, std::int32_t length, ELogicalType logicalType, EOwnership ownership)
      : PWFData(asUnits(text), length, logicalType, ownership) {}
  // An integer value. `isUnsigned` says that the 64 bits are to be read without a sign.
  PWFData(std::int64_t value, bool isUnsigned) noexcept
      : logicalType_(LTInteger), isUnsigned_(isUnsigned), value_(value) {}
  explicit PWFData(double value) noexcept;
  // Exactly a bool: a pointer would convert to one.
  template <std::same_as<bool> Flag>
  explicit PWFData(Flag value) noexcept : logicalType_(LTBoolean), value_(value) {}
  explicit PWFData(const PWFDateTime& value) noexcept;
  explicit PWFData(const PWFInterval& value) noexcept;

  ELogicalType getLogicalType() const noexcept { return logicalType_; }

  // The text of a text or decimal value, null when it has none or is of another kind. Valid while
  // this value lives (EOCopy) or while the caller's text does (EOReference).
  const unsigned short* getStringValue() const noexcept;
  // The number of an integer, boolean or floating-point value; a text or decimal value is read as
  // a decimal number: a sign, digits and, for a double, a point and an exponent. Throws
  // KelParserException (CP_DICTIONARY_ERROR) when the value is of another kind, is no number (for
  // the integers: no whole number) or does not fit.
  std::int32_t getInt32Value() const;
  std::int64_t getInt64Value() const;
  double getDoubleValue() const;
  // The number of an integer value that is at home in 64 bits with a sign; null for others.
  const std::int64_t* getSignedValue() const noexcept {
    const std::int64_t* const number = std::get_if<std::int64_t>(&value_);
    return number != nullptr && isUnsigned_ && *number < 0 ? nullptr : number;
  }
  // False unless the value is a true boolean.
  bool getBooleanValue() const noexcept;
  // Null when the value is of another kind.
  const PWFDateTime* getDateTimeValue() const noexcept { return std::get_if<PWFDateTime>(&value_); }
  const PWFInterval* getIntervalValue() const noexcept { return std::get_if<PWFInterval>(&value_); }
  // The value as readable text: a text value (kind LTString) that owns its text. Texts and decimals
  // stay as they are, numbers are written in decimal (a double in the fewest digits that read back
  // to it), flags as true or false, date-times and intervals as in ISO 8601, nothing as the empty
  // text. Throws std::bad_alloc.
  PWFData getDebugString() const;

 private:
  using Reference = const unsigned short*;

  ELogicalType logicalType_ = LTUndefined;
  bool isUnsigned_ = false;
  std::variant<std::monostate, Reference, KelStringBase, std::int64_t, double, bool, PWFDateTime,
               PWFInterval>
      value_;
};

}  // namespace cpi

#endif  // CPI_RUNTIME_PWFDATA_H
