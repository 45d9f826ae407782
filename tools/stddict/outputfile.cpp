#include "tools/stddict/outputfile.h"

#include <fmt/core.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "cpi/extract/fileerror.h"

namespace {

[[noreturn]] void refuse(const std::string& path) {
  throw cpi::FileError(path, {}, fmt::format("cannot be written ({})", std::strerror(errno)));
}

}  // namespace

OutputFile::OutputFile(std::string path)
    : path_(std::move(path)),
      temporary_(fmt::format("{}.{}.tmp", path_, ::getpid())),
      stream_(temporary_, std::ios::binary | std::ios::trunc) {
  if (!stream_) refuse(path_);
}

OutputFile::~OutputFile() {
  if (!temporary_.empty()) std::remove(temporary_.c_str());
}

void OutputFile::commit() {
  stream_.close();
  if (!stream_ || std::rename(temporary_.c_str(), path_.c_str()) != 0) refuse(path_);
  temporary_.clear();
}
