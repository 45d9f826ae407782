#include "cpi/walk/valueform.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <cmath>
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

std::optional<double> floatOf(std::string_view text) {
  if (text == "INF") return std::numeric_limits<double>::infinity();
  if (text == "-INF") return -std::numeric_limits<double>::infinity();
  if (text == "NaN") return std::numeric_limits<double>::quiet_NaN();
  if (text.starts_with('+')) text.remove_prefix(1);
  if (text.find_first_not_of("0123456789.eE+-") != text.npos) return std::nullopt;
  double value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end != text.data() + text.size() || error == std::errc::invalid_argument) return std::nullopt;
  return value;
}

std::string floatText(double value) {
  return std::isnan(value) ? "NaN" : fmt::format("{:.9g}", value);
}

bool makeKey(std::int32_t logicalType, std::string_view collapsed, std::string& key) {
  switch (logicalType) {
    case LTInteger: return canonicalDecimal(collapsed, true, key);
    case LTDecimal: return canonicalDecimal(collapsed, false, key);
    case LTBoolean: {
      const bool isTrue = collapsed == "true" || collapsed == "1";
      key = isTrue ? "1" : "0";
      return isTrue || collapsed == "false" || collapsed == "0";
    }
    case LTFloat: {
      const std::optional<double> value = floatOf(collapsed);
      if (value) key = floatText(*value);
      return value.has_value();
    }
    default: key = collapsed; return true;
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
