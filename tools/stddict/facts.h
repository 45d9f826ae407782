// Facts about a dictionary in the one form that all questions are answered in: JSON, printed as
// it is for programs, or laid out for people.
#ifndef TOOLS_STDDICT_FACTS_H
#define TOOLS_STDDICT_FACTS_H

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>

#include "tools/stddict/terminal.h"

// Objects keep the order in which they were filled, which is the order of the printed lines.
using Json = nlohmann::ordered_json;

// Forms that are laid out in one word: "name (id)" and "0..*". A negative `maxOccurs` is unbounded:
// a null "max".
Json reference(std::int32_t id, const std::string& name);
Json range(std::int32_t minOccurs, std::int32_t maxOccurs);

// A line of JSON.
void printJson(const Json& facts);

// What is laid out, and how much of it.
struct Layout {
  Style style;
  std::size_t indent = 0;
  std::size_t limit = 20;  // entries of a list; what is beyond is counted; 0: all
};

// Objects as labelled lines, lists of objects as tables. Nothing is printed of what is null or
// empty.
void printFacts(const Json& object, const Layout& layout);

#endif  // TOOLS_STDDICT_FACTS_H
