// Bytes as a FIX data dictionary. What compiles must load, and its references must hold.
#include "cpi/compile/fixcompiler.h"
#include "fuzz/support/compiled.h"

namespace cpi::fuzz {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  checkCompiled(data, size, "input.xml", [](const std::string& file) {
    FixReport report;
    return compileFix({file}, {}, report);
  });
  return 0;
}

}  // namespace cpi::fuzz
