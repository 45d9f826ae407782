// MessageFile: a file of messages, read from its beginning in pieces of the caller's size.
#ifndef CPI_WALK_MESSAGEFILE_H
#define CPI_WALK_MESSAGEFILE_H

#include <cstddef>
#include <cstdio>
#include <memory>
#include <span>
#include <string>

namespace cpi {

// Throws FileError, with the system's reason, when the file cannot be opened or read. Used by one
// thread at a time.
class MessageFile {
 public:
  explicit MessageFile(const std::string& path);

  // Fills `buffer` with the next bytes and returns their number: less than the buffer's size at the
  // end of the file alone.
  std::size_t read(std::span<char> buffer);

 private:
  struct Close {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
  };

  std::string path_;
  std::unique_ptr<std::FILE, Close> file_;
};

}  // namespace cpi

#endif  // CPI_WALK_MESSAGEFILE_H
