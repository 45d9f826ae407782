// The image file: the binary form of a dictionary, for a quick start.
//
//     std::ofstream stream("orders.image", std::ios::binary);
//     cpi::writeImage(dictionary, stream);
//
// A file of any origin may be opened: all of it is verified before it is used. The form depends on
// the machine; docs/image-format.md describes it. Functions without state. Thread rule: `const`
// means safe to share.
#ifndef CPI_EXTRACT_IMAGE_H
#define CPI_EXTRACT_IMAGE_H

#include <istream>
#include <memory>
#include <ostream>
#include <string>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/fileerror.h"

namespace cpi {

// Writes a loaded dictionary; the same events make the same bytes. Throws FileError when the
// stream fails, std::invalid_argument for a dictionary that is not finished (one without a row in
// Identification, for instance), std::bad_alloc.
void writeImage(const StdDictionaryInfo& dictionary, std::ostream& stream);

// The dictionary in the image file at `path`. Throws FileError when the file cannot be read or is
// no image of a dictionary, naming the byte; the ImageError is then nested. Throws std::bad_alloc.
std::unique_ptr<StdDictionaryInfo> readImage(const std::string& path);
// The same for a stream, which is read to its end; `fileName` is for messages. Of a stream that is
// no image, or goes on behind one, no more than the image's own size is read.
std::unique_ptr<StdDictionaryInfo> readImage(std::istream& stream, const std::string& fileName);

// The same for a file that stays mapped read-only while the dictionary, or a copy of it, lives: its
// texts and indexes are used where they lie, and shared with other processes that map the file. The
// file must not be changed or cut meanwhile, which would be felt here or end the process; to
// replace it, write another and rename that.
std::unique_ptr<StdDictionaryInfo> mapImage(const std::string& path);

}  // namespace cpi

#endif  // CPI_EXTRACT_IMAGE_H
