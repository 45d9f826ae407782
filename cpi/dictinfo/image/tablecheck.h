// The invariants of tables and properties, as an image has to keep them.
#ifndef CPI_DICTINFO_IMAGE_TABLECHECK_H
#define CPI_DICTINFO_IMAGE_TABLECHECK_H

#include <cstdint>
#include <optional>
#include <string>

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/dictinfo/dicttable.h"

namespace cpi {

// What is wrong, `offset` bytes into the part that was checked.
using Fault = RecordFault;

// A fault in the numbers of a table: rows, bytes of a record, and rules for both (may be null).
std::optional<Fault> findSizeFault(std::uint32_t recordSize, std::uint32_t rowCount,
                                   const RecordRules* rules);
// A fault in the kind or the row count of a property of a table with `rowCount` rows.
std::optional<Fault> findKindFault(std::int32_t type, std::uint32_t propertyRows,
                                   std::uint32_t rowCount);
// A fault in the value buffer of a property of right kind. Costs no more than the buffer is long.
std::optional<Fault> findBufferFault(const StringTable& property);

}  // namespace cpi

#endif  // CPI_DICTINFO_IMAGE_TABLECHECK_H
