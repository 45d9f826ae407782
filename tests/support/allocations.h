// Counts every allocation of the test program, in all threads and libraries.
#ifndef STDDI_TESTS_SUPPORT_ALLOCATIONS_H
#define STDDI_TESTS_SUPPORT_ALLOCATIONS_H

#include <cstddef>

namespace cpi::test {

// Calls of operator new since the program started.
std::size_t allocationCount() noexcept;

}  // namespace cpi::test

#endif  // STDDI_TESTS_SUPPORT_ALLOCATIONS_H
