// Tables that a file form has to carry.
#ifndef TESTS_MODELS_TABLES_SUPPORT_H
#define TESTS_MODELS_TABLES_SUPPORT_H

#include <memory>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/dictionarytables.h"

namespace cpi::test {

// Every table has rows, every column a value that is no default.
DictionaryTables fullTables();

std::unique_ptr<StdDictionaryInfo> loaded(const DictionaryTables& tables);

}  // namespace cpi::test

#endif  // TESTS_MODELS_TABLES_SUPPORT_H
