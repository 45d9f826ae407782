#include "bench/support/directory.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace cpi::bench {

TemporaryDirectory::TemporaryDirectory()
    : path_(std::filesystem::temp_directory_path() / "stddi-bench-XXXXXX") {
  if (::mkdtemp(path_.data()) == nullptr) throw std::runtime_error("cannot make " + path_);
}

TemporaryDirectory::~TemporaryDirectory() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TemporaryDirectory::write(const std::string& name, std::string_view text) const {
  const std::string path = path_ + "/" + name;
  std::ofstream out(path, std::ios::binary);
  out << text;
  if (!out.flush()) throw std::runtime_error("cannot write " + path);
  return path;
}

}  // namespace cpi::bench
