#include "tests/support/allocations.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace cpi::test {

namespace {

std::atomic<std::size_t> allocations{0};

struct Faults {
  std::size_t allowed = SIZE_MAX;  // before the first failure
  bool isLasting = false;
  bool hasFailed = false;
};
thread_local constinit Faults faults;

void* allocate(std::size_t size) noexcept {
  allocations.fetch_add(1, std::memory_order_relaxed);
  return failsAllocation() ? nullptr : std::malloc(size == 0 ? 1 : size);
}

}  // namespace

std::size_t allocationCount() noexcept { return allocations.load(std::memory_order_relaxed); }

FailingMemory::FailingMemory(std::size_t allowed, bool isLasting) noexcept {
  faults = {allowed, isLasting};
}
FailingMemory::~FailingMemory() { faults = {}; }
bool FailingMemory::hasFailed() const noexcept { return faults.hasFailed; }

bool failsAllocation() noexcept {
  if (faults.hasFailed) return faults.isLasting;
  if (faults.allowed == SIZE_MAX || faults.allowed-- > 0) return false;
  return faults.hasFailed = true;
}

}  // namespace cpi::test

void* operator new(std::size_t size) {
  if (void* const block = cpi::test::allocate(size); block != nullptr) return block;
  throw std::bad_alloc();
}
// The form that does not throw must come from the same heap as the deletes below release to.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return cpi::test::allocate(size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
