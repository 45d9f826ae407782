// Loading a dictionary from a file of any form.
#ifndef CPI_EXTRACT_DICTIONARYFILE_H
#define CPI_EXTRACT_DICTIONARYFILE_H

#include <memory>
#include <string>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/fileerror.h"

namespace cpi {

// The dictionary in the file at `path`, of which the first byte tells the form: a text extract or
// an image. Throws FileError when the file cannot be read, has no known form, or does not load.
std::unique_ptr<StdDictionaryInfo> loadDictionary(const std::string& path);

}  // namespace cpi

#endif  // CPI_EXTRACT_DICTIONARYFILE_H
