// Positions, search definitions, matching and the saved stack.
#include <gtest/gtest.h>

#include "tests/core/support/eventtext.h"
#include "tests/core/support/testmodel.h"

namespace cpi::test {
namespace {

// Tags: 1 Order none, 2 a^Order urn:x, 3 a^b^c none, 4 Order with an empty namespace, 5 dangling,
// 6 namespace -5. Members of type 1 carry them in that order; member 6 has no tag and type 3.
constexpr const char* kTags =
    "( 1000{ 100002:0=S } 2{ 201:0=#1 201:1=#2 201:2=#3 201:3=#4 201:4=#5 201:5=#6 202:0=Order "
    "202:1=a^Order 202:2=a^b^c 202:3=Order 202:4=Order 202:5=Order 204:0=M 204:1=S 204:2=F "
    "204:3=C 204:4=S 204:5=S 212:1=#0 212:3=#1 212:4=#9 212:5=#-5 211:0=#0 211:1=#0 211:2=#-1 "
    "211:3=#-1 211:4=#-1 211:5=#-1 } 4{ 401:0=#1 401:1=#1 401:2=#1 401:3=#1 401:4=#1 401:5=#1 "
    "401:6=#1 404:0=F 404:6=T 412:0=#0 412:1=#1 412:2=#2 412:3=#3 412:4=#4 412:5=#5 412:6=#-1 "
    "413:0=#2 413:1=#2 413:2=#2 413:3=#2 413:4=#2 413:5=#2 413:6=#2 } 21{ 2000:0=#3 2101:0=#1 "
    "2101:1=#2 2101:2=#3 2103:0=#6 2104:0=#1 2104:1=#1 2104:2=#1 2105:2=#2 2106:0=#0 2106:1=#6 "
    "2106:2=#4 2107:0=#0 2107:1=#-1 2107:2=#-1 } 26{ 2000:0=#2 2601:0=urn:x 2601:1= } )";

class Positions : public testing::Test {
 protected:
  Positions() { feedText(dictionary, kTags); }

  StdDictionaryInfo dictionary{0};
};

TEST_F(Positions, WhereDefinedAndNodeType) {
  struct Case {
    std::int32_t member, tag;
    EWhereDefined where;
    ENodeType node;
  };
  const Case kCases[] = {
      {0, 0, WDMember, NTField},       // the member's class, not the tag's
      {6, -1, WDMember, NTUndefined},  // class T has no node type
      {-1, 0, WDTag, NTMessage},
      {-2, 1, WDTag, NTStructure},
      {-3, 2, WDTag, NTField},
      {-1, 3, WDTag, NTUndefined},
      {-1, -1, WDSelf, NTUndefined},
      {-1, -2, WDSelf, NTUndefined},
      {-1, -3, WDUndefined, NTUndefined},
      {99, -3, WDMember, NTUndefined},
      {-1, 99, WDTag, NTUndefined},
  };
  for (const Case& c : kCases) {
    const DictionaryPosition position(&dictionary, c.member, c.tag, -1, -2, 0, NTUndefined);
    EXPECT_EQ(position.whereDefined(), c.where) << c.member << " " << c.tag;
    EXPECT_EQ(position.getNodeType(), c.node) << c.member << " " << c.tag;
  }
  const DictionaryPosition given(&dictionary, -1, -2, -1, -2, 0, NTStructure);
  EXPECT_EQ(given.getNodeType(), NTStructure);
}

TEST_F(Positions, EqualButForTheDictionary) {
  const DictionaryPosition a(&dictionary, 1);
  const DictionaryPosition b(nullptr, 1, a.tagIndex, a.typeIndex, -2, -1, NTUndefined);
  EXPECT_TRUE(a == b);
  EXPECT_EQ(a.tagIndex, 1);
  a.getNodeType();
  EXPECT_TRUE(a != b) << "the derived node type counts";
  const DictionaryPosition beyond(&dictionary, 99);
  EXPECT_EQ(beyond.tagIndex, kUnsetTag);
}

TEST_F(Positions, SearchesAreChecked) {
  const KelStringBase none;
  EXPECT_NO_THROW(SearchDef(STAny, -5));
  EXPECT_NO_THROW(SearchDef(STSimpleType, static_cast<ELogicalType>(1)));
  EXPECT_NO_THROW(SearchDef(STTagName, u"x", none));
  const auto refusal = [](auto make) -> std::string {
    try {
      make();
    } catch (const KelParserException& error) {
      return error.operation() + " " + error.message() + " " + error.inserts().front().text();
    }
    return "";
  };
  constexpr const char* kIndex =
      "SearchDef::SearchDef CPI Internal Error Invalid dictionary index when searching creating a "
      "SearchDef object";
  constexpr const char* kEmpty =
      "SearchDef::SearchDef CPI Internal Error Empty tag name when creating a SearchDef object";
  EXPECT_EQ(refusal([] { SearchDef(STTagId, -1); }), kIndex);
  EXPECT_EQ(refusal([] { SearchDef(STMember, -1); }), kIndex);
  EXPECT_EQ(refusal([&] { SearchDef(STTagName, u"", none); }), kEmpty);
  EXPECT_EQ(
      refusal([&] { SearchDef(STSelfDef, static_cast<const unsigned short*>(nullptr), none); }),
      kEmpty);
  EXPECT_EQ(refusal([] { SearchDef(STSimpleType, static_cast<ELogicalType>(0)); }),
            "SearchDef::SearchDef CPI Internal Error Invalid logical type in when creating a "
            "SearchDef object");
  EXPECT_EQ(refusal([] { DictionaryPosition(); }),
            "DictionaryPosition::DictionaryPosition CPI Internal Error default constuctor for "
            "DictionaryPosition should never have been called");
}

struct MatchingIterator : OpenIterator {
  using OpenIterator::OpenIterator;
  using StdDictionaryIterator::isElementMatched;
  using StdDictionaryIterator::isTypeContentMatched;
};

TEST_F(Positions, NamesMatchByWhatFollowsTheFirstMark) {
  const MatchingIterator iterator(nullptr, &dictionary, 0);
  struct Case {
    std::int32_t member;
    const char16_t* name;
    const char16_t* space;
    bool isMatched;
  };
  const Case kCases[] = {
      {0, u"Order", u"", true},      {0, u"Order ", u"", false},
      {0, u"order", u"", false},     {0, u"Order", u"urn:x", false},
      {1, u"Order", u"urn:x", true}, {1, u"a^Order", u"urn:x", false},
      {1, u"Order", u"", false},     {2, u"b^c", u"", true},
      {2, u"c", u"", false},         {3, u"Order", u"", true},
      {4, u"Order", u"", false},     {5, u"Order", u"", false},
      {6, u"Order", u"", false},
  };
  for (const Case& c : kCases) {
    const SearchDef search(STTagName, c.name, c.space);
    const DictionaryPosition position(&dictionary, c.member);
    EXPECT_EQ(iterator.isElementMatched(search, position, false, false), c.isMatched)
        << c.member << " " << toUtf8(c.name);
  }
}

TEST_F(Positions, OtherSearches) {
  const MatchingIterator iterator(nullptr, &dictionary, 0);
  const DictionaryPosition member(&dictionary, 0);
  const DictionaryPosition untagged(&dictionary, 6);  // a derived type: the base type decides
  const DictionaryPosition child(&dictionary, -1, 0, 0, -2, 0, NTUndefined);
  const auto matches = [&](const SearchDef& search, const DictionaryPosition& position) {
    return iterator.isElementMatched(search, position, false, false);
  };
  EXPECT_FALSE(iterator.isElementMatched(SearchDef(STAny, -1), member, true, false));
  EXPECT_TRUE(iterator.isElementMatched(SearchDef(STAny, -1), member, true, true));
  EXPECT_TRUE(matches(SearchDef(STTagId, 0), member));
  EXPECT_FALSE(matches(SearchDef(STTagId, 0), child)) << "no member";
  EXPECT_TRUE(matches(SearchDef(STMember, 6), untagged));
  EXPECT_TRUE(matches(SearchDef(STSimpleType, LTFloat), untagged));
  EXPECT_FALSE(matches(SearchDef(STSimpleType, LTInteger), untagged));
  EXPECT_FALSE(matches(SearchDef(STSimpleType, LTFloat), member)) << "it has a tag";
  EXPECT_FALSE(matches(SearchDef(STSelfDef, u"Order", KelStringBase()), member));
  EXPECT_TRUE(iterator.isTypeContentMatched(SearchDef(STSelfDef, u"x", KelStringBase())))
      << "no parent";
}

TEST_F(Positions, TheSavedStack) {
  OpenIterator iterator(nullptr, &dictionary, 1);
  const auto push = [&](std::int32_t member, std::int32_t repeat) {
    iterator.positionStack.emplace_back(&dictionary, member, 0, 0, -2, repeat, NTUndefined);
  };
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), -1) << "no parent";
  push(0, 0);
  push(1, 0);
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), 1) << "nothing saved";
  iterator.ensurePositionStackSaved();
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), 1) << "an equal copy";
  push(2, -1);
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), -1) << "the copy ends at the parent";
  iterator.positionStack[1].repeatIndex = 7;
  EXPECT_EQ(iterator.getCommonParentWithSavedStackIndex(), 0) << "another occurrence";
  iterator.ensurePositionStackSaved();  // the first copy stays
  iterator.restorePositionStackFromSaved();
  EXPECT_EQ(stackText(iterator), "Order/Order/Order");
  EXPECT_FALSE(iterator.positionStackSaved);
  push(2, -1);
  iterator.restorePositionStackFromSaved();
  EXPECT_EQ(iterator.positionStack.size(), 3u) << "a search start is removed";
  push(2, -2);
  iterator.restorePositionStackFromSaved();
  EXPECT_EQ(stackText(iterator), "Order/Order/Order/?") << "a level started over";
  EXPECT_EQ(iterator.positionStack.back().nodeType, NTStructure);
}

}  // namespace
}  // namespace cpi::test
