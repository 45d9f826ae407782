// What the indexes of look-ups must agree with: probing, scans, and the tables themselves. The
// answers to each query are recorded in vectors.
#include <gtest/gtest.h>

#include <random>
#include <string>

#include "cpi/dictinfo/stddi/query/lookupindex.h"
#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "tests/core/support/eventtext.h"

namespace cpi::test {
namespace {

std::string column(int id, const std::vector<std::int32_t>& values) {
  std::string text;
  for (std::size_t row = 0; row < values.size(); ++row) {
    text +=
        std::to_string(id) + ":" + std::to_string(row) + "=#" + std::to_string(values[row]) + " ";
  }
  return text;
}

std::string sized(int section, std::size_t rows) {
  return std::to_string(section) + "{ 2000:0=#" + std::to_string(rows) + " ";
}

// The probing that all three id look-ups promise, told step by step.
std::int32_t probe(const std::vector<std::int32_t>& ids, std::int32_t wanted) {
  std::int64_t high = static_cast<std::int64_t>(ids.size());
  std::int64_t low = 0;
  std::int64_t middle = high / 2;
  if (high == 0) return -1;
  for (;;) {
    const std::int32_t key = ids[static_cast<std::size_t>(middle)];
    if (key == wanted) return static_cast<std::int32_t>(middle);
    if (key > wanted) high = middle;
    if (key < wanted) low = middle;
    const std::int64_t next = (high + low) / 2;
    if (next == middle || low >= high) return -1;
    middle = next;
  }
}

TEST(IdLookups, GiveTheRowThatTheProbingReaches) {
  std::mt19937 random(20260719);
  constexpr std::uint32_t kSpreads[] = {30, 100, 3'000'000'000};
  for (int round = 0; round < 300; ++round) {
    std::vector<std::int32_t> ids(random() % 40);
    for (std::int32_t& id : ids) id = static_cast<std::int32_t>(random() % kSpreads[round % 3]) - 3;
    if (round % 4 != 0) std::sort(ids.begin(), ids.end());  // ascending, often with equal ids
    if (round % 4 > 1) ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    StdDictionaryInfo dictionary(0);
    std::vector<std::int32_t> rows(ids.size());
    for (std::size_t i = 0; i < rows.size(); ++i) rows[i] = static_cast<std::int32_t>(i);
    ASSERT_EQ(
        errorOf(dictionary, "( 1000{ 100002:0=S } 2{ " + column(201, ids) +
                                (ids.empty() ? "" : "202:0=x ") + "} " + sized(21, ids.size()) +
                                column(2101, ids) + "} " + sized(20, ids.size()) +
                                column(2001, ids) + column(2002, rows) + "} )"),
        "");
    std::vector<std::int32_t> questions(ids);
    for (std::int32_t wanted = -5; wanted < 30; ++wanted) questions.push_back(wanted);
    for (const std::int32_t wanted : questions) {
      const std::int32_t expected = probe(ids, wanted);
      ASSERT_EQ(dictionary.getTagDefIndex(wanted), expected) << "round " << round;
      ASSERT_EQ(dictionary.getTypeDefIndex(wanted), expected) << "round " << round;
      ASSERT_EQ(dictionary.getStructDefIndexFromMbrID(wanted), expected) << "round " << round;
    }
  }
}

// The pairs of name and namespace that tags answer to, by the keys.
TEST(NameLookups, ATagAnswersToThePartBehindTheFirstMark) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(
      errorOf(dictionary,
              "( 1000{ 100002:0=S } 2{ " + column(201, {1, 2, 3, 4, 5, 6, 7, 8, 9}) +
                  "202:0=A 202:1=l1^A 202:2=a^b^A 202:3=l2^A 202:4=A+ 202:5=A 202:6=A 202:8=^ " +
                  column(212, {-1, -1, -1, 0, -1, 2, 9, -1, 1}) +
                  "} 26{ 2000:0=#3 2601:0=urn:x 2601:2=urn:x } )"),
      "");
  const ElementNames& names = *dictionary.index()->elements();
  const std::pair<std::u16string, std::u16string> kSearches[] = {
      {u"A", u""},    {u"A", u"urn:x"}, {u"A ", u""}, {u"b^A", u""},
      {u"l1^A", u""}, {u"A", u"urn:y"}, {u"", u""},   {u"A", std::u16string(u"urn:x\0", 6)},
  };
  const std::vector<std::int32_t> kKeys = {0, 3, 4, 2, -1, -1, 8, -1};
  for (std::size_t i = 0; i < kKeys.size(); ++i) {
    EXPECT_EQ(names.keyOf(kSearches[i].first, kSearches[i].second), kKeys[i]) << i;
  }
  const std::vector<std::int32_t> kKeysOfTags = {0, 0, 2, 3, 4, 3, 6, -1, 8};
  for (std::int32_t tag = 0; tag < 9; ++tag) {
    EXPECT_EQ(names.keyOfTag(tag), kKeysOfTags[static_cast<std::size_t>(tag)]) << tag;
    EXPECT_FALSE(names.answers(tag, -1)) << tag;
  }
}

// Against a scan of the rows, on names that are often equal once trimmed.
TEST(NameLookups, TheIndexFindsWhatAScanFinds) {
  std::mt19937 random(4711);
  const char16_t* const kSpaces[] = {u"", u"urn:a", u"urn:b"};
  for (int round = 0; round < 60; ++round) {
    const std::size_t rows = random() % 60 + 1;
    std::vector<std::u16string> names(rows);
    std::vector<std::int32_t> spaces(rows);
    std::vector<std::int32_t> ids(rows);
    std::string texts;
    for (std::size_t row = 0; row < rows; ++row) {
      names[row] = std::u16string(random() % 3, u'a') + std::u16string(random() % 2, u'b') +
                   std::u16string(random() % 2, u' ');
      spaces[row] = static_cast<std::int32_t>(random() % 3) - 1;
      ids[row] = static_cast<std::int32_t>(row) + 1;
      std::string text = toUtf8(names[row]);
      std::replace(text.begin(), text.end(), ' ', '+');
      texts += "202:" + std::to_string(row) + "=" + text + " ";
    }
    StdDictionaryInfo dictionary(0);
    ASSERT_EQ(errorOf(dictionary, "( 1000{ 100002:0=S } 2{ " + column(201, ids) + texts +
                                      column(212, spaces) +
                                      "} 26{ 2000:0=#2 2601:0=urn:a 2601:1=urn:b } )"),
              "");
    const auto scan = [&](std::u16string wanted, std::size_t space, bool any) {
      const auto trim = [](std::u16string text) {
        while (text.ends_with(u' ')) text.pop_back();
        return text;
      };
      for (std::size_t row = 0; row < rows && !trim(wanted).empty(); ++row) {
        if (trim(names[row]) != trim(wanted)) continue;
        if (any || spaces[row] == static_cast<std::int32_t>(space) - 1) return ids[row] - 1;
      }
      return -1;
    };
    for (const char16_t* const wanted : {u"a", u"aa ", u"b", u"ab", u"aab", u" ", u"c"}) {
      for (std::size_t space = 0; space < 3; ++space) {
        for (const bool any : {false, true}) {
          ASSERT_EQ(dictionary.getTagDefIndexFromName(wanted, kSpaces[space], any),
                    scan(wanted, space, any))
              << "round " << round << " " << toUtf8(wanted) << " " << space << any;
        }
      }
    }
  }
}

// A dictionary whose load has not ended has no index and looks at the tables themselves.
TEST(Queries, AnIndexAnswersAsTheTablesDo) {
  std::mt19937 random(815);
  const auto numbers = [&](std::size_t count, std::uint32_t spread, bool isSorted) {
    std::vector<std::int32_t> values(count);
    for (std::int32_t& value : values) value = static_cast<std::int32_t>(random() % spread) - 1;
    if (isSorted) std::sort(values.begin(), values.end());
    return values;
  };
  for (int round = 0; round < 30; ++round) {
    const bool isSorted = round % 2 == 0;
    const std::string stream =
        "( 1000{ 100002:0=S } 4{ " + column(401, numbers(200, 4, isSorted)) +
        column(402, numbers(200, 60, false)) + column(412, numbers(200, 9, false)) + "} " +
        sized(21, 20) + column(2101, numbers(20, isSorted ? 20 : 400, isSorted)) +
        column(2105, numbers(20, 20, false)) + column(2106, numbers(20, 6, false)) +
        column(2107, numbers(20, 200, false)) + "} " + sized(22, 50) +
        column(2201, numbers(50, 4, false)) + column(2202, numbers(50, 4, isSorted)) + "} ";
    StdDictionaryInfo indexed(0);
    StdDictionaryInfo plain(0);
    ASSERT_EQ(errorOf(indexed, stream + ")"), "");
    errorOf(plain, stream);
    ASSERT_NE(indexed.index(), nullptr);
    ASSERT_EQ(plain.index(), nullptr);
    const auto answers = [](const StdDictionaryInfo& dictionary) {
      std::string all;
      const auto tell = [&](std::int32_t value) { all += std::to_string(value) + " "; };
      for (std::int32_t i = -2; i < 202; ++i) {
        std::int32_t count = -7;
        std::int32_t index = -7;
        const SMD_STRUCTURE_ELEMENT_DEFINITION* member = nullptr;
        const SMD_PATH_BASED_DEFINITION* path = nullptr;
        tell(dictionary.getStructureDefinitionFromIndex(i, count, member));
        tell(dictionary.getStructureDefinition(i, count, member, index));
        tell(count);
        tell(dictionary.getTypeBaseLogicalType(i));
        tell(dictionary.getTypeDefIndexFromLogicalType(static_cast<LOGICAL_TYPE>(i)));
        tell(dictionary.getTagDefIndexUsingParentTypeDefIndex(i % 20, i / 3));
        tell(dictionary.getPathBasedInfo(i / 10, i % 10, count, path, index));
        tell(count);
        tell(index);
      }
      return all;
    };
    ASSERT_EQ(answers(indexed), answers(plain)) << "round " << round;
  }
}

TEST(Queries, AValueSetThatLeadsToNoValueEndsThere) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(errorOf(dictionary,
                    "( 1000{ 100002:0=S } 2{ 201:0=#1 202:0=A 208:0=#0 } "
                    "24{ 2000:0=#2 2401:0=#0 2401:1=#9 } 25{ 2000:0=#1 2501:0=red } )"),
            "");
  StdValueIterator values(nullptr, &dictionary, 0, -1);
  PWFData value;
  std::int32_t role = 0;
  EXPECT_EQ(values.getValue(value, role), kSuccess);
  values.moveToNextValue();
  EXPECT_EQ(values.getValue(value, role), kNone);
  EXPECT_THROW(dictionary.values().getData(2), KelParserException);
}

}  // namespace
}  // namespace cpi::test
