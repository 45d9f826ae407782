// LookupIndex: what a dictionary derives from its finished tables to answer faster.
//
// Everything here gives exactly the rows of the plain algorithm, which a dictionary without an
// index still runs. Thread rule: never changes once built, safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_LOOKUPINDEX_H
#define CPI_DICTINFO_STDDI_QUERY_LOOKUPINDEX_H

#include <cstdint>
#include <optional>
#include <string_view>

#include "cpi/dictinfo/stddi/query/nameindex.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

// A name as look-ups compare it: without its trailing spaces.
inline std::u16string_view trimmedName(std::u16string_view text) noexcept {
  const std::size_t last = text.find_last_not_of(u' ');
  return text.substr(0, last == std::u16string_view::npos ? 0 : last + 1);
}

// The trimmed name of a row of Tags or Types; nothing for a row without text.
template <class Record>
auto trimmedNames(const TableReference<Record>& table) noexcept {
  return [&table](std::int32_t row) -> std::optional<std::u16string_view> {
    const unsigned short* const text = table.text(row);
    if (text == nullptr) return std::nullopt;
    return trimmedName(textView(text));
  };
}

struct LookupIndex {
  explicit LookupIndex(const StdDictionaryInfo& dictionary)
      : generation(dictionary.tableGeneration()),
        tags(dictionary.tags().rowCount(), trimmedNames(dictionary.tags())),
        types(dictionary.types().rowCount(), trimmedNames(dictionary.types())) {}

  std::uint64_t generation;  // of the tables that were indexed
  NameIndex tags;
  NameIndex types;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_LOOKUPINDEX_H
