#include "cpi/compile/sourcefile.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "cpi/extract/fileerror.h"

namespace cpi {

namespace {

constexpr std::uintmax_t kSizeLimit = std::uintmax_t{64} << 20;

}  // namespace

std::string readSourceFile(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(path, error)) {
    throw FileError(path, {}, "no such file", "a regular file");
  }
  if (std::filesystem::file_size(path, error) > kSizeLimit) {
    throw FileError(path, {}, "a file that is too large", "at most 64 MiB");
  }
  std::ifstream stream(path, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (!stream.is_open() || stream.bad()) {
    throw FileError(path, {}, "a file that cannot be read", "a file that may be read");
  }
  return bytes;
}

void refuseFile(const std::string& path, SchemaPlace place, const std::string& text) {
  throw FileError(path, {place.line, place.column}, text);
}

void noteOnce(const std::string& text, const std::string& path, SchemaPlace place,
              std::vector<Notice>& notices) {
  const auto entry = std::ranges::find(notices, text, &Notice::text);
  if (entry != notices.end()) {
    ++entry->count;
  } else {
    notices.push_back({text, path, place.line, place.column});
  }
}

}  // namespace cpi
