#include "tests/support/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> allocations{0};

}  // namespace

void* operator new(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* const block = std::malloc(size == 0 ? 1 : size); block != nullptr) return block;
  throw std::bad_alloc();
}
// The form that does not throw must come from the same heap as the deletes below release to.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  allocations.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }

namespace cpi::test {

std::size_t allocationCount() noexcept { return allocations.load(std::memory_order_relaxed); }

}  // namespace cpi::test
