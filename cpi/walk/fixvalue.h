// The values of FIX fields: the forms that value types prescribe, and sets of values.
//
// Thread rule: `const` means safe to share.
#ifndef CPI_WALK_FIXVALUE_H
#define CPI_WALK_FIXVALUE_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace cpi {

// What a value looks like.
enum class FixForm : std::uint8_t {
  Text,
  Character,       // one byte
  Integer,         // digits, perhaps behind '-'
  Count,           // digits
  Length,          // digits; of a Data field behind it, if one follows
  Decimal,         // digits with at most one '.', perhaps behind '-'
  Boolean,         // Y or N
  Date,            // YYYYMMDD
  Time,            // HH:MM:SS, perhaps with a fraction
  Timestamp,       // date '-' time
  ZonedTime,       // HH:MM, perhaps with seconds, fraction and an offset from UTC
  ZonedTimestamp,  // date '-' zoned time
  MonthYear,       // YYYYMM, perhaps with a day or a week
  List,            // texts with a space between
  Data,            // any bytes, as many as the field before it says
};

// The form of the value type with this name; Text for one that is not known.
FixForm fixFormOf(std::u16string_view typeName) noexcept;

// Whether a value that is not empty has a form.
bool hasFixForm(std::string_view value, FixForm form) noexcept;

// A number of at most nine digits; -1 for anything else.
std::int32_t fixNumberOf(std::string_view digits) noexcept;

// The values of one value set, to be asked for at each field.
class FixValueSet {
 public:
  void add(std::string value);
  // To be called when all were added.
  void sort();
  bool contains(std::string_view value) const noexcept;
  // In their order in the dictionary.
  const std::vector<std::string>& values() const noexcept { return values_; }

 private:
  std::array<bool, 256> characters_{};  // values of one byte, which most are
  std::vector<std::string> values_;
  std::vector<std::string> sorted_;  // the longer ones
};

}  // namespace cpi

#endif  // CPI_WALK_FIXVALUE_H
