// Counts every allocation of the test program, in all threads and libraries, and lets chosen ones
// fail.
#ifndef STDDI_TESTS_SUPPORT_ALLOCATIONS_H
#define STDDI_TESTS_SUPPORT_ALLOCATIONS_H

#include <cstddef>

namespace cpi::test {

// Calls of operator new since the program started.
std::size_t allocationCount() noexcept;

// While it lives, allocations of its thread fail: the one behind the first `allowed`, and with
// `isLasting` all that follow.
class FailingMemory {
 public:
  explicit FailingMemory(std::size_t allowed, bool isLasting = false) noexcept;
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  // Whether an allocation has failed.
  bool hasFailed() const noexcept;
};

// Counts an allocation of this thread that another allocator makes; whether it has to fail.
bool failsAllocation() noexcept;

}  // namespace cpi::test

#endif  // STDDI_TESTS_SUPPORT_ALLOCATIONS_H
