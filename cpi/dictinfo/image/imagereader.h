// Opening an image.
#ifndef CPI_DICTINFO_IMAGE_IMAGEREADER_H
#define CPI_DICTINFO_IMAGE_IMAGEREADER_H

#include <memory>
#include <span>

#include "cpi/dictinfo/image/imagelayout.h"

namespace cpi {

// The contents of the image, verified, for a dictionary with a slot for each of `rules`. Bytes
// that hold no value, pointers among them, are as the image has them: they have to be set. Memory
// and time are bounded by the size of the image. Throws ImageError and std::bad_alloc.
ImageContents decodeImage(std::span<const unsigned char> image, const SlotRules& rules);
// The same without a copy of what is not written to: the contents refer to the image and hold
// `keeper`. An image that does not begin at a multiple of 8 bytes is copied nevertheless.
ImageContents decodeImage(std::span<const unsigned char> image, std::shared_ptr<const void> keeper,
                          const SlotRules& rules);

}  // namespace cpi

#endif  // CPI_DICTINFO_IMAGE_IMAGEREADER_H
