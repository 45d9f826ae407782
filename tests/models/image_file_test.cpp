// The image file: opens as the dictionary that was written, or is refused with its place.
#include <gtest/gtest.h>

#include <exception>
#include <sstream>
#include <string>

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/extract/dictionaryfile.h"
#include "cpi/extract/image.h"
#include "tests/models/tables_support.h"
#include "tests/support/temporary.h"
#include "tests/support/texts.h"

namespace cpi::test {
namespace {

std::string imageText(const DictionaryTables& tables) {
  std::ostringstream out;
  writeImage(*loaded(tables), out);
  return out.str();
}

TEST(ImageFile, TheTablesComeBack) {
  const TemporaryDirectory folder;
  DictionaryTables small;
  small.Identification.emplace();
  for (const DictionaryTables& tables : {fullTables(), small}) {
    const std::string image = imageText(tables);
    const std::string file = folder.write("d.image", image);
    EXPECT_EQ(tablesOf(*readImage(file)), tables);
    EXPECT_EQ(tablesOf(*mapImage(file)), tables);
    const auto dictionary = loadDictionary(file);
    EXPECT_EQ(tablesOf(*dictionary), tables);
    std::ostringstream again;
    writeImage(*dictionary, again);
    EXPECT_TRUE(again.str() == image);
  }
}

TEST(ImageFile, ABrokenFileIsRefusedWithItsPlace) {
  const std::string image = imageText(fullTables());
  const std::string size = std::to_string(image.size());
  const TemporaryDirectory folder;
  const std::string file = folder.write("cut.image", image.substr(0, 40));
  const std::string none = folder.path() + "/none.image";
  const std::string cut =
      ": found an image size of " + size + " at byte 16; expected 40, the bytes that there are";
  EXPECT_EQ(refusalOf<FileError>([&] { loadDictionary(file); }), file + cut);
  EXPECT_EQ(refusalOf<FileError>([&] { mapImage(file); }), file + cut);
  EXPECT_EQ(refusalOf<FileError>([&] { readImage(none); }),
            none + ": the file cannot be opened: No such file or directory");
  EXPECT_EQ(refusalOf<FileError>([&] { mapImage(folder.path()); }),
            folder.path() + ": found the end of the image at byte 0; expected 32 bytes of head");
  EXPECT_EQ(refusalOf<FileError>([&] { readImage(folder.path()); }),
            folder.path() + ": the file cannot be read");
  const struct {
    std::string bytes;
    std::string error;
  } cases[] = {
      {"", "found the end of the image at byte 0; expected 32 bytes of head"},
      {std::string(40, '{'),
       "found byte 123 at byte 0; expected 137, of the first eight of an image"},
      {image + std::string(1 << 22, 'x'),
       "found an image size of " + size + " at byte 16; expected " +
           std::to_string(image.size() + 1) + ", the bytes that there are"},
      // A size that is claimed costs no memory.
      {image.substr(0, 16) + std::string(3, '\xF8') + std::string(4, '\xFF') + image.substr(23),
       "found an image size of "},
  };
  for (const auto& row : cases) {
    std::istringstream in(row.bytes);
    const std::string error = refusalOf<FileError>([&] { readImage(in, "in"); });
    EXPECT_EQ(error.substr(0, row.error.size() + 4), "in: " + row.error);
  }
  std::string changed = image;
  changed.back() = static_cast<char>(changed.back() ^ 1);
  try {
    std::istringstream in(changed);
    readImage(in, "in");
    ADD_FAILURE() << "accepted";
  } catch (const FileError& error) {
    EXPECT_EQ(error.file(), "in");
    EXPECT_EQ(error.found().substr(0, 11), "checksum 0x");
    EXPECT_THROW(std::rethrow_if_nested(error), ImageError);
  }
}

TEST(Image, WhatCannotBeWrittenIsReported) {
  StdDictionaryInfo dictionary(0);
  std::ostringstream out;
  EXPECT_THROW(writeImage(dictionary, out), std::invalid_argument);
  EXPECT_EQ(out.str(), "");
  feed(fullTables(), dictionary);
  out.setstate(std::ios::badbit);
  EXPECT_EQ(refusalOf<FileError>([&] { writeImage(dictionary, out); }),
            "image: the stream takes no more bytes");
}

}  // namespace
}  // namespace cpi::test
