#include "tools/stddict/outputfile.h"

#include <fmt/core.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include "cpi/extract/fileerror.h"

namespace {

namespace fs = std::filesystem;

constexpr int kMaxLinks = 40;  // as many as the system follows

[[noreturn]] void refuse(const std::string& path) {
  throw cpi::FileError(path, {}, fmt::format("cannot be written ({})", std::strerror(errno)));
}

// What is neither a file nor free to become one must not be replaced by a file.
bool isToBeKept(const fs::path& path) {
  std::error_code ignored;
  const fs::file_status status = fs::status(path, ignored);
  return fs::exists(status) && !fs::is_regular_file(status);
}

// As far as there are links; what the last one leads to need not exist.
fs::path targetOf(fs::path path) {
  std::error_code error;
  for (int links = 0; links < kMaxLinks && fs::is_symlink(path, error); ++links) {
    const fs::path next = fs::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / next;
  }
  return path;
}

}  // namespace

OutputFile::OutputFile(std::string path)
    : path_(std::move(path)), isDirect_(isToBeKept(path_)), target_(targetOf(path_)) {
  if (!isDirect_) temporary_ = fmt::format("{}.{}.tmp", target_.string(), ::getpid());
  stream_.open(isDirect_ ? path_ : temporary_, std::ios::binary | std::ios::trunc);
  if (!stream_) refuse(path_);
  std::error_code ignored;
  const fs::file_status former = fs::status(target_, ignored);
  if (!isDirect_ && fs::exists(former)) fs::permissions(temporary_, former.permissions(), ignored);
}

OutputFile::~OutputFile() {
  if (!temporary_.empty()) std::remove(temporary_.c_str());
}

void OutputFile::commit() {
  stream_.close();
  if (!stream_) refuse(path_);
  if (!isDirect_ && std::rename(temporary_.c_str(), target_.c_str()) != 0) refuse(path_);
  temporary_.clear();
}
