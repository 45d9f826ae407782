// FIX dictionaries of a few lines, and messages in all the forms in which they come.
#include <gtest/gtest.h>

#include <random>

#include "cpi/extract/fileerror.h"
#include "cpi/walk/fixmessage.h"
#include "cpi/walk/fixvalue.h"
#include "tests/models/fix_support.h"
#include "tests/support/allocations.h"
#include "tests/support/texts.h"

namespace cpi::test {
namespace {

const std::string kFields =
    "<field number='8' name='BeginString' type='STRING'/>"
    "<field number='9' name='BodyLength' type='LENGTH'/>"
    "<field number='10' name='CheckSum' type='STRING'/>"
    "<field number='35' name='MsgType' type='STRING'/>"
    "<field number='1' name='a' type='STRING'/><field number='2' name='b' type='CHAR'/>"
    "<field number='3' name='NoG' type='NUMINGROUP'/><field number='4' name='d' type='INT'/>"
    "<field number='5' name='NoH' type='NUMINGROUP'/><field number='6' name='f' type='INT'/>"
    "<field number='70000' name='len' type='LENGTH'/><field number='70001' name='raw' type='DATA'/>"
    "<field number='7' name='note' type='STRING' allowOtherValues='true'><value enum='n'/></field>";

// A dictionary with one message M of these items.
std::string dictionaryText(const std::string& items, const std::string& components = "",
                           const std::string& fields = kFields) {
  return "<fix type='FIX' major='4' minor='4'>\n<header><field name='BeginString' required='Y'/>"
         "<field name='BodyLength' required='Y'/><field name='MsgType' required='Y'/></header>"
         "<trailer><field name='CheckSum' required='Y'/></trailer>\n<messages>"
         "<message name='M' msgtype='M'>" +
         items + "</message></messages>\n<components>" + components + "</components>\n<fields>" +
         fields + "</fields></fix>";
}

std::string refusal(const std::string& text) {
  const TemporaryFile file("F", text);
  FixReport report;
  std::string what = refusalOf<FileError>([&] { compileFix({file.path()}, {}, report); });
  const std::string folder = file.path().substr(0, file.path().size() - 1);
  for (std::size_t at = what.find(folder); at != what.npos; at = what.find(folder)) {
    what.erase(at, folder.size());
  }
  return what;
}

TEST(FixCompile, RefusesWhatIsNotDefinedOnceAndForAll) {
  const std::string loop =
      "<component name='C'><component name='D'/></component>"
      "<component name='D'><group name='NoG'><component name='C'/></group></component>";
  const struct {
    std::string text;
    std::string error;
  } rows[] = {
      {"<a/>", "F:1:5: the document is no FIX data dictionary"},
      {"<fix type='FIX' major='4' minor='x'/>", "F:1:38: the attribute 'minor' is no number: x"},
      {dictionaryText("\n<field name='z'/>"), "F:4:18: field 'z' is not defined"},
      {dictionaryText("\n<group name='z'/>"), "F:4:18: field 'z' is not defined"},
      {dictionaryText("\n<group name='NoG'/>"), "F:4:20: group 'NoG' is empty"},
      {dictionaryText("\n<component name='Z'/>"), "F:4:22: component 'Z' is not defined"},
      {dictionaryText("\n<field required='Y'/>"),
       "F:4:22: the attribute 'name' is missing or empty"},
      {dictionaryText("\n<field name='a' required='1'/>"),
       "F:4:31: the attribute 'required' is neither Y nor N"},
      {dictionaryText("<component name='C'/>", loop), "F:4:125: component 'C' contains itself"},
      {dictionaryText("", "<component name='C'/>\n<component name='C'/>"),
       "F:5:22: component 'C' is defined twice, first in line 4"},
      {dictionaryText("", "", kFields + "\n<field number='1' name='y' type='INT'/>"),
       "F:6:40: field number 1 is defined twice, first as 'a' in F:5"},
      {dictionaryText("", "", kFields + "\n<field number='99' name='a' type='INT'/>"),
       "F:6:41: field 'a' is defined as number 1 and as number 99"},
      {dictionaryText("", "", kFields + "\n<field number='0' name='y' type='INT'/>"),
       "F:6:40: the number of a field is not above 0"},
      {dictionaryText("</message>\n<message name='M' msgtype='N'>"),
       "F:4:31: message 'M' of type 'N' is defined twice"},
      {dictionaryText("</message>\n<message name='N' msgtype='M'>"),
       "F:4:31: message 'N' of type 'M' is defined twice"},
  };
  for (const auto& row : rows) EXPECT_EQ(refusal(row.text), row.error) << row.text;
}

TEST(FixCompile, TellsThatHeaderOrTrailerIsMissing) {
  const TemporaryFile file("f.xml", "<fix type='FIX' major='5' minor='0'><fields/></fix>");
  const std::vector<Notice> notices = FixDictionary({file.path()}).report().notices;
  ASSERT_EQ(notices.size(), 1U);
  EXPECT_TRUE(notices.front().text.starts_with("no header and trailer, ")) << notices.front().text;
}

// Each component uses the one before it twice: written out, a message would have 2^60 fields.
TEST(FixCompile, UnfoldsWhatGrowsWithoutEnd) {
  std::string components = "<component name='C0'><field name='a'/></component>";
  for (int i = 1; i < 60; ++i) {
    const std::string inner = fmt::format("<component name='C{}' required='Y'/>", i - 1);
    components += fmt::format("<component name='C{}'>{}{}</component>", i, inner, inner);
  }
  EXPECT_EQ(refusal(dictionaryText("<component name='C59'/>", components)), "accepted");
}

TEST(FixValue, Forms) {
  const struct {
    const char16_t* type;
    std::vector<std::string> good;
    std::vector<std::string> bad;
  } rows[] = {
      {u"STRING", {"any thing"}, {}},
      {u"CHAR", {"x"}, {"xy"}},
      {u"INT", {"0", "-7", "0023"}, {"-", "+1", "1.0", " 1", "1e3"}},
      {u"SEQNUM", {"0", "7"}, {"-7", ""}},
      {u"PRICE", {"1", "-1.5", ".5", "5.", "00.10"}, {".", "-", "1.2.3", "+1", "1,5"}},
      {u"BOOLEAN", {"Y", "N"}, {"y", "1"}},
      {u"UTCDATEONLY", {"20260228"}, {"2026022", "20261301", "20260100", "2026-01-01"}},
      {u"UTCTIMEONLY",
       {"09:30:00", "23:59:60.123456789"},
       {"9:30:00", "24:00:00", "09:30", "09:30:00."}},
      {u"UTCTIMESTAMP",
       {"20260228-09:30:00", "20260228-09:30:00.001"},
       {"20260228", "20260228 09:30:00"}},
      {u"TZTIMEONLY",
       {"07:39Z", "02:39-05", "15:39+08:30", "13:09:59.5"},
       {"07", "02:39-", "02:39+99"}},
      {u"TZTIMESTAMP", {"20060901-07:39Z"}, {"20060901"}},
      {u"MONTHYEAR", {"202602", "20260228", "202602w5"}, {"2026", "202613", "202602w6", "2026022"}},
  };
  for (const auto& row : rows) {
    const FixForm form = fixFormOf(row.type);
    for (const std::string& value : row.good) EXPECT_TRUE(hasFixForm(value, form)) << value;
    for (const std::string& value : row.bad) EXPECT_FALSE(hasFixForm(value, form)) << value;
  }
}

class FixWalkTest : public testing::Test {
 protected:
  // Field a; a group G of d, b, a group H of f and b, and note; then note, and data.
  FixWalkTest()
      : file_("dictionary.xml",
              dictionaryText("<field name='a' required='Y'/><group name='NoG'>"
                             "<field name='d' required='N'/><field name='b'/>"
                             "<group name='NoH'><field name='f'/><field name='b'/></group>"
                             "<field name='note'/></group>"
                             "<field name='note'/><field name='len'/><field name='raw'/>")),
        dictionary_({file_.path()}) {}

  std::string line(const std::string& text) {
    FixWalker walker(dictionary_.model());
    LineVisitor visitor;
    walker.walkText(text, "text", &visitor);
    return visitor.line();
  }
  // Of a message of these fields: what stands behind the header and before the trailer, in the
  // line; then the findings.
  std::string body(const std::string& fields) {
    FixWalker walker(dictionary_.model(), {.isChecking = true});
    struct Both : LineVisitor {
      std::string faults;
      void finding(const Finding& finding) override {
        faults +=
            fmt::format("; {} {}", toText(finding.path), static_cast<int>(finding.verdict.kind));
        for (const Expected& one : finding.missing) faults += " -" + one.name;
      }
    } both;
    walker.walkText(framed("8=FIX.4.4|35=M|" + fields, '|'), "text", &both);
    std::string text = both.line();
    text.erase(0, text.find("MsgType)") + 9);
    text.erase(text.find(" StandardTrailer"));
    return text + both.faults;
  }

  // What the fields of a message's body become.
  struct Body {
    const char* fields;
    const char* expected;
  };
  void expectBodies(std::initializer_list<Body> rows) {
    for (const Body& row : rows) EXPECT_EQ(body(row.fields), row.expected) << row.fields;
  }

  TemporaryFile file_;
  FixDictionary dictionary_;
};

TEST_F(FixWalkTest, GroupsBeginAndEnd) {
  expectBodies({
      {"1=x|3=0|7=n|", "a NoG note"},
      {"7=n|1=x|", "note a"},
      {"1=x|3=2|4=1|2=c|4=2|7=n|", "a NoG NoG.group(d b) NoG.group[2](d note)"},
      // What a group has already is the next level's.
      {"3=1|4=1|7=n|7=m|1=x|", "NoG NoG.group(d note) note a"},
      // The inner group ends where the outer one goes on, or begins again.
      {"1=x|3=2|4=1|5=2|6=1|6=2|2=c|7=n|4=2|",
       "a NoG NoG.group(d NoH NoH.group(f) NoH.group[2](f b) note) NoG.group[2](d)"},
      {"1=x|3=2|4=1|5=1|6=1|4=2|5=1|6=9|",
       "a NoG NoG.group(d NoH NoH.group(f)) NoG.group[2](d NoH NoH.group(f))"},
      // Without the field that begins an instance.
      {"1=x|3=2|2=c|2=c|",
       "a NoG NoG.group(b) NoG.group[2](b); /M/NoG.group 8 -d; /M/NoG.group[2] 8 -d"},
      {"1=x|3=3|4=1|", "a NoG NoG.group(d); /M/NoG 10"},
      {"1=x|3=1|7=n|", "a NoG NoG.group(note); /M/NoG.group 8 -d"},
      {"1=x|3=1|", "a NoG; /M/NoG 10"},
      {"1=x|1=y|1=z|", "a >a[2] >a[3]; /M/a[2] 1; /M/a[3] 1"},
      {"3=1|4=1|4x=7|2=c|", "NoG NoG.group(d !4x=7 b); /M/NoG.group/4x=7 6; /M 8 -a"},
  });
}

TEST_F(FixWalkTest, OneFaultIsToldOnce) {
  expectBodies({
      // Behind a group, and again behind it.
      {"1=x|3=1|4=1|1=y|", "a NoG NoG.group(d) >a[2]; /M/a[2] 1"},
      {"3=1|4=1|99=?|1=x|", "NoG NoG.group(d) !99 a; /M/99 4"},
      {"1=x|3=1|3=1|4=1|", "a NoG >NoG[2] NoG.group(d); /M/NoG[2] 1"},
      {"1=x|3=2|4=1|3=2|4=2|", "a NoG NoG.group(d) >NoG[2] NoG.group[2](d); /M/NoG[2] 1"},
      // A group without its count, or with its count behind its first field.
      {"1=x|4=1|2=c|4=2|7=n|", "a NoG.group(!d b) NoG.group[2](d note); /M/NoG.group/d 2 -NoG"},
      {"1=x|4=1|3=2|2=c|4=2|", "a !d NoG NoG.group(b) NoG.group[2](d); /M/d 2 -NoG"},
      // A mistyped tag stands for what is missing in its section or instance, but for one only.
      {"7=n|99=x|", "note !99; /M/99 4"},
      {"7=n|99=x|3=1|7=n|", "note !99 NoG NoG.group(note); /M/99 4; /M/NoG.group 8 -d"},
      {"1=x|3=2|4=1|2=c|99=2|2=c|", "a NoG NoG.group(d b !99) NoG.group[2](b); /M/NoG.group/99 4"},
      {"1=x|99=1|4=1|2=c|", "a !99 NoG.group(!d b); /M/99 4"},
      {"1=x|70000=|70001=b|", "a len raw; /M/len 10"},
      // A group that is interrupted, even before it begins, and one whose fields come elsewhere.
      {"3=2|4=1|1=x|2=c|4=2|", "NoG NoG.group(d !a b) NoG.group[2](d); /M/NoG.group/a 2"},
      {"3=1|1=x|4=1|", "NoG !a NoG.group(d); /M/a 2"},
      {"3=2|4=1|2=c|1=x|7=n|4=2|2=e|", "NoG NoG.group(d b) a note !d !b; /M/NoG 10"},
      // The first field of an instance is behind the second, lost, or there twice.
      {"1=x|3=1|2=c|7=n|4=1|", "a NoG NoG.group(b note !d); /M/NoG.group/d 2"},
      {"1=x|3=2|4=1|2=c|7=n|2=e|7=m|",
       "a NoG NoG.group(d b note) NoG.group[2](b note); /M/NoG.group[2] 8 -d"},
      {"1=x|3=1|4=1|4=1|2=c|7=n|", "a NoG NoG.group(d) NoG.group[2](d b note); /M/NoG 10"},
  });
}

TEST_F(FixWalkTest, FindingsBeyondAThousandAreCounted) {
  std::string text = "8=FIX.4.4|9=1|35=M|";
  for (int i = 0; i < 5000; ++i) text += "99=?|2=|";
  FixWalker walker(dictionary_.model(), {.isChecking = true});
  FindingList list;
  EXPECT_GT(walker.walkText(text, "text", &list).findings(), 5000);
  EXPECT_EQ(list.findings.size(), 1000U);
}

// Wherever a message is cut off, that is one fault.
TEST_F(FixWalkTest, AMessageThatIsCutOffIsOneFault) {
  const std::string whole = framed("8=FIX.4.4|35=M|1=x|3=2|4=1|5=1|6=1|4=2|7=n|", '|');
  FixWalker walker(dictionary_.model(), {.isChecking = true});
  for (std::size_t size = whole.find("1=x"); size < whole.size() - 4; ++size) {
    FindingList list;
    walker.walkText(whole.substr(0, size), "text", &list);
    ASSERT_EQ(list.findings.size(), 1U) << size;
    EXPECT_EQ(list.findings.front().verdict.kind, VerdictKind::Incomplete) << size;
    EXPECT_EQ(list.findings.front().missing.back().name, "CheckSum") << size;
  }
}

TEST_F(FixWalkTest, MessagesComeInManyForms) {
  const std::string soh = framed(
      "8=FIX.4.4\x01"
      "35=M\x01"
      "1=x\x01",
      '\x01');
  const std::string expected = line(soh);
  EXPECT_EQ(expected,
            "M(StandardHeader(BeginString BodyLength MsgType) a StandardTrailer(CheckSum))");
  const auto with = [&soh](const std::string& mark) {
    std::string text;
    for (const char unit : soh) text += unit == '\x01' ? mark : std::string(1, unit);
    return text;
  };
  for (const std::string& text :
       {with("|"), with("^A"), with("|") + "\r\n", with("^A") + "\n", "IN 108=FIX " + with("|"),
        "no message\n\n 12:00:00.1 > " + soh + " < trailing 35=x\n"}) {
    EXPECT_EQ(line(text), expected) << text;
  }
  for (const char* end : {"\n", "\r\n", " \t", "\t \r\n"}) {
    EXPECT_EQ(line(soh.substr(0, soh.size() - 1) + end), expected);
  }
  EXPECT_EQ(line(soh + soh + "\n" + with("|")), expected + " " + expected + " " + expected);
  // Cut off, then a new one: the end of the line ends the first.
  EXPECT_EQ(line("8=FIX.4.4|9=5|35=M|1=x\n" + soh),
            "M(StandardHeader(BeginString BodyLength MsgType) a) " + expected);
  EXPECT_EQ(line("8=FIX.4.4|9=900|35=M|1=x|" + with("|")),
            "M(StandardHeader(BeginString BodyLength MsgType) a) " + expected);
  const std::string next = with("|");  // to whose check sum the length of the one cut off leads
  const std::string length = std::to_string(std::string("35=M|1=x\n" + next).size() - 7);
  EXPECT_EQ(line("8=FIX.4.4|9=" + length + "|35=M|1=x\n" + next),
            "M(StandardHeader(BeginString BodyLength MsgType) a) " + expected);
  EXPECT_THROW(line("no message at all\n"), FileError);
}

// What is left of a message that is too long is passed over, however a file is cut in parts.
TEST_F(FixWalkTest, AMessageThatIsTooLongIsRefused) {
  const std::string good = framed("8=FIX.4.4|35=M|1=x|", '|');
  const auto ofSize = [](std::size_t size) {
    const std::string head = "8=FIX.4.4|35=M|9=" + std::to_string(size - 40) + "|1=";
    return head + std::string(size - head.size() - 1, 'x') + "|";
  };
  for (const std::size_t more : {0U, 1U, 20U, 18U << 20}) {
    const std::string text = good + ofSize(kMaxFixMessage + more) + "\n" + good;
    const TemporaryFile file("messages.log", text);
    FixWalker walker(dictionary_.model(), {.isChecking = true});
    for (const bool isFile : {false, true}) {
      FindingList list;
      const WalkSummary all =
          isFile ? walker.walkFile(file.path(), &list) : walker.walkText(text, "text", &list);
      EXPECT_EQ(all.count(Placement::Root), more == 0 ? 3 : 2) << more;
      const bool isTooLong = list.findings.back().verdict.reason == Reason::TooLong;
      EXPECT_EQ(isTooLong, more != 0) << more;
      EXPECT_EQ(list.findings.size() == 1, more != 0) << more;
    }
  }
}

TEST_F(FixWalkTest, DataMayHoldAnything) {
  const std::string raw =
      "a\x01"
      "10=000\x01\n8=FIX";
  std::string text = fmt::format(
      "35=M\x01"
      "1=x\x01"
      "70000={}\x01"
      "70001={}\x01",
      raw.size(), raw);
  text = fmt::format(
      "8=FIX.4.4\x01"
      "9={}\x01{}",
      text.size(), text);
  std::uint32_t sum = 0;
  for (const char unit : text) sum += static_cast<unsigned char>(unit);
  text += fmt::format("10={:03}\x01", sum % 256);
  FixWalker walker(dictionary_.model(), {.isChecking = true});
  EXPECT_EQ(walker.walkText(text + text, "text").findings(), 0);
  EXPECT_EQ(walker.walkText(text + text, "text").count(Placement::Root), 2);
}

// A file is read in parts, and messages lie across their borders.
TEST_F(FixWalkTest, FilesAreWalkedAsTexts) {
  std::string text;
  for (int i = 0; i < 20000; ++i) {
    text += framed(fmt::format("8=FIX.4.4\x01"
                               "35=M\x01"
                               "1={}\x01"
                               "3=1\x01"
                               "4=x\x01",
                               i),
                   '\x01');
    if (i % 3 == 0) text += "\nline " + std::to_string(i) + ": ";
  }
  const TemporaryFile file("messages.log", text);
  FixWalker walker(dictionary_.model(), {.isChecking = true});
  FindingList fromText;
  FindingList fromFile;
  const WalkSummary summary = walker.walkText(text, "text", &fromText);
  EXPECT_EQ(summary.elements, walker.walkFile(file.path(), &fromFile).elements);
  ASSERT_EQ(fromText.findings.size(), 20000U);
  ASSERT_EQ(fromFile.findings.size(), 20000U);
  for (std::size_t i = 0; i < 20000; i += 997) {
    const WalkPosition& a = fromText.findings[i].position;
    const WalkPosition& b = fromFile.findings[i].position;
    EXPECT_EQ(std::tie(a.line, a.column, a.offset), std::tie(b.line, b.column, b.offset)) << i;
    EXPECT_EQ(text.substr(static_cast<std::size_t>(b.offset), 4), "4=x\x01") << i;
  }
}

TEST_F(FixWalkTest, NothingIsAllocatedOnceWarm) {
  const std::string text =
      framed("8=FIX.4.4|35=M|1=x|3=2|4=1|5=1|6=1|2=c|4=2|7=n|70000=1|70001=||99=?|1=y|", '|');
  FixWalker walker(dictionary_.model(), {.isChecking = true});
  walker.walkText(text, "text");
  const std::size_t before = allocationCount();
  const WalkSummary summary = walker.walkText(text, "text");
  EXPECT_EQ(allocationCount(), before);
  EXPECT_GT(summary.findings(), 0);
}

// Whatever stands in a text, the walk ends and each field is told once.
TEST_F(FixWalkTest, AnyBytesAreWalked) {
  const std::string good =
      framed("8=FIX.4.4|35=M|1=x|3=2|4=1|5=1|6=1|2=c|4=2|7=n|70000=3|70001=a|b|", '|');
  std::mt19937 random(20261123);
  const std::string pieces = "0123456789=|\x01^A\n8\xff-";
  FixWalker walker(dictionary_.model(), {.isChecking = true});
  for (int round = 0; round < 3000; ++round) {
    std::string text = "8=FIX" + good + good;
    for (int change = 0; change < 6; ++change) {
      const std::size_t at = random() % text.size();
      const char piece = pieces[random() % pieces.size()];
      if (random() % 3 == 0) {
        text.insert(at, text.substr(random() % text.size(), random() % 40));
      } else if (random() % 2 == 0) {
        text.erase(at, random() % 20);
      } else {
        text[at] = piece;
      }
    }
    FindingList list;
    try {
      const WalkSummary summary = walker.walkText(text, "text", &list);
      EXPECT_EQ(static_cast<std::size_t>(summary.findings()), list.findings.size()) << text;
    } catch (const FileError&) {
    }
  }
}

}  // namespace
}  // namespace cpi::test
