// The runtime: texts, log, exceptions, typed values and conversions.
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "cpi/runtime/datacnv.h"
#include "cpi/runtime/kelexception.h"
#include "cpi/runtime/kellog.h"
#include "cpi/runtime/kelstring.h"
#include "cpi/runtime/pwfdata.h"

namespace cpi {
namespace {

// --- Texts -------------------------------------------------------------------------------------

TEST(KelString, ConvertsToAndFromUtf8) {
  const struct {
    std::u16string utf16;
    std::string utf8;
    std::u16string back;  // what the bytes read as
  } cases[] = {
      {u"", "", u""},
      {u"abc", "abc", u"abc"},
      {u"\u00e9\u6ce8", "\xC3\xA9\xE6\xB3\xA8", u"\u00e9\u6ce8"},
      {u"\U0001F600", "\xF0\x9F\x98\x80", u"\U0001F600"},
      {{0xD800}, "\xEF\xBF\xBD", u"\uFFFD"},
      {{0xDC00, u'x'}, "\xEF\xBF\xBDx", u"\uFFFDx"},
      {{u'a', 0xDBFF}, "a\xEF\xBF\xBD", u"a\uFFFD"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.utf8);
    EXPECT_EQ(KelStringBase(std::u16string_view(row.utf16)).toUtf8(), row.utf8);
    EXPECT_EQ(KelStringBase::fromUtf8(row.utf8).view(), row.back);
  }
  for (const char* const bad : {"\x80", "\xC3", "\xC0\x80", "\xED\xA0\x80", "\xF5\x80\x80\x80"}) {
    EXPECT_EQ(toUtf16(bad).front(), u'\uFFFD') << bad;
  }
}

TEST(KelString, CopiesShareOneBufferAndOutliveTheFirst) {
  auto first = std::make_unique<KelStringBase>(u"shared");
  const KelStringBase second = *first;
  const unsigned short* const text = first->getText();
  EXPECT_EQ(second.getText(), text);
  first.reset();
  EXPECT_EQ(second.view(), u"shared");
  KelStringBase third(u"other");
  const KelStringBase& self = third;
  third = self;
  EXPECT_EQ(third.view(), u"other");
  third = second;
  EXPECT_EQ(third.getText(), text);
  const KelStringBase moved = std::move(third);
  EXPECT_EQ(moved.getText(), text);
}

TEST(KelString, EmptyAndNullAreOneAndTheTextIsTerminated) {
  const unsigned short* const null = nullptr;
  EXPECT_TRUE(KelStringBase(null) == KelStringBase());
  EXPECT_TRUE(KelStringBase(u"") == KelStringBase());
  EXPECT_EQ(*KelStringBase().getText(), 0);
  EXPECT_EQ(KelStringBase(std::u16string_view(u"abcdef", 3)).getText()[3], 0);
  EXPECT_FALSE(KelStringBase(u"ab") == KelStringBase(u"a"));
}

// --- Log and exceptions ------------------------------------------------------------------------

// Keeps every item as one line: kind, source, operation, text, inserts.
class Recorder : public KelLogSink {
 public:
  explicit Recorder(int level) { KelLog::install(this, level); }
  ~Recorder() override { KelLog::install(nullptr, LLOff); }
  void write(const KelLogItem& item) override {
    constexpr const char* kKinds[] = {"entry", "exit", "debug", "trace"};
    std::string line = kKinds[static_cast<int>(item.kind)];
    line += item.source == nullptr ? " -" : std::string(" ") + item.source->logSourceName();
    line += " " + std::string(item.operation) + " [" + std::string(item.text) + "]";
    for (const KelInsert& insert : item.inserts) line += " " + insert.text();
    lines.push_back(line);
    if (throwing) throw 1;  // no exception that anybody could expect
  }
  std::vector<std::string> lines;
  bool throwing = false;
};

int measured(const KelLogSource* source, int value) {
  KelOperation operation(source, "Thing::measure", value, asUnits(u"text"), true);
  if (value < 0) throw std::invalid_argument("negative");
  if (value == 0) return operation.fails("nothing there", -1);
  return operation.returns(value * 2);
}

TEST(KelLog, OperationWritesEntryAndExit) {
  const KelNamedLogSource named("app.part");
  const KelOwnedLogSource owned(&named);
  Recorder log(LLDebug);
  EXPECT_EQ(measured(&owned, 4), 8);
  EXPECT_EQ(measured(nullptr, 0), -1);
  EXPECT_THROW(measured(&named, -1), std::invalid_argument);
  const std::vector<std::string> expected{
      "entry app.part Thing::measure [] 4 text true",  "exit app.part Thing::measure [] 8",
      "entry - Thing::measure [] 0 text true",         "exit - Thing::measure [nothing there] -1",
      "entry app.part Thing::measure [] -1 text true",
  };
  EXPECT_EQ(log.lines, expected);
}

TEST(KelLog, AnOperationThatRunsDuringUnwindingWritesItsExit) {
  struct Cleanup {
    ~Cleanup() { measured(nullptr, 1); }
  };
  Recorder log(LLDebug);
  try {
    const Cleanup cleanup;
    throw std::runtime_error("unwinding");
  } catch (const std::runtime_error&) {
  }
  ASSERT_EQ(log.lines.size(), 2U);
  EXPECT_EQ(log.lines[1], "exit - Thing::measure [] 2");
}

TEST(KelLog, LevelsAndRemoval) {
  const struct {
    int level;
    std::size_t lines;
  } cases[] = {{LLOff, 0}, {LLTrace, 0}, {LLDebug, 2}, {LLDebug + 1, 2}};
  for (const auto& row : cases) {
    Recorder log(row.level);
    measured(nullptr, 1);
    EXPECT_EQ(log.lines.size(), row.lines) << row.level;
  }
  EXPECT_EQ(KelLog::filter(), LLOff);
  KelLog::install(nullptr, LLDebug);
  EXPECT_EQ(KelLog::filter(), LLOff) << "without a sink nothing is on";
  EXPECT_EQ(measured(nullptr, 1), 2);
}

TEST(KelLog, AFailingSinkChangesNoResult) {
  Recorder log(LLDebug);
  log.throwing = true;
  EXPECT_EQ(measured(nullptr, 3), 6);
  EXPECT_EQ(log.lines.size(), 2U);
}

TEST(KelLog, InsertsAsText) {
  EXPECT_EQ(KelInsert(asUnits(u"\u00e9")).text(), "\xC3\xA9");
  EXPECT_EQ(KelInsert(static_cast<const char*>(nullptr)).text(), "");
  EXPECT_EQ(KelInsert(std::numeric_limits<std::int64_t>::min()).text(), "-9223372036854775808");
  EXPECT_EQ(KelInsert(false).text(), "false");
  EXPECT_EQ(KelInsert(LTDecimal).text(), "16");
  EXPECT_EQ(KelInsert(reinterpret_cast<const void*>(0x1f)).text(), "0x1f");
}

TEST(KelException, CarriesAllFieldsInOneLine) {
  Recorder log(LLTrace);
  const KelNamedLogSource source("app");
  try {
    throwParserError(&source, {"cpi/file", 42, "Class::move"}, CP_DICTIONARY_ERROR, "went wrong",
                     {7, asUnits(u"name")});
  } catch (const KelParserException& error) {
    EXPECT_EQ(error.file(), "cpi/file");
    EXPECT_EQ(error.line(), 42);
    EXPECT_EQ(error.operation(), "Class::move");
    EXPECT_EQ(error.logSourceName(), KelLog::iDefaultLogSource);
    EXPECT_EQ(error.logSource(), &source);
    EXPECT_EQ(error.messageNumber(), 0xC000158EU);
    EXPECT_EQ(error.message(), "went wrong");
    ASSERT_EQ(error.inserts().size(), 2U);
    EXPECT_STREQ(error.what(), "Class::move: went wrong (0xC000158E, cpi/file:42): 7, name");
  }
  const std::vector<std::string> expected{
      "trace app Class::move [Throwing exception] cpi/file 42 CP_DICTIONARY_ERROR went wrong 7 "
      "name"};
  EXPECT_EQ(log.lines, expected);
}

TEST(KelException, InternalErrorsHaveOneTextAndNameTheirMessage) {
  try {
    throwConfigurationError({"cpi/file", 1, "Class::load"}, CP_INCOMPATIBLE_DICTIONARY, "too old");
  } catch (const KelException& error) {
    EXPECT_EQ(error.messageNumber(), 0xC00014ADU);
    EXPECT_TRUE(error.inserts().empty());
    EXPECT_THROW(error.throwThis(), KelConfigurationException);
  }
  try {
    throwParserError(nullptr, {"cpi/file", 1, "Class::move"}, CP_INTERNAL_ERROR, "why", {3});
  } catch (const KelParserException& error) {
    EXPECT_EQ(error.message(), "CPI Internal Error");
    EXPECT_STREQ(error.what(), "Class::move: CPI Internal Error (0xC000157E, cpi/file:1): why, 3");
  }
}

// --- Typed values ------------------------------------------------------------------------------

std::string debugText(const PWFData& value) {
  return KelStringBase(value.getDebugString().getStringValue()).toUtf8();
}

PWFData textValue(const char16_t* text, ELogicalType type = LTString) {
  return PWFData(text, -1, type, EOReference);
}

TEST(PWFData, DebugTexts) {
  constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
  const struct {
    PWFData value;
    std::string text;
  } cases[] = {
      {PWFData(), ""},
      {textValue(nullptr), ""},
      {textValue(u"\u00e9 x"), "\xC3\xA9 x"},
      {textValue(u"1.50", LTDecimal), "1.50"},
      {PWFData(kLowest, false), "-9223372036854775808"},
      {PWFData(std::int64_t{-1}, true), "18446744073709551615"},
      {PWFData(0.1), "0.1"},
      {PWFData(-1e300), "-1e+300"},
      {PWFData(5e-324), "5e-324"},
      {PWFData(std::numeric_limits<double>::quiet_NaN()), "nan"},
      {PWFData(-std::numeric_limits<double>::infinity()), "-inf"},
      {PWFData(true), "true"},
      {PWFData(false), "false"},
      {PWFData(PWFDateTime{2147483647, 12, 31, 23, 59, 59, 999999, -840, 1}),
       "2147483647-12-31T23:59:59.999999-14:00"},
      {PWFData(PWFInterval{}), "PT0S"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(debugText(row.value), row.text);
    EXPECT_EQ(row.value.getDebugString().getLogicalType(), LTString) << row.text;
  }
}

TEST(PWFData, TextsAreReferredToOrCopied) {
  std::u16string text = u"abc";
  const PWFData reference(text.c_str(), -1, LTString, EOReference);
  const PWFData part(text.c_str(), 2, LTString, EOReference);
  const PWFData copy(text.c_str(), -1, LTDecimal, EOCopy);
  text[0] = u'X';
  EXPECT_EQ(reference.getStringValue(), asUnits(text.c_str()));
  EXPECT_EQ(textView(part.getStringValue()), u"ab");
  EXPECT_EQ(textView(copy.getStringValue()), u"abc");
  const PWFData shared = copy;
  EXPECT_EQ(shared.getStringValue(), copy.getStringValue());
  EXPECT_EQ(copy.getLogicalType(), LTDecimal);
  EXPECT_EQ(textValue(nullptr).getStringValue(), nullptr);
  EXPECT_EQ(PWFData(true).getStringValue(), nullptr);
}

TEST(PWFData, NumbersOfEveryKind) {
  const struct {
    PWFData value;
    std::int64_t integer;
    double real;
  } cases[] = {
      {PWFData(std::int64_t{-7}, false), -7, -7},
      {PWFData(true), 1, 1},
      {PWFData(-3.0), -3, -3},
      {textValue(u"+12"), 12, 12},
      {textValue(u"-2147483648", LTDecimal), -2147483648LL, -2147483648.0},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(debugText(row.value));
    EXPECT_EQ(row.value.getInt32Value(), row.integer);
    EXPECT_EQ(row.value.getInt64Value(), row.integer);
    EXPECT_EQ(row.value.getDoubleValue(), row.real);
  }
  EXPECT_EQ(PWFData(std::int64_t{-1}, true).getDoubleValue(), 18446744073709551615.0);
  EXPECT_EQ(textValue(u"-2.5e3").getDoubleValue(), -2500);
  EXPECT_EQ(textValue(u"9223372036854775807").getInt64Value(), 9223372036854775807LL);
}

TEST(PWFData, WhatIsNoNumberIsRefused) {
  const PWFData values[] = {
      PWFData(),
      textValue(nullptr),
      textValue(u""),
      textValue(u"x"),
      textValue(u"1 "),
      textValue(u"+-1"),
      textValue(u"0x10"),
      textValue(u"1.5"),
      PWFData(2.5),
      PWFData(1e30),
      textValue(u"\u0661"),
      PWFData(std::numeric_limits<double>::quiet_NaN()),
      PWFData(std::int64_t{-1}, true),
      textValue(u"9223372036854775808"),
      PWFData(PWFDateTime{}),
  };
  for (const PWFData& value : values) {
    EXPECT_THROW(value.getInt64Value(), KelParserException) << debugText(value);
    EXPECT_THROW(value.getInt32Value(), KelParserException) << debugText(value);
  }
  EXPECT_THROW(PWFData(std::int64_t{1} << 31, false).getInt32Value(), KelParserException);
  EXPECT_THROW(textValue(u"1e999").getDoubleValue(), KelParserException);
  EXPECT_THROW(textValue(u"inf").getDoubleValue(), KelParserException);
  EXPECT_FALSE(PWFData(std::int64_t{1}, false).getBooleanValue());
  EXPECT_TRUE(PWFData(true).getBooleanValue());
}

// --- Conversions -------------------------------------------------------------------------------

DataCnv converter() {
  return DataCnv(1200, EEndianLittle, EFloatFmtIEEE, 53, nullptr, nullptr, 0, true, 12, nullptr);
}

PWFDateTime dateTimeOf(const std::string& text) {
  return converter().StrToDateTime(asUnits(toUtf16(text).c_str()), CPI_STD_DATETIME_FORMAT, -1);
}

PWFInterval intervalOf(const std::string& text) {
  return converter().StrToInterval(asUnits(toUtf16(text).c_str()), -1);
}

template <class Convert>
std::string refusalOf(Convert convert, const std::string& text) {
  try {
    convert(text);
  } catch (const DataCnvError& error) {
    return error.what();
  }
  return "accepted";
}

TEST(DataCnv, ReadsDateTimes) {
  const struct {
    std::string text;
    PWFDateTime value;
    std::string written;  // the text again; empty: as it was
  } cases[] = {
      {"2024-02-29T23:59:59", {2024, 2, 29, 23, 59, 59, 0, 0, 0}, ""},
      {"2000-02-29T00:00:00Z", {2000, 2, 29, 0, 0, 0, 0, 0, 1}, ""},
      {"-0001-12-31T12:30:15.5+14:00", {-1, 12, 31, 12, 30, 15, 500000, 840, 1}, ""},
      {"12345-01-01T24:00:00-00:30", {12345, 1, 1, 24, 0, 0, 0, -30, 1}, ""},
      {"2024-01-01T00:00:00.1234567",
       {2024, 1, 1, 0, 0, 0, 123456, 0, 0},
       "2024-01-01T00:00:00.123456"},
      {"2024-06-30", {2024, 6, 30, 0, 0, 0, 0, 0, 0}, "2024-06-30T00:00:00"},
      {"2024-06-30+01:00", {2024, 6, 30, 0, 0, 0, 0, 60, 1}, "2024-06-30T00:00:00+01:00"},
      {"07:08:09.000010Z", {0, 0, 0, 7, 8, 9, 10, 0, 1}, "07:08:09.00001Z"},
      {"0000-01-01T00:00:00+00:00", {0, 1, 1, 0, 0, 0, 0, 0, 1}, "0000-01-01T00:00:00Z"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(dateTimeOf(row.text), row.value);
    EXPECT_EQ(debugText(PWFData(row.value)), row.written.empty() ? row.text : row.written);
    EXPECT_EQ(dateTimeOf(debugText(PWFData(row.value))), row.value);
  }
}

TEST(DataCnv, RefusesDateTimes) {
  const struct {
    std::string text;
    std::string reason;
  } cases[] = {
      {"", "a digit of the year expected at offset 0"},
      {"2024", "'-' expected at offset 4"},
      {"24-01-01", "a digit of the year expected at offset 2"},
      {"2147483648-01-01", "the year does not fit 32 bits at offset 0"},
      {"2024-13-01T00:00:00", "the month must be 1 to 12 at offset 5"},
      {"2024-00-01T00:00:00", "the month must be 1 to 12 at offset 5"},
      {"2024-04-31T00:00:00", "the day must be 1 to 30 at offset 8"},
      {"2023-02-29T00:00:00", "the day must be 1 to 28 at offset 8"},
      {"1900-02-29T00:00:00", "the day must be 1 to 28 at offset 8"},
      {"2024-02-30T00:00:00", "the day must be 1 to 29 at offset 8"},
      {"2024-1-01T00:00:00", "a digit of the month expected at offset 6"},
      {"2024-01-01T24:00:01", "hour 24 is only valid as 24:00:00 at offset 11"},
      {"2024-01-01T25:00:00", "the hour must be 0 to 24 at offset 11"},
      {"2024-01-01T00:60:00", "the minute must be 0 to 59 at offset 14"},
      {"2024-01-01T00:00:60", "the second must be 0 to 59 at offset 17"},
      {"2024-01-01T00:00", "':' expected at offset 16"},
      {"2024-01-01T00:00:00.", "a digit of the fraction expected at offset 20"},
      {"2024-01-01T00:00:00+14:01", "a zone is at most 14:00 from UTC at offset 20"},
      {"2024-01-01T00:00:00+15:00", "the zone's hour must be 0 to 14 at offset 20"},
      {"2024-01-01T00:00:00 Z", "the end or a time zone expected at offset 19"},
      {"2024-01-01T00:00:00Z1", "the end or a time zone expected at offset 20"},
      {"2024-01-01 00:00:00", "the end or a time zone expected at offset 10"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(refusalOf(dateTimeOf, row.text), "date-time \"" + row.text + "\": " + row.reason);
  }
}

TEST(DataCnv, ReadsIntervals) {
  const struct {
    std::string text;
    PWFInterval value;
    std::string written;
  } cases[] = {
      {"P1Y2M3DT4H5M6.7S", {0, 1, 2, 3, 4, 5, 6, 700000}, ""},
      {"-P2147483647M", {1, 0, 2147483647, 0, 0, 0, 0, 0}, ""},
      {"P2W1D", {0, 0, 0, 15, 0, 0, 0, 0}, "P15D"},
      {"PT0.0000019S", {0, 0, 0, 0, 0, 0, 0, 1}, "PT0.000001S"},
      {"PT90M", {0, 0, 0, 0, 0, 90, 0, 0}, ""},
      {"P0D", {}, "PT0S"},
      {"-PT0S", {1, 0, 0, 0, 0, 0, 0, 0}, ""},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.text);
    EXPECT_EQ(intervalOf(row.text), row.value);
    EXPECT_EQ(debugText(PWFData(row.value)), row.written.empty() ? row.text : row.written);
    EXPECT_EQ(intervalOf(debugText(PWFData(row.value))), row.value);
  }
}

TEST(DataCnv, RefusesIntervals) {
  const struct {
    std::string text;
    std::string reason;
  } cases[] = {
      {"", "'P' expected at offset 0"},
      {"P", "a digit of the number expected at offset 1"},
      {"PT", "a digit of the number expected at offset 2"},
      {"P1DT", "a digit of the number expected at offset 4"},
      {"P1", "Y, M, W or D in this order expected at offset 2"},
      {"P1D2M", "Y, M, W or D in this order expected at offset 4"},
      {"P1Y1Y", "Y, M, W or D in this order expected at offset 4"},
      {"PT1S2H", "H, M or S in this order expected at offset 5"},
      {"P1.5D", "only seconds have a fraction at offset 1"},
      {"PT1.S", "a digit of the fraction expected at offset 4"},
      {"P2147483648Y", "the number does not fit 32 bits at offset 1"},
      {"P306783379W", "the number of days does not fit 32 bits at offset 1"},
      {"P1D ", "the end or T expected at offset 3"},
      {"+P1D", "'P' expected at offset 0"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(refusalOf(intervalOf, row.text), "interval \"" + row.text + "\": " + row.reason);
  }
}

TEST(DataCnv, LengthFormatAndNullTexts) {
  const unsigned short* const null = nullptr;
  const DataCnv cnv = converter();
  EXPECT_EQ(cnv.StrToInterval(asUnits(u"P1DT"), 3).days, 1);
  EXPECT_EQ(cnv.StrToDateTime(asUnits(u"2024-01-31junk"), CPI_STD_DATETIME_FORMAT, 10).day, 31);
  EXPECT_THROW(cnv.StrToInterval(null, -1), DataCnvError);
  EXPECT_THROW(cnv.StrToDateTime(null, CPI_STD_DATETIME_FORMAT, -1), DataCnvError);
  EXPECT_THROW(cnv.StrToDateTime(asUnits(u"2024-01-31"), asUnits(u"DD.MM.YYYY"), -1), DataCnvError);
  const std::string longText(100000, '9');
  EXPECT_EQ(refusalOf(intervalOf, longText),
            "interval \"" + std::string(64, '9') + "\"...: 'P' expected at offset 0");
}

}  // namespace
}  // namespace cpi
