#ifndef BENCH_SUPPORT_DIRECTORY_H
#define BENCH_SUPPORT_DIRECTORY_H

#include <string>
#include <string_view>

namespace cpi::bench {

// A directory of its own, which goes with this object.
class TemporaryDirectory {
 public:
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  // Writes a file into it; returns the file's path.
  std::string write(const std::string& name, std::string_view text) const;

 private:
  std::string path_;
};

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_DIRECTORY_H
