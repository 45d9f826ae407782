// What tables and their properties refuse; what they do is recorded in vectors.
#include <gtest/gtest.h>

#include <stdexcept>

#include "cpi/dictinfo/dicttable.h"
#include "cpi/runtime/kelexception.h"

namespace cpi::test {
namespace {

const unsigned short* u(const char16_t* text) { return asUnits(text); }

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
