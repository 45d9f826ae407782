// Writing an image.
#ifndef CPI_DICTINFO_IMAGE_IMAGEWRITER_H
#define CPI_DICTINFO_IMAGE_IMAGEWRITER_H

#include <span>
#include <vector>

#include "cpi/dictinfo/image/imagelayout.h"

namespace cpi {

// The image of the tables and of what was derived from them, a whole number of 8-byte words; the
// same bytes for the same fields and buffers, whatever was unused. Throws std::invalid_argument for
// tables that could not be opened again, naming slot, fault and what was expected, and
// std::bad_alloc.
std::vector<unsigned char> encodeImage(const KelStringBase& msgSetID, const KelStringBase& formatID,
                                       std::span<const DictTable> tables, const SlotRules& rules,
                                       std::span<const unsigned char> derived);

}  // namespace cpi

#endif  // CPI_DICTINFO_IMAGE_IMAGEWRITER_H
