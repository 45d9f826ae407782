// The report for people: a line per element, indented by depth, and a summary.
#include <fmt/color.h>
#include <fmt/core.h>

#include <iterator>

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

class TextReport final : public WalkReport {
 public:
  TextReport(bool isQuiet, bool isColoured) : isQuiet_(isQuiet), isColoured_(isColoured) {}

  void begin(const std::string& file) override {
    if (isQuiet_) {
      file_ = file;
    } else {
      fmt::print("{}\n", file);
    }
  }

  void element(const cpi::WalkedElement& element) override {
    if (isQuiet_) return;
    const std::string place = fmt::format("{}:{}", element.position.line, element.position.column);
    const std::string_view word = wordOf(element.verdict.placement);
    fmt::print("{:>9}  {}{:{}} {:{}}{}{}\n", place, styled(element, word), "",
               kWordWidth - word.size(), "", static_cast<std::size_t>(element.depth) * kIndent,
               element.name, detailsOf(element));
  }

  void end(const cpi::WalkSummary& summary) override {
    const std::string subject = isQuiet_ ? file_ + ": " : "  ";
    fmt::print("{}{} element{}: {}\n", subject, summary.elements, summary.elements == 1 ? "" : "s",
               countsOf(summary));
    if (summary.notFetched != 0) {
      fmt::print("{}external entities and document types that were not fetched: {}\n", subject,
                 summary.notFetched);
    }
  }

 private:
  static constexpr std::size_t kWordWidth = 12;

  std::string styled(const cpi::WalkedElement& element, std::string_view word) const {
    if (!isColoured_) return std::string(word);
    const bool isBad =
        element.verdict.placement == cpi::Placement::Refused || element.verdict.isBeyondLimit();
    if (isBad) return fmt::format(fg(fmt::terminal_color::red) | fmt::emphasis::bold, "{}", word);
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
    if (element.verdict.isBeyondLimit()) {
      fmt::format_to(std::back_inserter(text), "  BEYOND LIMIT: at most {}",
                     element.member->MaxOccurs);
    }
    if (element.verdict.reason != cpi::Reason::None) {
      fmt::format_to(std::back_inserter(text), "  ({})", wordsOf(element.verdict.reason));
    }
    return text;
  }

  bool isQuiet_;
  bool isColoured_;
  std::string file_;
};

}  // namespace

std::unique_ptr<WalkReport> makeTextReport(bool isQuiet, bool isColoured) {
  return std::make_unique<TextReport>(isQuiet, isColoured);
}
