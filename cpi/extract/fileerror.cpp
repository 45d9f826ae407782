#include "cpi/extract/fileerror.h"

namespace cpi {

namespace {

std::string describe(const std::string& file, FilePosition position, const std::string& found,
                     const std::string& expected) {
  std::string text = file;
  if (position.line > 0) {
    text += ":" + std::to_string(position.line) + ":" + std::to_string(position.column);
  }
  if (expected.empty()) return text + ": " + found;
  return text + ": found " + found + "; expected " + expected;
}

}  // namespace

FileError::FileError(const std::string& file, FilePosition position, const std::string& found,
                     const std::string& expected)
    : std::runtime_error(describe(file, position, found, expected)),
      file_(file),
      position_(position),
      found_(found),
      expected_(expected) {}

FileError::~FileError() = default;

}  // namespace cpi
