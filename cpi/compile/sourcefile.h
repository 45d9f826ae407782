// Reading a source and refusing it: how all compilers do it.
#ifndef CPI_COMPILE_SOURCEFILE_H
#define CPI_COMPILE_SOURCEFILE_H

#include <string>

#include "cpi/compile/schemascan.h"

namespace cpi {

// The contents of a file of at most 64 MiB. Throws FileError when it is no regular file (a device
// or a pipe would never end), cannot be read or is larger.
std::string readSourceFile(const std::string& path);

// Throws FileError.
[[noreturn]] void refuseFile(const std::string& path, SchemaPlace place, const std::string& text);

}  // namespace cpi

#endif  // CPI_COMPILE_SOURCEFILE_H
