// The text extract: what is written reads back, and what is broken is refused with its place.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>

#include "cpi/extract/dictionaryfile.h"
#include "cpi/extract/extractreader.h"
#include "cpi/extract/extractwriter.h"
#include "cpi/runtime/kelexception.h"
#include "tests/models/tables_support.h"
#include "tests/support/temporary.h"
#include "tests/support/texts.h"

namespace cpi::test {
namespace {

using testing::HasSubstr;

// Writes every event as one line.
class EventLog : public FIHandler {
 public:
  using FIHandler::endElement;
  using FIHandler::startElement;
  void startMessage(WorkerInfoPtr) override { lines += "message\n"; }
  void endMessage(WorkerInfoPtr) override { lines += "end\n"; }
  void startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr, std::int32_t index,
                    std::int32_t extra) override {
    lines += "<" + std::to_string(id) + " kind " + std::to_string(kind) + " row " +
             std::to_string(index) + " extra " + std::to_string(extra) + "\n";
  }
  void endElement(std::int32_t id, WorkerInfoPtr) override {
    lines += ">" + std::to_string(id) + "\n";
  }
  void data(const PWFData& value, WorkerInfoPtr) override {
    lines += "=" + std::to_string(value.getLogicalType());
    if (value.getLogicalType() == LTFloat) {
      lines += " " + std::to_string(std::bit_cast<std::uint64_t>(value.getDoubleValue()));
    }
    const bool isText = value.getStringValue() != nullptr;
    const PWFData written = value.getDebugString();
    for (const char16_t unit : textView(written.getStringValue())) {
      lines += (isText || unit > '~') ? " " + std::to_string(static_cast<unsigned>(unit))
                                      : std::string(1, static_cast<char>(unit));
    }
    lines += isText || value.getLogicalType() != LTString ? "\n" : " null\n";
  }
  std::string lines;
};

std::string eventsOf(const std::string& json) {
  std::istringstream stream(json);
  EventLog log;
  readExtract(stream, "test.json", log);
  return log.lines;
}

// The events as the writer writes them and the reader sends them again.
std::string rewritten(const std::string& json) {
  std::istringstream in(json);
  std::ostringstream out;
  ExtractWriter writer(out);
  readExtract(in, "test.json", writer);
  writer.finish();
  return out.str();
}

std::string stream(const std::string& entries) {
  return "{\"extract\": 1, \"stream\": [" + entries + "]}";
}

// --- Round trips of whole dictionaries ---------------------------------------------------------

TEST(DictionaryTables, FeedingAndReadingBackGivesTheSameTables) {
  const DictionaryTables tables = fullTables();
  EXPECT_EQ(tablesOf(*loaded(tables)), tables);
  DictionaryTables small;
  EXPECT_EQ(tablesOf(*loaded(small)), small);
  small.Identification.emplace();
  small.Project.emplace();
  small.Tags.resize(2);
  small.Tags[1].TextIdentifier = u"row 0 has no text";
  small.Types.resize(3);
  EXPECT_EQ(tablesOf(*loaded(small)), small);
}

TEST(DictionaryTables, WhatNoStreamCarriesIsRefused) {
  const struct {
    void (*change)(DictionaryTables&);
    std::string message;
  } cases[] = {
      {[](DictionaryTables& t) { t.Tags[1].TextIdentifier = std::u16string(1, u'\0'); },
       "Tags row 1, TextIdentifier: a text cannot hold U+0000"},
      {[](DictionaryTables& t) { t.Tags[0].Class = 65536; },
       "Tags row 0, Class: no class letter: 65536"},
      {[](DictionaryTables& t) { t.Values[2].Type = 5; },
       "Values row 2, Type: no kind of value: 5"},
      {[](DictionaryTables& t) { t.Values[0] = {}; }, "Values row 0, Type: no kind of value: -1"},
      {[](DictionaryTables& t) { t.Values[2].Type = LTFloat; },
       "Values row 2, FloatValue: a value of another kind"},
      {[](DictionaryTables& t) { t.namedProperties[0].values[0].reset(); },
       "Project row 0, IntegerValue: the first value is missing"},
      {[](DictionaryTables& t) { t.namedProperties[1].values[1] = 5; },
       "Tags row 1, TextValue: a value of the other kind"},
  };
  for (const auto& row : cases) {
    DictionaryTables tables = fullTables();
    row.change(tables);
    EXPECT_EQ(refusalOf<std::invalid_argument>([&] { loaded(tables); }), row.message);
  }
}

TEST(Extract, AWrittenDictionaryReadsBack) {
  const DictionaryTables tables = fullTables();
  const auto dictionary = loaded(tables);
  std::ostringstream out;
  writeExtract(*dictionary, out);
  std::istringstream in(out.str());
  StdDictionaryInfo copy(0);
  readExtract(in, "full.json", copy);
  EXPECT_EQ(tablesOf(copy), tables) << out.str();
  std::ostringstream again;
  writeExtract(copy, again);
  EXPECT_EQ(again.str(), out.str());
  EXPECT_EQ(rewritten(out.str()), out.str());
}

TEST(Extract, WritesReadableColumns) {
  DictionaryTables tables;
  tables.Identification.emplace().Name = u"small";
  tables.Namespaces = {{u"urn:a"}, {}, {u"urn:b"}};
  tables.namedProperties = {{TableSlot::Namespaces, u"t", u"p", PTInteger, {1, {}, 3}}};
  for (std::int32_t i = 100; i < 125; ++i) tables.MemberPath.push_back({i * 1000});
  std::ostringstream out;
  writeExtract(*loaded(tables), out);
  EXPECT_EQ(out.str(), R"({"extract": 1,
 "stream": [
  {"section": "Identification", "content": [
    {"column": "Name", "values": ["small"]},
    {"column": "MsgSetLevel", "values": [-1]},
    {"column": "ModelLevelMajor", "values": [-1]},
    {"column": "ModelLevelMinor", "values": [-1]},
    {"column": "FreezeTimestamp", "values": [""]},
    {"column": "DescriptorType", "values": [1]},
    {"column": "FormatLevel", "values": [1000]},
    {"column": "CompatibilityLevel", "values": [-1]}
  ]},
  {"section": "MemberPath", "content": [
    {"column": "NumRows", "values": [25]},
    {"column": "MemberPathMemberId", "values": [100000, 101000, 102000, 103000, 104000, 105000,
      106000, 107000, 108000, 109000, 110000, 111000, 112000, 113000, 114000, 115000, 116000,
      117000, 118000, 119000, 120000, 121000, 122000, 123000, 124000]}
  ]},
  {"section": "Namespaces", "content": [
    {"column": "NumRows", "values": [3]},
    {"column": "Space", "values": ["urn:a", null, "urn:b"]},
    {"section": "NamedProperty", "content": [
      {"column": "TableMemberName", "values": ["t"]},
      {"column": "MemberName", "values": ["p"]},
      {"column": "IntegerValue", "values": [1, null, 3]}
    ]}
  ]}
 ]}
)");
}

// --- Events ------------------------------------------------------------------------------------

TEST(Extract, ExpressesEveryStream) {
  const struct {
    std::string json;
    std::string events;
  } cases[] = {
      {stream(""), "message\nend\n"},
      {R"({"extract": 1, "start": false, "stream": [], "end": false})", ""},
      {R"({"extract": 1, "stream": [], "end": true})", "message\nend\n"},
      {stream(R"({"section": "Tags", "content": [{"column": "Id", "values": [5, null, 7]}]})"),
       "message\n<2 kind 2 row 0 extra 0\n"
       "<201 kind 0 row 0 extra 0\n=45\n>201\n<201 kind 0 row 2 extra 0\n=47\n>201\n>2\nend\n"},
      {stream(R"({"section": 77, "kind": 3, "row": -1, "extra": 4, "content": [
         {"column": 9, "kind": 1, "row": 2147483647, "extra": -2, "values": [true]}],
         "end": false})"),
       "message\n<77 kind 3 row -1 extra 4\n<9 kind 1 row 2147483647 extra -2\n=12true\n>9\nend\n"},
      {stream(R"({"startElement": 2018, "kind": 2}, {"data": 1}, {"endElement": 2019},
         {"startElement": -3, "kind": 65535, "row": 4, "extra": 5}, {"message": "start"},
         {"message": "start"}, {"section": "Types", "content": [{"endElement": 4}]})"),
       "message\n<2018 kind 2 row 0 extra 0\n=41\n>2019\n<-3 kind 65535 row 4 extra 5\nmessage\n"
       "message\n<21 kind 2 row 0 extra 0\n>4\n>21\nend\n"},
      {stream(R"({"startElement": 5, "kind": 0}, {"startElement": 5, "kind": 0}, {"data": 1},
         {"data": "x"}, {"endElement": 6}, {"endElement": 5})"),
       "message\n<5 kind 0 row 0 extra 0\n<5 kind 0 row 0 extra 0\n=41\n=2 120\n>6\n>5\nend\n"},
      {stream(R"({"section": "Values", "content": [
         {"column": "DecimalValue", "values": ["1.5", {"text": "1.5"}, {"decimal": [49]}]},
         {"column": "StringValue", "row": 3, "values": [{"decimal": "1.5"}, {"text": null}]}]})"),
       "message\n<25 kind 2 row 0 extra 0\n"
       "<2507 kind 0 row 0 extra 0\n=16 49 46 53\n>2507\n"
       "<2507 kind 0 row 1 extra 0\n=2 49 46 53\n>2507\n"
       "<2507 kind 0 row 2 extra 0\n=16 49\n>2507\n"
       "<2501 kind 0 row 3 extra 0\n=16 49 46 53\n>2501\n"
       "<2501 kind 0 row 4 extra 0\n=2 null\n>2501\n>25\nend\n"},
      {stream(R"({"section": "Values", "content": [{"startElement": 2507, "kind": 0},
         {"data": {"decimal": "1"}}]})"),
       "message\n<25 kind 2 row 0 extra 0\n<2507 kind 0 row 0 extra 0\n=16 49\n>25\nend\n"},
      {stream(R"({"data": 18446744073709551615}, {"data": -9223372036854775808}, {"data": 1.0},
         {"data": {"double": "7ff0000000000001"}}, {"data": {"dateTime": "2024-01-01"}},
         {"data": {"interval": "P1D"}}, {"data": {"none": null}}, {"data": false},
         {"data": {"text": [55296, 65535, 1]}}, {"data": "\ud83d\ude00"})"),
       "message\n=418446744073709551615\n=4-9223372036854775808\n=6 46071824188000174081\n"
       "=6 9218868437227405313nan\n=152024-01-01T00:00:00\n=14P1D\n=-1\n=12false\n"
       "=2 55296 65535 1\n=2 55357 56832\nend\n"},
  };
  for (const auto& row : cases) {
    SCOPED_TRACE(row.json);
    EXPECT_EQ(eventsOf(row.json), row.events);
    const std::string written = rewritten(row.json);
    EXPECT_EQ(eventsOf(written), row.events) << written;
    EXPECT_EQ(rewritten(written), written);
  }
}

TEST(Extract, FarRowsAndDeepSectionsStaySmall) {
  std::ostringstream out;
  ExtractWriter writer(out);
  writer.startMessage(nullptr);
  for (const std::int32_t at : {0, 2000000000, 5, 2147483647, 2147483647, -4}) {
    writer.startElement(1, EKField, nullptr, at, 0);
    writer.data(PWFData(true), nullptr);
    writer.endElement(1, nullptr);
  }
  for (int i = 0; i < 1000; ++i) writer.startElement(3, EKStructure, nullptr, 0, 0);
  writer.finish();
  EXPECT_LT(out.str().size(), 100000U);
  EXPECT_EQ(rewritten(out.str()), out.str());
}

// --- Broken files ------------------------------------------------------------------------------

TEST(Extract, BrokenFilesAreRefusedWithPlaceAndExpectation) {
  const std::string entries =
      R"("section", "column", "startElement", "endElement", "data" or "message")";
  const std::string typed = R"("text", "decimal", "double", "dateTime", "interval" or "none")";
  const struct {
    std::string json;
    std::string message;
  } cases[] = {
      {"", "1:1: found end of input; expected '[', '{', or a literal"},
      {"[]", "1:1: found an array; expected an object"},
      {" 5", "1:2: found 5; expected an object"},
      {"{}", "1:2: found the end of the object; expected \"extract\""},
      {"{\"extract\": 2}", "1:13: found 2; expected version 1"},
      {"{\"extract\": 1}", "1:14: found the end of the object; expected \"start\" or \"stream\""},
      {"{\"stream\": []}", "1:2: found key \"stream\"; expected \"extract\""},
      {"{\"extract\": 1,\n \"streams\": []}",
       "2:2: found key \"streams\"; expected \"start\" or \"stream\""},
      {"{\"extract\": 1, \"stream\": 5}", "1:26: found 5; expected an array"},
      {"{\"extract\": 1, \"stream\": {}}",
       "1:26: found an object; expected a value of another kind"},
      {"{\"extract\": 1, \"start\": 0, \"stream\": []}", "1:25: found 0; expected true or false"},
      {"{\"extract\": 1, \"stream\": [], \"stream\": []}",
       "1:30: found key \"stream\"; expected \"end\" or the end of the object"},
      {"{\"extract\": 1, \"stream\": []} x", "1:30: found invalid literal; expected end of input"},
      {"{\"extract\": 1, \"stream\": [",
       "1:27: found end of input; expected '[', '{', or a literal"},
      {std::string("{\"extract\": 1\0}", 15), "1:14: found a zero byte; expected JSON text"},
      {stream("\n  7"), "2:3: found 7; expected an object"},
      {stream("{}"), "1:28: found an empty object; expected " + entries},
      {stream("{\"sections\": 1}"), "1:28: found key \"sections\"; expected " + entries},
      {stream("{\"section\": \"Tgas\"}"),
       "1:39: found \"Tgas\"; expected the name or the id of a section"},
      {stream("{\"section\": 2.0}"), "1:39: found 2; expected the name or the id of a section"},
      {stream("{\"section\": 2147483648}"),
       "1:39: found 2147483648; expected the name or the id of a section"},
      {stream("{\"section\": \"Tags\"}"),
       "1:45: found the end of the object; expected \"kind\", \"row\", \"extra\" or \"content\""},
      {stream("{\"section\": \"Tags\", \"kind\": 1}"),
       "1:55: found 1; expected 2 or 3, the kinds of sections"},
      {stream("{\"section\": \"Tags\", \"row\": 1, \"kind\": 2}"),
       "1:57: found key \"kind\"; expected \"extra\" or \"content\""},
      {stream("{\"section\": \"Tags\", \"content\": [\n {\"column\": \"Idd\"}]}"),
       "2:13: found \"Idd\"; expected a column of Tags"},
      {stream("{\"section\": 3, \"content\": [{\"column\": \"Id\"}]}"),
       "1:65: found \"Id\"; expected a column's id, for no known section is open"},
      {stream("{\"column\": \"Id\"}"),
       "1:38: found \"Id\"; expected a column's id, for no known section is open"},
      {stream("{\"column\": 1, \"kind\": 2, \"values\": []}"),
       "1:49: found 2; expected 0 or 1, the kinds of items"},
      {stream("{\"column\": 1, \"row\": 1e3, \"values\": []}"),
       "1:48: found 1000; expected a 32-bit integer"},
      {stream("{\"column\": 1, \"values\": [[]]}"),
       "1:52: found an array; expected a value of another kind"},
      {stream("{\"column\": 1, \"values\": [{\"txt\": 1}]}"),
       "1:53: found key \"txt\"; expected " + typed},
      {stream("{\"column\": 1, \"values\": [{}]}"),
       "1:53: found an empty object; expected " + typed},
      {stream("{\"column\": 1, \"values\": [{\"text\": 1}]}"),
       "1:61: found 1; expected a string, null or an array of code units"},
      {stream("{\"column\": 1, \"values\": [{\"text\": [65, 0]}]}"),
       "1:66: found 0; expected a code unit, 1 to 65535"},
      {stream("{\"column\": 1, \"values\": [{\"text\": \"a\", \"text\": \"b\"}]}"),
       "1:66: found key \"text\"; expected the end of the object"},
      {stream("{\"column\": 1, \"values\": [{\"double\": \"NaN\"}]}"),
       "1:63: found \"NaN\"; expected \"inf\", \"-inf\", \"nan\" or the 16 hex digits of a double"},
      {stream("{\"column\": 1, \"values\": [{\"none\": 0}]}"), "1:61: found 0; expected null"},
      {stream("{\"data\": {\"interval\": \"1D\"}}"),
       "1:49: interval \"1D\": 'P' expected at offset 0"},
      {stream("{\"data\": null}"), "1:36: found null; expected a value"},
      {stream("{\"data\": \"a\\u0000b\"}"),
       "1:36: found U+0000 in a text; expected any other characters"},
      {stream("{\"data\": 18446744073709551616}"),
       "1:36: found 18446744073709551616; expected an integer of at most 64 bits"},
      {stream("{\"data\": 1e999}"),
       "1:36: found a number beyond the range; expected a number that a double can hold"},
      {stream("{\"data\": \"\\ud800\"}"),
       "1:36: found invalid string: surrogate U+D800..U+DBFF must be followed by U+DC00..U+DFFF; "
       "expected JSON text"},
      {stream("{\"data\": \"\xC3\"}"),
       "1:36: found invalid string: ill-formed UTF-8 byte; expected JSON text"},
      {stream("\"\u00e9\u6ce8\", 5"), "1:27: found \"\u00e9\u6ce8\"; expected an object"},
      {stream("{\"message\": \"begin\"}"), "1:39: found \"begin\"; expected \"start\" or \"end\""},
      {stream("{\"startElement\": 1, \"row\": 1}"), "1:47: found key \"row\"; expected \"kind\""},
      {stream("{\"startElement\": 1, \"kind\": 65536}"),
       "1:55: found 65536; expected a kind, 0 to 65535"},
      {stream("{\"endElement\": \"Tags\"}"), "1:42: found \"Tags\"; expected an id of 32 bits"},
      {stream("{\"column\": 1, \"row\": 2147483647, \"values\": [1, 2]}"),
       "1:74: found a value for row 2147483648; expected rows up to 2147483647"},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(refusalOf<FileError>([&] { eventsOf(row.json); }), "test.json:" + row.message)
        << row.json;
  }
}

TEST(Extract, BoundsAreKept) {
  const ReadOptions options{.maximumDepth = 6, .maximumTextUnits = 8, .maximumLiteralBytes = 200};
  const auto read = [&](const std::string& entries) {
    std::istringstream in(stream(entries));
    EventLog log;
    return refusalOf<FileError>([&] { readExtract(in, "b.json", log, options); });
  };
  EXPECT_EQ(read("{\"data\": \"12345678\"}"), "accepted");
  EXPECT_EQ(read("{\"data\": \"123456789\"}"),
            "b.json:1:36: found a text of 9 units; expected at most 8");
  EXPECT_EQ(read("{\"data\": \"" + std::string(100000, 'x')),
            "b.json:1:36: found a longer text; expected at most 1072 bytes");
  EXPECT_EQ(read("{\"data\": " + std::string(100000, '1')),
            "b.json:1:36: found a longer word or number; expected at most 1024 bytes");
  EXPECT_EQ(read("{\"data\": {\"text\": [1,1,1,1,1,1,1,1,1]}}"),
            "b.json:1:62: found a longer text; expected at most 8 units");
  EXPECT_EQ(read("{\"section\": 2, \"content\": [{\"section\": 2, \"content\": [{"),
            "b.json:1:81: found an array or object inside 6 others; expected at most 6 levels");
  EXPECT_EQ(read(std::string(100000, ' ') + "{\"data\": 1}"), "accepted");
  EXPECT_EQ(read("{\"column\": 1, \"values\": [" + repeated("null, ", 100)),
            "b.json:1:249: found more than 200 bytes of null, true and false in a row; expected a "
            "new column, with its \"row\"");
}

TEST(Extract, ARefusalOfTheDictionaryTellsItsPlaceAndIsNested) {
  const std::string json = stream(R"({"section": "Identification", "content": [
    {"column": "Name", "values": ["n"]},
    {"column": "FormatLevel", "values": [1]}]})");
  StdDictionaryInfo dictionary(0);
  std::istringstream in(json);
  try {
    readExtract(in, "old.json", dictionary);
    FAIL();
  } catch (const FileError& error) {
    EXPECT_EQ(error.file(), "old.json");
    EXPECT_EQ(error.line(), 3);
    EXPECT_EQ(error.column(), 42);
    EXPECT_EQ(error.expected(), "");
    EXPECT_NE(error.found().find("File format too old to parse."), std::string::npos);
    EXPECT_THROW(std::rethrow_if_nested(error), KelConfigurationException);
  }
  EXPECT_EQ(dictionary.msgSetID.view(), u"n");
  const struct {
    std::string json;
    std::string place;
  } places[] = {{stream(R"({"section": "Tags", "content": []})"), "p:1:39: "},
                {stream(""), "p:1:29: "}};
  for (const auto& row : places) {
    std::istringstream bad(row.json);
    StdDictionaryInfo empty(0);
    const std::string message = refusalOf<FileError>([&] { readExtract(bad, "p", empty); });
    EXPECT_EQ(message.substr(0, row.place.size()), row.place) << message;
  }
}

// --- The description of the format ---------------------------------------------------------------

std::string formatDocument() {
  std::ifstream file(STDDI_SOURCE_DIR "/docs/extract-format.md", std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(file), {});
}

TEST(ExtractFormat, TheExampleLoadsAndTheTableNamesEveryColumn) {
  const std::string document = formatDocument();
  const std::string fence = "```json\n";
  const std::size_t start = document.find(fence);
  ASSERT_NE(start, std::string::npos);
  const std::size_t end = document.find("```", start + fence.size());
  std::istringstream example(document.substr(start + fence.size(), end - start - fence.size()));
  StdDictionaryInfo dictionary(0);
  readExtract(example, "example", dictionary);
  EXPECT_EQ(dictionary.getTagDefIndexFromName(u"Customer"), 1);
  EXPECT_EQ(tablesOf(dictionary).namedProperties.size(), 1U);

  const auto expectRow = [&](std::string_view name, std::int32_t id) {
    const std::string row = "| " + std::string(name) + " | " + std::to_string(id) + " |";
    EXPECT_NE(document.find(row), std::string::npos) << row;
  };
  for (const Section& section : allSections()) {
    expectRow(section.name, section.id);
    for (const Column& column : section.columns) expectRow(column.name, column.id);
  }
  expectRow(kNamedPropertyName, kNamedPropertySection);
  for (const Column& column : namedPropertyColumns()) expectRow(column.name, column.id);
}

// --- Files -------------------------------------------------------------------------------------

TEST(ExtractFile, IsLoadedByItsContents) {
  const TemporaryDirectory folder;
  const DictionaryTables tables = fullTables();
  std::ostringstream out;
  writeExtract(*loaded(tables), out);
  for (const char* const prefix : {"", " \r\n\t", "\xEF\xBB\xBF"}) {
    EXPECT_EQ(tablesOf(*loadDictionary(folder.write("d.json", prefix + out.str()))), tables);
  }
}

TEST(ExtractFile, OtherFilesAreRefused) {
  const TemporaryDirectory folder;
  const std::string file = folder.path() + "/d.json";
  const auto load = [](const std::string& path) {
    return refusalOf<FileError>([&] { loadDictionary(path); });
  };
  const auto read = [&] {
    EventLog log;
    readExtract(file, log);
  };
  const std::string missing = file + ": the file cannot be opened: No such file or directory";
  EXPECT_EQ(load(file), missing);
  EXPECT_EQ(refusalOf<FileError>(read), missing);
  const std::string forms = "; expected the '{' of a text extract or the byte 0x89 of an image";
  EXPECT_EQ(load(folder.write("d.json", "")), file + ":1:1: found an empty file" + forms);
  EXPECT_EQ(load(folder.write("d.json", "<xml/>")), file + ":1:1: found byte 0x3C" + forms);
  EXPECT_EQ(load(folder.path()), folder.path() + ": the file cannot be read");
  const char* const large =
      R"({"extract": 1, "stream": [{"section": "Identification", "content": []},
{"section": "ValueSet", "content": [{"column": "NumRows", "values": [16777216]}]}]})";
  EXPECT_THAT(load(folder.write("d.json", large)),
              HasSubstr("row 0: the tables would claim more than 1088256 bytes"));
  const auto loadInto = [&] {
    StdDictionaryInfo dictionary(0);
    readExtract(file, dictionary);
  };
  EXPECT_THAT(refusalOf<FileError>(loadInto),
              HasSubstr("the tables would claim more than 1088256 bytes"));
}

TEST(Extract, TextsMayBeLong) {
  DictionaryTables tables;
  tables.Identification.emplace();
  tables.Namespaces.push_back({std::u16string(3000, u'x')});
  std::stringstream file;
  writeExtract(*loaded(tables), file);
  StdDictionaryInfo read(0);
  readExtract(file, "long", read);
  EXPECT_EQ(tablesOf(read), tables);
}

TEST(Extract, AFailingStreamIsReported) {
  std::ostringstream out;
  out.setstate(std::ios::badbit);
  EXPECT_EQ(refusalOf<FileError>([&] { writeExtract(*loaded({}), out); }),
            "extract: the stream takes no more bytes");
}

}  // namespace
}  // namespace cpi::test
