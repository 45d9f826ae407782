#include "cpi/extract/image.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <fstream>
#include <span>
#include <utility>
#include <vector>

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/extract/openfile.h"

namespace cpi {

namespace {

using Image = std::vector<unsigned char>;

// Appends up to `count` bytes of the stream; fewer come at its end.
void append(std::istream& stream, const std::string& fileName, std::uint64_t count, Image& image) {
  const std::size_t start = image.size();
  image.resize(start + count);
  stream.read(reinterpret_cast<char*>(image.data() + start), static_cast<std::streamsize>(count));
  if (stream.bad()) throw FileError(fileName, {}, "the file cannot be read");
  image.resize(start + static_cast<std::size_t>(stream.gcount()));
}

// The bytes of the image, and one more when the stream has it. The size that a head claims is
// believed as far as bytes have come.
Image readBytes(std::istream& stream, const std::string& fileName) {
  constexpr std::uint64_t kFirstStep = std::uint64_t{1} << 20;
  Image image;
  append(stream, fileName, kImageHeadBytes, image);
  const std::uint64_t size = imageSize(image);
  while (stream && image.size() <= size) {
    const std::uint64_t step = std::max<std::uint64_t>(kFirstStep, image.size());
    append(stream, fileName, std::min(step, size + 1 - image.size()), image);
  }
  return image;
}

// Runs `open`, which takes an image, telling of what file it was.
template <class Open>
void openImage(const std::string& fileName, Open open) {
  try {
    open();
  } catch (const ImageError& error) {
    std::throw_with_nested(FileError(fileName, {},
                                     error.found() + " at byte " + std::to_string(error.offset()),
                                     error.expected()));
  }
}

// A file, mapped read-only. Empty when it has no bytes that can be.
class Mapping {
 public:
  explicit Mapping(const std::string& path) {
    const int file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (file < 0) failToOpen(path);
    struct stat facts = {};
    const bool isKnown = ::fstat(file, &facts) == 0 && S_ISREG(facts.st_mode) && facts.st_size > 0;
    const auto size = static_cast<std::size_t>(isKnown ? facts.st_size : 0);
    void* const start =
        isKnown ? ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0) : MAP_FAILED;
    ::close(file);
    if (start != MAP_FAILED) bytes_ = {static_cast<const unsigned char*>(start), size};
  }
  Mapping(const Mapping&) = delete;
  Mapping& operator=(const Mapping&) = delete;
  ~Mapping() {
    if (!bytes_.empty()) ::munmap(const_cast<unsigned char*>(bytes_.data()), bytes_.size());
  }
  std::span<const unsigned char> bytes() const noexcept { return bytes_; }
  // Has all pages brought in, where the system can: one call instead of a fault for each.
  void prepareToReadAll() const noexcept {
#ifdef MADV_POPULATE_READ
    ::madvise(const_cast<unsigned char*>(bytes_.data()), bytes_.size(), MADV_POPULATE_READ);
#endif
  }

 private:
  std::span<const unsigned char> bytes_;
};

}  // namespace

void writeImage(const StdDictionaryInfo& dictionary, std::ostream& stream) {
  Image image;
  dictionary.ToQLBuffer(image);
  stream.write(reinterpret_cast<const char*>(image.data()),
               static_cast<std::streamsize>(image.size()));
  if (!stream.flush()) throw FileError("image", {}, "the stream takes no more bytes");
}

std::unique_ptr<StdDictionaryInfo> readImage(std::istream& stream, const std::string& fileName) {
  auto dictionary = std::make_unique<StdDictionaryInfo>(0);
  openImage(fileName, [&] { dictionary->FromQLBuffer(readBytes(stream, fileName)); });
  return dictionary;
}

std::unique_ptr<StdDictionaryInfo> readImage(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) failToOpen(path);
  return readImage(stream, path);
}

std::unique_ptr<StdDictionaryInfo> mapImage(const std::string& path) {
  const auto mapping = std::make_shared<const Mapping>(path);
  auto dictionary = std::make_unique<StdDictionaryInfo>(0);
  openImage(path, [&] {
    // All of an image is verified; of another file no more than its head is looked at.
    if (imageSize(mapping->bytes()) == mapping->bytes().size()) mapping->prepareToReadAll();
    dictionary->FromQLBuffer(mapping->bytes(), mapping);
  });
  return dictionary;
}

}  // namespace cpi
