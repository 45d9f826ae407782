// The development corpus: every schema compiles to consistent tables, and every valid message is
// placed whole.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <set>
#include <sstream>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/walk/xmlwalker.h"
#include "tests/models/xsd_support.h"

namespace {

using namespace cpi;

constexpr const char* kFamilies[] = {"bpmn",     "cyclonedx", "iso20022", "maven",
                                     "musicxml", "ubl",       "w3c-xsts"};

struct Instance {
  std::string schema;
  std::string message;
  bool isSound;  // valid, or at fault in values, attributes and identities only
};

std::string corpusPath() {
  const char* const shared = std::getenv("STDDI_SHARED_DIR");
  return shared == nullptr ? std::string() : std::string(shared) + "/corpus/";
}

bool isSound(const std::string& expected, const std::string& classes) {
  if (expected == "valid") return true;
  if (expected != "invalid") return false;
  std::istringstream stream(classes);
  for (std::string part; std::getline(stream, part, ',');) {
    if (part != "value" && part != "attribute" && part != "identity") return false;
  }
  return true;
}

std::vector<Instance> readIndex() {
  std::vector<Instance> instances;
  for (const std::string family : kFamilies) {
    std::ifstream index(corpusPath() + family + "/index.tsv");
    std::string line;
    std::getline(index, line);
    while (std::getline(index, line)) {
      std::istringstream stream(line);
      std::string schema, message, expected, classes;
      std::getline(stream, schema, '\t');
      std::getline(stream, message, '\t');
      std::getline(stream, expected, '\t');
      std::getline(stream, classes, '\t');
      const std::string folder = corpusPath() + family + "/";
      instances.push_back({folder + schema, folder + message, isSound(expected, classes)});
    }
  }
  return instances;
}

DictionaryTables compiled(const std::string& schema) {
  XsdReport report;
  return compileXsd({schema}, {.catalog = corpusPath() + "catalog.xml"}, report);
}

class XsdCorpus : public testing::Test {
 protected:
  void SetUp() override {
    if (corpusPath().empty() || !std::filesystem::exists(corpusPath() + "catalog.xml")) {
      GTEST_SKIP() << "NOT TESTED: no corpus below STDDI_SHARED_DIR \"" << corpusPath() << "\"";
    }
  }
};

TEST_F(XsdCorpus, SchemasBecomeConsistentTablesThatADictionaryKeeps) {
  std::set<std::string> schemas;
  for (const Instance& instance : readIndex()) schemas.insert(instance.schema);
  EXPECT_GT(schemas.size(), 300U);
  for (const std::string& schema : schemas) {
    SCOPED_TRACE(schema);
    const DictionaryTables tables = compiled(schema);
    EXPECT_EQ(xsdtest::faultsOf(tables), std::vector<std::string>());
    EXPECT_TRUE(compiled(schema) == tables) << "two compilations differ";
    StdDictionaryInfo dictionary(0);
    feed(tables, dictionary);
    EXPECT_TRUE(tablesOf(dictionary) == tables) << "the dictionary holds other tables";
  }
}

struct Model {
  explicit Model(const std::string& schema) { feed(compiled(schema), dictionary); }
  StdDictionaryInfo dictionary{0};
  std::unique_ptr<WalkModel> model;
};

// Counts the elements that are neither members nor admitted by a wildcard themselves, nor anywhere
// inside an element that a wildcard admitted.
class StrayCounter : public WalkVisitor {
 public:
  std::size_t strays = 0;

  void element(const WalkedElement& element) override {
    const Placement placement = element.verdict.placement;
    const auto depth = static_cast<std::size_t>(element.depth);
    isInWildcard_.resize(depth + 1);
    const bool isInside = depth > 0 && isInWildcard_[depth - 1];
    isInWildcard_[depth] = isInside || placement == Placement::Wildcard;
    const bool isModelled = placement == Placement::Root || placement == Placement::Member;
    if (!isModelled && !isInWildcard_[depth]) ++strays;
  }

 private:
  std::vector<bool> isInWildcard_;  // by depth: the open elements
};

TEST_F(XsdCorpus, SoundMessagesArePlacedWhole) {
  std::map<std::string, Model> models;
  std::size_t walked = 0;
  for (const Instance& instance : readIndex()) {
    if (!instance.isSound) continue;
    SCOPED_TRACE(instance.message);
    Model& model = models.try_emplace(instance.schema, instance.schema).first->second;
    if (!model.model) model.model = std::make_unique<WalkModel>(model.dictionary);
    StrayCounter counter;
    const WalkSummary summary = XmlWalker(*model.model).walkFile(instance.message, &counter);
    EXPECT_TRUE(summary.isAllPlaced());
    EXPECT_EQ(summary.count(Placement::Unjudged), 0);
    EXPECT_EQ(counter.strays, 0U);
    ++walked;
  }
  EXPECT_GT(walked, 700U);
}

}  // namespace
