// OutputFile: a file that appears under its name only when it is complete, or anything else that
// can be written to.
#ifndef TOOLS_STDDICT_OUTPUTFILE_H
#define TOOLS_STDDICT_OUTPUTFILE_H

#include <filesystem>
#include <fstream>
#include <ostream>
#include <string>

// Writes beside the final name and renames at the end; a file that is not committed leaves
// nothing behind, and what stood under the name stays as it was. A link stays one: the file that
// it leads to is written. A file that was there before keeps its permissions.
// What is there and is no regular file (a device, a pipe) is written to as the contents come.
class OutputFile {
 public:
  // Throws FileError when nothing can be written there.
  explicit OutputFile(std::string path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  std::ostream& stream() noexcept { return stream_; }
  // Whether what is written becomes a file; else it may be where the tool's own words go, too.
  bool isFile() const noexcept { return !isDirect_; }
  // Throws FileError when the contents could not be written in full.
  void commit();

 private:
  const std::string path_;
  const bool isDirect_;
  const std::filesystem::path target_;  // at the end of all links
  std::string temporary_;               // empty: nothing is to be removed
  std::ofstream stream_;
};

#endif  // TOOLS_STDDICT_OUTPUTFILE_H
