// What operations give back and write, as JSON values: one toJson for each type.
//
// Texts are kept in UTF-8 in which a lone surrogate is encoded like any other code point, so that
// nothing is lost; they are to be written by written() of shellprint.h alone.
#ifndef TOOLS_STDDICT_SHELLVALUES_H
#define TOOLS_STDDICT_SHELLVALUES_H

#include <string_view>
#include <type_traits>
#include <vector>

#include "cpi/dictinfo/stddi/expectation.h"
#include "tools/stddict/shellrecords.h"

namespace shell {

using Dictionary = cpi::StdDictionaryInfo;

Json textJson(std::u16string_view text);
Json textJson(const unsigned short* text);  // null for null
// {"type": code, "value": ...}; date-times, intervals and decimals are texts.
Json valueJson(const cpi::PWFData& value);
Json positionJson(const cpi::DictionaryPosition& position);

template <class Code>
requires std::is_arithmetic_v<Code> || std::is_enum_v<Code> Json toJson(const Dictionary&,
                                                                        Code code) {
  if constexpr (std::is_enum_v<Code>) {
    return static_cast<std::int32_t>(code);
  } else {
    return code;
  }
}
template <class Record>
requires std::is_class_v<Record> Json toJson(const Dictionary& dictionary, const Record* record) {
  return recordJson(dictionary, record);
}
// There is one dictionary, or none.
Json toJson(const Dictionary&, const Dictionary* other);
Json toJson(const Dictionary&, std::u16string_view text);
Json toJson(const Dictionary&, const cpi::KelStringBase& text);
Json toJson(const Dictionary&, const unsigned short* text);
Json toJson(const Dictionary&, const cpi::PWFData& value);
Json toJson(const Dictionary&, const cpi::DictionaryPosition* position);
Json toJson(const Dictionary&, const std::vector<std::int32_t>& path);
Json toJson(const Dictionary&, const std::vector<cpi::MbrPathItem>& path);
// {"elements": [...], "owed": [...]}, each with its groups.
Json toJson(const Dictionary& dictionary, const cpi::Expectation& expectation);
// A place in the Member Path table: its row and the first ids from there on.
Json toJson(const Dictionary& dictionary, const std::int32_t* list);

}  // namespace shell

#endif  // TOOLS_STDDICT_SHELLVALUES_H
