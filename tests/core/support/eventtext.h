// Event streams as one line of text, legal and broken ones alike:
//
//   1000{ 100002:0=Set 100008:0=#8 } 2{ 201:0=#1 202:0=Order } ;
//
// `N{` starts a section, `}` ends the innermost one, `}N` sends the end of element N whatever is
// open. `C:R=V` is a field item: start of column C at row R, the value, end of C. `C:R` starts an
// item without value or end, `=V` sends a bare value. `#123` is an integer, `~` a null text, `%1.5`
// a double, anything else up to the next space a text ('+' stands for a space). `(` is
// startMessage, `)` is endMessage.
#ifndef STDDI_TESTS_CORE_SUPPORT_EVENTTEXT_H
#define STDDI_TESTS_CORE_SUPPORT_EVENTTEXT_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "cpi/dictinfo/dictionaryinfo.h"

namespace cpi::test {

void feedText(FIHandler& handler, std::string_view events);

// Feeds the text and returns what() of the exception that stops it, or "" when none does.
std::string errorOf(FIHandler& handler, std::string_view events);

// Cells of a section, put in any order, as event text.
class SectionText {
 public:
  void put(std::int32_t column, std::int32_t row, const std::string& text);
  void put(std::int32_t column, std::int32_t row, std::int32_t number) {
    put(column, row, "#" + std::to_string(number));
  }
  // The section with all cells, column by column: the first column sizes the table. Empties it.
  std::string take(std::int32_t section);

 private:
  std::map<std::int32_t, std::string> cells_;
};

// The contents report of a dictionary, with what() of the exception that ended it, if one did.
std::string reportOf(const DictionaryInfo& dictionary);

}  // namespace cpi::test

#endif  // STDDI_TESTS_CORE_SUPPORT_EVENTTEXT_H
