// An image, or changes to one: with its checksum put right, so that what is behind it is reached.
#include <cstring>
#include <vector>

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/dictinfo/image/imagelayout.h"
#include "cpi/extract/dictionarytables.h"
#include "fuzz/support/bytereader.h"
#include "fuzz/support/exercise.h"
#include "fuzz/support/randomdictionary.h"

namespace cpi::fuzz {
namespace {

using Image = std::vector<unsigned char>;

// An image of a small dictionary in which every table has rows.
const Image& sample() {
  static const Image image = [] {
    const std::uint8_t seed[] = {6, 6, 9, 3, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
    ByteReader bytes(seed, sizeof seed);
    DictionaryTables tables = randomTables(bytes);
    tables.Project.emplace().MessageTypePrefix = u"prefix";
    tables.Dependencies.push_back({u"other"});
    tables.WireFormats.push_back({u"XML", u"id"});
    tables.namedProperties.push_back({TableSlot::Tags, u"Doc", u"Note", PTText, {u"first"}});
    tables.namedProperties.push_back({TableSlot::Types, u"Doc", u"Rank", PTInteger, {5, -1}});
    StdDictionaryInfo dictionary(0);
    feed(tables, dictionary);
    Image written;
    dictionary.ToQLBuffer(written);
    return written;
  }();
  return image;
}

// A list of changes: two bytes of place, one of length, then the bytes.
Image changedSample(ByteReader& bytes) {
  Image image = sample();
  while (!bytes.isAtEnd()) {
    std::size_t place = bytes.byte();
    place = place << 8 | bytes.byte();
    for (int length = bytes.byte() % 9; length > 0; --length, ++place) {
      if (place < image.size()) image[place] = bytes.byte();
    }
  }
  return image;
}

void repair(Image& image) {
  ImageHead head;
  if (image.size() < sizeof head) return;
  std::memcpy(&head, image.data(), sizeof head);
  head.size = image.size();
  head.checksum = imageChecksum(std::span(image).subspan(sizeof head));
  std::memcpy(image.data(), &head, sizeof head);
}

void open(const Image& image) {
  StdDictionaryInfo dictionary(0);
  try {
    dictionary.FromQLBuffer(image);
  } catch (const ImageError& error) {
    require(error.offset() <= image.size(), "an error outside the image");
    return;
  }
  askEverything(dictionary);
  Image again;
  dictionary.ToQLBuffer(again);
  StdDictionaryInfo other(0);
  other.FromQLBuffer(again);
  require(tablesOf(other) == tablesOf(dictionary), "the image is another dictionary");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const bool isWhole = size > 0 && data[0] == kImageFirstByte;
  ByteReader bytes(data, size);
  Image image = isWhole ? Image(data, data + size) : changedSample(bytes);
  open(image);
  repair(image);
  open(image);
  return 0;
}

}  // namespace cpi::fuzz
