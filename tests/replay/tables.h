// The thirteen tables as JSON, in the form of the vectors.
#ifndef TESTS_REPLAY_TABLES_H
#define TESTS_REPLAY_TABLES_H

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "json.h"

namespace cpi::replay {

// {table: [row, ...]} with all tables and all fields.
Json tablesJson(const StdDictionaryInfo& dictionary);
// Expected tables with the texts of date-times and intervals brought into the form of the above.
Json expectedTables(Json tables);

// The value of a kind: text, decimal digits, "0x" and the bits of a double, a flag, the readable
// form of a date-time or interval, or null.
Json valueJson(const PWFData& value);
// An expected value of a kind in the same form.
Json expectedValue(std::int32_t kind, const Json& value);

// {table: [property, ...]} for every table that has properties beside its text column.
Json namedPropertiesJson(const StdDictionaryInfo& dictionary);
// {table: {rowCount, bufferSize, bufferUsed}} of the text columns that `wanted` names.
Json textColumnsJson(const StdDictionaryInfo& dictionary, const Json& wanted);

// The row that a pointer to a record names: null for null, a text when it points elsewhere.
template <class Record>
Json rowNumber(const TableReference<Record>& table, const void* record) {
  if (record == nullptr) return nullptr;
  const auto* const first = reinterpret_cast<const unsigned char*>(table.records());
  const auto* const place = static_cast<const unsigned char*>(record);
  for (std::int32_t row = 0; row < table.rowCount(); ++row) {
    if (place == first + static_cast<std::size_t>(row) * sizeof(Record)) return row;
  }
  return "a pointer to no row";
}

}  // namespace cpi::replay

#endif  // TESTS_REPLAY_TABLES_H
