// The check of a dictionary: whether its tables keep the orders and references that readers rely
// on.
//
//     cpi::checkDictionary(dictionary, [](const cpi::DictionaryFault& fault) {
//       std::cout << cpi::lineOf(fault) << '\n';
//     });
//
// Loading checks neither orders nor indexes, and readers treat an index that leads nowhere as none:
// a faulty dictionary loads, answers, and misses what its producer meant. This check tells where.
// Functions without state. Thread rule: `const` means safe to share.
#ifndef CPI_EXTRACT_DICTIONARYCHECK_H
#define CPI_EXTRACT_DICTIONARYCHECK_H

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "cpi/dictinfo/stddi/schema.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

// One field that is not as it has to be.
struct DictionaryFault {
  TableSlot table = TableSlot::Tags;
  std::int32_t row = 0;
  std::string_view column;  // its name in the vocabulary; lives as long as the program
  std::string found;        // the field's value: a number, or a class letter
  std::string expected;
};

// "Tags row 3, ToTypeIndexField: found 99; expected a row of Types (0 to 41) or -1"
std::string lineOf(const DictionaryFault& fault);

using FaultHandler = std::function<void(const DictionaryFault&)>;

// Hands every fault to `handle`, table by table in the order of the slots, and returns their
// number. -1 and -99 in an index, these and 0 in an id, stand for none and are no faults. Checked
// are
//   ids            above 0, without duplicates; Tags, Types and the member id index ascending
//   references     each index is a row of its table, and the row with the id given beside it; ids
//                  that stand alone (ParentTypeId, BaseTypeId, the members of paths) exist
//   members        each type's are one run, which begins at its ToTypeMbrIndex; all have a row in
//                  the member id index; some tag leads to them
//   groups         none contains itself
//   values         what refers to a value finds one of a known kind; the last set is closed
//   overrides      the rows of one message and field stand together
//   codes          class letters, Composition 1 to 7, Content 1 to 3
// The time grows with the number of rows times its logarithm at most. Throws what `handle` throws,
// and std::bad_alloc.
std::int64_t checkDictionary(const StdDictionaryInfo& dictionary, const FaultHandler& handle);

}  // namespace cpi

#endif  // CPI_EXTRACT_DICTIONARYCHECK_H
