// The report for people: a line per element, indented by depth, or a few lines per finding; and a
// summary.
#include <fmt/color.h>
#include <fmt/format.h>

#include <iterator>

#include "tools/stddict/terminal.h"
#include "tools/stddict/walkreport.h"
#include "tools/stddict/walkwords.h"

namespace {

constexpr std::size_t kIndent = 2;

// "1 root, 16 member (1 BEYOND LIMIT), 4 REFUSED": the counts that are not 0.
std::string countsOf(const cpi::WalkSummary& summary) {
  std::string text;
  for (const cpi::Placement placement : kPlacements) {
    if (summary.count(placement) == 0) continue;
    fmt::format_to(std::back_inserter(text), "{}{} {}", text.empty() ? "" : ", ",
                   summary.count(placement), wordOf(placement));
    if (placement == cpi::Placement::Member && summary.beyondLimit != 0) {
      fmt::format_to(std::back_inserter(text), " ({} BEYOND LIMIT)", summary.beyondLimit);
    }
  }
  return text;
}

// Whether it helps to know what might have come; where the sentence tells what is missing it does
// not.
bool isAboutPlace(const cpi::Finding& finding) {
  using cpi::VerdictKind;
  if (finding.expected.empty() && !finding.missing.empty()) return false;
  switch (finding.verdict.kind) {
    case VerdictKind::Refused:
      return finding.verdict.reason == cpi::Reason::OtherAlternative ||
             finding.verdict.reason == cpi::Reason::AbstractType;
    case VerdictKind::BeyondLimit:
    case VerdictKind::OutOfOrder:
    case VerdictKind::KnownElsewhere:
    case VerdictKind::UnknownName:
      return finding.verdict.reason != cpi::Reason::UnknownRoot &&
             finding.verdict.reason != cpi::Reason::UnknownMessage;
    default: return false;
  }
}

class TextReport final : public WalkReport {
 public:
  explicit TextReport(const ReportOptions& options)
      : options_(options), style_(options.isColoured) {}

  void begin() override {
    listed_ = 0;
    if (options_.hasElements()) out_ += label() + "\n";
  }

  void element(const cpi::WalkedElement& element) override {
    if (!options_.hasElements()) return;
    const std::string place = fmt::format("{}:{}", element.position.line, element.position.column);
    const std::string_view word = wordOf(element.verdict.placement);
    print("{:>9}  {}{:{}} {:{}}{}{}\n", place, styled(element, word), "", kWordWidth - word.size(),
          "", static_cast<std::size_t>(element.depth) * kIndent, element.name, detailsOf(element));
  }

  void finding(const cpi::Finding& finding) override {
    if (!options_.isChecking || options_.isQuiet) return;
    ++listed_;
    print("{}:{}:{}: {}: {}\n", file_, finding.position.line, finding.position.column,
          printable(cpi::toText(finding.path)), style_.bad(sentenceOf(finding)));
    if (!finding.groups.empty()) print("    in the group {}\n", textOf(finding.groups));
    if (isAboutPlace(finding)) print("    expected here: {}\n", expectedList(finding.expected));
  }

  void end(const cpi::WalkSummary& summary) override {
    const std::string subject = options_.hasElements() ? "  " : label() + ": ";
    if (options_.isChecking) {
      endCheck(summary);
    } else {
      print("{}{} element{}: {}\n", subject, summary.elements, summary.elements == 1 ? "" : "s",
            countsOf(summary));
    }
    if (summary.notFetched != 0) {
      print("{}external entities and document types that were not fetched: {}\n", subject,
            summary.notFetched);
    }
  }

 private:
  static constexpr std::size_t kWordWidth = 12;

  template <class... Arguments>
  void print(fmt::format_string<Arguments...> format, Arguments&&... arguments) {
    fmt::format_to(std::back_inserter(out_), format, std::forward<Arguments>(arguments)...);
  }

  void endCheck(const cpi::WalkSummary& summary) {
    const std::int64_t found = summary.findings();
    if (found == 0) {
      print("{}: accepted, {} element{}\n", label(), summary.elements,
            summary.elements == 1 ? "" : "s");
      return;
    }
    if (!options_.isQuiet && found > listed_) {
      print("{}: {} more faults are not listed\n", label(), found - listed_);
    }
    print("{}: {}, {} fault{}\n", label(), style_.bad("refused"), found, found == 1 ? "" : "s");
  }

  std::string styled(const cpi::WalkedElement& element, std::string_view word) const {
    if (!options_.isColoured) return std::string(word);
    const bool isBad =
        element.verdict.placement == cpi::Placement::Refused || element.verdict.isBeyondLimit();
    if (isBad) return style_.bad(word);
    if (element.verdict.placement == cpi::Placement::Member) return std::string(word);
    return fmt::format(fg(fmt::terminal_color::cyan), "{}", word);
  }

  // Occurrence, type and what is wrong.
  static std::string detailsOf(const cpi::WalkedElement& element) {
    std::string text;
    if (element.verdict.occurrence > 1) {
      fmt::format_to(std::back_inserter(text), "[{}]", element.verdict.occurrence);
    }
    if (const std::string type = typeNameOf(element); !type.empty()) text += "  " + type;
    if (element.finding != nullptr) text += "  (" + sentenceOf(*element.finding) + ")";
    return text;
  }

  ReportOptions options_;
  Style style_;
  std::int64_t listed_ = 0;
};

}  // namespace

std::unique_ptr<WalkReport> makeTextReport(const ReportOptions& options) {
  return std::make_unique<TextReport>(options);
}
