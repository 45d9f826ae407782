// The reports for programs: a JSON object per element, finding and message, or one per message.
#include "cpi/runtime/kelstring.h"
#include "tools/stddict/findingjson.h"
#include "tools/stddict/walkreport.h"
#include "tools/stddict/walkwords.h"

namespace {

std::string keyOf(cpi::Placement placement) {
  return placement == cpi::Placement::Refused ? "refused" : std::string(wordOf(placement));
}

// The kinds that were found, with their numbers.
WalkJson findingsOf(const cpi::WalkSummary& summary) {
  WalkJson counts = WalkJson::object();
  for (std::size_t i = 0; i < cpi::kVerdictKindCount; ++i) {
    const auto kind = static_cast<cpi::VerdictKind>(i);
    if (summary.count(kind) != 0) counts[std::string(wordOf(kind))] = summary.count(kind);
  }
  return counts;
}

// What both forms begin with.
class ObjectReport : public WalkReport {
 protected:
  WalkJson name() const {
    WalkJson line = {{"file", file_}};
    if (number_ != 0) line["message"] = number_;
    return line;
  }
};

class JsonReport final : public ObjectReport {
 public:
  JsonReport(const ReportOptions& options, const cpi::StdDictionaryInfo& dictionary)
      : options_(options), dictionary_(dictionary) {}

  void begin() override {}

  void element(const cpi::WalkedElement& element) override {
    if (options_.hasElements()) printLine(toJson(element));
  }

  void finding(const cpi::Finding& finding) override {
    if (!options_.isChecking || options_.isQuiet) return;
    WalkJson line = name();
    line["finding"] = ::toJson(finding, dictionary_);
    printLine(line);
  }

  void end(const cpi::WalkSummary& summary) override {
    WalkJson counts = name();
    counts["elements"] = summary.elements;
    for (const cpi::Placement placement : kPlacements) {
      counts[keyOf(placement)] = summary.count(placement);
    }
    counts["beyondLimit"] = summary.beyondLimit;
    counts["notFetched"] = summary.notFetched;
    counts["allPlaced"] = summary.isAllPlaced();
    if (options_.isChecking) {
      counts["accepted"] = isAccepted(summary, true);
      counts["findings"] = findingsOf(summary);
    }
    printLine({{"summary", counts}});
  }

 private:
  void printLine(const WalkJson& line) { out_ += toLine(line) + "\n"; }

  WalkJson toJson(const cpi::WalkedElement& element) const {
    const cpi::Verdict& verdict = element.verdict;
    WalkJson line = {{"line", element.position.line},
                     {"column", element.position.column},
                     {"offset", element.position.offset},
                     {"depth", element.depth},
                     {"name", element.name},
                     {"namespace", element.namespaceURI},
                     {"path", cpi::toText(element.trail->path())},
                     {"placement", keyOf(verdict.placement)}};
    if (const auto groups = element.trail->groups(); !groups.empty()) {
      line["groups"] = ::toJson(groups, dictionary_);
    }
    if (verdict.occurrence > 0) line["occurrence"] = verdict.occurrence;
    if (element.member != nullptr) line["memberId"] = element.member->Id;
    if (element.tag != nullptr) {
      line["tagId"] = element.tag->Id;
      line["tag"] = cpi::toUtf8(cpi::textView(element.tag->TextIdentifier));
    }
    if (element.type != nullptr) line["typeId"] = element.type->TypeId;
    if (const std::string type = typeNameOf(element); !type.empty()) line["type"] = type;
    if (element.finding != nullptr) line["finding"] = ::toJson(*element.finding, dictionary_);
    return line;
  }

  ReportOptions options_;
  const cpi::StdDictionaryInfo& dictionary_;
};

class LinesReport final : public ObjectReport {
 public:
  LinesReport(const ReportOptions& options, const cpi::StdDictionaryInfo& dictionary)
      : options_(options), dictionary_(dictionary) {}

  void begin() override { findings_.clear(); }
  void element(const cpi::WalkedElement&) override {}
  void finding(const cpi::Finding& finding) override {
    if (!findings_.empty()) findings_ += ',';
    findings_ += toLine(toJson(finding, dictionary_));
  }
  void end(const cpi::WalkSummary& summary) override {
    WalkJson line = name();
    line["accepted"] = isAccepted(summary, options_.isChecking);
    line["elements"] = summary.elements;
    line["found"] = summary.findings();
    if (summary.notFetched != 0) line["notFetched"] = summary.notFetched;
    out_ += toLine(line);
    out_.back() = ',';
    out_ += "\"findings\":[" + findings_ + "]}\n";
  }
  void fail(const cpi::FileError& error) override {
    const WalkJson what = {
        {"line", error.line()}, {"column", error.column()}, {"message", error.what()}};
    out_ += toLine({{"file", file_}, {"accepted", false}, {"error", what}}) + "\n";
  }

 private:
  ReportOptions options_;
  const cpi::StdDictionaryInfo& dictionary_;
  std::string findings_;  // as text, which is many times smaller
};

}  // namespace

std::unique_ptr<WalkReport> makeJsonReport(const ReportOptions& options,
                                           const cpi::StdDictionaryInfo& dictionary) {
  return std::make_unique<JsonReport>(options, dictionary);
}

std::unique_ptr<WalkReport> makeLinesReport(const ReportOptions& options,
                                            const cpi::StdDictionaryInfo& dictionary) {
  return std::make_unique<LinesReport>(options, dictionary);
}
