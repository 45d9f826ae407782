// Records of the dictionary's tables as JSON objects.
#ifndef TOOLS_STDDICT_SHELLRECORDS_H
#define TOOLS_STDDICT_SHELLRECORDS_H

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "cpi/dictinfo/stddi/schema.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace shell {

using Json = nlohmann::ordered_json;

// The tables in slot order, each under the name of its accessor.
inline constexpr std::tuple kTables = {
    &cpi::StdDictionaryInfo::identification, &cpi::StdDictionaryInfo::project,
    &cpi::StdDictionaryInfo::dependencies,   &cpi::StdDictionaryInfo::wireFormats,
    &cpi::StdDictionaryInfo::tags,           &cpi::StdDictionaryInfo::typeMembers,
    &cpi::StdDictionaryInfo::types,          &cpi::StdDictionaryInfo::pathBasedInfo,
    &cpi::StdDictionaryInfo::memberPath,     &cpi::StdDictionaryInfo::valueSet,
    &cpi::StdDictionaryInfo::values,         &cpi::StdDictionaryInfo::memberIdIndex,
    &cpi::StdDictionaryInfo::namespaces};
inline constexpr std::string_view kTableNames[cpi::kTableCount] = {
    "identification", "project",       "dependencies",  "wireFormats", "tags",
    "typeMembers",    "types",         "pathBasedInfo", "memberPath",  "valueSet",
    "values",         "memberIdIndex", "namespaces"};
static_assert(std::tuple_size_v<decltype(kTables)> == cpi::kTableCount);

template <std::size_t N>
const auto& tableAt(const cpi::StdDictionaryInfo& dictionary) {
  return (dictionary.*std::get<N>(kTables))();
}

template <std::size_t N>
using RecordAt = typename std::remove_cvref_t<decltype(tableAt<N>(
    std::declval<cpi::StdDictionaryInfo&>()))>::Row;

// The slot of the table that holds a kind of record.
template <class Record, std::size_t N = 0>
constexpr std::size_t slotOf() {
  if constexpr (std::is_same_v<RecordAt<N>, Record>) {
    return N;
  } else {
    return slotOf<Record, N + 1>();
  }
}

// {"row": ..., and the fields under their names}. Class letters are texts, as in dictionary files.
// `text` is the field that the string table holds.
Json fieldsJson(std::size_t slot, std::int32_t row, const void* record, const unsigned short* text);
Json valueRowJson(const cpi::StdDictionaryInfo& dictionary, std::int32_t row);

// A row of the table in slot N; null when there is no such row.
template <std::size_t N>
Json rowJson(const cpi::StdDictionaryInfo& dictionary, std::int32_t row) {
  const auto& table = tableAt<N>(dictionary);
  if (!table.contains(row)) return nullptr;
  if constexpr (std::is_same_v<RecordAt<N>, cpi::SMD_VALUE_DEFINITION>) {
    return valueRowJson(dictionary, row);
  } else {
    return fieldsJson(N, row, &table.row(row), table.text(row));
  }
}

// A record that the dictionary handed out; null for null.
template <class Record>
Json recordJson(const cpi::StdDictionaryInfo& dictionary, const Record* record) {
  constexpr std::size_t kSlot = slotOf<Record>();
  if (record == nullptr) return nullptr;
  const Record* const first = tableAt<kSlot>(dictionary).records();
  return rowJson<kSlot>(dictionary, static_cast<std::int32_t>(record - first));
}

}  // namespace shell

#endif  // TOOLS_STDDICT_SHELLRECORDS_H
