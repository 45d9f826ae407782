// Walks every message of the shared corpus along the dictionary of its schema. The corpus says
// which messages are valid: each of their elements must find its place, and so must each element
// of a message whose faults are none of structure.
#include <fmt/core.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "cpi/compile/xsdcompiler.h"
#include "cpi/walk/xmlwalker.h"
#include "tests/models/corpus_support.h"

namespace cpi {
namespace {

namespace fs = std::filesystem;

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

void walkAll(const fs::path& family, const std::vector<CorpusMessage>& messages,
             const StdDictionaryInfo& dictionary, Totals& totals) {
  const WalkModel model(dictionary);
  XmlWalker walker(model);
  for (const CorpusMessage& message : messages) {
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
  for (const auto& [schema, messages] : readCorpusIndex(family / "index.tsv")) {
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
  const fs::path corpus = corpusFolder();
  if (!fs::exists(corpus)) GTEST_SKIP() << "NOT TESTED: there is no corpus at " << corpus;
  fmt::print(
      "valid messages                                                          "
      "          | bad content\n{:<10} {:>5} {:>8} {:>5} {:>7} {:>8} {:>7} {:>7} {:>7} {:>6} "
      "{:>7}\n",
      "family", "msgs", "elements", "root", "member", "wildcard", "tagdef", "selfdef", "refused",
      "beyond", "noticed");
  Totals sum;
  for (const char* const name : kCorpusFamilies) {
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
