// What values look like: the lexical forms of the logical types. Texts are UTF-8.
#ifndef CPI_WALK_VALUEFORM_H
#define CPI_WALK_VALUEFORM_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace cpi {

bool isSpace(char unit) noexcept;
// White space in one place is one space, and none at the ends.
void collapse(std::string_view text, std::string& out);
// The number of characters.
std::int64_t characters(std::string_view text);

// The texts, and the numbers, of which equal values look in a way of their own.
enum class ValueForm : std::uint8_t {
  Plain,   // by the logical type alone
  Name,    // a qualified name: what its prefix stands for is not known here
  Hex,     // hexBinary
  Base64,  // base64Binary
  Single,  // a number of single precision
};
// Of values of the built-in type with this name.
ValueForm formOf(std::u16string_view builtIn) noexcept;

// The one form that equal decimal numbers share; false when it is no number. `text` is collapsed,
// as in the functions below.
bool canonicalDecimal(std::string_view text, bool isInteger, std::string& out);
// Below, equal to or above 0, as the first of two such forms is.
int compareDecimals(std::string_view left, std::string_view right);
// Rounded as its type does.
std::optional<double> floatOf(std::string_view text, ValueForm form);
// What equal floating-point numbers share.
std::string floatText(double value);
// What equal values of a logical type share; false when the text is no value of it.
bool makeKey(std::int32_t logicalType, ValueForm form, std::string_view collapsed,
             std::string& key);
bool isNumeric(std::int32_t logicalType);

}  // namespace cpi

#endif  // CPI_WALK_VALUEFORM_H
