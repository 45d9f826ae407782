// The contents report, byte for byte. The reports in golden/ were made from the formats that are
// promised, not from what the library wrote: before changing one, find out which of the two is
// wrong.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "tests/core/support/eventtext.h"

namespace cpi::test {
namespace {

// Every table, every kind of value, each class letter and none; texts outside ASCII and outside
// the basic plane, texts longer than their column, and rows that the stream leaves out.
constexpr const char* kSample = R"(
( 1000{ 100001:0=Bücher+und+Noten+𝄞+aus+Köln 100002:0=Übungen 100003:0=#1 100004:0=#2
    100005:0=#3 100006:0=2024-02-29T12:00Z 100007:0=#4 100008:0=#8 100009:0=#7
    100010:0=first 100010:1=zweite+Ä 100010:2=𝄞
    100020:0=XML 100020:1=Tagesformat+für+𐐷+Geräte 100021:0=urn:fmt:𝔵 }
  1{ 105:0=XML 106:0=𝕄sg_ 107:0=#1
    1001{ 100101:0=Doc 100102:0=Owner 100104:0=Zoë }
    1001{ 100101:0=Doc 100102:0=Rank 100105:0=#-7 } }
  2{ 201:0=#11 201:1=#12 201:2=#13 201:3=#14 201:4=#15 201:5=#16 201:6=#17
    202:0=Käufer 202:1=東京 202:3=Ein+Name,+der+für+die+Spalte+viel+zu+lang+ist+𝄞 202:4=𐐷𐐷
    202:5=Plain 202:6=Namenlos
    203:0=#21 203:1=#22 203:3=#23 203:4=#24 203:5=#2147483647
    204:0=C 204:1=E 204:2=Field 204:3=M 204:4=S 204:5=T
    205:0=#0 205:1=#1 205:4=#7 205:5=#-2147483648
    206:0=#20 206:1=#40 206:3=#100000 206:4=#8 206:5=#3
    207:0=#1 207:1=#0 207:3=#0 207:5=#0
    208:0=#0 208:1=#3 208:5=#1234 209:0=#1 209:3=#2 210:0=#0 210:3=#1
    211:0=#0 211:1=#1 211:3=#2 211:4=#-1 212:0=#0 212:1=#2 212:4=#1
    1001{ 100101:0=Doc 100102:0=Note 100104:0=erste+Nöte 100104:2=𝄞 }
    1001{ 100101:0=Doc 100102:0=Weight 100105:0=#-5000000000 100105:6=#9223372036854775807 } }
  4{ 401:0=#21 401:1=#21 401:2=#22 401:3=#23 401:4=#23 401:5=#24
    402:0=#11 402:1=#12 402:3=#14 402:4=#15 402:5=#16
    403:0=#22 403:1=#23 403:2=#24 403:3=#21 403:5=#22
    404:0=C 404:1=E 404:2=F 404:3=M 404:5=T
    405:0=größe 405:2=東京+𝄞 405:3=Auch+dieser+Name+ist+länger+als+seine+Spalte 405:5=t
    406:0=#1 406:1=#2 406:2=#3 406:4=#5 406:5=#6
    407:0=#0 407:1=#1 407:2=#2 407:4=#0 407:5=#0 409:0=#1 409:2=#2
    410:0=#101 410:1=#102 410:2=#103 410:3=#104 410:5=#106
    411:0=#1 411:2=#100000 411:3=#3 411:5=#0
    412:0=#0 412:1=#1 412:2=#-1 412:3=#3 412:5=#5
    413:0=#1 413:1=#2 413:2=#-1 413:3=#0 413:5=#1
    1001{ 100101:0=Doc 100102:0=Hint 100104:0=hier 100104:5=dort }
    1001{ 100101:0=Lay 100102:0=Column 100105:0=#0 100105:1=#80 } }
  20{ 2000:0=#5 2001:0=#101 2001:1=#102 2001:2=#103 2001:3=#104 2001:4=#1000000
    2002:0=#0 2002:1=#1 2002:2=#2 2002:3=#3 2002:4=#5 }
  21{ 2000:0=#4 2101:0=#21 2101:1=#22 2101:2=#23
    2102:0=Bücher 2102:1=𝔗ext 2102:2=Ein+Typ,+dessen+Name+die+Spalte+sprengt
    2103:0=#6 2103:1=#1 2103:2=#4 2104:0=#1 2104:1=#3 2104:2=#2 2105:1=#23
    2106:0=#0 2106:1=#2 2106:2=#16 2107:0=#0 2107:1=#2 2107:2=#3 2108:0=#0 2108:1=#1
    1001{ 100101:0=Doc 100102:0=Origin 100104:0=schéma.xsd 100104:3= }
    1001{ 100101:0=Doc 100102:0=Line 100105:0=#12 100105:2=#-1 } }
  22{ 2000:0=#3 2201:0=#14 2201:1=#14 2202:0=#13 2202:1=#12 2203:0=#5 2204:1=#2
    2205:0=#3 2205:1=#-1 2206:0=#1 2206:1=#-1 2207:1=#1 2208:0=#1 2208:1=#-1
    2209:0=#2 2209:1=#-1 2210:0=#40 2210:1=#-1 2211:0=#1 }
  23{ 2000:0=#4 2301:0=#101 2301:1=#103 2301:2=#1000000 2301:3=#-1 }
  24{ 2000:0=#4 2401:1=#1 2401:2=#-1 2401:3=#4 2402:0=#1 2402:1=#-2 2402:3=#7 }
  25{ 2000:0=#13 2501:0=Ein+Wert,+länger+als+seine+Spalte 2501:1=𝄞x 2501:2=~
    2502:3=#-9223372036854775808 2503:4=%0.1 2503:5=%-2.5 2505:6=#1 2505:7=#0
    2506:8=2024-02-29T23:59:59.25-05:30 2506:9=-0044-03-15T00:00:00Z
    2508:10=-P1Y2M3DT4H5M6.5S 2508:11=PT0S 2507:12=1.50 }
  26{ 2000:0=#3 2601:0=urn:a 2601:2=urn:bücher:mit:einem:langen:namen:𝔵 } ))";

std::string golden(const std::string& name) {
  std::ifstream stream(STDDI_SOURCE_DIR "/tests/core/golden/" + name, std::ios::binary);
  if (!stream) throw std::runtime_error("cannot read golden/" + name);
  return {std::istreambuf_iterator<char>(stream), {}};
}

// The whole line around the byte at `at`.
std::string_view lineAt(std::string_view text, std::size_t at) {
  const std::size_t begin = at == 0 ? 0 : text.rfind('\n', at - 1) + 1;
  return text.substr(begin, std::min(text.find('\n', at), text.size()) - begin);
}

testing::AssertionResult sameBytes(std::string_view expected, std::string_view actual) {
  if (expected == actual) return testing::AssertionSuccess();
  const auto [first, second] = std::ranges::mismatch(expected, actual);
  const auto at = static_cast<std::size_t>(first - expected.begin());
  return testing::AssertionFailure()
         << "line " << 1 + std::count(expected.begin(), first, '\n') << " differs\nexpected: |"
         << lineAt(expected, at) << "|\nwritten:  |" << lineAt(actual, at) << "|";
}

TEST(Dump, WritesEveryTable) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(errorOf(dictionary, kSample), "");
  EXPECT_TRUE(sameBytes(golden("contents.txt"), reportOf(dictionary)));
}

TEST(Dump, OfACopyIsTheSame) {
  StdDictionaryInfo dictionary(3);
  ASSERT_EQ(errorOf(dictionary, kSample), "");
  const StdDictionaryInfo shared(dictionary);
  EXPECT_TRUE(sameBytes(golden("contents.txt"), reportOf(shared)));
  StdDictionaryInfo separate(3);
  separate.FromDictionary(dictionary);
  EXPECT_TRUE(sameBytes(golden("contents.txt"), reportOf(separate)));
}

TEST(Dump, OfNoRowsHasTheHeadsAlone) {
  EXPECT_TRUE(sameBytes(golden("empty.txt"), reportOf(StdDictionaryInfo(0))));
}

// The line of the Identification is ended by its first dependency, and the formats begin with an
// empty line of their own.
TEST(Dump, WithoutDependenciesTheIdentificationLineStaysOpen) {
  const std::string row = std::string(20, ' ') + " A            -1     -1     -1     " +
                          std::string(21, ' ') + " 1      1000   -1     ";
  const std::string head = "100020               100021              \n";
  const std::string underline = "------               ------              \n";
  const std::string format = "F" + std::string(40, ' ') + "\n";
  const std::string project = "\n1 \tProject\n";
  const std::pair<const char*, std::string> kCases[] = {
      {"", project},
      {"100010:0=d", "d\n" + project},
      {"100020:0=F", "\n" + head + underline + format + project},
  };
  for (const auto& [items, expected] : kCases) {
    StdDictionaryInfo dictionary(0);
    ASSERT_EQ(errorOf(dictionary, "( 1000{ 100002:0=A " + std::string(items) + " } )"), "");
    const std::string report = reportOf(dictionary);
    const std::size_t at = report.find(row);
    ASSERT_NE(at, std::string::npos) << report;
    EXPECT_EQ(report.substr(at + row.size(), expected.size()), expected);
  }
}

TEST(Dump, EndsAtAValueOfUnknownKind) {
  StdDictionaryInfo dictionary(0);
  ASSERT_EQ(errorOf(dictionary,
                    "( 1000{ 100002:0=A } 25{ 2000:0=#3 2501:0=known } "
                    "26{ 2000:0=#1 2601:0=urn:x } )"),
            "");
  const std::string report = reportOf(dictionary);
  EXPECT_NE(report.find("\n----- ---- -----\n0     2    known               \n"
                        "StdDictValueDefs::getData: Tried to get a value"),
            std::string::npos)
      << report.substr(report.size() - std::min<std::size_t>(report.size(), 200));
}

}  // namespace
}  // namespace cpi::test
