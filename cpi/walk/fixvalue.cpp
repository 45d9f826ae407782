#include "cpi/walk/fixvalue.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace cpi {

namespace {

struct FormRow {
  std::u16string_view typeName;
  FixForm form;
};

// Those that are not text.
constexpr FormRow kForms[] = {
    {u"AMT", FixForm::Decimal},
    {u"BOOLEAN", FixForm::Boolean},
    {u"CHAR", FixForm::Character},
    {u"DATA", FixForm::Data},
    {u"DATE", FixForm::Date},
    {u"DAYOFMONTH", FixForm::Count},
    {u"FLOAT", FixForm::Decimal},
    {u"INT", FixForm::Integer},
    {u"LENGTH", FixForm::Length},
    {u"LOCALMKTDATE", FixForm::Date},
    {u"LOCALMKTTIME", FixForm::Time},
    {u"MONTHYEAR", FixForm::MonthYear},
    {u"MULTIPLECHARVALUE", FixForm::List},
    {u"MULTIPLESTRINGVALUE", FixForm::List},
    {u"MULTIPLEVALUESTRING", FixForm::List},
    {u"NUMINGROUP", FixForm::Count},
    {u"PERCENTAGE", FixForm::Decimal},
    {u"PRICE", FixForm::Decimal},
    {u"PRICEOFFSET", FixForm::Decimal},
    {u"QTY", FixForm::Decimal},
    {u"SEQNUM", FixForm::Count},
    {u"TAGNUM", FixForm::Count},
    {u"TIME", FixForm::Timestamp},  // until FIX 4.1
    {u"TZTIMEONLY", FixForm::ZonedTime},
    {u"TZTIMESTAMP", FixForm::ZonedTimestamp},
    {u"UTCDATE", FixForm::Date},
    {u"UTCDATEONLY", FixForm::Date},
    {u"UTCTIMEONLY", FixForm::Time},
    {u"UTCTIMESTAMP", FixForm::Timestamp},
    {u"XMLDATA", FixForm::Data},
};

bool isDigit(char unit) noexcept { return unit >= '0' && unit <= '9'; }

// Takes parts off the front of a value; each says whether it was there.
class ValueReader {
 public:
  explicit ValueReader(std::string_view rest) noexcept : rest_(rest) {}

  bool isAtEnd() const noexcept { return rest_.empty(); }

  bool take(char unit) noexcept {
    if (!rest_.starts_with(unit)) return false;
    rest_.remove_prefix(1);
    return true;
  }
  // At least one digit.
  bool digits() noexcept {
    std::size_t count = 0;
    while (count < rest_.size() && isDigit(rest_[count])) ++count;
    rest_.remove_prefix(count);
    return count > 0;
  }
  bool number(std::size_t width, int least, int most) noexcept {
    if (rest_.size() < width) return false;
    int value = 0;
    for (std::size_t i = 0; i < width; ++i) {
      if (!isDigit(rest_[i])) return false;
      value = value * 10 + (rest_[i] - '0');
    }
    rest_.remove_prefix(width);
    return value >= least && value <= most;
  }
  bool date() noexcept { return number(4, 0, 9999) && number(2, 1, 12) && number(2, 1, 31); }
  bool hourAndMinute() noexcept { return number(2, 0, 23) && take(':') && number(2, 0, 59); }
  // 60 is a leap second.
  bool second() noexcept {
    if (!take(':') || !number(2, 0, 60)) return false;
    return !take('.') || digits();
  }
  bool time() noexcept { return hourAndMinute() && second(); }
  bool zonedTime() noexcept {
    if (!hourAndMinute()) return false;
    if (rest_.starts_with(':') && !second()) return false;
    if (isAtEnd() || take('Z')) return true;
    if (!take('+') && !take('-')) return false;
    return number(2, 0, 14) && (!take(':') || number(2, 0, 59));
  }
  bool decimal() noexcept {
    take('-');
    const bool hasWhole = digits();
    const bool hasFraction = take('.') && digits();
    return hasWhole || hasFraction;
  }
  bool monthYear() noexcept {
    if (!number(4, 0, 9999) || !number(2, 1, 12)) return false;
    if (isAtEnd()) return true;
    return take('w') ? number(1, 1, 5) : number(2, 1, 31);
  }

 private:
  std::string_view rest_;
};

}  // namespace

FixForm fixFormOf(std::u16string_view typeName) noexcept {
  const auto row = std::ranges::find(kForms, typeName, &FormRow::typeName);
  return row == std::end(kForms) ? FixForm::Text : row->form;
}

bool hasFixForm(std::string_view value, FixForm form) noexcept {
  ValueReader reader(value);
  bool isGood = true;
  switch (form) {
    case FixForm::Text:
    case FixForm::List:
    case FixForm::Data: return true;
    case FixForm::Character: return value.size() == 1;
    case FixForm::Boolean: return value == "Y" || value == "N";
    case FixForm::Integer:
      reader.take('-');
      isGood = reader.digits();
      break;
    case FixForm::Count:
    case FixForm::Length: isGood = reader.digits(); break;
    case FixForm::Decimal: isGood = reader.decimal(); break;
    case FixForm::Date: isGood = reader.date(); break;
    case FixForm::Time: isGood = reader.time(); break;
    case FixForm::Timestamp: isGood = reader.date() && reader.take('-') && reader.time(); break;
    case FixForm::ZonedTime: isGood = reader.zonedTime(); break;
    case FixForm::ZonedTimestamp:
      isGood = reader.date() && reader.take('-') && reader.zonedTime();
      break;
    case FixForm::MonthYear: isGood = reader.monthYear(); break;
  }
  return isGood && reader.isAtEnd();
}

std::int32_t fixNumberOf(std::string_view digits) noexcept {
  if (digits.empty() || digits.size() > 9) return -1;
  std::int32_t number = 0;
  for (const char digit : digits) {
    if (!isDigit(digit)) return -1;
    number = number * 10 + (digit - '0');
  }
  return number;
}

void FixValueSet::add(std::string value) {
  if (value.size() == 1) {
    characters_[static_cast<unsigned char>(value.front())] = true;
  } else {
    sorted_.push_back(value);
  }
  values_.push_back(std::move(value));
}

void FixValueSet::sort() { std::ranges::sort(sorted_); }

bool FixValueSet::contains(std::string_view value) const noexcept {
  if (value.size() == 1) return characters_[static_cast<unsigned char>(value.front())];
  return std::ranges::binary_search(sorted_, value);
}

}  // namespace cpi
