#include "json.h"

#include <algorithm>

namespace cpi::replay {
namespace {

constexpr char16_t kSurrogates = 0xD800;  // the first of 0x800 surrogate code units
constexpr std::size_t kEscapeLength = 6;  // of \uXXXX
constexpr std::size_t kPrintedLength = 400;

bool isSurrogate(char16_t unit) { return (unit & 0xF800) == kSurrogates; }

// What stands for a surrogate: the pairs DBFC DC00 to DBFD DFFF.
std::u16string standIn(char16_t unit) {
  return {static_cast<char16_t>(0xDBFC | (unit >> 10 & 1)),
          static_cast<char16_t>(0xDC00 | (unit & 0x3FF))};
}

// The surrogate that the escape at the front of `text` names.
std::optional<char16_t> escapedSurrogate(std::string_view text) {
  if (text.size() < kEscapeLength || text[1] != 'u') return std::nullopt;
  const std::string digits(text.substr(2, 4));
  char* end = nullptr;
  const unsigned long unit = std::strtoul(digits.c_str(), &end, 16);
  if (*end != '\0' || !isSurrogate(static_cast<char16_t>(unit))) return std::nullopt;
  return static_cast<char16_t>(unit);
}

// Replaces every surrogate escape by its stand-in.
std::string shieldSurrogates(std::string_view line) {
  std::string out;
  out.reserve(line.size());
  for (std::size_t i = 0; i < line.size();) {
    if (line[i] != '\\') {
      out += line[i++];
    } else if (const auto unit = escapedSurrogate(line.substr(i))) {
      out += toUtf8(standIn(*unit));
      i += kEscapeLength;
    } else {
      out += line.substr(i, 2);
      i += 2;
    }
  }
  return out;
}

std::optional<Difference> differenceOfObjects(const Json& expected, const Json& got,
                                              const std::string& path) {
  for (const auto& [key, value] : expected.items()) {
    const std::string below = path.empty() ? key : path + "." + key;
    const auto found = got.find(key);
    if (found == got.end()) return Difference{below, printable(value), "(absent)"};
    if (auto difference = firstDifference(value, *found, below)) return difference;
  }
  for (const auto& [key, value] : got.items()) {
    if (!expected.contains(key)) return Difference{path + "." + key, "(absent)", printable(value)};
  }
  return std::nullopt;
}

std::optional<Difference> differenceOfArrays(const Json& expected, const Json& got,
                                             const std::string& path) {
  const std::size_t common = std::min(expected.size(), got.size());
  for (std::size_t i = 0; i < common; ++i) {
    const std::string below = path + "[" + std::to_string(i) + "]";
    if (auto difference = firstDifference(expected[i], got[i], below)) return difference;
  }
  if (expected.size() == got.size()) return std::nullopt;
  return Difference{path, std::to_string(expected.size()) + " items: " + printable(expected),
                    std::to_string(got.size()) + " items: " + printable(got)};
}

}  // namespace

Json parseLine(std::string_view line) {
  try {
    return Json::parse(shieldSurrogates(line));
  } catch (const Json::parse_error& error) {
    throw InputError("expected a JSON object, found an error near byte " +
                     std::to_string(error.byte) + ": " + error.what());
  }
}

std::u16string toUnits(const Json& text) {
  const std::u16string plain = toUtf16(text.get_ref<const std::string&>());
  std::u16string units;
  units.reserve(plain.size());
  for (std::size_t i = 0; i < plain.size(); ++i) {
    const bool isStandIn = (plain[i] & 0xFFFE) == 0xDBFC && i + 1 < plain.size();
    if (!isStandIn) {
      units += plain[i];
      continue;
    }
    units += static_cast<char16_t>(kSurrogates | (plain[i] & 1) << 10 | (plain[i + 1] & 0x3FF));
    ++i;
  }
  return units;
}

Json fromUnits(std::u16string_view units) {
  std::u16string plain;
  plain.reserve(units.size());
  for (const char16_t unit : units) {
    if (isSurrogate(unit)) plain += standIn(unit);
    else plain += unit;
  }
  return toUtf8(plain);
}

Json fromText(const unsigned short* text) {
  return text == nullptr ? Json() : fromUnits(textView(text));
}

std::optional<Difference> firstDifference(const Json& expected, const Json& got,
                                          const std::string& path) {
  if (expected.is_object() && got.is_object()) return differenceOfObjects(expected, got, path);
  if (expected.is_array() && got.is_array()) return differenceOfArrays(expected, got, path);
  if (expected == got) return std::nullopt;
  return Difference{path, printable(expected), printable(got)};
}

std::string printable(const Json& value) {
  std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
  if (text.size() > kPrintedLength) text = text.substr(0, kPrintedLength) + "...";
  return text;
}

}  // namespace cpi::replay
