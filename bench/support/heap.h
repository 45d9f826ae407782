// What the program asks of the heap, its libraries included.
#ifndef BENCH_SUPPORT_HEAP_H
#define BENCH_SUPPORT_HEAP_H

#include <cstdint>

namespace cpi::bench {

// Blocks that the calling thread has asked for since it started, by whatever function.
std::int64_t allocationCount() noexcept;

// Bytes in use on the heap, the allocator's own included.
std::int64_t heapBytes() noexcept;

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_HEAP_H
