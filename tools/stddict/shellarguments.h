// From the words of a line to the arguments of an operation.
#ifndef TOOLS_STDDICT_SHELLARGUMENTS_H
#define TOOLS_STDDICT_SHELLARGUMENTS_H

#include <span>
#include <vector>

#include "tools/stddict/shellline.h"
#include "tools/stddict/shelloperation.h"

namespace shell {

// The row of this name that takes so many arguments. Throws LineError when there is none.
const Operation& chooseOperation(const std::string& name, std::size_t count);
// One argument for each word. Throws LineError for a word of another kind than the row asks for.
std::vector<Argument> readArguments(const Operation& operation, std::span<const Word> words);

}  // namespace shell

#endif  // TOOLS_STDDICT_SHELLARGUMENTS_H
