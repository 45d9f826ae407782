// Asks a dictionary, whatever is in it, everything that a program may ask.
#ifndef STDDI_FUZZ_SUPPORT_EXERCISE_H
#define STDDI_FUZZ_SUPPORT_EXERCISE_H

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi::fuzz {

// Look-ups and accessors with indexes and ids around those of the tables, value iterators, paths,
// the dump and the check of references.
void askEverything(const StdDictionaryInfo& dictionary);
// A finished dictionary comes out of its image, and out of its extract, as it went in.
void roundTrip(const StdDictionaryInfo& dictionary);

}  // namespace cpi::fuzz

#endif  // STDDI_FUZZ_SUPPORT_EXERCISE_H
