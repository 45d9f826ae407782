// The report for programs: a JSON object per element and one per message, each on its own line.
#include <fmt/core.h>

#include <nlohmann/json.hpp>

#include "cpi/runtime/kelstring.h"
#include "tools/stddict/walkreport.h"
#include "tools/stddict/walkwords.h"

namespace {

using Json = nlohmann::ordered_json;

// File names need not be UTF-8.
void printLine(const Json& line) {
  fmt::print("{}\n", line.dump(-1, ' ', false, Json::error_handler_t::replace));
}

std::string keyOf(cpi::Placement placement) {
  return placement == cpi::Placement::Refused ? "refused" : std::string(wordOf(placement));
}

Json toJson(const cpi::WalkedElement& element) {
  const cpi::Verdict& verdict = element.verdict;
  Json line = {{"line", element.position.line},
               {"column", element.position.column},
               {"offset", element.position.offset},
               {"depth", element.depth},
               {"name", element.name},
               {"namespace", element.namespaceURI},
               {"placement", keyOf(verdict.placement)}};
  if (verdict.occurrence > 0) line["occurrence"] = verdict.occurrence;
  if (element.member != nullptr) line["memberId"] = element.member->Id;
  if (element.tag != nullptr) {
    line["tagId"] = element.tag->Id;
    line["tag"] = cpi::toUtf8(cpi::textView(element.tag->TextIdentifier));
  }
  if (element.type != nullptr) line["typeId"] = element.type->TypeId;
  if (const std::string type = typeNameOf(element); !type.empty()) line["type"] = type;
  if (verdict.isBeyondLimit()) line["atMost"] = element.member->MaxOccurs;
  if (verdict.reason != cpi::Reason::None) line["reason"] = wordsOf(verdict.reason);
  return line;
}

class JsonReport final : public WalkReport {
 public:
  explicit JsonReport(bool isQuiet) : isQuiet_(isQuiet) {}

  void begin(const std::string& file) override { file_ = file; }

  void element(const cpi::WalkedElement& element) override {
    if (!isQuiet_) printLine(toJson(element));
  }

  void end(const cpi::WalkSummary& summary) override {
    Json counts = {{"file", file_}, {"elements", summary.elements}};
    for (const cpi::Placement placement : kPlacements) {
      counts[keyOf(placement)] = summary.count(placement);
    }
    counts["beyondLimit"] = summary.beyondLimit;
    counts["notFetched"] = summary.notFetched;
    counts["allPlaced"] = summary.isAllPlaced();
    printLine({{"summary", counts}});
  }

 private:
  bool isQuiet_;
  std::string file_;
};

}  // namespace

std::unique_ptr<WalkReport> makeJsonReport(bool isQuiet) {
  return std::make_unique<JsonReport>(isQuiet);
}
