// Names of sections and columns as the text extract writes them, for its reader and writer.
#ifndef CPI_EXTRACT_EXTRACTNAMES_H
#define CPI_EXTRACT_EXTRACTNAMES_H

#include <cstdint>
#include <span>
#include <string_view>

#include "cpi/dictinfo/stddi/schema.h"

namespace cpi {

inline constexpr std::int32_t kExtractVersion = 1;
inline constexpr std::string_view kNamedPropertyName = "NamedProperty";

// An open section: its id, and what is known of it.
struct SectionNames {
  std::int32_t id = kNoSection;
  std::string_view name = {};  // empty: unknown
  std::span<const Column> columns = {};

  static SectionNames of(std::int32_t id) noexcept;
  // Null when there is none.
  const Column* column(std::int32_t id) const noexcept;
  const Column* column(std::string_view name) const noexcept;
};

// The id of a named section, or kNoSection.
std::int32_t sectionIdOf(std::string_view name) noexcept;

// Whether plain strings of a column are decimals.
inline bool holdsDecimals(const Column* column) noexcept {
  return column != nullptr && column->valueType == LTDecimal;
}

}  // namespace cpi

#endif  // CPI_EXTRACT_EXTRACTNAMES_H
