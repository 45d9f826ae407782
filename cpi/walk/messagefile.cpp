#include "cpi/walk/messagefile.h"

#include <cerrno>
#include <cstring>

#include "cpi/extract/fileerror.h"

namespace cpi {
namespace {

[[noreturn]] void refuse(const std::string& path, const char* what) {
  throw FileError(path, {}, std::string(what) + " (" + std::strerror(errno) + ")");
}

}  // namespace

MessageFile::MessageFile(const std::string& path)
    : path_(path), file_(std::fopen(path.c_str(), "rb")) {
  if (file_ == nullptr) refuse(path_, "cannot be opened");
}

std::size_t MessageFile::read(std::span<char> buffer) {
  const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), file_.get());
  if (std::ferror(file_.get()) != 0) refuse(path_, "cannot be read");
  return size;
}

}  // namespace cpi
