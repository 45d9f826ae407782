// FileError: the one exception of all readers and writers of dictionary files.
#ifndef CPI_EXTRACT_FILEERROR_H
#define CPI_EXTRACT_FILEERROR_H

#include <cstdint>
#include <stdexcept>
#include <string>

namespace cpi {

// A place in a text file, both counted from 1; columns count characters. 0: no place.
struct FilePosition {
  std::int64_t line = 0;
  std::int64_t column = 0;
};

// what() is one line: "file:line:column: found X; expected Y". When a dictionary refused an event,
// `found` is its message, `expected` is empty and the dictionary's exception is nested
// (std::rethrow_if_nested).
class FileError : public std::runtime_error {
 public:
  FileError(const std::string& file, FilePosition position, const std::string& found,
            const std::string& expected = {});
  ~FileError() override;

  const std::string& file() const noexcept { return file_; }
  std::int64_t line() const noexcept { return position_.line; }
  std::int64_t column() const noexcept { return position_.column; }
  const std::string& found() const noexcept { return found_; }
  const std::string& expected() const noexcept { return expected_; }

 private:
  std::string file_;
  FilePosition position_;
  std::string found_;
  std::string expected_;
};

}  // namespace cpi

#endif  // CPI_EXTRACT_FILEERROR_H
