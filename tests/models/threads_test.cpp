// One frozen dictionary and many threads: each has its cursors, and all get the answers of one.
#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "cpi/walk/elementplaces.h"
#include "tests/models/fix_support.h"
#include "tests/models/walk_support.h"

namespace cpi::test {
namespace {

constexpr int kRounds = 20;

const Model& model() {
  static const Model made(
      "<xs:simpleType name='E'><xs:restriction base='xs:string'><xs:enumeration value='one'/>"
      "<xs:enumeration value='two'/></xs:restriction></xs:simpleType>"
      "<xs:element name='r'><xs:complexType><xs:sequence maxOccurs='unbounded'>"
      "<xs:element name='a' type='t:E' default='one'/>"
      "<xs:choice minOccurs='0'><xs:element name='b' type='xs:int'/>"
      "<xs:element name='c' type='xs:date'/></xs:choice></xs:sequence></xs:complexType>"
      "</xs:element>");
  return made;
}

// A walk with findings, look-ups, values and moves, told as one text.
std::string answers() {
  const StdDictionaryInfo& dictionary = (*model()).dictionary();
  struct Visitor : WalkVisitor {
    void element(const WalkedElement& element) override { text += element.name; }
    void finding(const Finding& finding) override {
      text += finding.name + std::to_string(static_cast<int>(finding.verdict.reason));
    }
    std::string text;
  } visitor;
  XmlWalker walker(*model(), {.isChecking = true});
  walker.walkText("<r xmlns='urn:t'><a>one</a><b>x</b><r/><a>no</a><c>2024-02-29</c><b/></r>", "m",
                  &visitor);
  std::string text = visitor.text;
  const KelStringBase space(u"urn:t");
  for (std::int32_t id = 0; id < 12; ++id) {
    text += std::to_string(dictionary.getTagDefIndex(id)) +
            toUtf8(textView(dictionary.getTraceTextForID(id)));
  }
  for (const char16_t* const name : {u"a", u"b", u"r^b", u"zed"}) {
    text += std::to_string(dictionary.getTagDefIndexFromName(name, space, false));
  }
  StdDictionaryIterator at(nullptr, &dictionary, u"r", space);
  at.moveToFirstChildTagName(u"a", space, true, true);
  StdValueIterator values(nullptr, &dictionary, at.getTagIndex(), -1);
  PWFData value;
  for (std::int32_t role = 0; values.getValue(value, role) == kSuccess; values.moveToNextValue()) {
    text += toUtf8(textView(value.getDebugString().getStringValue()));
  }
  const StdDictionaryIterator copy(at);
  at.moveToNextSiblingTagName(u"c", space, true, true);
  return text + std::to_string(at.getMemberId()) + std::to_string(copy.getMemberId());
}

// Of a FIX message with faults.
std::string fixAnswers(const FixModel& fix) {
  FindingList list;
  FixWalker(fix, {.isChecking = true}).walkText("8=FIX.4.4|35=M|2=2|3=x|4=y|10=1|", "m", &list);
  std::string text;
  for (const Finding& finding : list.findings) text += toText(finding.path);
  return text;
}

TEST(Threads, GetTheAnswersOfOne) {
  const StdDictionaryInfo& dictionary = (*model()).dictionary();
  const TemporaryFile file("dictionary.xml", kGroupDictionary);
  const FixDictionary fix({file.path()});
  const std::string expectedOfFix = fixAnswers(fix.model());
  ASSERT_FALSE(expectedOfFix.empty());
  const std::string expected = answers();
  ASSERT_NE(expected.find("two"), std::string::npos);
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) wrong += answers() == expected ? 0 : 1;
    });
  }
  for (int i = 0; i < 2; ++i) {
    threads.emplace_back([&] {  // texts, and dictionaries that share the tables, come and go
      for (int round = 0; round < kRounds * 20; ++round) {
        const KelStringBase text(dictionary.msgSetID);
        const StdDictionaryInfo sharer(dictionary);
        wrong += sharer.msgSetID == text ? 0 : 1;
      }
    });
    threads.emplace_back([&] {
      for (int round = 0; round < kRounds; ++round) {
        wrong += fixAnswers(fix.model()) == expectedOfFix ? 0 : 1;
      }
    });
  }
  // What a model makes when it is asked for the first time, all ask for at once.
  const WalkModel cold(dictionary);
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] { wrong += cold.places().tagsNamed(u"a").size() == 1 ? 0 : 1; });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

// The texts of a table move while it is loaded; readers of a broken load must find nothing to mend.
TEST(Threads, ReadWhatARefusedLoadLeft) {
  StdDictionaryInfo dictionary(0);
  DictionaryTables tables;
  tables.Identification.emplace();
  for (std::int32_t id = 1; id < 200; ++id) {
    tables.Tags.push_back({.Id = id, .TextIdentifier = u"tag" + std::u16string(50, u'x')});
  }
  tables.TypeMembers.resize(60);  // too many
  dictionary.setLoadLimits({.rows = 199, .bytes = 16'000});
  EXPECT_THROW(feed(tables, dictionary), KelConfigurationException);
  std::atomic<std::size_t> units{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (std::int32_t id = 1; id < 200; ++id) {
        units += textLength(dictionary.getTraceTextForID(id));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(units.load(), 4U * 199 * 53);
}

}  // namespace
}  // namespace cpi::test
