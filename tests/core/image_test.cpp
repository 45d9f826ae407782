// The binary image: what is written opens again, and nothing that was tampered with does harm.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/dictinfo/image/imagelayout.h"
#include "cpi/dictinfo/stddi/schema.h"
#include "cpi/runtime/kelexception.h"
#include "tests/core/support/eventtext.h"
#include "tests/core/support/testmodel.h"
#include "tests/support/idledictionary.h"
#include "tests/support/texts.h"

namespace cpi::test {
namespace {

using Image = std::vector<unsigned char>;

// Rows in every table, values of every kind, properties of both.
constexpr const char* kEvents =
    "( 1000{ 100001:0=ident 100002:0=Set 100008:0=#8 100009:0=#8 100010:0=dep 100020:0=XML "
    "100020:1=Two 100021:0=fmt } "
    "1{ 105:0=XML 106:0=pre 107:0=#1 } "
    "2{ 201:0=#1 201:1=#2 201:2=#3 204:0=M 204:1=F 204:2=F 202:0=R 202:1=A 202:2=B 203:0=#10 "
    "203:1=#11 203:2=#11 207:1=#0 208:1=#0 210:1=#0 211:0=#0 211:1=#1 211:2=#1 212:0=#0 "
    "1001{ 100101:0=T 100102:0=P 100104:0=x 100104:2=yz } "
    "1001{ 100101:0=U 100102:0=P 100105:0=#5 100105:1=#-6 } "
    "1001{ 100101:0=T 100102:0=O 100105:0=#7 } } "
    "4{ 401:0=#10 401:1=#10 401:2=#12 402:0=#2 402:1=#0 402:2=#3 403:0=#11 403:1=#12 403:2=#11 "
    "404:0=F 404:2=F 405:1=group 407:0=#0 407:1=#1 407:2=#1 411:0=#2 411:1=#-1 411:2=#1 410:0=#100 "
    "410:1=#101 410:2=#102 412:0=#1 412:1=#-1 412:2=#2 413:0=#1 413:1=#2 413:2=#1 } "
    "20{ 2000:0=#3 2001:0=#100 2001:1=#101 2001:2=#102 2002:1=#1 2002:2=#2 } "
    "21{ 2000:0=#3 2101:0=#10 2101:1=#11 2101:2=#12 2102:0=RType 2102:1=string 2103:0=#6 2103:1=#1 "
    "2103:2=#2 2104:0=#2 2104:1=#1 2104:2=#1 2106:0=#0 2106:1=#2 2106:2=#0 2107:0=#0 2107:1=#-1 "
    "2107:2=#2 2108:0=#0 } "
    "22{ 2000:0=#1 2201:0=#1 2202:0=#2 2210:0=#9 } 23{ 2000:0=#2 2301:0=#100 } "
    "24{ 2000:0=#3 2401:0=#0 2401:1=#1 2401:2=#-1 2402:1=#1 } "
    "25{ 2000:0=#8 2501:0=text 2507:1=1.5 2502:2=#5 2503:3=%1.5 2505:4=#1 2505:5=#0 "
    "2506:6=2024-02-29T12:00:00Z 2508:7=P1DT2H } "
    "26{ 2000:0=#2 2601:0=urn:a } )";

Image imageOf(const DictionaryInfo& dictionary) {
  Image image;
  dictionary.ToQLBuffer(image);
  return image;
}

std::unique_ptr<StdDictionaryInfo> opened(std::span<const unsigned char> image) {
  auto dictionary = std::make_unique<StdDictionaryInfo>(0);
  dictionary->FromQLBuffer(image);
  return dictionary;
}

std::unique_ptr<StdDictionaryInfo> loaded() {
  auto dictionary = std::make_unique<StdDictionaryInfo>(0);
  feedText(*dictionary, kEvents);
  return dictionary;
}

// Makes size and checksum fit the bytes, so that what lies behind them is looked at.
void seal(Image& image) {
  if (image.size() < kImageHeadBytes) return;
  ImageHead head;
  std::memcpy(&head, image.data(), sizeof head);
  head.size = image.size();
  head.checksum = imageChecksum(std::span(image).subspan(sizeof head));
  std::memcpy(image.data(), &head, sizeof head);
}

bool opens(const Image& image) {
  return refusalOf<ImageError>([&] { opened(image); }) == "accepted";
}

TEST(Image, WhatIsWrittenOpensAgain) {
  const auto dictionary = loaded();
  const Image image = imageOf(*dictionary);
  const auto copy = opened(image);
  EXPECT_EQ(reportOf(*copy), reportOf(*dictionary));
  EXPECT_EQ(imageOf(*copy), image);
  EXPECT_EQ(imageOf(*loaded()), image) << "pointers or padding got into the image";
  EXPECT_EQ(copy->formatID.toUtf8(), "fmt");
  const SMD_TAG_DEFINITION* const tags = copy->tags().records();
  ASSERT_EQ(copy->tags().rowCount(), 3);
  EXPECT_EQ(textView(tags[2].TextIdentifier), u"B") << "the records are not ready for readers";
  EXPECT_EQ(copy->tags().table().properties.tables().size(), 4u);
  Image shifted(1, 0);
  shifted.insert(shifted.end(), image.begin(), image.end());
  EXPECT_EQ(imageOf(*opened(std::span(shifted).subspan(1))), image) << "unaligned";
}

// An image that stays where it is serves without a copy, unchanged, as long as anyone needs it.
TEST(Image, IsUsedWhereItIs) {
  const auto dictionary = loaded();
  const Image image = imageOf(*dictionary);
  auto held = std::make_shared<const Image>(image);
  const std::weak_ptr<const Image> watch = held;
  auto inPlace = std::make_unique<StdDictionaryInfo>(0);
  inPlace->FromQLBuffer(*held, held);
  const auto isInside = [&](const void* place) {
    return place >= held->data() && place < held->data() + held->size();
  };
  EXPECT_TRUE(isInside(inPlace->tags().row(0).TextIdentifier));
  EXPECT_FALSE(isInside(inPlace->tags().records()));
  EXPECT_EQ(imageOf(*inPlace), image);
  EXPECT_EQ(reportOf(*inPlace), reportOf(*dictionary));
  inPlace->tags().table().SetProperty(1, CPI_VLS_TABMBR, CPI_StringMember, asUnits(u"changed"));
  EXPECT_EQ(textView(inPlace->tags().row(1).TextIdentifier), u"changed");
  EXPECT_EQ(*held, image) << "something was written into the image";
  held.reset();
  auto copy = std::make_unique<StdDictionaryInfo>(*inPlace);
  inPlace.reset();
  EXPECT_EQ(textView(copy->tags().row(2).TextIdentifier), u"B");
  copy->FromQLBuffer(image);
  EXPECT_TRUE(watch.expired());
  EXPECT_EQ(copy->getTagDefIndexFromName(u"A"), 1);
  Image shifted(1, 0);
  shifted.insert(shifted.end(), image.begin(), image.end());
  copy->FromQLBuffer(std::span(shifted).subspan(1), nullptr);
  shifted.clear();
  EXPECT_EQ(imageOf(*copy), image) << "unaligned";
}

// The index is derived: one that leads out of the tables, or is cut, is no reason to refuse them.
TEST(Image, AnIndexThatDoesNotFitIsBuiltAnew) {
  const auto dictionary = loaded();
  const Image image = imageOf(*dictionary);
  ImageContentsHead head;
  std::memcpy(&head, image.data() + sizeof(ImageHead), sizeof head);
  ASSERT_GT(head.derivedWords, 10u);
  const std::size_t start = image.size() - 8 * head.derivedWords;
  for (std::size_t place = start; place < image.size(); place += 4) {
    Image changed = image;
    changed[place + 3] = 0x7F;
    seal(changed);
    const auto copy = opened(changed);
    for (const char16_t* const name : {u"A", u"B", u"C", u""}) copy->getTagDefIndexFromName(name);
    EXPECT_LT(copy->getTagDefIndex(2), copy->tags().rowCount());
  }
  Image cut(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(start));
  head.derivedWords = 0;
  std::memcpy(cut.data() + sizeof(ImageHead), &head, sizeof head);
  seal(cut);
  EXPECT_EQ(imageOf(*opened(cut)), image);
}

// Old tables, old texts and the copies that share them: all follow, and nothing stays behind.
TEST(Image, OpeningReplacesTheTablesOfAllThatShareThem) {
  const Image image = imageOf(*loaded());
  const auto dictionary = buildModel(parseModel("R(6! Head Item{1,3})"));
  const StdDictionaryInfo sharer(*dictionary);
  dictionary->startMessage(nullptr);
  dictionary->FromQLBuffer(image);
  EXPECT_FALSE(dictionary->isLoading());
  EXPECT_EQ(imageOf(*dictionary), image);
  EXPECT_EQ(textView(sharer.tags().row(0).TextIdentifier), u"R");
  EXPECT_EQ(sharer.getTagDefIndexFromName(u"B"), 2);
  // A table that the image leaves without properties loses its texts.
  const Image bare = imageOf(*buildModel(parseModel("R(6! Head)")));
  dictionary->FromQLBuffer(bare);
  EXPECT_EQ(sharer.namespaces().strings(), nullptr);
  EXPECT_EQ(sharer.getTagDefIndexFromName(u"Head"), 0);
}

TEST(Image, ARefusedImageChangesNothing) {
  const auto dictionary = loaded();
  const Image before = imageOf(*dictionary);
  const void* const records = dictionary->tags().records();
  Image broken = imageOf(*buildModel(parseModel("R(6! Head)")));
  broken.back() ^= 1;
  EXPECT_NE(refusalOf<ImageError>([&] { dictionary->FromQLBuffer(broken); }), "accepted");
  EXPECT_EQ(dictionary->tags().records(), records);
  EXPECT_EQ(imageOf(*dictionary), before);
}

TEST(Image, TablesAreMadeCopiedAndLoadedThroughTheBase) {
  const auto dictionary = loaded();
  StdDictionaryInfo copy(0);
  copy.FromDictionary(*dictionary);
  EXPECT_NE(copy.tags().records(), dictionary->tags().records());
  EXPECT_EQ(reportOf(copy), reportOf(*dictionary));
  const StdDictionaryInfo larger(1);
  EXPECT_THROW(copy.FromDictionary(larger), std::invalid_argument) << "not finished";
  StdDictionaryInfo extra(1);
  EXPECT_EQ(refusalOf<ImageError>([&] { extra.FromDictionary(*dictionary); }),
            "found 13 tables at byte 32; expected 14");
  feedText(extra, kEvents);
  extra.CreateTable(0, 12, 5);
  StdDictionaryInfo extraCopy(1);
  extraCopy.FromDictionary(extra);
  EXPECT_EQ(extraCopy.tables()[0].rowCount, 5);
  EXPECT_EQ(extraCopy.getTagDefIndexFromName(u"B"), 2);

  struct Source : ExtractSource {
    void drive(FIHandler& handler) override { feedText(handler, kEvents); }
  } source;
  StdDictionaryInfo driven(0);
  driven.FromExtractFormat(source);
  EXPECT_EQ(imageOf(driven), imageOf(*dictionary));

  StdDictionaryInfo made(0);
  constexpr int kTags = static_cast<int>(TableSlot::Tags);
  EXPECT_THROW(made.CreateTable(-1, 56, 1), std::out_of_range);
  EXPECT_THROW(made.CreateTable(13, 56, 1), std::out_of_range);
  EXPECT_THROW(made.CreateTable(kTags, 55, 1), std::invalid_argument);
  made.CreateTable(kTags, sizeof(SMD_TAG_DEFINITION), 2);
  EXPECT_EQ(made.tags().rowCount(), 2);
  EXPECT_THROW(made.RepairTable(13), std::out_of_range);
  DictTable& table = made.tables()[kTags];
  table.owner = nullptr;  // nobody hears of the property before the repair
  table.CreateProperty(CPI_VLS_TABMBR, CPI_StringMember, PTText, 0).strings->SetValue(1, u"late");
  EXPECT_EQ(made.tags().row(1).TextIdentifier, nullptr);
  table.owner = &made;
  made.RepairTable(kTags);
  EXPECT_EQ(textView(made.tags().row(1).TextIdentifier), u"late");
}

// --- Tampering ---------------------------------------------------------------------------------

// One table of two 4-byte records, a text and an integer property.
struct Plain : IdleDictionary {
  Plain() : IdleDictionary(1) {}
};

Image plainImage() {
  Plain plain;
  plain.msgSetID = KelStringBase(u"S");
  plain.CreateTable(0, 4, 2);
  DictTable& table = plain.tables()[0];
  StringTable& texts = *table.CreateProperty(asUnits(u"T"), asUnits(u"a"), PTText, 100).strings;
  texts.SetValue(0, u"xy");
  texts.SetValue(1, u"z");
  table.CreateProperty(asUnits(u"T"), asUnits(u"b"), PTInteger, 0).strings->SetIntValue(1, 7);
  return imageOf(plain);
}

// The places of the plain image's parts. The first property's buffer: two offsets, "xy", "z".
constexpr std::size_t kContents = 32, kTable = 56, kText = 80, kTextBuffer = 120;
constexpr std::size_t kNumber = 144, kNumberBuffer = 184, kEnd = 200;

TEST(Image, EachPartIsVerified) {
  const struct {
    std::size_t place;
    std::int64_t value;
    std::size_t bytes;
    std::string error;
  } cases[] = {
      {0, 'x', 1, "found byte 120 at byte 0; expected 137, of the first eight of an image"},
      {8, 0x04030201, 4,
       "found byte order mark 0x0000000004030201 at byte 8; expected 0x0000000001020304, the byte "
       "order of this machine"},
      {12, 2, 4, "found version 2 at byte 12; expected 3"},
      {kContents, 2, 4, "found 2 tables at byte 32; expected 1"},
      {kContents + 4, -1, 4,
       "found 152 bytes up to the end of the image at byte 48; expected 8589934592 for the message "
       "set id"},
      {kContents + 12, 1, 4,
       "found 0 bytes up to the end of the image at byte 200; expected 8 for what was derived"},
      {50, 1, 1, "found 1 at byte 50; expected 0, for nothing is kept here"},
      {kTable, 0, 4,
       "found 2 rows of 0 bytes at byte 56; expected neither, or both and at most 4 "
       "GiB"},
      {kTable, 0x7FFFFFFF, 4,
       "found 128 bytes up to the end of the image at byte 72; expected 4294967296 for the records "
       "of a table"},
      {kTable + 4, -1, 4,
       "found 4294967295 rows of 4 bytes at byte 56; expected 0 to 2147483647 rows"},
      {kTable + 4, 3, 4, "found 2 at byte 84; expected 0, for nothing is kept here"},
      {kTable + 8, 1, 4,
       "found 56 bytes behind the last table at byte 144; expected the end of "
       "the image"},
      {kTable + 8, 1025, 4, "found 1025 properties of a table at byte 80; expected at most 1024"},
      {kTable + 8, 3, 4,
       "found 0 bytes up to the end of the image at byte 200; expected 24 for a "
       "property"},
      {kText, 3, 4, "found a property of type 3 at byte 80; expected 2 or 4"},
      {kText + 4, 1, 4,
       "found a property of 1 rows at byte 80; expected 2, as the table has, or none"},
      {kText + 16, 7, 4, "found 1 at byte 127; expected 0, for nothing is kept here"},
      {kText + 16, 17, 4,
       "found a buffer of 17 bytes of text at byte 120; expected whole UTF-16 "
       "units"},
      {kTextBuffer, 7, 4,
       "found offset 7 for row 0 at byte 120; expected 0, or an even number "
       "from 8 to less than 18"},
      {kTextBuffer, 6, 4,
       "found offset 6 for row 0 at byte 120; expected 0, or an even number "
       "from 8 to less than 18"},
      {kTextBuffer + 4, 18, 4,
       "found offset 18 for row 1 at byte 124; expected 0, or an even "
       "number from 8 to less than 18"},
      {kTextBuffer + 4, 8, 4,
       "found offset 8 for row 1 at byte 124; expected a text that no other "
       "row shares"},
      {kTextBuffer + 16, 5, 2,
       "found unit 5 at byte 136; expected the terminator of the last "
       "text"},
      {112, 'c', 2, "found a property out of order at byte 144; expected ascending member names"},
      {kNumberBuffer + 4, 9, 4,
       "found offset 9 for row 1 at byte 188; expected 0, or 8 bytes from "
       "byte 8 to byte 16"},
      {kNumberBuffer + 4, 4, 4,
       "found offset 4 for row 1 at byte 188; expected 0, or 8 bytes from "
       "byte 8 to byte 16"},
      {kTextBuffer, 0, 4, "accepted"},
      {kTable + 16, 99, 4, "accepted"},
  };
  const Image image = plainImage();
  ASSERT_EQ(image.size(), kEnd);
  ASSERT_EQ(image[kNumber], PTInteger);
  for (const auto& row : cases) {
    Image changed = image;
    std::memcpy(changed.data() + row.place, &row.value, row.bytes);
    if (row.place == kText + 16 && row.value == 7) changed[kTextBuffer + 7] = 1;
    seal(changed);
    EXPECT_EQ(refusalOf<ImageError>([&] { Plain().FromQLBuffer(changed); }), row.error);
  }
  Image longer = image;
  longer.push_back(0);
  EXPECT_EQ(refusalOf<ImageError>([&] { Plain().FromQLBuffer(longer); }),
            "found an image size of 200 at byte 16; expected 201, the bytes that there are");
  EXPECT_EQ(refusalOf<ImageError>([&] { Plain().FromQLBuffer(std::span(image).first(31)); }),
            "found the end of the image at byte 31; expected 32 bytes of head");
}

// What no dictionary holds in its records is found at its place in the image.
TEST(Image, RecordsAreVerified) {
  const auto fault = [](const std::function<void(StdDictionaryInfo&)>& change) {
    const auto dictionary = loaded();
    change(*dictionary);
    return refusalOf<std::invalid_argument>([&] { imageOf(*dictionary); });
  };
  const auto record = [](StdDictionaryInfo& dictionary, TableSlot slot, std::size_t place) {
    return dictionary.tables()[static_cast<std::size_t>(slot)].records + place;
  };
  const struct {
    TableSlot slot;
    std::size_t place;
    std::int32_t value;
    std::string error;
  } cases[] = {
      {TableSlot::Identification, 1048, 1,
       "slot 0: found FormatLevel 1; expected a level of 2 or more"},
      {TableSlot::Identification, 1052, 9,
       "slot 0: found CompatibilityLevel 9; expected a level of 8 or less"},
      {TableSlot::Tags, 56 + 16, 'X',
       "slot 4: found Class 88; expected the class letter C, E, F, M, S or T, or -99"},
      {TableSlot::Tags, 16, kNotSupplied, "accepted"},
      {TableSlot::Tags, 32, 2, "slot 4: found NullPermitted 2; expected 0 or 1"},
      {TableSlot::Tags, 32, 0x7F00, "accepted"},
      {TableSlot::Values, 48, 5,
       "slot 10: found a value of type 5; expected -1, 2, 4, 6, 12, 14, 15 or 16"},
      {TableSlot::Values, 4 * 48 + 8, 2, "slot 10: found a boolean of 2; expected 0 or 1"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(fault([&](StdDictionaryInfo& dictionary) {
                std::memcpy(record(dictionary, row.slot, row.place), &row.value, 4);
              }),
              row.error);
  }
  EXPECT_EQ(fault([&](StdDictionaryInfo& dictionary) {
              std::memset(record(dictionary, TableSlot::WireFormat, 520), 'x', 512);
            }),
            "slot 3: found FormatName 256 units; expected a terminator within 256 units");
  StdDictionaryInfo empty(0);
  Image kept = {1, 2};
  EXPECT_THROW(empty.ToQLBuffer(kept), std::invalid_argument);
  EXPECT_EQ(kept, (Image{1, 2}));
}

// Asks for everything that a hostile dictionary could answer badly.
void useAll(const StdDictionaryInfo& dictionary) {
  EXPECT_FALSE(reportOf(dictionary).empty());
  const KelStringBase none;
  for (std::int32_t id = -1; id < 13; ++id) {
    dictionary.getTypeDefIndex(id);
    dictionary.getTypeValueLogicalType(id);
    dictionary.getTraceTextForID(id + 90);
    std::int32_t count = 0, row = 0;
    const SMD_PATH_BASED_DEFINITION* first = nullptr;
    dictionary.getPathBasedInfo(id, 2, count, first, row);
    const std::int32_t* list = nullptr;
    dictionary.getTagPathList(id, list);
  }
  try {
    PWFData value;
    StdValueIterator values(nullptr, &dictionary, 1, -1);
    std::int32_t role = 0;
    for (int i = 0; i < 4 && values.getValue(value, role) == kSuccess; ++i)
      values.moveToNextValue();
    StdDictionaryIterator at(nullptr, &dictionary, 0);
    at.setContextFromTag(u"R", none);
    at.moveToFirstChildTagName(u"A", none, true, true);
    at.moveToNextSiblingTagName(u"B", none, true, true);
    at.moveToNextSiblingTagName(u"Q", none, true, true);
    at.moveToParent();
    for (int i = 0; i < 4 && (i == 0 ? at.moveToFirstChild() : at.moveToNextSibling()); ++i) {
      at.getRepeatIndex();
    }
  } catch (const KelException&) {
    // A search in a model that leads nowhere may end in an error.
  }
}

TEST(Image, EveryFlippedByteIsRefused) {
  const Image image = imageOf(*loaded());
  for (std::size_t i = 0; i < image.size(); ++i) {
    for (const int mask : {0x01, 0x80, 0xFF}) {
      Image changed = image;
      changed[i] = static_cast<unsigned char>(changed[i] ^ mask);
      EXPECT_FALSE(opens(changed)) << i;
    }
  }
  for (std::size_t size = 0; size < image.size(); ++size) {
    EXPECT_FALSE(opens(Image(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(size))));
  }
}

// With size and checksum made to fit: refused, or a dictionary that answers.
TEST(Image, NoTamperingDoesHarm) {
  const Image image = imageOf(*loaded());
  int openedCount = 0;
  const auto tryOut = [&](Image changed) {
    seal(changed);
    StdDictionaryInfo dictionary(0);
    try {
      dictionary.FromQLBuffer(changed);
    } catch (const ImageError&) {
      return;
    }
    ++openedCount;
    useAll(dictionary);
    EXPECT_TRUE(opens(imageOf(dictionary)));
  };
  for (std::size_t i = kImageHeadBytes; i < image.size(); ++i) {
    Image changed = image;
    changed[i] = static_cast<unsigned char>(~changed[i]);
    tryOut(std::move(changed));
  }
  for (std::size_t i = kImageHeadBytes; i + 4 <= image.size(); i += 4) {
    std::uint32_t old = 0;
    std::memcpy(&old, image.data() + i, sizeof old);
    if (old == 0 && i % 64 != 0) continue;  // most zeros are ends of fixed texts
    for (const std::uint32_t value : {0u, 1u, old + 1, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFEu}) {
      Image changed = image;
      std::memcpy(changed.data() + i, &value, sizeof value);
      tryOut(std::move(changed));
    }
  }
  for (std::size_t size = 0; size < image.size(); size += 8) {
    tryOut(Image(image.begin(), image.begin() + static_cast<std::ptrdiff_t>(size)));
  }
  EXPECT_GT(openedCount, 1000) << "too little got past the checks to be a test of readers";
}

}  // namespace
}  // namespace cpi::test
