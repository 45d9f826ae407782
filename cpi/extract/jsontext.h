// Values as the text extract writes them.
#ifndef CPI_EXTRACT_JSONTEXT_H
#define CPI_EXTRACT_JSONTEXT_H

#include <string>
#include <string_view>

#include "cpi/runtime/pwfdata.h"

namespace cpi {

// A JSON string of UTF-8 text.
std::string jsonString(std::string_view utf8);
// A value: as plain JSON where that reads back as the same value, else as a typed value. In a
// column of decimals (`isDecimalPlain`) a plain string is a decimal, elsewhere a text.
std::string jsonValue(const PWFData& value, bool isDecimalPlain);

}  // namespace cpi

#endif  // CPI_EXTRACT_JSONTEXT_H
