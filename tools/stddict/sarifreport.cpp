// The report in the Static Analysis Results Interchange Format 2.1.0: a result for each finding.
#include <fmt/format.h>

#include <cctype>

#include "tools/stddict/findingjson.h"
#include "tools/stddict/walkreport.h"
#include "tools/stddict/walkwords.h"

namespace {

constexpr std::string_view kNotReadable = "not-readable";

// A file name as a URI reference.
std::string uriOf(std::string_view file) {
  constexpr std::string_view kPlain = "-._~/+,@";
  std::string uri;
  for (const char unit : file) {
    const auto byte = static_cast<unsigned char>(unit);
    const bool isPlain = std::isalnum(byte) != 0 || kPlain.find(unit) != kPlain.npos;
    uri += isPlain && byte < 0x80 ? std::string(1, unit) : fmt::format("%{:02X}", byte);
  }
  return uri;
}

WalkJson ruleOf(std::string_view id, std::string_view meaning) {
  return {{"id", id}, {"shortDescription", {{"text", meaning}}}};
}

// Of places without line there is no region.
WalkJson locationOf(const std::string& file, const cpi::FilePosition& position) {
  WalkJson physical = {{"artifactLocation", {{"uri", uriOf(file)}}}};
  if (position.line > 0) {
    physical["region"] = {{"startLine", position.line}};
    if (position.column > 0) physical["region"]["startColumn"] = position.column;
  }
  return {{"physicalLocation", std::move(physical)}};
}

class SarifReport final : public WalkReport {
 public:
  explicit SarifReport(const cpi::StdDictionaryInfo& dictionary) : dictionary_(dictionary) {}

  void element(const cpi::WalkedElement&) override {}
  void end(const cpi::WalkSummary&) override {}

  void finding(const cpi::Finding& finding) override {
    const std::string path = cpi::toText(finding.path);
    WalkJson location = locationOf(file_, finding.position);
    location["logicalLocations"] = {{{"fullyQualifiedName", path}, {"kind", "element"}}};
    add(wordOf(finding.verdict.kind), path + ": " + sentenceOf(finding),
        std::move(location))["properties"] = toJson(finding, dictionary_);
    flush();
  }

  void fail(const cpi::FileError& error) override {
    add(kNotReadable, error.found(), locationOf(file_, {error.line(), error.column()}));
    flush();
  }

 private:
  void begin() override {}
  WalkJson& add(std::string_view rule, const std::string& message, WalkJson location) {
    result_ = {{"ruleId", rule},
               {"level", "error"},
               {"message", {{"text", message}}},
               {"locations", WalkJson::array({std::move(location)})}};
    return result_;
  }
  void flush() {
    if (!out_.empty()) out_ += ",\n";
    out_ += toLine(result_);
  }

  const cpi::StdDictionaryInfo& dictionary_;
  WalkJson result_;
};

}  // namespace

std::unique_ptr<WalkReport> makeSarifReport(const cpi::StdDictionaryInfo& dictionary) {
  return std::make_unique<SarifReport>(dictionary);
}

// The log without its results, which go in between.
ReportFrame makeSarifFrame() {
  WalkJson rules = WalkJson::array();
  for (std::size_t i = 0; i < cpi::kVerdictKindCount; ++i) {
    const auto kind = static_cast<cpi::VerdictKind>(i);
    if (kind == cpi::VerdictKind::Placed || kind == cpi::VerdictKind::Unjudged) continue;
    rules.push_back(ruleOf(wordOf(kind), meaningOf(kind)));
  }
  rules.push_back(ruleOf(kNotReadable, "a message that cannot be read or is not well-formed"));
  const WalkJson driver = {
      {"name", "stddict"}, {"version", STDDI_VERSION}, {"rules", std::move(rules)}};
  return {
      "{\"$schema\":\"https://json.schemastore.org/sarif-2.1.0.json\",\"version\":\"2.1.0\","
      "\"runs\":[{\"tool\":{\"driver\":" +
          toLine(driver) + "},\"columnKind\":\"unicodeCodePoints\",\"results\":[\n",
      ",\n", "\n]}]}\n"};
}
