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

#include <string>
#include <string_view>

#include "cpi/runtime/fihandler.h"

namespace cpi::test {

void feedText(FIHandler& handler, std::string_view events);

// Feeds the text and returns what() of the exception that stops it, or "" when none does.
std::string errorOf(FIHandler& handler, std::string_view events);

}  // namespace cpi::test

#endif  // STDDI_TESTS_CORE_SUPPORT_EVENTTEXT_H
