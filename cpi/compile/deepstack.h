// Running something that recurses deeply: the schema processor calls itself once for each link of
// a chain of references, which in a large schema has many thousand.
#ifndef CPI_COMPILE_DEEPSTACK_H
#define CPI_COMPILE_DEEPSTACK_H

#include <cstddef>
#include <functional>

namespace cpi {

// Runs `work` on a stack of `bytes` and returns when it has ended. What it throws is thrown here;
// so is std::bad_alloc when there is no such stack.
void runOnStack(std::size_t bytes, const std::function<void()>& work);

}  // namespace cpi

#endif  // CPI_COMPILE_DEEPSTACK_H
