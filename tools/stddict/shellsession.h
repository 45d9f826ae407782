// Doing what a line says.
#ifndef TOOLS_STDDICT_SHELLSESSION_H
#define TOOLS_STDDICT_SHELLSESSION_H

#include <string_view>
#include <vector>

#include "tools/stddict/shellline.h"
#include "tools/stddict/shelloperation.h"

namespace shell {

// The rows with this very name, and those with this in their name, whatever its case.
std::vector<const Operation*> operationsNamed(std::string_view name);
std::vector<const Operation*> operationsLike(std::string_view part);

// Performs a line and tells the outcome, whatever it is; nothing for an empty line or a comment.
std::optional<LineOutcome> performLine(Session& session, std::size_t number, std::string_view line);

}  // namespace shell

#endif  // TOOLS_STDDICT_SHELLSESSION_H
