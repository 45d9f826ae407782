#include "cpi/extract/jsontext.h"

#include <unicode/utf16.h>

#include <bit>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>

#include "cpi/runtime/kelstring.h"

namespace cpi {

namespace {

bool isWellFormed(std::u16string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!U16_IS_SURROGATE(text[i])) continue;
    const bool isPair = U16_IS_LEAD(text[i]) && i + 1 < text.size() && U16_IS_TRAIL(text[i + 1]);
    if (!isPair) return false;
    ++i;
  }
  return true;
}

std::string unitArray(std::u16string_view text) {
  std::string array = "[";
  for (const char16_t unit : text) {
    if (array.size() > 1) array += ", ";
    array += std::to_string(static_cast<unsigned>(unit));
  }
  return array + "]";
}

std::string typedValue(std::string_view type, const std::string& value) {
  return "{\"" + std::string(type) + "\": " + value + "}";
}

std::string textJson(const PWFData& value, bool isDecimalPlain) {
  const bool isDecimal = value.getLogicalType() == LTDecimal;
  const char* const type = isDecimal ? "decimal" : "text";
  const unsigned short* const units = value.getStringValue();
  if (units == nullptr) return typedValue(type, "null");
  const std::u16string_view text = textView(units);
  if (!isWellFormed(text)) return typedValue(type, unitArray(text));
  const std::string plain = jsonString(toUtf8(text));
  return isDecimal == isDecimalPlain ? plain : typedValue(type, plain);
}

std::string doubleJson(double value) {
  if (std::isinf(value)) return typedValue("double", value < 0 ? "\"-inf\"" : "\"inf\"");
  char digits[32];
  if (std::isnan(value)) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const double usual = std::numeric_limits<double>::quiet_NaN();
    if (bits == std::bit_cast<std::uint64_t>(usual)) return typedValue("double", "\"nan\"");
    std::snprintf(digits, sizeof digits, "\"%016llx\"", static_cast<unsigned long long>(bits));
    return typedValue("double", digits);
  }
  std::string text(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
  // A point or an exponent is what makes a number a double.
  return text.find_first_of(".e") == std::string::npos ? text + ".0" : text;
}

}  // namespace

std::string jsonString(std::string_view utf8) {
  std::string text = "\"";
  for (const char byte : utf8) {
    if (byte == '"' || byte == '\\') {
      text += '\\';
      text += byte;
    } else if (static_cast<unsigned char>(byte) < ' ') {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned char>(byte));
      text += escape;
    } else {
      text += byte;
    }
  }
  return text + "\"";
}

std::string jsonValue(const PWFData& value, bool isDecimalPlain) {
  const ELogicalType type = value.getLogicalType();
  const bool isText = type == LTString || type == LTDecimal || value.getStringValue() != nullptr;
  if (isText) return textJson(value, isDecimalPlain);
  const PWFData written = value.getDebugString();
  const std::string text = toUtf8(textView(written.getStringValue()));
  if (text.empty()) return typedValue("none", "null");
  switch (type) {
    case LTFloat: return doubleJson(value.getDoubleValue());
    case LTDateTime: return typedValue("dateTime", jsonString(text));
    case LTInterval: return typedValue("interval", jsonString(text));
    default: return text;  // an integer or a boolean
  }
}

}  // namespace cpi
