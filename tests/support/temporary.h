// Files that live as long as the object that made them.
#ifndef STDDI_TESTS_SUPPORT_TEMPORARY_H
#define STDDI_TESTS_SUPPORT_TEMPORARY_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace cpi::test {

class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    path_ = (std::filesystem::temp_directory_path() / "stddi-XXXXXX").string();
    if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("no temporary directory");
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  const std::string& path() const noexcept { return path_; }
  // The path of the file, which is replaced if it is there.
  std::string write(const std::string& name, std::string_view bytes) const {
    const std::string file = path_ + "/" + name;
    std::ofstream(file, std::ios::binary) << bytes;
    return file;
  }

 private:
  std::string path_;
};

class TemporaryFile {
 public:
  TemporaryFile(const std::string& name, std::string_view bytes)
      : path_(directory_.write(name, bytes)) {}

  const std::string& path() const noexcept { return path_; }

 private:
  const TemporaryDirectory directory_;
  const std::string path_;
};

}  // namespace cpi::test

#endif  // STDDI_TESTS_SUPPORT_TEMPORARY_H
