// Replaces the C library's allocation functions by ones that count: operator new ends here too, and
// so do the peers, whatever they are written in. One counter a thread, so that counting costs an
// instruction and two threads do not meet in it.
#include "bench/support/heap.h"

#include <malloc.h>

#include <cstddef>

namespace {
thread_local std::int64_t allocations = 0;
}

extern "C" {

void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* block, std::size_t size);
void* __libc_memalign(std::size_t alignment, std::size_t size);

[[gnu::visibility("default")]] void* malloc(std::size_t size) noexcept {
  ++allocations;
  return __libc_malloc(size);
}
[[gnu::visibility("default")]] void* calloc(std::size_t count, std::size_t size) noexcept {
  ++allocations;
  return __libc_calloc(count, size);
}
[[gnu::visibility("default")]] void* realloc(void* block, std::size_t size) noexcept {
  ++allocations;
  return __libc_realloc(block, size);
}
[[gnu::visibility("default")]] void* aligned_alloc(std::size_t alignment,
                                                   std::size_t size) noexcept {
  ++allocations;
  return __libc_memalign(alignment, size);
}

}  // extern "C"

namespace cpi::bench {

std::int64_t allocationCount() noexcept { return allocations; }

std::int64_t heapBytes() noexcept {
  const auto heap = ::mallinfo2();
  return static_cast<std::int64_t>(heap.uordblks + heap.hblkhd);
}

}  // namespace cpi::bench
