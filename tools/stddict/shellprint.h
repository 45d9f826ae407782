// How the outcome of a line is written: as text for people, or as a JSON line for programs.
#ifndef TOOLS_STDDICT_SHELLPRINT_H
#define TOOLS_STDDICT_SHELLPRINT_H

#include <string>
#include <string_view>

#include "tools/stddict/shelloperation.h"

namespace shell {

// A value of shellvalues.h in JSON syntax, on one line and without control characters. Keys are
// in quotes where programs read them.
std::string written(const Json& value, bool hasQuotedKeys);
// A line as it was typed, without what a terminal would obey.
std::string printable(std::string_view line);

// The outcome of a line, its line end included.
std::string textReport(const LineOutcome& outcome, const Dictionary& dictionary);
std::string jsonReport(const LineOutcome& outcome);

}  // namespace shell

#endif  // TOOLS_STDDICT_SHELLPRINT_H
