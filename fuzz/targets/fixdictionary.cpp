// Bytes as a FIX data dictionary. What compiles must load, and its references must hold.
#include "cpi/compile/fixcompiler.h"
#include "fuzz/support/compiled.h"

namespace cpi::fuzz {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const InputFile file("input.xml");
  file.write(data, size);
  checkCompiled([&] {
    FixReport report;
    return compileFix({file.path()}, {}, report);
  });
  return 0;
}

}  // namespace cpi::fuzz
