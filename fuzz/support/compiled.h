// What the compilers' targets share: the input as a file, and what must hold of what they make.
#ifndef STDDI_FUZZ_SUPPORT_COMPILED_H
#define STDDI_FUZZ_SUPPORT_COMPILED_H

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/dictionarycheck.h"
#include "cpi/extract/dictionarytables.h"
#include "cpi/extract/fileerror.h"
#include "cpi/walk/walkmodel.h"
#include "fuzz/support/bytereader.h"

namespace cpi::fuzz {

// A file in a directory of its own; both live as long as this object.
class InputFile {
 public:
  explicit InputFile(const std::string& name) {
    directory_ = (std::filesystem::temp_directory_path() / "stddi-fuzz-XXXXXX").string();
    if (::mkdtemp(directory_.data()) == nullptr) throw std::runtime_error("no directory to use");
    path_ = directory_ + "/" + name;
  }
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile() {
    std::error_code ignored;
    std::filesystem::remove_all(directory_, ignored);
  }

  const std::string& path() const noexcept { return path_; }
  void write(const std::uint8_t* data, std::size_t size) const {
    std::ofstream(path_, std::ios::binary)
        .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  }

 private:
  std::string directory_;
  std::string path_;
};

template <class Compile>
void checkCompiled(Compile compile) {
  StdDictionaryInfo dictionary(0);
  try {
    feed(compile(), dictionary);
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
