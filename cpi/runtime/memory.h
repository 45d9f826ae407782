// The runtime's allocator for record blocks and value buffers.
//
// cpMalloc never returns null: it throws std::bad_alloc when memory fails, so that no caller can
// forget a test. Both functions may be called from any thread.
#ifndef CPI_RUNTIME_MEMORY_H
#define CPI_RUNTIME_MEMORY_H

#include <cstddef>

#include "cpi/runtime/export.h"

namespace cpi {

// Returns `size` bytes, uninitialised, aligned for any record. Throws std::bad_alloc.
// The caller owns the block and gives it back to cpFree.
CPI_API void* cpMalloc(std::size_t size);

// Releases a block of cpMalloc; null is allowed. Never throws.
CPI_API void cpFree(void* block) noexcept;

}  // namespace cpi

#endif  // CPI_RUNTIME_MEMORY_H
