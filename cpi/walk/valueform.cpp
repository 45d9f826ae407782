#include "cpi/walk/valueform.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <limits>

#include "cpi/dictinfo/stddi/records.h"

namespace cpi {
namespace {

bool takeDigits(std::string_view& text, std::string_view& digits) {
  const auto end =
      std::find_if(text.begin(), text.end(), [](char c) { return c < '0' || c > '9'; });
  digits = text.substr(0, static_cast<std::size_t>(end - text.begin()));
  text.remove_prefix(digits.size());
  return !digits.empty();
}

bool isHexDigit(char unit) { return (unit >= '0' && unit <= '9') || (unit >= 'a' && unit <= 'f'); }

bool makeHexKey(std::string_view text, std::string& key) {
  key.clear();
  std::ranges::transform(text, std::back_inserter(key), [](char unit) {
    return unit >= 'A' && unit <= 'F' ? static_cast<char>(unit - 'A' + 'a') : unit;
  });
  return key.size() % 2 == 0 && std::ranges::all_of(key, isHexDigit);
}

// Bits of the last digit that belong to no byte are 0.
bool makeBase64Key(std::string_view text, std::string& key) {
  constexpr std::string_view kDigits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  key.clear();
  std::ranges::copy_if(text, std::back_inserter(key), [](char unit) { return unit != ' '; });
  const std::size_t count = std::min(key.find('='), key.size());
  const std::size_t padding = key.size() - count;
  const bool isDigits =
      std::string_view(key).substr(0, count).find_first_not_of(kDigits) == key.npos;
  const bool isPadded = key.find_first_not_of('=', count) == key.npos && padding <= 2;
  if (key.size() % 4 != 0 || !isDigits || !isPadded) return false;
  return padding == 0 || kDigits.find(key[count - 1]) % (padding == 1 ? 4 : 16) == 0;
}

bool makeTextKey(ValueForm form, std::string_view collapsed, std::string& key) {
  if (form == ValueForm::Hex) return makeHexKey(collapsed, key);
  if (form == ValueForm::Base64) return makeBase64Key(collapsed, key);
  key = collapsed;
  return true;
}

}  // namespace

bool isSpace(char unit) noexcept {
  return unit == ' ' || unit == '\t' || unit == '\n' || unit == '\r';
}

void collapse(std::string_view text, std::string& out) {
  out.clear();
  bool isGap = false;
  for (const char unit : text) {
    if (isSpace(unit)) {
      isGap = true;
      continue;
    }
    if (isGap && !out.empty()) out += ' ';
    isGap = false;
    out += unit;
  }
}

bool canonicalDecimal(std::string_view text, bool isInteger, std::string& out) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) text.remove_prefix(1);
  std::string_view whole;
  std::string_view fraction;
  bool hasDigits = takeDigits(text, whole);
  if (!isInteger && text.starts_with('.')) {
    text.remove_prefix(1);
    hasDigits = takeDigits(text, fraction) || hasDigits;
  }
  if (!text.empty() || !hasDigits) return false;
  whole.remove_prefix(std::min(whole.find_first_not_of('0'), whole.size()));
  fraction = fraction.substr(0, fraction.find_last_not_of('0') + 1);
  out.assign(isNegative && !(whole.empty() && fraction.empty()) ? "-" : "");
  out.append(whole.empty() ? "0" : whole);
  if (!fraction.empty()) out.append(".").append(fraction);
  return true;
}

int compareDecimals(std::string_view left, std::string_view right) {
  const bool isNegative = left.starts_with('-');
  if (isNegative != right.starts_with('-')) return isNegative ? -1 : 1;
  if (isNegative) {
    left.remove_prefix(1);
    right.remove_prefix(1);
  }
  const std::size_t leftWhole = std::min(left.find('.'), left.size());
  const std::size_t rightWhole = std::min(right.find('.'), right.size());
  const int order = leftWhole == rightWhole ? left.compare(right) : leftWhole < rightWhole ? -1 : 1;
  return isNegative ? -order : order;
}

ValueForm formOf(std::u16string_view builtIn) noexcept {
  if (builtIn == u"QName" || builtIn == u"NOTATION") return ValueForm::Name;
  if (builtIn == u"hexBinary") return ValueForm::Hex;
  if (builtIn == u"base64Binary") return ValueForm::Base64;
  return builtIn == u"float" ? ValueForm::Single : ValueForm::Plain;
}

std::optional<double> floatOf(std::string_view text, ValueForm form) {
  if (text == "INF") return std::numeric_limits<double>::infinity();
  if (text == "-INF") return -std::numeric_limits<double>::infinity();
  if (text == "NaN") return std::numeric_limits<double>::quiet_NaN();
  if (text.starts_with('+')) text.remove_prefix(1);
  if (text.find_first_not_of("0123456789.eE+-") != text.npos) return std::nullopt;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size() || error == std::errc::invalid_argument) return std::nullopt;
  if (error == std::errc::result_out_of_range)
    value = std::strtod(std::string(text).c_str(), nullptr);
  return form == ValueForm::Single ? static_cast<double>(static_cast<float>(value)) : value;
}

std::string floatText(double value) {
  if (std::isnan(value)) return "NaN";
  if (std::isinf(value)) return value < 0 ? "-INF" : "INF";
  return fmt::format("{}", value == 0 ? 0 : value);
}

bool makeKey(std::int32_t logicalType, ValueForm form, std::string_view collapsed,
             std::string& key) {
  switch (logicalType) {
    case LTInteger: return canonicalDecimal(collapsed, true, key);
    case LTDecimal: return canonicalDecimal(collapsed, false, key);
    case LTBoolean: {
      const bool isTrue = collapsed == "true" || collapsed == "1";
      key = isTrue ? "1" : "0";
      return isTrue || collapsed == "false" || collapsed == "0";
    }
    case LTFloat: {
      const std::optional<double> value = floatOf(collapsed, form);
      if (value) key = floatText(*value);
      return value.has_value();
    }
    default: return makeTextKey(form, collapsed, key);
  }
}

bool isNumeric(std::int32_t logicalType) {
  return logicalType == LTInteger || logicalType == LTDecimal || logicalType == LTFloat ||
         logicalType == LTBoolean;
}

std::int64_t characters(std::string_view text) {
  return std::count_if(text.begin(), text.end(),
                       [](char unit) { return (static_cast<unsigned char>(unit) & 0xC0) != 0x80; });
}

}  // namespace cpi
