// OutputFile: a file that appears under its name only when it is complete.
#ifndef TOOLS_STDDICT_OUTPUTFILE_H
#define TOOLS_STDDICT_OUTPUTFILE_H

#include <fstream>
#include <ostream>
#include <string>

// Writes beside the final name and renames at the end; a file that is not committed leaves
// nothing behind, and what stood under the name stays as it was.
class OutputFile {
 public:
  // Throws FileError when nothing can be written there.
  explicit OutputFile(std::string path);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  std::ostream& stream() noexcept { return stream_; }
  // Throws FileError when the contents could not be written in full.
  void commit();

 private:
  std::string path_;
  std::string temporary_;
  std::ofstream stream_;
};

#endif  // TOOLS_STDDICT_OUTPUTFILE_H
