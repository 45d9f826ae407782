// Reading a source, refusing it and noting what is in it: how all compilers do it.
#ifndef CPI_COMPILE_SOURCEFILE_H
#define CPI_COMPILE_SOURCEFILE_H

#include <string>
#include <vector>

#include "cpi/compile/notice.h"
#include "cpi/compile/schemascan.h"

namespace cpi {

// The contents of a file of at most 64 MiB. Throws FileError when it is no regular file (a device
// or a pipe would never end), cannot be read or is larger.
std::string readSourceFile(const std::string& path);

// Throws FileError.
[[noreturn]] void refuseFile(const std::string& path, SchemaPlace place, const std::string& text);

// Adds a notice, or counts it once more if there is one of this text.
void noteOnce(const std::string& text, const std::string& path, SchemaPlace place,
              std::vector<Notice>& notices);

}  // namespace cpi

#endif  // CPI_COMPILE_SOURCEFILE_H
