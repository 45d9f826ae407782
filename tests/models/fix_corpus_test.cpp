// Compiles the FIX dictionaries of the shared corpus and walks its messages: recorded ones, and
// those of an engine's acceptance tests, which say what the engine answers to each.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <map>

#include "tests/models/corpus_support.h"
#include "tests/models/fix_support.h"

namespace cpi::test {
namespace {

namespace fs = std::filesystem;

fs::path corpus() { return corpusFolder() / "fix"; }

// "FIXT11+FIX50": the dictionaries of both layers.
std::unique_ptr<FixDictionary> compiled(const std::string& names) {
  std::vector<std::string> files;
  for (const std::string& name : splitText(names, '+')) {
    files.push_back(corpus() / "spec" / (name + ".xml"));
  }
  return std::make_unique<FixDictionary>(files);
}

// What a reject says, and the finding that says the same.
struct RejectRow {
  std::string_view text;
  VerdictKind kind;
  Reason reason;
};
constexpr RejectRow kRejects[] = {
    {"Invalid tag number", VerdictKind::UnknownName, Reason::NotAllowed},
    {"Required tag missing", VerdictKind::Incomplete, Reason::NeverCame},
    {"Tag not defined for this message type", VerdictKind::KnownElsewhere, Reason::NotAllowed},
    {"Tag specified without a value", VerdictKind::Value, Reason::NoValue},
    {"Value is incorrect", VerdictKind::Value, Reason::NotInValueSet},
    {"Incorrect data format", VerdictKind::Value, Reason::WrongForm},
    {"Invalid MsgType", VerdictKind::UnknownName, Reason::UnknownMessage},
    {"Tag appears more than once", VerdictKind::BeyondLimit, Reason::None},
    {"Tag specified out of required order", VerdictKind::OutOfOrder, Reason::PlacePassed},
    {"Incorrect NumInGroup", VerdictKind::Value, Reason::WrongCount},
};

// One message of the acceptance tests.
struct Sent {
  std::string file;
  std::size_t line = 0;
  std::string outcome;
  std::string tag;   // at fault, as its number
  std::string text;  // of the reject

  const RejectRow* reject() const {
    if (outcome != "reject") return nullptr;
    const auto* const row = std::ranges::find_if(
        kRejects, [this](const RejectRow& reject) { return text.starts_with(reject.text); });
    return row == std::end(kRejects) ? nullptr : row;
  }
};

Sent sentBy(const std::vector<std::string>& columns) {
  Sent sent{columns[1], std::stoul(columns[2]), columns[4], columns[6], columns[7]};
  // The oldest version has the tag in the text.
  if (sent.text.ends_with(')')) {
    sent.tag = sent.text.substr(sent.text.rfind('(') + 1);
    sent.tag.pop_back();
  }
  return sent;
}

// The message as an engine would get it: with a time, a body length and a check sum.
std::string messageOf(const Sent& sent) {
  std::ifstream stream(corpus() / sent.file);
  std::string line;
  for (std::size_t i = 0; i < sent.line; ++i) std::getline(stream, line);
  for (std::size_t at = line.find("<TIME"); at != line.npos; at = line.find("<TIME")) {
    line.replace(at, line.find('>', at) + 1 - at, "20260515-12:00:00");
  }
  if (line.ends_with('\r')) line.pop_back();
  // "I1,8=FIX": the number of the connection.
  const std::size_t comma = line.find(',');
  return framed(line.substr(comma < line.find('=') ? comma + 1 : 1), '\x01');
}

// Tests with messages that are broken as such: an engine ignores them or hangs up.
constexpr std::string_view kBrokenTests[] = {"1d_", "2d_", "2i_", "2m_", "2t_", "3b_", "3c_"};

// Where engine and walk differ, and why.
struct DifferenceRow {
  std::string_view test;
  std::string_view outcome;
  std::string_view cause;
};
constexpr DifferenceRow kDifferences[] = {
    {"11c_NewSeqNoLess", "reject", "the value is wrong for the state of the session only"},
    {"2g_PossDupNoOrigSendingTime", "reject", "the field is required by the value of another"},
    {"14a_BadField", "reject", "a negative tag is no field; fields of both layers are joined"},
};

struct Counts {
  std::int64_t accepted = 0;  // by engine and walk
  std::int64_t rejected = 0;  // by both, for the same reason at the same tag
  std::int64_t broken = 0;    // by both
  std::int64_t differ = 0;

  friend bool operator==(const Counts&, const Counts&) = default;
};

std::string textOf(const std::vector<Finding>& findings) {
  std::string text;
  for (const Finding& finding : findings) {
    text +=
        fmt::format(" {}/{} {} '{}'", static_cast<int>(finding.verdict.kind),
                    static_cast<int>(finding.verdict.reason), toText(finding.path), finding.value);
    for (const Expected& missing : finding.missing) text += " -" + missing.name;
  }
  return text;
}

// Whether a finding says what a reject says.
bool isSame(const RejectRow& reject, const Sent& sent, const FixModel& model,
            const Finding& finding) {
  if (finding.verdict.kind != reject.kind || finding.verdict.reason != reject.reason) return false;
  if (sent.tag.empty()) return true;
  const std::int32_t row = model.field(fixNumberOf(sent.tag)).row;
  const SMD_TAG_DEFINITION* const tag = model.dictionary().tags().find(row);
  const std::string name = tag == nullptr ? sent.tag : toUtf8(textView(tag->TextIdentifier));
  if (reject.kind != VerdictKind::Incomplete) return finding.name == name;
  return std::ranges::find(finding.missing, name, &Expected::name) != finding.missing.end();
}

bool isOf(const Sent& sent, std::string_view test) {
  return fs::path(sent.file).filename().string().starts_with(test);
}

// An engine stops at the first fault of a message, a walk tells all.
void judge(const Sent& sent, const FixModel& model, const std::vector<Finding>& findings,
           Counts& counts) {
  if (const RejectRow* const reject = sent.reject()) {
    const bool isFound = std::ranges::any_of(
        findings, [&](const Finding& one) { return isSame(*reject, sent, model, one); });
    if (isFound) {
      ++counts.rejected;
      return;
    }
  } else if (findings.empty()) {
    ++counts.accepted;
    return;
  } else if (std::ranges::any_of(kBrokenTests, [&](auto test) { return isOf(sent, test); })) {
    ++counts.broken;
    return;
  }
  ++counts.differ;
  const bool isKnown = std::ranges::any_of(kDifferences, [&](const DifferenceRow& row) {
    return isOf(sent, row.test) && sent.outcome == row.outcome;
  });
  EXPECT_TRUE(isKnown) << sent.file << ":" << sent.line << " " << sent.outcome << " " << sent.text
                       << textOf(findings);
}

TEST(FixCorpus, AcceptanceTestsGetTheVerdictsThatTheyExpect) {
  if (!fs::exists(corpus())) GTEST_SKIP() << "NOT TESTED: there is no corpus at " << corpus();
  const std::map<std::string, Counts> expected = {{"FIX40", {224, 24, 13, 4}},
                                                  {"FIX42", {230, 28, 13, 4}},
                                                  {"FIX44", {243, 28, 13, 4}},
                                                  {"FIXT11+FIX50", {243, 27, 14, 5}}};
  fmt::print("{:<12} {:>8} {:>8} {:>8} {:>8} {:>8}\n", "dictionary", "messages", "accepted",
             "rejected", "broken", "differ");
  for (const auto& [names, lines] : readIndex(corpus() / "index.tsv", 8)) {
    const auto dictionary = compiled(names);
    FixWalker walker(dictionary->model(), {.isChecking = true});
    Counts counts;
    for (const std::vector<std::string>& columns : lines) {
      const Sent sent = sentBy(columns);
      FindingList list;
      walker.walkText(messageOf(sent), sent.file, &list);
      judge(sent, dictionary->model(), list.findings, counts);
      const MovesLogged logged;
      FindingList searched;
      walker.walkText(messageOf(sent), sent.file, &searched);
      EXPECT_EQ(textOf(list.findings), textOf(searched.findings)) << sent.file << ":" << sent.line;
    }
    fmt::print("{:<12} {:>8} {:>8} {:>8} {:>8} {:>8}\n", names, lines.size(), counts.accepted,
               counts.rejected, counts.broken, counts.differ);
    EXPECT_EQ(counts, expected.at(names)) << names;
  }
}

struct FileRow {
  std::string dictionaries;
  std::string file;
  std::int64_t messages;
  std::int64_t elements;
  std::map<VerdictKind, std::int64_t> findings;
};

// Of the third, two fields of the header are not in the dictionaries, three required ones do not
// come, and 'x' is no type of entry.
TEST(FixCorpus, RecordedMessagesHaveNoFaultsButTheKnownOnes) {
  if (!fs::exists(corpus())) GTEST_SKIP() << "NOT TESTED: there is no corpus at " << corpus();
  const FileRow rows[] = {
      {"FIX41", "fix.4.1.set.1", 16, 286, {}},
      {"FIXT11+FIX50", "fix.5.0.set.2", 65, 947, {}},
      {"FIXT11+FIX50",
       "fix.5.0.set.1.first250X",
       250,
       4776,
       {{VerdictKind::UnknownName, 500}, {VerdictKind::Incomplete, 250}, {VerdictKind::Value, 4}}},
  };
  for (const FileRow& row : rows) {
    const auto dictionary = compiled(row.dictionaries);
    FixWalker walker(dictionary->model(), {.isChecking = true});
    const WalkSummary summary = walker.walkFile(corpus() / "msgs" / row.file);
    EXPECT_EQ(summary.count(Placement::Root), row.messages) << row.file;
    EXPECT_EQ(summary.elements, row.elements) << row.file;
    std::map<VerdictKind, std::int64_t> findings;
    for (std::size_t kind = 0; kind < kVerdictKindCount; ++kind) {
      if (summary.found[kind] != 0) findings[static_cast<VerdictKind>(kind)] = summary.found[kind];
    }
    EXPECT_EQ(findings, row.findings) << row.file;
  }
}

}  // namespace
}  // namespace cpi::test
