// How the readers of dictionary files refuse one that cannot be opened.
#ifndef CPI_EXTRACT_OPENFILE_H
#define CPI_EXTRACT_OPENFILE_H

#include <cerrno>
#include <cstring>
#include <string>

#include "cpi/extract/fileerror.h"

namespace cpi {

// Throws FileError, with the reason that errno tells.
[[noreturn]] inline void failToOpen(const std::string& path) {
  throw FileError(path, {}, std::string("the file cannot be opened: ") + std::strerror(errno));
}

}  // namespace cpi

#endif  // CPI_EXTRACT_OPENFILE_H
