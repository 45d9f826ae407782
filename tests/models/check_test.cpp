// The dictionary check: a sound dictionary has no faults, and each single corruption of it has just
// the faults that it makes.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "tests/models/xsd_support.h"

namespace cpi::test {
namespace {

using testing::ElementsAreArray;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

// Type 10: tag 2, a group (choice 12 of tags 2 and 3), tag 1 again. Tag 3 has values and overrides.
DictionaryTables goodTables() {
  DictionaryTables tables;
  tables.Identification.emplace().Name = u"good";
  tables.Tags = {
      {.Id = 1, .TextIdentifier = u"order", .Class = 'M', .Type = 10, .ToTypeIndexField = 0},
      {.Id = 2, .TextIdentifier = u"a", .Class = 'F', .Type = 11, .ToTypeIndexField = 1},
      {.Id = 3,
       .TextIdentifier = u"b",
       .Class = 'F',
       .Type = 11,
       .ValueSetTableIndex = 0,
       .DVTableIndex = 1,
       .PathBaseInfoTableIndex = 0,
       .ToTypeIndexField = 1,
       .namespaceIndex = 0},
  };
  const auto member = [](std::int32_t id, std::int32_t parent, std::int32_t tag, std::int32_t type,
                         std::int32_t tagRow, std::int32_t typeRow) {
    return MemberRow{.Id = id,
                     .ParentTypeId = parent,
                     .ChildTagId = tag,
                     .ChildTypeId = type,
                     .MinOccurs = 1,
                     .MaxOccurs = 1,
                     .toTagIndex = tagRow,
                     .toTypeIndex = typeRow};
  };
  tables.TypeMembers = {member(100, 10, 2, 11, 1, 1), member(101, 10, 0, 12, -1, 2),
                        member(102, 10, 1, 10, 0, 0), member(103, 12, 2, 11, 1, 1),
                        member(104, 12, 3, 11, 2, 1)};
  tables.Types = {
      {.TypeId = 10, .Content = 1, .Composition = 6, .LogicalType = 0, .ToTypeMbrIndex = 0},
      {.TypeId = 11, .Content = 1, .Composition = 1, .LogicalType = LTString, .ToTypeMbrIndex = -1},
      {.TypeId = 12, .Content = 1, .Composition = 2, .LogicalType = 0, .ToTypeMbrIndex = 3},
      {.TypeId = 13, .Composition = -99, .BaseTypeId = 11, .LogicalType = 2, .NamespaceIndex = 0}};
  tables.PathBasedInfo = {{.MsgId = 1, .EndFieldId = 3, .ValueSetIndex = 3, .DVIndex = 0},
                          {.MsgId = 1, .EndFieldId = 3, .ValueSetIndex = -1, .DVIndex = -1},
                          {.MsgId = 2, .EndFieldId = 3, .ValueSetIndex = -1, .DVIndex = -99}};
  tables.MemberPath = {{101}, {104}, {0}};
  tables.ValueSet = {{0, 7}, {1, 8}, {-1, 0}, {1, 0}, {-1, 0}};
  tables.Values = {{LTString, Text(u"x")}, {LTInteger, std::int64_t{5}}};
  tables.MemberIdIndex = {{100, 0}, {101, 1}, {102, 2}, {103, 3}, {104, 4}};
  tables.Namespaces = {{u"urn:a"}};
  return tables;
}

TEST(CheckTest, SoundDictionariesHaveNoFaults) {
  EXPECT_THAT(faultsOf(goodTables()), IsEmpty());
  EXPECT_THAT(faultsOf(StdDictionaryInfo(0)), IsEmpty());
  XsdReport report;
  EXPECT_THAT(faultsOf(compileXsd({"examples/order/order.xsd"}, {}, report)), IsEmpty());
}

TEST(CheckTest, EachCorruptionIsTold) {
  struct Case {
    std::function<void(DictionaryTables&)> corrupt;
    Lines faults;
  };
  using T = DictionaryTables;
  const Case cases[] = {
      // Ids and their orders.
      {[](T& t) {
         t.Tags[0].Id = -99, t.TypeMembers[2] = t.TypeMembers[0], t.TypeMembers[2].Id = 102;
       },
       {"Tags row 0, Id: found -99; expected an id above 0"}},
      {[](T& t) {
         std::swap(t.Tags[1], t.Tags[2]);
         for (const std::size_t row : {0, 3}) t.TypeMembers[row].toTagIndex = 2;
         t.TypeMembers[4].toTagIndex = 1;
       },
       {"Tags row 2, Id: found 2; expected more than 3, which row 1 has"}},
      {[](T& t) {
         t.Tags[1].Id = 1, t.TypeMembers[0].ChildTagId = 1, t.TypeMembers[3].ChildTagId = 1;
       },
       {"Tags row 1, Id: found 1; expected another id than row 0"}},
      {[](T& t) { t.Types[3].TypeId = 11; },
       {"Types row 3, TypeId: found 11; expected another id than row 1"}},
      {[](T& t) { t.Types[3].TypeId = 9; },
       {"Types row 3, TypeId: found 9; expected more than 12, which row 2 has"}},
      {[](T& t) {
         t.TypeMembers[1].Id = 100, t.MemberIdIndex[1] = {100, 0};
       },
       {"Type Members row 1, Id: found 100; expected another id than row 0",
        "Member Path Table row 0, MemberPathMemberId: found 101; expected the Id of a row of Type "
        "Members",
        "Member ID to Type Member Index row 1, MbrIDToTypeMbrIndexId: found 100; expected more "
        "than 100, which row 0 has"}},
      {[](T& t) { t.MemberIdIndex.pop_back(); },
       {"Type Members row 4, Id: found 104; expected a row of Member ID to Type Member Index for "
        "it"}},
      {[](T& t) {
         for (MemberRow& member : t.TypeMembers) member.Id = -99;
         t.MemberIdIndex.clear(), t.MemberPath = {{0}};
       },
       {}},
      {[](T& t) { std::swap(t.MemberIdIndex[2], t.MemberIdIndex[3]); },
       {"Member ID to Type Member Index row 3, MbrIDToTypeMbrIndexId: found 102; expected more "
        "than 103, which row 2 has"}},
      {[](T& t) { t.MemberIdIndex[2].MbrIDToTypeMbrIndexIndex = 1; },
       {"Member ID to Type Member Index row 2, MbrIDToTypeMbrIndexIndex: found 1; expected 2, the "
        "row of Type Members with Id 102"}},
      {[](T& t) { t.MemberIdIndex[0].MbrIDToTypeMbrIndexIndex = -1; },
       {"Member ID to Type Member Index row 0, MbrIDToTypeMbrIndexIndex: found -1; expected 0, the "
        "row of Type Members with Id 100"}},
      {[](T& t) {
         t.MemberIdIndex.push_back({200, 0});
       },
       {"Member ID to Type Member Index row 5, MbrIDToTypeMbrIndexId: found 200; expected the Id "
        "of a row of Type Members"}},

      // References.
      {[](T& t) { t.Tags[1].ToTypeIndexField = 4; },
       {"Tags row 1, ToTypeIndexField: found 4; expected a row of Types (0 to 3) or -1"}},
      {[](T& t) { t.Tags[1].ToTypeIndexField = -99; },
       {"Tags row 1, ToTypeIndexField: found -99; expected 1, the row of Types with TypeId 11"}},
      {[](T& t) { t.Tags[1].ToTypeIndexField = 3; },
       {"Tags row 1, ToTypeIndexField: found 3; expected 1, the row of Types with TypeId 11"}},
      {[](T& t) { t.Tags[1].Type = 14; },
       {"Tags row 1, Type: found 14; expected the TypeId of a row of Types"}},
      {[](T& t) { t.Tags[1].Type = -99; },
       {"Tags row 1, Type: found -99; expected 11, which ToTypeIndexField leads to"}},
      {[](T& t) { t.Tags[1].Type = -99, t.Tags[1].ToTypeIndexField = -99; }, {}},
      {[](T& t) { t.Tags[2].ValueSetTableIndex = 5; },
       {"Tags row 2, ValueSetTableIndex: found 5; expected a row of Value Set Table (0 to 4) or "
        "-1"}},
      {[](T& t) { t.Tags[2].DVTableIndex = -2; },
       {"Tags row 2, DVTableIndex: found -2; expected a row of Values (0 to 1) or -1"}},
      {[](T& t) { t.Values.emplace_back(), t.Tags[2].DVTableIndex = 2; },
       {"Tags row 2, DVTableIndex: found 2; expected a row of Values that has a value"}},
      {[](T& t) { t.Tags[2].PathBaseInfoTableIndex = 3; },
       {"Tags row 2, PathBaseInfoTableIndex: found 3; expected a row of Path Based Info (0 to 2) "
        "or -1"}},
      {[](T& t) { t.Tags[2].namespaceIndex = 1; },
       {"Tags row 2, namespaceIndex: found 1; expected a row of Namespaces (0 to 0) or -1"}},
      {[](T& t) { t.Namespaces.clear(), t.Types[3].NamespaceIndex = -1; },
       {"Tags row 2, namespaceIndex: found 0; expected -1, for Namespaces has no rows"}},
      {[](T& t) { t.Types[3].NamespaceIndex = 7; },
       {"Types row 3, NamespaceIndex: found 7; expected a row of Namespaces (0 to 0) or -1"}},
      {[](T& t) { t.Types[3].BaseTypeId = 99; },
       {"Types row 3, BaseTypeId: found 99; expected the TypeId of a row of Types"}},
      {[](T& t) { t.TypeMembers[0].toTagIndex = 2; },
       {"Type Members row 0, toTagIndex: found 2; expected 1, the row of Tags with Id 2"}},
      {[](T& t) { t.TypeMembers[0].toTagIndex = 2147483647; },
       {"Type Members row 0, toTagIndex: found 2147483647; expected a row of Tags (0 to 2) or -1"}},
      {[](T& t) { t.TypeMembers[1].toTagIndex = 1; },
       {"Type Members row 1, ChildTagId: found 0; expected 2, which toTagIndex leads to"}},
      {[](T& t) { t.TypeMembers[0].ChildTagId = 77; },
       {"Type Members row 0, ChildTagId: found 77; expected the Id of a row of Tags"}},
      {[](T& t) { t.TypeMembers[0].toTypeIndex = 3; },
       {"Type Members row 0, toTypeIndex: found 3; expected 1, the row of Types with TypeId 11"}},
      {[](T& t) { t.PathBasedInfo[1].MemberPathIndex = 3; },
       {"Path Based Info row 1, MemberPathIndex: found 3; expected a row of Member Path Table (0 "
        "to 2) or -1"}},
      {[](T& t) { t.PathBasedInfo[0].ValueSetIndex = 9; },
       {"Path Based Info row 0, ValueSetIndex: found 9; expected a row of Value Set Table (0 to 4) "
        "or -1"}},
      {[](T& t) { t.PathBasedInfo[0].DVIndex = 2; },
       {"Path Based Info row 0, DVIndex: found 2; expected a row of Values (0 to 1) or -1"}},
      {[](T& t) { std::swap(t.PathBasedInfo[1], t.PathBasedInfo[2]); },
       {"Path Based Info row 2, EndFieldId: found 3; expected a place beside row 0, of the same "
        "message and field"}},
      {[](T& t) { t.MemberPath[1] = {999}; },
       {"Member Path Table row 1, MemberPathMemberId: found 999; expected the Id of a row of Type "
        "Members"}},

      // Value sets.
      {[](T& t) { t.ValueSet.pop_back(); },
       {"Value Set Table row 3, ValueSetValueIndex: found 1; expected -1, which closes the last "
        "set"}},
      {[](T& t) { t.ValueSet[1].ValueSetValueIndex = 2; },
       {"Value Set Table row 1, ValueSetValueIndex: found 2; expected a row of Values (0 to 1) or "
        "-1"}},

      // Members, groups and codes.
      {[](T& t) { t.TypeMembers[4].ParentTypeId = 77; },
       {"Type Members row 4, ParentTypeId: found 77; expected the TypeId of a row of Types"}},
      {[](T& t) { t.TypeMembers[4].ParentTypeId = 10; },
       {"Type Members row 4, ParentTypeId: found 10; expected a place behind row 2, beside the "
        "other members of the type"}},
      {[](T& t) { t.Types[0].ToTypeMbrIndex = 1; },
       {"Types row 0, ToTypeMbrIndex: found 1; expected 0, where the members of the type begin"}},
      {[](T& t) { t.Types[2].ToTypeMbrIndex = -1; },
       {"Types row 2, ToTypeMbrIndex: found -1; expected 3, where the members of the type begin"}},
      {[](T& t) { t.Types[3].ToTypeMbrIndex = 3; },
       {"Types row 3, ToTypeMbrIndex: found 3; expected -1, for Type Members has no rows of the "
        "type"}},
      {[](T& t) { t.TypeMembers[1].toTypeIndex = 1, t.TypeMembers[1].ChildTypeId = 11; },
       {"Type Members row 3, ParentTypeId: found 12; expected a type that some tag leads to"}},
      {[](T& t) {
         t.TypeMembers[3].toTagIndex = -1, t.TypeMembers[3].ChildTagId = 0,
         t.TypeMembers[3].toTypeIndex = 2, t.TypeMembers[3].ChildTypeId = 12;
       },
       {"Type Members row 3, toTypeIndex: found 2; expected a group that does not contain itself"}},
      {[](T& t) {
         t.TypeMembers[4].toTagIndex = -1, t.TypeMembers[4].ChildTagId = 0,
         t.TypeMembers[4].toTypeIndex = 0, t.TypeMembers[4].ChildTypeId = 10;
       },
       {"Type Members row 4, toTypeIndex: found 0; expected a group that does not contain itself"}},
      {[](T& t) { t.Types[0].Composition = 8; },
       {"Types row 0, Composition: found 8; expected 1 to 7"}},
      {[](T& t) { t.Types[0].Composition = -1; },
       {"Types row 0, Composition: found -1; expected 1 to 7, since the type has members"}},
      {[](T& t) { t.Types[0].Content = 0; }, {"Types row 0, Content: found 0; expected 1 to 3"}},
  };
  for (const Case& each : cases) {
    DictionaryTables tables = goodTables();
    each.corrupt(tables);
    EXPECT_THAT(faultsOf(tables), ElementsAreArray(each.faults));
  }
}

// What a load refuses can still be in tables that another program filled.
TEST(CheckTest, CodesThatNoLoadAdmits) {
  StdDictionaryInfo dictionary(0);
  feed(goodTables(), dictionary);
  const auto tagAt = [&](std::int32_t row) -> SMD_TAG_DEFINITION& {
    return const_cast<SMD_TAG_DEFINITION&>(dictionary.tags().row(row));
  };
  tagAt(0).Class = 'X';
  tagAt(1).Class = 0x263A;
  const_cast<SMD_VALUE_DEFINITION&>(dictionary.values().row(1)).Type = 5;
  EXPECT_THAT(
      faultsOf(dictionary),
      ElementsAreArray({"Tags row 0, Class: found X; expected the letter C, E, F, M, S or T",
                        "Tags row 1, Class: found 9786; expected the letter C, E, F, M, S "
                        "or T",
                        "Values row 1, Type: found 5; expected 2, 4, 6, 12, 14, 15 or 16"}));
}

// Each of many types claims one long run, and groups stand in one another to any depth: the check
// neither goes through the run for each type nor runs out of stack.
TEST(CheckTest, HostileModelsEndQuickly) {
  constexpr std::int32_t kCount = 100'000;
  DictionaryTables tables;
  tables.Identification.emplace();
  tables.Tags = {{.Id = 1, .Class = 'M', .Type = 1, .ToTypeIndexField = 0}};
  for (std::int32_t row = 0; row < kCount; ++row) {
    tables.Types.push_back(
        {.TypeId = row + 1, .Composition = 6, .LogicalType = 0, .ToTypeMbrIndex = row});
    const bool isLast = row + 1 == kCount;
    tables.TypeMembers.push_back({.ParentTypeId = row + 1,
                                  .ChildTypeId = isLast ? 1 : row + 2,
                                  .toTagIndex = -1,
                                  .toTypeIndex = isLast ? 0 : row + 1});
  }
  EXPECT_THAT(faultsOf(tables),
              ElementsAreArray({"Type Members row 99999, toTypeIndex: found 0; expected a group "
                                "that does not contain itself"}));
  for (MemberRow& member : tables.TypeMembers) member.ParentTypeId = 1;
  // All types but the first begin in its run, and each of its members is a group of one of them.
  EXPECT_EQ(faultsOf(tables).size(), static_cast<std::size_t>(2 * kCount - 1));
}

}  // namespace
}  // namespace cpi::test
