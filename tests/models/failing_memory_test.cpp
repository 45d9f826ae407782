// Memory that fails at any one allocation, or from one on: each operation ends in std::bad_alloc or
// in success, and whatever it worked on is still good. Leaks show under the address sanitizer.
#include <gtest/gtest.h>
#include <libxml/xmlerror.h>
#include <libxml/xmlmemory.h>

#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "cpi/compile/fixcompiler.h"
#include "cpi/compile/xsdcompiler.h"
#include "cpi/extract/extractreader.h"
#include "cpi/extract/image.h"
#include "tests/models/fix_support.h"
#include "tests/models/xsd_support.h"
#include "tests/support/allocations.h"

namespace cpi::test {
namespace {

// Runs `work` once for each of its allocations, or each `stride`-th, which fails; a run that meets
// no failing one ends it. `check` is run after each.
template <class Work, class Check>
void failEachAllocation(Work work, Check check, std::size_t stride = 1) {
  for (const bool isLasting : {false, true}) {
    bool hasFailed = true;
    for (std::size_t allowed = 0; hasFailed; allowed += stride) {
      {
        const FailingMemory failing(allowed, isLasting);
        try {
          work();
        } catch (const std::bad_alloc&) {
        } catch (const FileError&) {  // the XML parser does not always say why it gave up
        }
        hasFailed = failing.hasFailed();
      }
      ASSERT_NO_FATAL_FAILURE(check()) << "allocation " << allowed;
    }
  }
}

constexpr const char* kExtract = R"({"extract": 1, "stream": [
 {"section": "Identification", "content": [
  {"column": "Name", "values": ["a name that takes memory"]},
  {"column": "Dependency", "values": ["one", "two"]},
  {"column": "FormatName", "values": ["XML"]}, {"column": "FormatId", "values": ["id"]}]},
 {"section": "Tags", "content": [
  {"column": "Id", "values": [1, 2]},
  {"column": "TextIdentifier", "values": ["first", "second"]},
  {"section": "NamedProperty", "content": [
   {"column": "MemberName", "values": ["rank"]}, {"column": "IntegerValue", "values": [1, 2]}]}]},
 {"section": "Values", "content": [
  {"column": "NumRows", "values": [2]},
  {"column": "StringValue", "values": ["a text that is longer than others"]}]}]})";

std::unique_ptr<StdDictionaryInfo> loaded() {
  auto dictionary = std::make_unique<StdDictionaryInfo>(0);
  std::istringstream stream(kExtract);
  readExtract(stream, "extract", *dictionary);
  return dictionary;
}

TEST(FailingMemory, OfALoad) {
  std::unique_ptr<StdDictionaryInfo> dictionary;
  std::istringstream stream(kExtract);
  const auto load = [&] {
    dictionary = std::make_unique<StdDictionaryInfo>(0);
    readExtract(stream, "extract", *dictionary);
  };
  const auto isUsable = [&] {
    stream.clear();
    stream.seekg(0);
    if (dictionary == nullptr) return;
    for (std::int32_t id = 0; id < 3; ++id) dictionary->getTraceTextForID(id);
    const bool isWhole = !dictionary->isLoading() && dictionary->identification().rowCount() == 1;
    const std::int32_t row = dictionary->getTagDefIndexFromName(u"second");
    EXPECT_TRUE(row == 1 || (row == -1 && !isWhole));
    dictionary.reset();
  };
  failEachAllocation(load, isUsable);
}

TEST(FailingMemory, OfOpeningAnImage) {
  std::ostringstream written;
  writeImage(*loaded(), written);
  std::istringstream stream(written.str());
  std::unique_ptr<StdDictionaryInfo> dictionary;
  const std::string bytes = written.str();
  std::vector<unsigned char> image(bytes.begin(), bytes.end());
  StdDictionaryInfo kept(0);
  kept.FromDictionary(*loaded());
  const auto isKept = [&] {
    stream.clear();
    stream.seekg(0);
    EXPECT_EQ(kept.getTagDefIndexFromName(u"second"), 1);
  };
  failEachAllocation([&] { dictionary = readImage(stream, "image"); }, isKept);
  failEachAllocation([&] { kept.FromQLBuffer(image); }, isKept);
  failEachAllocation([&] { kept.ToQLBuffer(image); }, isKept);
}

const Model& model() {
  static const Model made(
      "<xs:element name='r'><xs:complexType><xs:sequence>"
      "<xs:choice maxOccurs='unbounded'><xs:element name='a' type='xs:date'/>"
      "<xs:element name='b'><xs:complexType><xs:all><xs:element name='c' type='xs:string'/>"
      "<xs:element name='d' minOccurs='0'/></xs:all></xs:complexType></xs:element></xs:choice>"
      "<xs:any namespace='##other' processContents='lax' minOccurs='0'/>"
      "</xs:sequence></xs:complexType></xs:element>");
  return made;
}

TEST(FailingMemory, OfACopyOfAnIterator) {
  const StdDictionaryInfo& dictionary = (*model()).dictionary();
  const KelStringBase space(u"urn:t");
  StdDictionaryIterator at(nullptr, &dictionary, u"r", space);
  ASSERT_TRUE(at.moveToFirstChildTagName(u"b", space, false, true));
  ASSERT_TRUE(at.moveToFirstChildTagName(u"c", space, false, true));
  const StdDictionaryIterator before(at);
  StdDictionaryIterator target(nullptr, &dictionary, 0);
  const auto isUsable = [&] {
    EXPECT_EQ(at.getMemberId(), before.getMemberId());
    target = before;
    EXPECT_TRUE(target.moveToNextSiblingTagName(u"d", space, false, true));
    target.setDictionaryInfo(&dictionary);
  };
  failEachAllocation([&] { const StdDictionaryIterator copy(at); }, isUsable);
  const auto assign = [&] {
    StdDictionaryIterator empty(nullptr, &dictionary, 0);
    empty = at;
    target = at;
  };
  failEachAllocation(assign, isUsable);
  const auto move = [&] {
    StdDictionaryIterator moving(at);
    moving.moveToNextSiblingTagName(u"d", space, true, true);
    moving.moveToFirstChildTagName(u"nowhere", space, true, true);
  };
  failEachAllocation(move, isUsable);
}

void* allocateForParser(std::size_t size) {
  return failsAllocation() ? nullptr : std::malloc(size);
}
void* reallocateForParser(void* block, std::size_t size) {
  return failsAllocation() ? nullptr : std::realloc(block, size);
}
char* duplicateForParser(const char* text) { return failsAllocation() ? nullptr : ::strdup(text); }

void discard(void*, const char*, ...) {}

// The memory of the XML parser fails as well.
class ParserMemory {
 public:
  ParserMemory() {
    xmlSetGenericErrorFunc(nullptr, discard);  // it tells of each failure
    xmlMemSetup(std::free, allocateForParser, reallocateForParser, duplicateForParser);
  }
  ~ParserMemory() {
    xmlMemSetup(std::free, std::malloc, std::realloc, ::strdup);
    xmlSetGenericErrorFunc(nullptr, nullptr);
  }
};

TEST(FailingMemory, OfAWalk) {
  const std::string message =
      "<!DOCTYPE r [<!ENTITY e '<a>2024-02-29</a>'>]>"
      "<r xmlns='urn:t' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'><a>today</a>&e;"
      "<b><d/><c xsi:type='t'>text</c></b><b/><o:o xmlns:o='o'/>more</r>";
  const ParserMemory parserMemory;
  XmlWalker walker(*model(), {.isChecking = true});
  const WalkSummary expected = walker.walkText(message, "message");
  ASSERT_GE(expected.findings(), 3);
  WalkSummary summary;
  const auto walk = [&] {
    XmlWalker fresh(*model(), {.isChecking = true});
    summary = {};
    summary = fresh.walkText(message, "message");
    summary = walker.walkText(message, "message");
  };
  const auto isUsable = [&] {
    const WalkSummary again = walker.walkText(message, "message");
    EXPECT_EQ(again.elements, expected.elements);
    EXPECT_EQ(again.found, expected.found);
    const bool isRight = summary.elements == 0 || summary.found == expected.found;
    EXPECT_TRUE(isRight) << "a walk went on without its memory";
  };
  failEachAllocation(walk, isUsable);
}

TEST(FailingMemory, OfAFixWalkAndOfModels) {
  const TemporaryFile file("dictionary.xml", kGroupDictionary);
  const FixDictionary fix({file.path()});
  const std::string message = "8=FIX.4.4|35=M|2=2|3=x|4=y|4=x|3=1|10=1|";
  FixWalker walker(fix.model(), {.isChecking = true});
  const WalkSummary expected = walker.walkText(message, "message");
  ASSERT_GE(expected.findings(), 3);
  const auto isUsable = [&] {
    EXPECT_EQ(walker.walkText(message, "message").found, expected.found);
  };
  const auto walk = [&] {
    FixWalker(fix.model(), {.isChecking = true}).walkText(message, "message");
    walker.walkText(message, "message");
  };
  failEachAllocation(walk, isUsable);
  failEachAllocation([&] { const FixModel made(fix.dictionary()); }, isUsable);
  const StdDictionaryInfo& dictionary = (*model()).dictionary();
  failEachAllocation([&] { WalkModel(dictionary).places(); }, isUsable);
}

extern "C" __attribute__((weak)) void __lsan_disable();
extern "C" __attribute__((weak)) void __lsan_enable();

// Where memory fails, the schema parser forgets what it had: not a leak of ours.
template <class Work>
void unseenByLeakChecker(Work work) {
  if (__lsan_disable != nullptr) __lsan_disable();
  work();
  if (__lsan_enable != nullptr) __lsan_enable();
}

TEST(FailingMemory, OfCompiling) {
  const TemporaryDirectory directory;
  const std::string schema = directory.write(
      "s.xsd",
      schemaText("<xs:element name='r'><xs:complexType><xs:choice maxOccurs='9'><xs:element "
                 "name='a' type='E'/><xs:any/></xs:choice></xs:complexType></xs:element>"
                 "<xs:simpleType name='E'><xs:restriction base='xs:string'><xs:enumeration "
                 "value='a'/><xs:pattern value='[a-z]+'/></xs:restriction></xs:simpleType>"));
  const std::string fix = directory.write(
      "fix.xml",
      "<fix major='4' minor='4'><header/><trailer/><messages><message name='N' msgtype='n' "
      "msgcat='app'><field name='A' required='Y'/></message></messages><components/><fields>"
      "<field number='1' name='A' type='INT'/></fields></fix>");
  const auto isUsable = [&] {
    XsdReport report;
    EXPECT_EQ(compileXsd({schema}, {}, report).Tags.size(), 4U);
    FixReport fixReport;
    EXPECT_EQ(compileFix({fix}, {}, fixReport).Tags.size(), 2U);
  };
  isUsable();
  unseenByLeakChecker([&] {
    XsdReport report;
    failEachAllocation([&] { compileXsd({schema}, {}, report); }, isUsable, 17);
    FixReport fixReport;
    failEachAllocation([&] { compileFix({fix}, {}, fixReport); }, isUsable, 17);
  });
}

}  // namespace
}  // namespace cpi::test
