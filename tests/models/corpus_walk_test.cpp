// Walks every message of the shared corpus along the dictionary of its schema. The corpus says
// which messages are valid: each of their elements must find its place, and so must each element
// of a message whose faults are none of structure.
#include <fmt/core.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "cpi/compile/xsdcompiler.h"
#include "cpi/walk/xmlwalker.h"

namespace cpi {
namespace {

namespace fs = std::filesystem;

struct Message {
  std::string file;
  std::string expected;
  std::set<std::string> faults;

  bool isOfSoundStructure() const {
    if (expected == "valid") return true;
    const std::set<std::string> harmless = {"attribute", "value", "identity"};
    return expected == "invalid" &&
           std::includes(harmless.begin(), harmless.end(), faults.begin(), faults.end());
  }
};

struct Totals {
  std::int64_t valid = 0;
  std::int64_t sound = 0;   // valid ones among them
  std::int64_t placed = 0;  // sound ones of which every element has its place
  std::int64_t badContent = 0;
  std::int64_t noticed = 0;  // messages with bad content in which the walk found a fault
  WalkSummary summary;       // of the valid ones

  void add(const WalkSummary& one) {
    summary.elements += one.elements;
    summary.beyondLimit += one.beyondLimit;
    for (std::size_t i = 0; i < kPlacementCount; ++i) summary.placed[i] += one.placed[i];
  }
};

std::vector<std::string> split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

using MessagesOfSchema = std::map<std::string, std::vector<Message>>;

MessagesOfSchema readIndex(const fs::path& file) {
  MessagesOfSchema messages;
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);  // column names
  while (std::getline(stream, line)) {
    const std::vector<std::string> columns = split(line, '\t');
    const std::vector<std::string> faults = split(columns.at(3), ',');
    messages[columns.at(0)].push_back(
        {columns.at(1), columns.at(2), std::set<std::string>(faults.begin(), faults.end())});
  }
  return messages;
}

// Lists what has no place, for the message of a failed expectation.
struct Misplaced : WalkVisitor {
  std::string text;

  void element(const WalkedElement& element) override {
    const Placement placement = element.verdict.placement;
    if (placement != Placement::Refused && !element.verdict.isBeyondLimit()) return;
    text +=
        fmt::format("\n  {}:{} {}", element.position.line, element.position.column, element.name);
  }
};

void walkAll(const fs::path& family, const std::vector<Message>& messages,
             const StdDictionaryInfo& dictionary, Totals& totals) {
  const WalkModel model(dictionary);
  XmlWalker walker(model);
  for (const Message& message : messages) {
    if (message.expected == "notwf") {
      EXPECT_THROW(walker.walkFile(family / message.file), FileError) << message.file;
      continue;
    }
    Misplaced misplaced;
    const WalkSummary summary = walker.walkFile(family / message.file, &misplaced);
    if (message.expected == "valid") {
      ++totals.valid;
      totals.add(summary);
    }
    if (message.isOfSoundStructure()) {
      ++totals.sound;
      totals.placed += summary.isAllPlaced() ? 1 : 0;
      EXPECT_TRUE(summary.isAllPlaced()) << (family / message.file) << misplaced.text;
    }
    if (message.faults.count("content") != 0) {
      ++totals.badContent;
      totals.noticed += summary.isAllPlaced() ? 0 : 1;
    }
  }
}

Totals walkFamily(const fs::path& corpus, const std::string& name) {
  Totals totals;
  const fs::path family = corpus / name;
  for (const auto& [schema, messages] : readIndex(family / "index.tsv")) {
    XsdReport report;
    XsdOptions options;
    options.catalog = corpus / "catalog.xml";
    try {
      StdDictionaryInfo dictionary(0);
      feed(compileXsd({family / schema}, options, report), dictionary);
      walkAll(family, messages, dictionary, totals);
    } catch (const std::exception& error) {
      ADD_FAILURE() << schema << ": " << error.what();
    }
  }
  return totals;
}

void print(const std::string& name, const Totals& totals) {
  const WalkSummary& all = totals.summary;
  fmt::print("{:<10} {:>5} {:>8} {:>5} {:>7} {:>8} {:>7} {:>7} {:>7} {:>6} {:>5}/{}\n", name,
             totals.valid, all.elements, all.count(Placement::Root), all.count(Placement::Member),
             all.count(Placement::Wildcard), all.count(Placement::TagDefined),
             all.count(Placement::SelfDefined),
             all.count(Placement::Refused) + all.count(Placement::Unjudged), all.beyondLimit,
             totals.noticed, totals.badContent);
}

TEST(CorpusWalk, EveryElementOfSoundMessagesHasItsPlace) {
  const char* const shared = std::getenv("STDDI_SHARED_DIR");
  const fs::path corpus = fs::path(shared == nullptr ? STDDI_SHARED_DIR : shared) / "corpus";
  if (!fs::exists(corpus)) GTEST_SKIP() << "NOT TESTED: there is no corpus at " << corpus;
  fmt::print(
      "valid messages                                                          "
      "          | bad content\n{:<10} {:>5} {:>8} {:>5} {:>7} {:>8} {:>7} {:>7} {:>7} {:>6} "
      "{:>7}\n",
      "family", "msgs", "elements", "root", "member", "wildcard", "tagdef", "selfdef", "refused",
      "beyond", "noticed");
  Totals sum;
  for (const char* const name :
       {"bpmn", "cyclonedx", "iso20022", "maven", "musicxml", "ubl", "w3c-xsts"}) {
    const Totals totals = walkFamily(corpus, name);
    print(name, totals);
    EXPECT_GT(totals.valid, 0) << name;
    sum.valid += totals.valid;
    sum.sound += totals.sound;
    sum.placed += totals.placed;
    sum.badContent += totals.badContent;
    sum.noticed += totals.noticed;
    sum.add(totals.summary);
  }
  print("all", sum);
  fmt::print("of {} messages of sound structure, {} have every element in its place\n", sum.sound,
             sum.placed);
  EXPECT_EQ(sum.placed, sum.sound);
  // The others lack something, or have text where none may be: faults that no element shows.
  EXPECT_GE(sum.noticed, 108);
}

}  // namespace
}  // namespace cpi
