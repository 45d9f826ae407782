// Bytes as a schema. What compiles must load, and its references must hold.
#include "cpi/compile/xsdcompiler.h"
#include "fuzz/support/compiled.h"

namespace cpi::fuzz {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  checkCompiled(data, size, "input.xsd", [](const std::string& file) {
    XsdReport report;
    return compileXsd({file}, {}, report);
  });
  return 0;
}

}  // namespace cpi::fuzz
