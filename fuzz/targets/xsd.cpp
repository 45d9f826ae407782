// Bytes as a schema. What compiles must load, and its references must hold.
#include "cpi/compile/xsdcompiler.h"
#include "fuzz/support/compiled.h"

namespace cpi::fuzz {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const InputFile file("input.xsd");
  file.write(data, size);
  checkCompiled([&] {
    XsdReport report;
    return compileXsd({file.path()}, {}, report);
  });
  return 0;
}

}  // namespace cpi::fuzz
