// Writing an image.
#ifndef CPI_DICTINFO_IMAGE_IMAGEWRITER_H
#define CPI_DICTINFO_IMAGE_IMAGEWRITER_H

#include <span>
#include <vector>

#include "cpi/dictinfo/image/imagelayout.h"

namespace cpi {

// The image of the tables, the same bytes for the same fields and buffers, whatever was unused.
// Throws std::invalid_argument for tables that could not be opened again, naming slot, fault and
// what was expected, and std::bad_alloc.
std::vector<unsigned char> encodeImage(const KelStringBase& msgSetID, const KelStringBase& formatID,
                                       std::span<const DictTable> tables, const SlotRules& rules);

}  // namespace cpi

#endif  // CPI_DICTINFO_IMAGE_IMAGEWRITER_H
