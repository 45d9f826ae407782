// Checks every message of the shared corpus and compares the first fault of each message with bad
// content to the one that libxml2's schema validator names.
#include <fmt/core.h>
#include <gtest/gtest.h>
#include <libxml/catalog.h>
#include <libxml/parser.h>
#include <libxml/xmlschemas.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "cpi/walk/xmlwalker.h"
#include "tests/models/corpus_support.h"

namespace cpi::test {
namespace {

struct Place {
  std::int64_t line = 0;
  std::string name;
};

template <auto Free>
struct Freed {
  template <class T>
  void operator()(T* object) const noexcept {
    Free(object);
  }
};

// The first fault of content in a message, by libxml2: an element, or the parent of what is
// missing.
class Validator {
 public:
  explicit Validator(const std::string& schema) {
    const std::unique_ptr<xmlSchemaParserCtxt, Freed<xmlSchemaFreeParserCtxt>> parser(
        xmlSchemaNewParserCtxt(schema.c_str()));
    xmlSchemaSetParserStructuredErrors(parser.get(), ignore, nullptr);
    schema_.reset(xmlSchemaParse(parser.get()));
  }

  std::optional<Place> firstFault(const std::string& message) const {
    const std::unique_ptr<xmlDoc, Freed<xmlFreeDoc>> document(
        xmlReadFile(message.c_str(), nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR));
    const std::unique_ptr<xmlSchemaValidCtxt, Freed<xmlSchemaFreeValidCtxt>> context(
        xmlSchemaNewValidCtxt(schema_.get()));
    std::optional<Place> first;
    xmlSchemaSetValidStructuredErrors(context.get(), keep, &first);
    xmlSchemaValidateDoc(context.get(), document.get());
    return first;
  }

 private:
  static void ignore(void*, xmlErrorPtr) {}
  static void keep(void* first, xmlErrorPtr error) {
    auto& place = *static_cast<std::optional<Place>*>(first);
    const bool isOfContent = error->code == XML_SCHEMAV_ELEMENT_CONTENT ||
                             error->code == XML_SCHEMAV_CVC_COMPLEX_TYPE_2_1 ||
                             error->code == XML_SCHEMAV_CVC_COMPLEX_TYPE_2_3 ||
                             error->code == XML_SCHEMAV_CVC_TYPE_3_1_2 ||
                             error->code == XML_SCHEMAV_CVC_ELT_1 ||
                             error->code == XML_SCHEMAV_CVC_ELT_3_2_1;
    if (place || !isOfContent) return;
    const auto* const node = static_cast<const xmlNode*>(error->node);
    place = {xmlGetLineNo(node), reinterpret_cast<const char*>(node->name)};
  }

  std::unique_ptr<xmlSchema, Freed<xmlSchemaFree>> schema_;
};

bool isOfStructure(VerdictKind kind) {
  return kind != VerdictKind::Value && kind != VerdictKind::Attribute;
}

// The first fault of structure. What concerns an element as a whole has no line to compare.
struct FirstFault : WalkVisitor {
  std::optional<Place> place;
  std::string text;
  void element(const WalkedElement&) override {}
  void finding(const Finding& one) override {
    if (!isOfStructure(one.verdict.kind)) return;
    text += fmt::format("\n  {}:{} {} ({})", one.position.line, one.position.column,
                        toText(one.path), static_cast<int>(one.verdict.kind));
    if (place) return;
    const bool isStart =
        one.verdict.kind < VerdictKind::Incomplete && one.verdict.reason != Reason::InNil;
    place = {isStart ? one.position.line : 0, one.path.back().name};
  }
};

struct Counts {
  int valid = 0;
  int accepted = 0;
  int sound = 0;
  int alarms = 0;
  int badContent = 0;
  int caught = 0;
  int samePlace = 0;
};

void checkMessage(const std::filesystem::path& file, const CorpusMessage& message,
                  XmlWalker& walker, const Validator& validator, Counts& counts) {
  FirstFault first;
  const WalkSummary summary = walker.walkFile(file, &first);
  if (message.expected == "valid") {
    ++counts.valid;
    counts.accepted += summary.findings() == 0 ? 1 : 0;
  }
  if (message.isOfSoundStructure()) {
    ++counts.sound;
    counts.alarms += first.place ? 1 : 0;
    EXPECT_FALSE(first.place) << file << first.text;
  }
  if (!message.faults.contains("content")) return;
  ++counts.badContent;
  EXPECT_TRUE(first.place) << file;
  if (!first.place) return;
  ++counts.caught;
  const std::optional<Place> other = validator.firstFault(file);
  const bool isSame = other && first.place->name == other->name &&
                      (first.place->line == 0 || first.place->line == other->line);
  counts.samePlace += isSame ? 1 : 0;
  if (!isSame)
    fmt::print("  {}: {}:{} there\n", file.string(), other ? other->line : 0,
               other ? other->name : "?");
}

Counts checkFamily(const std::filesystem::path& corpus, const std::string& name) {
  Counts counts;
  const std::filesystem::path family = corpus / name;
  for (const auto& [schema, messages] : readCorpusIndex(family / "index.tsv")) {
    StdDictionaryInfo dictionary(0);
    feed(compileOfCorpus(family / schema), dictionary);
    const WalkModel model(dictionary);
    XmlWalker walker(model, {.isChecking = true});
    const Validator validator(family / schema);
    for (const CorpusMessage& message : messages) {
      if (message.expected == "notwf") continue;
      checkMessage(family / message.file, message, walker, validator, counts);
    }
  }
  return counts;
}

// Some namespaces of the corpus are no absolute URIs, of which libxml2 warns.
void silence(void*, const char*, ...) {}

TEST(CorpusCheck, AcceptsWhatIsValidAndRefusesBadContentWhereAValidatorDoes) {
  const std::filesystem::path corpus = corpusFolder();
  if (!std::filesystem::exists(corpus)) GTEST_SKIP() << "NOT TESTED: no corpus at " << corpus;
  xmlInitParser();
  xmlSetGenericErrorFunc(nullptr, silence);
  xmlSetExternalEntityLoader(xmlNoNetExternalEntityLoader);
  xmlLoadCatalog((corpus / "catalog.xml").c_str());
  fmt::print("{:<10} {:>5} {:>8} {:>5} {:>6} {:>11} {:>6} {:>10}\n", "family", "valid", "accepted",
             "sound", "alarms", "bad content", "caught", "same place");
  Counts sum;
  for (const char* const name : kCorpusFamilies) {
    const Counts one = checkFamily(corpus, name);
    fmt::print("{:<10} {:>5} {:>8} {:>5} {:>6} {:>11} {:>6} {:>10}\n", name, one.valid,
               one.accepted, one.sound, one.alarms, one.badContent, one.caught, one.samePlace);
    EXPECT_EQ(one.accepted, one.valid) << name;
    sum.badContent += one.badContent;
    sum.caught += one.caught;
    sum.samePlace += one.samePlace;
  }
  EXPECT_EQ(sum.badContent, 164);
  EXPECT_EQ(sum.caught, 164);
  // In the others the content should be empty: libxml2 then names the parent of what it finds.
  EXPECT_EQ(sum.samePlace, 160);
}

}  // namespace
}  // namespace cpi::test
