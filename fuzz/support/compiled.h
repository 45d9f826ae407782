// What the compilers' targets share: the input as a file, and what must hold of what they make.
#ifndef STDDI_FUZZ_SUPPORT_COMPILED_H
#define STDDI_FUZZ_SUPPORT_COMPILED_H

#include <cstdint>
#include <string>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/dictionarycheck.h"
#include "cpi/extract/dictionarytables.h"
#include "cpi/extract/fileerror.h"
#include "cpi/walk/walkmodel.h"
#include "fuzz/support/bytereader.h"
#include "tests/support/temporary.h"

namespace cpi::fuzz {

// Compiles the input as a file of this name.
template <class Compile>
void checkCompiled(const std::uint8_t* data, std::size_t size, const char* name, Compile compile) {
  static const test::TemporaryDirectory directory;
  const std::string file = directory.write(name, {reinterpret_cast<const char*>(data), size});
  StdDictionaryInfo dictionary(0);
  try {
    feed(compile(file), dictionary);
  } catch (const FileError&) {
    return;
  }
  checkDictionary(dictionary, [](const DictionaryFault& fault) {
    require(false, ("the compiler made a fault: " + lineOf(fault)).c_str());
  });
  const WalkModel model(dictionary);
}

}  // namespace cpi::fuzz

#endif  // STDDI_FUZZ_SUPPORT_COMPILED_H
