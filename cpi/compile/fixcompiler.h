// compileFix: from FIX data dictionaries (XML) to the tables of a dictionary.
//
//     cpi::FixReport report;
//     const cpi::DictionaryTables tables = cpi::compileFix({"FIX44.xml"}, {}, report);
//
// What each definition becomes is told in docs/fix-mapping.md; what a reader of the tables relies
// on, in modelconventions.h. The same files give the same tables, byte for byte. Thread rule:
// `const` means safe to share. Calls may run at once.
#ifndef CPI_COMPILE_FIXCOMPILER_H
#define CPI_COMPILE_FIXCOMPILER_H

#include <string>
#include <vector>

#include "cpi/compile/notice.h"
#include "cpi/extract/dictionarytables.h"

namespace cpi {

struct FixOptions {
  std::string name = {};  // of the dictionary, UTF-8; empty: the first file's, without extension
};

struct FixReport {
  std::vector<Notice> notices;  // what was passed over or joined, in the order met
};

// Whether a file is a FIX data dictionary, by its root element. Throws FileError when it cannot be
// read.
bool isFixDictionary(const std::string& path);

// Compiles a data dictionary, or one of the session layer together with those of the application
// layer, into one dictionary. Writes `report` also when it throws. Throws FileError, with file,
// line and column, for a file that is no such dictionary, for names that are not defined or defined
// twice, for components that contain themselves, and beyond the limits that keep time and memory in
// bounds; std::invalid_argument when `files` is empty.
DictionaryTables compileFix(const std::vector<std::string>& files, const FixOptions& options,
                            FixReport& report);

}  // namespace cpi

#endif  // CPI_COMPILE_FIXCOMPILER_H
