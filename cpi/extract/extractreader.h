// Reading the text extract: the JSON form of a dictionary's parse events.
//
//     cpi::StdDictionaryInfo dictionary(0);
//     cpi::readExtract("orders.json", dictionary);
//
// The file is read as a stream: memory does not grow with its size, and the events before an error
// have been sent when it is thrown. docs/extract-format.md describes the format.
#ifndef CPI_EXTRACT_EXTRACTREADER_H
#define CPI_EXTRACT_EXTRACTREADER_H

#include <cstddef>
#include <istream>
#include <string>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/fileerror.h"
#include "cpi/runtime/fihandler.h"

namespace cpi {

// Bounds that keep a hostile file from claiming memory.
struct ReadOptions {
  std::size_t maximumDepth = 64;                           // of nested arrays and objects
  std::size_t maximumTextUnits = std::size_t{1} << 22;     // of one text
  std::size_t maximumLiteralBytes = std::size_t{1} << 27;  // of null, true and false in a row
};

// Sends the events of the extract in `stream` to `handler`; `fileName` is for messages. Throws
// FileError for what is no extract, with the place of the offending value; also for a refusal by
// the handler (any std::exception but std::bad_alloc, then nested). Throws std::bad_alloc.
void readExtract(std::istream& stream, const std::string& fileName, FIHandler& handler,
                 const ReadOptions& options = {});
// The same for a file, which it opens. Throws FileError when that fails.
void readExtract(const std::string& path, FIHandler& handler, const ReadOptions& options = {});
// The same into a dictionary, which may claim no more for it than limitsForInput tells for the
// file's length. Its own load limits are as before when this returns or throws.
void readExtract(const std::string& path, StdDictionaryInfo& dictionary,
                 const ReadOptions& options = {});
// The limits of a load from the file at `path`: those given where its length is not known, as of a
// pipe. Never throws anything but std::bad_alloc.
LoadLimits limitsForFile(const std::string& path, const LoadLimits& limits = {});

}  // namespace cpi

#endif  // CPI_EXTRACT_EXTRACTREADER_H
