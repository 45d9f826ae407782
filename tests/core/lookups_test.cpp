// Look-ups by id and by name, records, logical types, path-based properties and values.
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

// Tags: 1 A none, 2 A urn:x, 3 "B " none, 4 without text, 5 A with a dangling namespace, 6 256
// units.
const std::string& namesStream() {
  static const std::string text =
      "( 1000{ 100002:0=S } 2{ " + column(201, {1, 2, 3, 4, 5, 6}) +
      "202:0=A 202:1=A 202:2=B+ 202:4=A 202:5=" + std::string(256, 'n') + " " +
      column(212, {-1, 0, -1, -1, 9, -1}) + "} " + sized(21, 3) + column(2101, {1, 2, 3}) +
      "2102:0=A 2102:1=A 2102:2=+ " + column(2108, {0, -1, -1}) + "} " + sized(26, 1) +
      "2601:0=urn:x } )";
  return text;
}

TEST(NameLookups, TheFirstRowOfNameAndNamespaceWins) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(errorOf(dictionary, namesStream()), "");
  struct Case {
    std::u16string name;
    const char16_t* space;
    bool any;
    std::int32_t row;   // getTagDefIndexFromName
    std::int32_t code;  // getTagIdForTagText
  };
  const std::u16string longest(256, u'n');
  const Case kCases[] = {
      {u"A", u"", false, 0, 0},
      {u"A", u"urn:x", false, 1, 0},
      {u"A", u"urn:y", false, -1, 10025},
      {u"A", u"urn:y", true, 0, 0},
      {u"A  ", u"", false, 0, 0},
      {u" A", u"", true, -1, 10025},
      {u"B", u"", false, 2, 0},
      {u"a", u"", true, -1, 10025},
      {u"", u"", true, -1, 10025},
      {u"  ", u"", true, -1, 10025},
      {longest, u"", true, 5, 0},
      {longest + u" ", u"", true, 5, 10030},
      {longest + u"n", u"", true, -1, 10030},
  };
  for (const Case& c : kCases) {
    std::int32_t id = -7;
    EXPECT_EQ(dictionary.getTagDefIndexFromName(c.name.c_str(), c.space, c.any), c.row)
        << toUtf8(c.name);
    EXPECT_EQ(dictionary.getTagIdForTagText(c.name.c_str(), c.space, id, c.any), c.code)
        << toUtf8(c.name);
    EXPECT_EQ(id, c.code == 0 ? c.row + 1 : -7) << toUtf8(c.name);
  }
  std::int32_t id = -7;
  EXPECT_EQ(dictionary.getTagDefIndexFromName(nullptr), -1);
  EXPECT_EQ(dictionary.getTagIdForTagText(nullptr, id), 10025);
  EXPECT_EQ(dictionary.getTypeIdForTypeText(nullptr, KelStringBase(), id, true), 10025);
  EXPECT_EQ(dictionary.getTypeIdForTypeText(u"A", KelStringBase(), id, false), 0);
  EXPECT_EQ(id, 2);
  EXPECT_EQ(dictionary.getTypeIdForTypeText(u"A", u"urn:x", id, false), 0);
  EXPECT_EQ(id, 1);
  // The first units are compared untrimmed: a text of spaces finds one of spaces, empty does not.
  EXPECT_EQ(dictionary.getTypeIdForTypeText(u"", KelStringBase(), id, true), 10025);
  EXPECT_EQ(dictionary.getTypeIdForTypeText(u"  ", KelStringBase(), id, true), 0);
  EXPECT_EQ(id, 3);
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

// Type 1 has members 0..1 and base type 3; types 2 and 3 none; indexes of tag 2 lead nowhere.
constexpr const char* kRecords =
    "( 1000{ 100002:0=S } 2{ 201:0=#1 201:1=#2 202:0=A 205:0=#3 205:1=#4 207:0=#0 208:0=#0 "
    "208:1=#77 209:0=#5 211:0=#0 211:1=#-1 } 4{ 401:0=#1 401:1=#1 401:2=#9 402:0=#1 402:1=#1 "
    "410:0=#11 410:1=#12 410:2=#13 412:0=#-1 412:1=#0 } 20{ 2000:0=#3 2001:0=#11 2002:0=#0 "
    "2001:1=#12 2002:1=#1 2001:2=#13 2002:2=#-4 } 21{ 2000:0=#3 2101:0=#1 2101:1=#2 2101:2=#3 "
    "2105:0=#3 2105:1=#44 2106:0=#4 2106:1=#4 2106:2=#6 2107:0=#0 2107:1=#-1 2107:2=#50 2102:2=T } "
    "22{ 2000:0=#2 2201:0=#5 2202:0=#6 2201:1=#5 2202:1=#6 2205:0=#2 2205:1=#-1 2209:1=#8 } "
    "24{ 2000:0=#4 2401:0=#0 2401:1=#-1 2401:2=#1 2401:3=#9 2402:0=#7 2402:2=#8 } "
    "25{ 2000:0=#2 2501:0=red 2502:0=#42 } )";

TEST(Queries, RecordsAndResultCodes) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(errorOf(dictionary, kRecords), "");
  std::int32_t index = -7;
  std::int32_t count = -7;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* member = nullptr;
  EXPECT_EQ(dictionary.getStructureDefinition(1, count, member, index), 0);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(member, &dictionary.typeMembers().row(0));
  EXPECT_EQ(dictionary.getStructureDefinition(2, count, member, index), 10025);
  EXPECT_EQ(dictionary.getStructureDefinition(3, count, member, index), 10025) << "row 50";
  EXPECT_EQ(index, -1);
  EXPECT_EQ(dictionary.getStructDefFromMbrID(0, count, member, index), 10010);
  EXPECT_EQ(dictionary.getStructDefFromMbrID(13, count, member, index), 10025);
  EXPECT_EQ(dictionary.getStructDefFromMbrID(12, count, member, index), 0);
  EXPECT_EQ(count, 1);
  const SMD_TYPE_DEFINITION* type = nullptr;
  EXPECT_EQ(dictionary.getTypeDefinitionFromIndex(-1, type), 10016);
  EXPECT_EQ(dictionary.getTypeDefinitionFromIndex(3, type), 10020);
  EXPECT_EQ(type, nullptr);
  const SMD_TAG_DEFINITION* tag = &dictionary.tags().row(0);
  EXPECT_EQ(dictionary.getTagDefinition(9, tag, index), 10025);
  EXPECT_EQ(tag, nullptr);
  // The first member that carries the tag decides, even when it leads to no row.
  EXPECT_EQ(dictionary.getTagDefIndexUsingParentTypeDefIndex(0, 1), -1);
  EXPECT_EQ(dictionary.getTagDefIndexUsingParentTypeDefIndex(2, 1), 0);
  EXPECT_EQ(dictionary.getTypeIndexFromTagID(2, index), 10025);
  EXPECT_EQ(dictionary.getTypeBaseLogicalType(0), 6);
  EXPECT_EQ(dictionary.getTypeValueLogicalType(1), 0) << "a base type that is not there";
  EXPECT_EQ(dictionary.getTypeDefIndexFromLogicalType(static_cast<LOGICAL_TYPE>(4)), 0);
  EXPECT_EQ(toUtf8(textView(dictionary.getTraceTextForID(3))), "T");
  EXPECT_EQ(toUtf8(textView(dictionary.getTraceTextForID(13))), "UNDEFINED");
  const MSGSET_DEFINITION* project = nullptr;
  EXPECT_EQ(dictionary.getMsgSetDefinition(project), 0);
  EXPECT_EQ(project, nullptr);
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

TEST(Queries, PropertiesFromOverrideOrTag) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(errorOf(dictionary, kRecords), "");
  struct Case {
    std::int32_t tag, path, code, minLength;
  };
  for (const Case& c : {Case{-1, 1, 0, 8}, Case{0, 1, 0, 8}, Case{0, -1, 0, 3},
                        Case{-1, -1, 10016, 0}, Case{2, -1, 10020, 0}, Case{0, 2, 10020, 0}}) {
    std::int32_t length = 0;
    EXPECT_EQ(dictionary.getMinLength(c.tag, c.path, length), c.code);
    EXPECT_EQ(length, c.minLength);
  }
  bool isPermitted = true;
  EXPECT_EQ(dictionary.getNullPermitted(0, -1, isPermitted), 0);
  EXPECT_FALSE(isPermitted);
  std::int32_t count = 0;
  std::int32_t index = -1;
  const SMD_PATH_BASED_DEFINITION* first = nullptr;
  EXPECT_EQ(dictionary.getPathBasedInfo(5, 6, count, first, index), 0);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(dictionary.getPathBasedInfo(5, 7, count, first, index), 10025);
  EXPECT_EQ(count, 0);
}

TEST(Queries, ValuesOfASet) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(errorOf(dictionary, kRecords), "");
  const auto valuesOf = [&](std::int32_t tag, std::int32_t path) {
    std::string text;
    PWFData value;
    std::int32_t role = 0;
    for (StdValueIterator at(nullptr, &dictionary, tag, path); at.getValue(value, role) == 0;
         at.moveToNextValue()) {
      text += std::to_string(role) + "=" +
              toUtf8(textView(value.getDebugString().getStringValue())) + " ";
    }
    return text;
  };
  EXPECT_EQ(valuesOf(0, -1), "7=red ");
  EXPECT_EQ(valuesOf(0, 0), "8=42 ") << "the second value leads nowhere";
  EXPECT_EQ(valuesOf(0, 1), "7=red ") << "an override without a set leaves the tag's";
  EXPECT_EQ(valuesOf(1, -1), "") << "a set beyond the table";
  EXPECT_EQ(valuesOf(-1, 99), "");
  EXPECT_THROW(dictionary.values().getData(2), KelParserException);
}

}  // namespace
}  // namespace cpi::test
