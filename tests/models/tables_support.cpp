#include "tests/models/tables_support.h"

#include <bit>
#include <limits>

namespace cpi::test {

DictionaryTables fullTables() {
  const std::u16string wide = u"\u00e9\u6ce8\U0001F600\"\\\n\u0001";
  const std::u16string broken{u'a', 0xDC00, 0xD800, u'b', 0xDBFF};
  DictionaryTables tables;
  tables.Identification = {wide, u"full", 1, 2, 3, u"2024-01-01T00:00:00", 4, 5, 6};
  tables.Project = {std::u16string(255, u'\u6ce8'), u"prefix", 7};
  tables.Dependencies = {{u"first"}, {u""}, {wide}};
  tables.WireFormats = {{u"XML", u"id1"}, {u"", u""}, {u"last", {}}};
  tables.Tags = {{10, {}, 'M', 20, 1, 2, false, 3, 4, 5, 6, 7},
                 {11, broken, 'F', -1, 2147483647, -2147483647 - 1, true, 0, 0, 0, 0, 0},
                 {.Id = 12}};
  tables.TypeMembers = {{.Id = 1, .ParentTypeId = 20, .PhysicalName = u""},
                        {2, 20, 11, 21, 'E', wide, 1, 2, -1, 3, 1, 1}};
  tables.Types = {{20, u"T", 1, 2, 3, 4, 5, 6}, {}, {.TypeId = 22, .Identifier = u"sparse"}};
  tables.PathBasedInfo = {{1, 2, 3, 4, 5, 6, 7, 8, 9, 10}, {}};
  tables.MemberPath = {{1}, {0}, {2}};
  tables.ValueSet = {{0, 1}, {-1, 0}};
  tables.Values = {{LTString, Text(broken)},
                   {LTString, Text()},
                   {LTInteger, std::numeric_limits<std::int64_t>::min()},
                   {LTInteger, std::numeric_limits<std::int64_t>::max()},
                   {LTFloat, 0.1},
                   {LTFloat, -0.0},
                   {LTFloat, 3.0},
                   {LTFloat, 1e300},
                   {LTFloat, 5e-324},
                   {LTFloat, -std::numeric_limits<double>::infinity()},
                   {LTFloat, std::numeric_limits<double>::quiet_NaN()},
                   {LTFloat, std::bit_cast<double>(0xFFF8000000000123)},
                   {LTBoolean, true},
                   {LTBoolean, false},
                   {LTDateTime, PWFDateTime{2024, 2, 29, 24, 0, 0, 0, -90, 1}},
                   {LTDateTime, PWFDateTime{0, 0, 0, 1, 2, 3, 450000, 0, 0}},
                   {LTInterval, PWFInterval{1, 1, 2, 3, 4, 5, 6, 7}},
                   {LTDecimal, Text(u"12345678901234567890.10")},
                   {},
                   {}};
  tables.MemberIdIndex = {{1, 0}, {2, 1}};
  tables.Namespaces = {{u"urn:a"}, {}, {u"urn:\u00e9"}};
  tables.namedProperties = {
      {TableSlot::Project, u"t", u"a", PTInteger, {-5}},
      {TableSlot::Tags, u"t", u"a", PTText, {{}, std::u16string(u"x"), wide}},
      {TableSlot::Tags, u"u", u"a", PTInteger, {std::numeric_limits<std::int64_t>::max(), {}, 0}},
      {TableSlot::Tags, u"u", u"b", PTText, {broken, {}, std::u16string()}},
      {TableSlot::MemberPath, u"", u"", PTInteger, {1, 2, 3}},
  };
  return tables;
}

std::unique_ptr<StdDictionaryInfo> loaded(const DictionaryTables& tables) {
  auto dictionary = std::make_unique<StdDictionaryInfo>(0);
  feed(tables, *dictionary);
  return dictionary;
}

}  // namespace cpi::test
