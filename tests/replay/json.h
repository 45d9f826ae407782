// JSON as the vectors use it: texts are sequences of UTF-16 code units, lone surrogates included.
//
// A JSON library takes only well-formed Unicode, so surrogate escapes are replaced, unit by unit,
// by code points of a private range before a line is parsed. Texts of the library are brought into
// the same form, and the two can be compared as plain JSON strings.
#ifndef TESTS_REPLAY_JSON_H
#define TESTS_REPLAY_JSON_H

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "cpi/runtime/kelstring.h"

namespace cpi::replay {

using Json = nlohmann::ordered_json;

// A vector that is not of the format. what() says what was expected.
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Parses one line. Throws InputError.
Json parseLine(std::string_view line);

std::u16string toUnits(const Json& text);
Json fromUnits(std::u16string_view units);
Json fromText(const unsigned short* text);  // null for null
inline Json fromText(const KelStringBase& text) { return fromUnits(text.view()); }
inline Json fromUtf8(std::string_view text) { return fromUnits(toUtf16(text)); }

// A text or null of a vector, kept alive for a call.
class Text {
 public:
  explicit Text(const Json& value) {
    if (!value.is_null()) units_ = toUnits(value);
  }
  const unsigned short* units() const noexcept {
    return units_ ? asUnits(units_->c_str()) : nullptr;
  }

 private:
  std::optional<std::u16string> units_;
};

// The positional arguments of an operation; element 0 is its name.
class Arguments {
 public:
  explicit Arguments(const Json& list) : list_(list) {}

  std::int32_t number(std::size_t i) const { return list_.at(i).get<std::int32_t>(); }
  bool flag(std::size_t i) const { return list_.at(i).get<bool>(); }
  Text text(std::size_t i) const { return Text(list_.at(i)); }
  KelStringBase space(std::size_t i) const { return KelStringBase(text(i).units()); }
  const Json& at(std::size_t i) const { return list_.at(i); }
  std::size_t size() const { return list_.size(); }

 private:
  const Json& list_;
};

// The first place at which two values differ.
struct Difference {
  std::string path;
  std::string expected;
  std::string got;
};
std::optional<Difference> firstDifference(const Json& expected, const Json& got,
                                          const std::string& path);
// One line of pure ASCII, cut when it is long.
std::string printable(const Json& value);

}  // namespace cpi::replay

#endif  // TESTS_REPLAY_JSON_H
