// A small dictionary whose every field comes from a fuzzer's input: references that lead nowhere,
// groups inside themselves, ids twice and out of order, all of which a load admits.
#ifndef STDDI_FUZZ_SUPPORT_RANDOMDICTIONARY_H
#define STDDI_FUZZ_SUPPORT_RANDOMDICTIONARY_H

#include "cpi/extract/dictionarytables.h"
#include "fuzz/support/bytereader.h"

namespace cpi::fuzz {

DictionaryTables randomTables(ByteReader& bytes);

}  // namespace cpi::fuzz

#endif  // STDDI_FUZZ_SUPPORT_RANDOMDICTIONARY_H
