// Compiles every schema of the shared corpus and walks its messages along the dictionary. The
// corpus says which messages are valid: each of their elements must find its place, and so must
// each element of a message whose faults are none of structure.
#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "cpi/walk/xmlwalker.h"
#include "tests/models/corpus_support.h"
#include "tests/models/xsd_support.h"

namespace cpi::test {
namespace {

namespace fs = std::filesystem;

struct Totals {
  std::int64_t schemas = 0;
  std::int64_t sound = 0;       // messages of sound structure
  std::int64_t badContent = 0;  // messages with bad content
  std::int64_t noticed = 0;     // those among them in which the walk found a fault
};

// Lists what has no place, and what is neither a member nor inside what a wildcard admitted.
struct Misplaced : WalkVisitor {
  std::string text;
  std::int32_t wildcardDepth = kNowhere;  // of the element that the outermost wildcard admitted
  static constexpr std::int32_t kNowhere = std::numeric_limits<std::int32_t>::max();

  void element(const WalkedElement& element) override {
    const Placement placement = element.verdict.placement;
    if (element.depth <= wildcardDepth) {
      wildcardDepth = placement == Placement::Wildcard ? element.depth : kNowhere;
    }
    const bool isModelled =
        placement == Placement::Root || placement == Placement::Member || wildcardDepth != kNowhere;
    if (isModelled && placement != Placement::Refused && placement != Placement::Unjudged &&
        !element.verdict.isBeyondLimit()) {
      return;
    }
    text += "\n  " + std::to_string(element.position.line) + ": " + std::string(element.name);
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
    if (message.isOfSoundStructure()) {
      ++totals.sound;
      EXPECT_TRUE(summary.isAllPlaced()) << (family / message.file);
      EXPECT_EQ(misplaced.text, "") << (family / message.file);
    }
    if (message.faults.contains("content")) {
      ++totals.badContent;
      totals.noticed += summary.isAllPlaced() ? 0 : 1;
    }
  }
}

TEST(CorpusWalk, EveryElementOfSoundMessagesHasItsPlace) {
  const fs::path corpus = corpusFolder();
  if (!fs::exists(corpus)) GTEST_SKIP() << "NOT TESTED: there is no corpus at " << corpus;
  Totals totals;
  for (const char* const name : kCorpusFamilies) {
    const fs::path family = corpus / name;
    for (const auto& [schema, messages] : readCorpusIndex(family / "index.tsv")) {
      SCOPED_TRACE(family / schema);
      const DictionaryTables tables = compileOfCorpus(family / schema);
      EXPECT_EQ(compilerFaultsOf(tables), std::vector<std::string>());
      EXPECT_TRUE(compileOfCorpus(family / schema) == tables) << "two compilations differ";
      StdDictionaryInfo dictionary(0);
      feed(tables, dictionary);
      EXPECT_TRUE(tablesOf(dictionary) == tables) << "the dictionary holds other tables";
      walkAll(family, messages, dictionary, totals);
      ++totals.schemas;
    }
  }
  EXPECT_GT(totals.schemas, 300);
  EXPECT_GT(totals.sound, 700);
  EXPECT_EQ(totals.badContent, 164);
  // The others lack something, or have text where none may be: faults that no element shows.
  EXPECT_GE(totals.noticed, 108);
}

}  // namespace
}  // namespace cpi::test
