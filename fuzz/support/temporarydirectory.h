// A directory that lives as long as this object.
#ifndef STDDI_FUZZ_SUPPORT_TEMPORARYDIRECTORY_H
#define STDDI_FUZZ_SUPPORT_TEMPORARYDIRECTORY_H

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace cpi::fuzz {

class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    path_ = (std::filesystem::temp_directory_path() / "stddi-fuzz-XXXXXX").string();
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary directory");
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const noexcept { return path_; }

 private:
  std::string path_;
};

}  // namespace cpi::fuzz

#endif  // STDDI_FUZZ_SUPPORT_TEMPORARYDIRECTORY_H
