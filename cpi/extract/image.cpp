#include "cpi/extract/image.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <exception>
#include <fstream>
#include <vector>

#include "cpi/dictinfo/dictionaryimage.h"

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
  try {
    dictionary->FromQLBuffer(readBytes(stream, fileName));
  } catch (const ImageError& error) {
    std::throw_with_nested(FileError(fileName, {},
                                     error.found() + " at byte " + std::to_string(error.offset()),
                                     error.expected()));
  }
  return dictionary;
}

std::unique_ptr<StdDictionaryInfo> readImage(const std::string& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) {
    throw FileError(path, {}, std::string("the file cannot be opened: ") + std::strerror(errno));
  }
  return readImage(stream, path);
}

}  // namespace cpi
