// Tables and their properties.
#include <gtest/gtest.h>

#include <stdexcept>

#include "cpi/dictinfo/dicttable.h"
#include "cpi/runtime/kelexception.h"

namespace cpi::test {
namespace {

const unsigned short* u(const char16_t* text) { return asUnits(text); }

TEST(Storage, BuffersGrowByAQuarterOrToTheNeed) {
  // rows, initial size, then the length of a text and the buffer's size after it was set
  struct Step {
    std::size_t units;
    std::uint32_t size;
    std::uint32_t used;
  };
  DictTable table;
  table.Create(4, 24);  // 96 bytes of offsets
  StringTable& strings = *table.CreateProperty(u(u"T"), u(u"M"), PTText, 100).strings;
  for (const Step& step : {Step{1, 100, 100}, Step{2, 125, 106}, Step{50, 208, 208}}) {
    strings.SetValue(0, std::u16string(step.units, u'x').c_str());
    EXPECT_EQ(strings.bufferSize, step.size);
    EXPECT_EQ(strings.bufferUsed, step.used);
    EXPECT_EQ(textLength(strings.GetValue(0)), step.units);
  }
}

TEST(Storage, RowsWithoutValue) {
  DictTable table;
  table.Create(4, 0);
  const StringTable& none = *table.CreateProperty(u(u"T"), u(u"M"), PTText, 0).strings;
  EXPECT_EQ(none.bufferSize, 0u);
  EXPECT_EQ(none.GetValue(0), nullptr);
  table.Create(4, 2);
  StringTable& numbers = *table.CreateProperty(u(u"T"), u(u"N"), PTInteger, 0).strings;
  numbers.SetIntValue(1, INT64_MIN);
  EXPECT_EQ(numbers.GetIntValue(1), INT64_MIN);
  EXPECT_EQ(numbers.GetIntValue(0), std::nullopt);
  EXPECT_EQ(numbers.GetValue(1), nullptr);
}

TEST(Storage, PropertiesAreFoundByBothNames) {
  DictTable table;
  table.Create(4, 1);
  const char16_t* const kNames[][2] = {{u"T", u"b"},  {u"U", u"b"}, {u"T", u"a"},
                                       {u"T", u"ab"}, {u"T", u"b"}, {u"T", u"\uFFFF"}};
  for (const auto& names : kNames) table.CreateProperty(u(names[0]), u(names[1]), PTText, 0);
  std::u16string order;
  for (const auto& each : table.properties.tables()) order += each->memberName.view();
  EXPECT_EQ(order, u"aabbbb\uFFFF");
  const StringTable* const last = table.properties.FindTable(u(u"T"), u(u"b"));
  EXPECT_EQ(last, table.properties.tables()[2].get()) << "the one added last comes first";
  EXPECT_EQ(table.properties.FindTable(u(u"U"), u(u"b")), table.properties.tables()[3].get());
  EXPECT_EQ(table.properties.FindTable(nullptr, u(u"aa")), table.properties.tables()[1].get());
  EXPECT_EQ(table.properties.FindTable(u(u"X"), u(u"a")), nullptr);
}

TEST(Storage, RefusesWhatDoesNotFit) {
  DictTable table;
  EXPECT_THROW(table.Create(0x10000, 0x10000), std::length_error);
  EXPECT_THROW(table.Create(1, 0x80000000u), std::length_error);
  EXPECT_EQ(table.records, nullptr);
  table.Create(4, 1);
  EXPECT_THROW(table.SetProperty(0, u(u"T"), u(u"M"), u(u"x")), KelParserException);
  table.CreateProperty(u(u"T"), u(u"M"), PTText, 0);
  EXPECT_THROW(table.SetProperty(1, u(u"T"), u(u"M"), u(u"x")), KelParserException);
  EXPECT_THROW(table.SetIntProperty(0, u(u"T"), u(u"M"), 1), KelParserException);
  StringTable& numbers = *table.CreateProperty(u(u"T"), u(u"N"), PTInteger, 0).strings;
  numbers.SetValue(0, u"x");
  EXPECT_EQ(numbers.GetIntValue(0), std::nullopt) << "a text is no integer";
}

}  // namespace
}  // namespace cpi::test
