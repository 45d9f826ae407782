// The path of an element in a message, as `--path` takes it: /NAME[N]/{NAMESPACE}NAME...
#ifndef TOOLS_STDDICT_MESSAGEPATH_H
#define TOOLS_STDDICT_MESSAGEPATH_H

#include <cstdint>
#include <string>
#include <vector>

#include "tools/stddict/definitions.h"

struct MessageStep {
  Query query;
  std::int32_t occurrence = 1;
  std::string text;  // as it was written
};

// The steps of a path, at least one. Throws std::invalid_argument, which tells the column.
std::vector<MessageStep> readMessagePath(const std::string& text);

#endif  // TOOLS_STDDICT_MESSAGEPATH_H
