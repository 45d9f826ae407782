// A finding as JSON: the same object in every report that speaks JSON.
#ifndef TOOLS_STDDICT_FINDINGJSON_H
#define TOOLS_STDDICT_FINDINGJSON_H

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/walk/verdict.h"

using WalkJson = nlohmann::ordered_json;

WalkJson toJson(const cpi::Finding& finding, const cpi::StdDictionaryInfo& dictionary);
WalkJson toJson(const std::vector<cpi::GroupStep>& groups,
                const cpi::StdDictionaryInfo& dictionary);
// One line without its end; what is no UTF-8 is replaced, as file names need not be.
std::string toLine(const WalkJson& json);

#endif  // TOOLS_STDDICT_FINDINGJSON_H
