#include "cpi/runtime/memory.h"

#include <new>

namespace cpi {

void* cpMalloc(std::size_t size) { return ::operator new(size); }

void cpFree(void* block) noexcept { ::operator delete(block); }

}  // namespace cpi
