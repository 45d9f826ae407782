// What an image keeps of the thirteen tables' records, and what it must not hold in them.
#ifndef CPI_DICTINFO_STDDI_LOAD_RECORDRULES_H
#define CPI_DICTINFO_STDDI_LOAD_RECORDRULES_H

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/dictinfo/stddi/schema.h"

namespace cpi {

// The rules of a table. Refused is what a load refuses in a record: levels out of range, class
// letters, flags, fixed texts without end, values of unknown kind. Indexes are not checked:
// readers treat one that leads nowhere as none.
const RecordRules& recordRulesOf(TableSlot slot) noexcept;

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_LOAD_RECORDRULES_H
