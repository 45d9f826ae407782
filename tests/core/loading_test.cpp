// Streams, legal and broken, and what is left in the tables.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "cpi/dictinfo/stddi/schema.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "tests/core/support/eventtext.h"

namespace cpi::test {
namespace {

constexpr const char* kIdentified = "( 1000{ 100002:0=Set } ";

struct RefusedCase {
  const char* name;
  const char* events;   // behind kIdentified
  const char* message;  // part of what()
};

class Refused : public testing::TestWithParam<RefusedCase> {};

TEST_P(Refused, WithItsReasonAndWhatWasLoadedStays) {
  StdDictionaryInfo dictionary(0);
  const std::string error = errorOf(dictionary, kIdentified + std::string(GetParam().events));
  EXPECT_NE(error.find(GetParam().message), std::string::npos) << "got: " << error;
  EXPECT_EQ(dictionary.msgSetID.toUtf8(), "Set");
  EXPECT_EQ(dictionary.identification().rowCount(), 1);
  EXPECT_TRUE(dictionary.isLoading());
}

const RefusedCase kRefused[] = {
    {"FirstLevelTooOld", "1000{ 100008:0=#1", "Format Level error. File format too old to parse."},
    {"LevelTooNew", "1000{ 100009:0=#9", "This parser does not support this newer dictionary."},
    {"TagClass", "2{ 201:0=#1 204:0=X",
     "Invalid tag class (0xC000158E, cpi/dictinfo/stddi/"
     "stddictionaryhandler:475): 88"},
    {"TagClassWholeUnit", "2{ 201:0=#1 204:0=\xC5\x86", "475): 326"},
    {"MemberClass", "4{ 401:0=#1 404:0=x", "stddictionaryhandler:564): 120"},
    {"Flag", "2{ 201:0=#1 207:0=#2",
     "Invalid value for null permitted. (0xC000158E, cpi/"
     "dictinfo/stddi/stddictionaryhandler:494): 2"},
    {"RowBeyondTable", "2{ 201:0=#1 203:0=#5 203:1=#6",
     "section 2 (Tags), column 203 (Type), row 1: the row is outside the table, which has 1 rows"},
    {"NegativeRow", "21{ 2000:0=#1 2101:-1=#6", "row -1: the row is outside the table"},
    {"BeforeNumRows", "21{ 2101:0=#6", "the items that size the table must come first"},
    {"MembersWithoutKey", "2{ 201:0=#1 202:0=A } 4{ 410:0=#1", "row 0: the row is outside"},
    {"NegativeCount", "21{ 2000:0=#-1", "a table has 0 to 16777216 rows, not -1"},
    {"HugeCount", "24{ 2000:0=#2147483647", "a table has 0 to 16777216 rows, not 2147483647"},
    {"CountForATableWithRows", "21{ 2000:0=#1 2000:0=#2", "the table already has 1 rows"},
    {"MoreValuesThanRows", "25{ 2000:0=#1 2501:0=a 2501:0=b", "column 2501 (StringValue), row 1"},
    {"DateTime", "25{ 2000:0=#1 2506:0=soon", "section 25 (Values), column 2506 (DateTimeValue)"},
    {"Interval", "25{ 2000:0=#1 2508:0=P", "section 25 (Values), column 2508 (IntervalValue)"},
    {"TextForANumber", "21{ 2000:0=#1 2101:0=one", "column 2101 (TypeId), row 0"},
    {"NumberForAText", "21{ 2000:0=#1 2102:0=#1", "a text was expected"},
    {"NameRowOutside", "1000{ 100001:1=x", "row 1: the row is outside the table, which has 1"},
    {"PropertyNotFromRow0", "21{ 2000:0=#2 1001{ 100101:0=T 100102:0=M 100104:1=x",
     "the first value of a named property must be at row 0"},
    {"PropertyBesideTheTextColumn",
     "21{ 2000:0=#2 2102:1=Name 1001{ 100101:0=VLS_TABMBR 100102:0=Mine 100104:1=x",
     "the first value of a named property must be at row 0"},
    {"PropertyWithoutRows", "21{ 1001{ 100104:0=x", "the row is outside the table, which has 0"},
    {"PropertyOfTheOtherKind", "21{ 2000:0=#2 1001{ 100101:0=T 100102:0=M 100104:0=x 100105:1=#5",
     "the property holds values of another kind"},
    {"TextInAPropertyOfIntegers",
     "21{ 2000:0=#2 1001{ 100101:0=T 100102:0=M 100105:0=#5 100104:1=x",
     "column 100104, row 1: the property holds values of another kind"},
    {"TextInAColumnOfIntegers",
     "21{ 2000:0=#2 1001{ 100101:0=VLS_TABMBR 100102:0=StringMember 100105:0=#5 } 2102:1=x",
     "column 2102 (Identifier), row 1: the property of the table's texts holds values of another"},
};
INSTANTIATE_TEST_SUITE_P(All, Refused, testing::ValuesIn(kRefused),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(Loading, FixedTextsHold255Units) {
  const std::string fits(255, 'n');
  StdDictionaryInfo dictionary(0);
  EXPECT_EQ(errorOf(dictionary, "( 1000{ 100002:0=" + fits + " 100020:0=" + fits + " } )"), "");
  EXPECT_EQ(textView(dictionary.identification().row(0).Name).size(), 255u);
  for (const char* const column : {"100002", "100006", "100020"}) {
    StdDictionaryInfo refusing(0);
    const std::string events = std::string("( 1000{ ") + column + ":0=" + fits + "n } )";
    EXPECT_NE(errorOf(refusing, events).find("the text has 256 units; at most 255 fit"),
              std::string::npos)
        << column;
  }
}

TEST(Loading, LimitsAreThoseOfTheDictionary) {
  const std::pair<const char*, const char*> kCases[] = {
      {"21{ 2000:0=#3", "a table has 0 to 2 rows, not 3"},
      {"2{ 201:0=#1 201:1=#2 201:2=#3 202:0=A", "a table has 0 to 2 rows, not 3"},
      {"26{ 2000:0=#1 2601:0=u 1001{ 100102:0=a 100104:0=x } 1001{ 100102:0=b 100104:0=x",
       "a table has at most 2 properties"},
      {"24{ 2000:0=#2 } 20{ 2000:0=#2", "the tables would claim more than 1100 bytes"},
      {"24{ 2000:0=#2 } ( 1000{ 100002:0=S } 20{ 2000:0=#2", "would claim more than 1100 bytes"},
  };
  for (const auto& [events, message] : kCases) {
    StdDictionaryInfo dictionary(0);
    dictionary.setLoadLimits({.rows = 2, .properties = 2, .bytes = 1100});
    const std::string error = errorOf(dictionary, kIdentified + std::string(events));
    EXPECT_NE(error.find(message), std::string::npos) << error;
  }
}

TEST(Loading, WhatHasNoPlaceIsSkipped) {
  StdDictionaryInfo dictionary(0);
  feedText(dictionary, "5:0=early 1000{ } )");  // no load in progress
  EXPECT_EQ(
      errorOf(dictionary,
              "( 7:0=x 7:0=#5 =#6 1000{ 100002:0=S 100015:9=? } 3{ 1:0=x } 1001{ 100104:0=x } "
              "2{ 2000:0=#5 201:0=#4 299:7=? 202:0=A 203:0=#1 } 22{ 2000:0=#1 2203:5=#1 } )"),
      "");
  EXPECT_EQ(dictionary.tags().rowCount(), 1);
  EXPECT_EQ(dictionary.memberPath().rowCount(), 0);
  EXPECT_EQ(dictionary.pathBasedInfo().row(0).MsgId, 0);
}

TEST(Loading, DefaultsOfRowsThatTheStreamLeavesOut) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(errorOf(dictionary,
                    "( 1000{ 100010:0=d1 100010:1=d2 100020:0=XML 100020:1=CSV 100021:0=id } "
                    "1{ 105:0=XML } 2{ 201:0=#1 201:1=#2 202:0=A } 4{ 401:0=#7 410:0=#3 } "
                    "21{ 2000:0=#2 2101:0=#9 } 25{ 2000:0=#2 2502:9=#5000000000 } "
                    "26{ 2000:0=#1 } )"),
            "");
  const SMD_TAG_DEFINITION& tag = dictionary.tags().row(1);
  EXPECT_EQ(tag.TextIdentifier, nullptr);
  EXPECT_EQ(tag.Class, kNotSupplied);
  EXPECT_TRUE(tag.NullPermitted);
  EXPECT_EQ(tag.ToTypeIndexField, kNotSupplied);
  EXPECT_EQ(dictionary.typeMembers().row(0).ChildClass, 'S');
  EXPECT_EQ(dictionary.typeMembers().row(0).MaxOccurs, -1);
  EXPECT_EQ(dictionary.types().row(1).TypeId, kNotSupplied);
  EXPECT_EQ(dictionary.identification().row(0).FormatLevel, 1000);
  EXPECT_EQ(dictionary.values().row(0).Value.Integer, 5000000000);
  EXPECT_EQ(dictionary.values().row(1).Type, -1);
  EXPECT_EQ(toUtf8(textView(dictionary.dependencies().row(1).Dependency)), "d2");
  EXPECT_EQ(dictionary.wireFormats().row(1).FormatId, nullptr) << "no second format id";
  EXPECT_EQ(dictionary.formatID.toUtf8(), "id");
}

TEST(Loading, APropertyEndsWhereAnotherIsNamed) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(errorOf(dictionary,
                    "( 1000{ 100002:0=S } 21{ 2000:0=#2 1001{ 100101:0=T 100102:0=A 100105:0=#1 "
                    "100105:1=#2 100102:0=B 100105:0=#3 100105:1=#4 100102:0=A 100105:1=#5 } } )"),
            "");
  const StringTableGroup& group = dictionary.types().table().properties;
  EXPECT_EQ(group.FindTable(asUnits(u"T"), asUnits(u"A"))->GetIntValue(1), 5);
  EXPECT_EQ(group.FindTable(asUnits(u"T"), asUnits(u"B"))->GetIntValue(1), 4);
}

// A run takes what single events would store, and leaves the rest to them.
TEST(Loading, RunsOfNumbers) {
  StdDictionaryInfo dictionary(0);
  const auto run = [&](std::int32_t column, std::int32_t row, std::vector<std::int64_t> values,
                       unsigned short kind = EKField) {
    return dictionary.items(column, kind, row, values);
  };
  EXPECT_EQ(run(203, 0, {1}), 0u) << "no load";
  feedText(dictionary, "( 1000{ 100002:0=S } 2{ 201:0=#1");
  EXPECT_EQ(run(201, 0, {1, 2, 3}), 0u) << "row 0 begins the keys";
  EXPECT_EQ(run(201, 1, {2, 3}), 2u);
  feedText(dictionary, "207:0=#0");
  EXPECT_EQ(run(207, 1, {1, 2}), 1u) << "no flag";
  feedText(dictionary, "203:0=#7");
  EXPECT_EQ(run(203, 1, {8, 9}), 2u);
  EXPECT_EQ(run(203, 2, {10, 11}), 1u) << "the row behind the last";
  EXPECT_EQ(run(203, 0, {-5, std::int64_t{1} << 40, 6}), 1u) << "no 32-bit integer";
  EXPECT_EQ(run(205, 0, {1}), 0u) << "not the column of the last item";
  EXPECT_EQ(run(203, -1, {1}), 0u);
  EXPECT_EQ(run(203, 3, {1}), 0u);
  EXPECT_EQ(run(203, 0, {1}, EKStructure), 0u);
  dictionary.startElement(kNamedPropertySection, EKStructure, nullptr, 0, 0);
  EXPECT_EQ(run(203, 0, {1}), 0u) << "another section";
  feedText(dictionary, "}1001 }2 )");
  EXPECT_EQ(run(203, 0, {1}), 0u);
  const auto typeOf = [&](std::int32_t row) { return dictionary.tags().row(row).Type; };
  EXPECT_EQ(std::vector({typeOf(0), typeOf(1), typeOf(2)}), (std::vector{-5, 8, 10}));
  EXPECT_EQ(dictionary.getTagDefIndex(3), 2);
  EXPECT_TRUE(dictionary.tags().row(1).NullPermitted);
}

TEST(Loading, ACopyGoesOnWithTheLoad) {
  auto source = std::make_unique<StdDictionaryInfo>(2);
  feedText(*source, "( 1000{ 100002:0=S } 21{ 2000:0=#1 2101:0=#5");
  StdDictionaryInfo copy(*source);
  source.reset();
  ASSERT_EQ(errorOf(copy, "2102:0=Type }21 26{ 2000:0=#1 2601:0=urn:x } )"), "");
  EXPECT_EQ(toUtf8(textView(copy.types().row(0).Identifier)), "Type");
  EXPECT_EQ(copy.namespaceText(0), u"urn:x");
  EXPECT_FALSE(copy.isLoading());
  const StdDictionaryInfo second(copy);
  EXPECT_EQ(second.getTypeDefIndex(5), 0);
  EXPECT_EQ(&second.types().row(0), &copy.types().row(0)) << "the very same tables";
}

TEST(Loading, ACopyMadeBeforeTheTextsReadsThem) {
  StdDictionaryInfo source(0);
  feedText(source, "( 1000{ 100002:0=S }");
  const StdDictionaryInfo copy(source);
  feedText(source, "2{ 201:0=#1 202:0=A } )");
  EXPECT_EQ(copy.getTagDefIndexFromName(u"A"), 0);
  EXPECT_EQ(toUtf8(textView(source.tags().row(0).TextIdentifier)), "A");
  EXPECT_FALSE(copy.isLoading());
}

TEST(Loading, ATableOfNoRowsIsSizedAgain) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(
      errorOf(dictionary, "( 1000{ } 21{ 2000:0=#0 2000:0=#0 2000:0=#0 2000:0=#1 2102:0=T } )"),
      "");
  EXPECT_EQ(toUtf8(textView(dictionary.types().row(0).Identifier)), "T");
  EXPECT_EQ(dictionary.types().table().properties.tables().size(), 2u);
}

TEST(Loading, AnUnfinishedLoadIsCleanedUp) {
  StdDictionaryInfo dictionary(0);
  feedText(dictionary, "( 1000{ 100002:0=S");
  const StdDictionaryInfo copy(dictionary);
  feedText(dictionary, "( 1000{ 100002:0=T } )");  // a second load replaces the first
  EXPECT_EQ(dictionary.msgSetID.toUtf8(), "T");
}

}  // namespace
}  // namespace cpi::test
