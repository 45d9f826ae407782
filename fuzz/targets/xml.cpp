// Bytes as an XML message, walked along the model of the sample schema, with and without a check.
#include "cpi/compile/xsdcompiler.h"
#include "cpi/walk/xmlwalker.h"
#include "fuzz/support/bytereader.h"

namespace cpi::fuzz {
namespace {

const StdDictionaryInfo& orderDictionary() {
  static const std::unique_ptr<const StdDictionaryInfo> dictionary = [] {
    auto compiled = std::make_unique<StdDictionaryInfo>(0);
    XsdReport report;
    feed(compileXsd({STDDI_SOURCE_DIR "/fuzz/support/message.xsd"}, {}, report), *compiled);
    return compiled;
  }();
  return *dictionary;
}

class Visitor : public WalkVisitor {
 public:
  void element(const WalkedElement& element) override {
    require(element.depth < kMaxXmlDepth, "an element beyond the depth limit");
    require(element.position.line >= 1, "an element without a place");
    ++elements;
    element.trail->path();
    element.trail->groups();
  }
  void finding(const Finding& finding) override {
    require(finding.position.line >= 1, "a finding without a place");
  }
  std::int64_t elements = 0;
};

std::int64_t walk(XmlWalker& walker, std::string_view message) {
  Visitor visitor;
  try {
    walker.walkText(message, "message", &visitor);
  } catch (const FileError& error) {
    require(error.line() >= 1, "an error without a place");
  }
  return visitor.elements;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const WalkModel model(orderDictionary());
  static XmlWalker placing(model);
  static XmlWalker checking(model, {.isChecking = true});
  const std::string_view message(reinterpret_cast<const char*>(data), size);
  require(walk(placing, message) == walk(checking, message), "a check sees other elements");
  return 0;
}

}  // namespace cpi::fuzz
