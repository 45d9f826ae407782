// Bytes as a log of FIX messages, walked along the sample dictionary with and without a check;
// behind a byte 0, first a dictionary of any contents for them.
#include "cpi/compile/fixcompiler.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/fileerror.h"
#include "cpi/walk/fixwalker.h"
#include "fuzz/support/bytereader.h"
#include "fuzz/support/randomdictionary.h"

namespace cpi::fuzz {
namespace {

std::unique_ptr<const StdDictionaryInfo> parcels() {
  auto compiled = std::make_unique<StdDictionaryInfo>(0);
  FixReport report;
  feed(compileFix({STDDI_SOURCE_DIR "/examples/fix/parcels.xml"}, {}, report), *compiled);
  return compiled;
}

class Visitor : public WalkVisitor {
 public:
  void element(const WalkedElement& element) override {
    ++elements;
    element.trail->path();
    element.trail->groups();
  }
  void finding(const Finding& finding) override {
    require(finding.position.line >= 1, "a finding without a place");
  }
  std::int64_t elements = 0;
};

std::int64_t walk(FixWalker& walker, std::string_view log) {
  Visitor visitor;
  try {
    walker.walkText(log, "log", &visitor);
  } catch (const FileError&) {           // no message in it
  } catch (const KelParserException&) {  // the dictionary makes no sense to the navigator
  }
  return visitor.elements;
}

void walkAlong(const FixModel& model, std::string_view log) {
  FixWalker placing(model);
  FixWalker checking(model, {.isChecking = true});
  walk(placing, log);
  walk(checking, log);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::unique_ptr<const StdDictionaryInfo> sample = parcels();
  static const FixModel sampleModel(*sample);
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  if (size == 0 || data[0] != 0) {
    walkAlong(sampleModel, input);
    return 0;
  }
  ByteReader bytes(data + 1, size - 1);
  StdDictionaryInfo dictionary(0);
  feed(randomTables(bytes), dictionary);
  const FixModel model(dictionary);
  walkAlong(model, input);
  walkAlong(model, "8=FIX.4.4|9=5|35=a|1=1|2=b|3=c|2=d|12=5|10=000|");
  return 0;
}

}  // namespace cpi::fuzz
