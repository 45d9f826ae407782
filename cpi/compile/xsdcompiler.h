// compileXsd: from XML schemas (XSD 1.0) to the tables of a dictionary.
//
//     cpi::XsdReport report;
//     const cpi::DictionaryTables tables = cpi::compileXsd({"order.xsd"}, {}, report);
//     cpi::StdDictionaryInfo dictionary(0);
//     cpi::feed(tables, dictionary);
//
// What each construct becomes is told in docs/xsd-mapping.md; what a reader of the tables relies
// on, in modelconventions.h. Schema documents are read from local files only: a location that is
// not local must be in the catalog. The same documents give the same tables, byte for byte. Thread
// rule: `const` means safe to share. Calls may run at once.
#ifndef CPI_COMPILE_XSDCOMPILER_H
#define CPI_COMPILE_XSDCOMPILER_H

#include <cstdint>
#include <string>
#include <vector>

#include "cpi/compile/notice.h"
#include "cpi/extract/dictionarytables.h"

namespace cpi {

// How much is asked of a schema.
enum class SchemaChecking : std::uint8_t {
  Basic,  // what has to be right for the schema to mean something
  // Also that no content model is ambiguous and that restrictions are restrictions, where the
  // schema is not so large that it would take too long: most of the 2000 particles of a component
  // and 40,000 of all, limits of occurrence multiplied out. What may be in order, and ambiguity, is
  // reported only.
  Standard,
  Full,  // all of it at any cost, and what is doubtful is refused
};

struct XsdOptions {
  std::string catalog = {};  // path of an OASIS XML catalog; empty: none
  std::string name = {};     // of the dictionary, UTF-8; empty: the first file's, without extension
  // Directories in which a relative location is looked up, in this order, when there is no such
  // file beside the document in which it stands.
  std::vector<std::string> includeRoots = {};
  SchemaChecking checking = SchemaChecking::Standard;
};

struct XsdReport {
  // What the tables do not carry, in a fixed order of kinds, then schema documents that could not
  // be resolved, in the order met. One notice per kind, with its count.
  std::vector<Notice> notices;
};

// Compiles the schemas in `schemaFiles`, with all that they include, import and redefine, into one
// dictionary. Writes `report` also when it throws. Throws FileError when a file cannot be read or
// is not a valid schema, naming each error with file, line and column, and when a schema is beyond
// the limits that keep time and memory in bounds (nesting, size, expansion of groups);
// std::invalid_argument when `schemaFiles` is empty.
DictionaryTables compileXsd(const std::vector<std::string>& schemaFiles, const XsdOptions& options,
                            XsdReport& report);

}  // namespace cpi

#endif  // CPI_COMPILE_XSDCOMPILER_H
