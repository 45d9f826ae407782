// The image file: opens as the dictionary that was written, or is refused with its place.
#include <gtest/gtest.h>
#include <unistd.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/extract/dictionaryfile.h"
#include "cpi/extract/dictionarytables.h"
#include "cpi/extract/image.h"

namespace cpi {
namespace {

DictionaryTables someTables() {
  const std::u16string wide = u"\u00e9\u6ce8\U0001F600";
  const std::u16string broken{u'a', 0xDC00, 0xD800};
  DictionaryTables tables;
  tables.Identification = {wide, u"full", 1, 2, 3, u"2024-01-01T00:00:00", 4, 5, 6};
  tables.Project = {std::u16string(255, u'\u6ce8'), u"prefix", 7};
  tables.Dependencies = {{u"first"}, {u""}, {wide}};
  tables.WireFormats = {{u"XML", u"id1"}, {u"last", {}}};
  tables.Tags = {{10, {}, 'M', 20, 1, 2, false, 3, 4, 5, 6, 7},
                 {.Id = 12, .TextIdentifier = broken}};
  tables.TypeMembers = {{2, 20, 11, 21, 'E', wide, 1, 2, -1, 3, 1, 1}};
  tables.Types = {{20, u"T", 1, 2, 3, 4, 5, 6}, {}};
  tables.PathBasedInfo = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}};
  tables.MemberPath = {{1}, {0}, {2}};
  tables.ValueSet = {{0, 1}, {-1, 0}};
  tables.Values = {{LTString, Text(broken)},
                   {LTString, Text()},
                   {LTInteger, std::int64_t{-1}},
                   {LTFloat, 5e-324},
                   {LTBoolean, true},
                   {LTDateTime, PWFDateTime{2024, 2, 29, 24, 0, 0, 0, -90, 1}},
                   {LTInterval, PWFInterval{1, 1, 2, 3, 4, 5, 6, 7}},
                   {LTDecimal, Text(u"12345678901234567890.10")},
                   {}};
  tables.MemberIdIndex = {{2, 0}};
  tables.Namespaces = {{u"urn:a"}, {}};
  tables.namedProperties = {
      {TableSlot::Tags, u"t", u"a", PTText, {{}, std::u16string(u"x")}},
      {TableSlot::Tags, u"u", u"a", PTInteger, {5, {}}},
      {TableSlot::MemberPath, u"", u"", PTInteger, {1, 2, 3}},
  };
  return tables;
}

std::string imageText(const DictionaryTables& tables) {
  StdDictionaryInfo dictionary(0);
  feed(tables, dictionary);
  std::ostringstream out;
  writeImage(dictionary, out);
  return out.str();
}

template <class Read>
std::string refusal(Read read) {
  try {
    read();
  } catch (const FileError& error) {
    return error.what();
  }
  return "accepted";
}

std::string streamRefusal(const std::string& bytes) {
  std::istringstream in(bytes);
  return refusal([&] { readImage(in, "in"); });
}

class ImageFile : public testing::Test {
 protected:
  void SetUp() override {
    path_ = testing::TempDir() + "image-" + std::to_string(::getpid()) + ".file";
  }
  void TearDown() override { std::filesystem::remove(path_); }
  void write(const std::string& bytes) { std::ofstream(path_, std::ios::binary) << bytes; }

  std::string path_;
};

TEST_F(ImageFile, TheTablesComeBack) {
  DictionaryTables small;
  small.Identification.emplace();
  for (const DictionaryTables& tables : {someTables(), small}) {
    const std::string image = imageText(tables);
    write(image);
    EXPECT_EQ(tablesOf(*readImage(path_)), tables);
    EXPECT_EQ(tablesOf(*mapImage(path_)), tables);
    const auto dictionary = loadDictionary(path_);
    EXPECT_EQ(tablesOf(*dictionary), tables);
    std::ostringstream again;
    writeImage(*dictionary, again);
    EXPECT_TRUE(again.str() == image);
  }
}

TEST_F(ImageFile, ABrokenFileIsRefusedWithItsPlace) {
  const std::string image = imageText(someTables());
  const std::string size = std::to_string(image.size());
  write(image.substr(0, 40));
  const std::string cut =
      "found an image size of " + size + " at byte 16; expected 40, the bytes that there are";
  EXPECT_EQ(refusal([&] { loadDictionary(path_); }), path_ + ": " + cut);
  EXPECT_EQ(refusal([&] { readImage(path_ + "-"); }),
            path_ + "-: the file cannot be opened: No such file or directory");
  EXPECT_EQ(refusal([&] { mapImage(path_); }), path_ + ": " + cut);
  EXPECT_EQ(
      refusal([] { mapImage(testing::TempDir()); }),
      testing::TempDir() + ": found the end of the image at byte 0; expected 32 bytes of head");
  EXPECT_EQ(refusal([] { readImage(testing::TempDir()); }),
            testing::TempDir() + ": the file cannot be read");
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
    EXPECT_EQ(streamRefusal(row.bytes).substr(0, row.error.size() + 4), "in: " + row.error);
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
  feed(someTables(), dictionary);
  out.setstate(std::ios::badbit);
  EXPECT_EQ(refusal([&] { writeImage(dictionary, out); }), "image: the stream takes no more bytes");
}

}  // namespace
}  // namespace cpi
