// Bytes as a schema. What compiles must load, and its references must hold.
#include <fstream>

#include "cpi/compile/xsdcompiler.h"
#include "cpi/extract/dictionarycheck.h"
#include "cpi/extract/fileerror.h"
#include "cpi/walk/walkmodel.h"
#include "fuzz/support/bytereader.h"
#include "fuzz/support/temporarydirectory.h"

namespace cpi::fuzz {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const TemporaryDirectory directory;
  const std::string path = directory.path() + "/input.xsd";
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  StdDictionaryInfo dictionary(0);
  try {
    XsdReport report;
    feed(compileXsd({path}, {}, report), dictionary);
  } catch (const FileError&) {
    return 0;
  }
  checkDictionary(dictionary, [](const DictionaryFault& fault) {
    require(false, ("the compiler made a fault: " + lineOf(fault)).c_str());
  });
  const WalkModel model(dictionary);
  return 0;
}

}  // namespace cpi::fuzz
