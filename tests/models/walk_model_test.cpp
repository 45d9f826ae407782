// What a walk reads out of a dictionary, also out of one that makes no sense.
#include <gtest/gtest.h>
#include <malloc.h>

#include <stdexcept>
#include <string>

#include "tests/models/walk_support.h"

namespace cpi::test {
namespace {

TEST(WalkModel, WildcardConstraints) {
  struct Case {
    const char16_t* text;
    std::string admitted;  // of none, urn:a, urn:b: "-", "a", "b"; "no" when it is no wildcard
  };
  const Case cases[] = {
      {u"any^lax ##any", "-ab"}, {u"any^strict ##other urn:a", "b"}, {u"any^strict ##other", "ab"},
      {u"any^skip urn:a", "a"},  {u"any^skip ##local urn:b", "-b"},  {u"any^skip ##local", "-"},
      {u"any^skip ", ""},        {u"any^never ##any", "no"},         {u"any^", "no"},
      {u"money", "no"},
  };
  for (const Case& one : cases) {
    DictionaryTables tables;
    tables.Identification.emplace();
    tables.Types = {
        {.TypeId = 1, .Composition = TYPE_ORDERED, .LogicalType = 0, .ToTypeMbrIndex = 0},
        {.TypeId = 2, .Identifier = one.text, .LogicalType = 100}};
    tables.TypeMembers = {{.Id = 3, .ParentTypeId = 1, .toTagIndex = kNone, .toTypeIndex = 1}};
    StdDictionaryInfo dictionary(0);
    feed(tables, dictionary);
    const WalkModel model(dictionary);
    std::string admitted = model.wildcardsOf(0).empty() ? "no" : "";
    for (const std::int32_t number : model.wildcardsOf(0)) {
      const Wildcard& wildcard = model.wildcard(number);
      EXPECT_EQ(wildcard.logicalType, 100);
      admitted += wildcard.admits(u"") ? "-" : "";
      admitted += wildcard.admits(u"urn:a") ? "a" : "";
      admitted += wildcard.admits(u"urn:b") ? "b" : "";
    }
    EXPECT_EQ(admitted, one.admitted) << toUtf8(one.text);
  }
}

// Types 0 and 1 are groups of one another; both reach the wildcard of type 2. All other indexes
// lead nowhere.
DictionaryTables senseless() {
  DictionaryTables tables;
  tables.Identification.emplace();
  tables.Tags = {
      {.Id = 1, .TextIdentifier = u"r", .Class = TCStructure, .ToTypeIndexField = 0},
      {.Id = 2, .TextIdentifier = u"q", .Class = TCStructure, .ToTypeIndexField = 999},
      {.Id = 3, .TextIdentifier = u"type7^", .Class = TCStructure, .ToTypeIndexField = -7},
      {.Id = 4, .TextIdentifier = u"^", .Class = TCStructure}};
  tables.Types = {
      {.TypeId = 1, .Composition = TYPE_ORDERED, .LogicalType = 0, .ToTypeMbrIndex = 0},
      {.TypeId = 2, .Composition = TYPE_CHOICE, .LogicalType = 0, .ToTypeMbrIndex = 2},
      {.TypeId = 3, .Identifier = u"any^lax ##any", .LogicalType = 100, .NamespaceIndex = 55},
      {.TypeId = 4, .Composition = TYPE_ALL, .LogicalType = 0, .ToTypeMbrIndex = 12345}};
  tables.TypeMembers = {
      {.Id = 11, .ParentTypeId = 1, .MaxOccurs = 1, .toTagIndex = kNone, .toTypeIndex = 1},
      {.Id = 12, .ParentTypeId = 1, .MaxOccurs = 1, .toTagIndex = 777, .toTypeIndex = 777},
      {.Id = 13, .ParentTypeId = 2, .MaxOccurs = 1, .toTagIndex = kNone, .toTypeIndex = 0},
      {.Id = 14, .ParentTypeId = 2, .ChildClass = TCField, .toTagIndex = kNone, .toTypeIndex = 2}};
  return tables;
}

TEST(WalkModel, GroupsThatContainOneAnotherAndIndexesThatLeadNowhere) {
  StdDictionaryInfo dictionary(0);
  feed(senseless(), dictionary);
  const WalkModel model(dictionary);
  EXPECT_EQ(model.wildcardsOf(0).size(), 1U);
  EXPECT_EQ(model.wildcardsOf(1).size(), 1U);
  for (const std::int32_t index : {-99, -1, 2, 3, 4, 999}) {
    EXPECT_TRUE(model.wildcardsOf(index).empty()) << index;
  }
  EXPECT_EQ(model.hiddenTag(u"any^"), 0);
  XmlWalker walker(model);
  for (const char* const message : {"<q><a/><r/><b/></q>", "<r><a/><r/><q/><a><b/></a></r>"}) {
    try {
      EXPECT_GT(walker.walkText(message, "message").elements, 0);
    } catch (const KelParserException& error) {  // the navigator may see that it makes no sense
      EXPECT_FALSE(error.message().empty());
    }
  }
}

// A hidden tag is found by the texts of the dictionary, of which none is copied for each type.
TEST(WalkModel, TypesShareTheTextOfTheirNamespace) {
  constexpr std::int32_t kTypes = 300;
  const std::u16string space(100'000, u'n');
  DictionaryTables tables;
  tables.Identification.emplace();
  tables.Namespaces = {{}, {.Space = u"urn:t"}, {.Space = space}, {.Space = space}};
  for (std::int32_t type = 0; type < kTypes; ++type) {
    const std::string digits = std::to_string(type);
    const std::u16string name = u"t" + std::u16string(digits.begin(), digits.end());
    tables.Types.push_back({.TypeId = type + 1, .Identifier = name, .NamespaceIndex = type % 4});
    tables.Tags.push_back(
        {.Id = type + 1, .TextIdentifier = name + u"^", .ToTypeIndexField = type});
  }
  StdDictionaryInfo dictionary(0);
  feed(tables, dictionary);
  const std::size_t before = mallinfo2().uordblks;
  const WalkModel model(dictionary);
  EXPECT_LT(mallinfo2().uordblks - before, 1U << 20);
  EXPECT_EQ(model.hiddenTag(u"t0^"), 1);
  EXPECT_EQ(model.hiddenTag(u"t1^urn:t"), 2);
  EXPECT_EQ(model.hiddenTag(u"t1^urn:u"), 0);
  EXPECT_EQ(model.hiddenTag(u"t2"), 0);
  EXPECT_EQ(model.hiddenTag(u"t2^" + space), 3);
  EXPECT_EQ(model.hiddenTag(u"t7^" + space), 8);
}

TEST(WalkModel, GroupsTooEntangledToList) {
  constexpr std::int32_t kTypes = 400;
  DictionaryTables tables;
  tables.Identification.emplace();
  tables.Types.push_back({.TypeId = 1, .Identifier = u"any^lax ##any", .LogicalType = 100});
  for (std::int32_t type = 1; type <= kTypes; ++type) {
    tables.Types.push_back({.TypeId = type + 1,
                            .Composition = TYPE_CHOICE,
                            .LogicalType = 0,
                            .ToTypeMbrIndex = (type - 1) * kTypes});
    for (std::int32_t other = 1; other <= kTypes; ++other) {
      tables.TypeMembers.push_back({.Id = 1000 + type * kTypes + other,
                                    .ParentTypeId = type + 1,
                                    .toTagIndex = kNone,
                                    .toTypeIndex = other});
    }
  }
  StdDictionaryInfo dictionary(0);
  feed(tables, dictionary);
  EXPECT_THROW(WalkModel{dictionary}, std::length_error);
}

TEST(WalkModel, TooManyTypesThatShareTheirMembers) {
  DictionaryTables tables;
  tables.Identification.emplace();
  tables.TypeMembers.resize(3000, {.ParentTypeId = 1, .toTagIndex = kNone, .toTypeIndex = kNone});
  tables.Types.resize(3000, {.LogicalType = 0, .ToTypeMbrIndex = 0});
  StdDictionaryInfo dictionary(0);
  feed(tables, dictionary);
  EXPECT_THROW(WalkModel{dictionary}, std::length_error);
}

}  // namespace
}  // namespace cpi::test
