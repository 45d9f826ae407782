// How the outcome of a walk is written: as text for people, as JSON for programs, or as SARIF for
// what shows findings beside a source.
#ifndef TOOLS_STDDICT_WALKREPORT_H
#define TOOLS_STDDICT_WALKREPORT_H

#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/fileerror.h"
#include "cpi/walk/walkvisitor.h"

enum class ReportForm {
  Text,   // a line for each element, or with `isChecking` for each finding; and a summary
  Json,   // the same as JSON objects
  Lines,  // one JSON object for each message, with its findings
  Sarif,  // one SARIF log for all messages
};

struct ReportOptions {
  ReportForm form = ReportForm::Text;
  bool isQuiet = false;     // of Text and Json: summaries only
  bool isChecking = false;  // a message is accepted when nothing at all was found
  bool isColoured = false;  // of Text

  bool hasElements() const noexcept {
    return !isQuiet && !isChecking && (form == ReportForm::Text || form == ReportForm::Json);
  }
};

// Receives the elements and findings of one message after another, and each message's summary. Its
// text is taken from it in pieces.
class WalkReport : public cpi::WalkVisitor {
 public:
  // A message begins; `number` is its own in a file of several, from 1, or 0.
  void begin(const std::string& file, std::int64_t number);
  // It has ended, and was read in full.
  virtual void end(const cpi::WalkSummary& summary) = 0;
  // It cannot be read, or is not well-formed; said instead of end(). Does nothing by default.
  virtual void fail(const cpi::FileError& error);

  // What was written since the last call.
  std::string take() { return std::exchange(out_, {}); }
  std::size_t size() const noexcept { return out_.size(); }

 protected:
  virtual void begin() = 0;
  // What the message is called where no line number stands beside it.
  std::string label() const;

  std::string out_;
  std::string file_;
  std::int64_t number_ = 0;
};

// The texts around and between those of the messages.
struct ReportFrame {
  std::string head;
  std::string_view separator;  // between texts that are not empty
  std::string_view tail;
};

bool isAccepted(const cpi::WalkSummary& summary, bool isChecking) noexcept;
// `dictionary` is not owned and must outlive the report.
std::unique_ptr<WalkReport> makeReport(const ReportOptions& options,
                                       const cpi::StdDictionaryInfo& dictionary);
ReportFrame makeFrame(ReportForm form);

// Of the single forms.
std::unique_ptr<WalkReport> makeTextReport(const ReportOptions& options);
std::unique_ptr<WalkReport> makeJsonReport(const ReportOptions& options,
                                           const cpi::StdDictionaryInfo& dictionary);
std::unique_ptr<WalkReport> makeLinesReport(const ReportOptions& options,
                                            const cpi::StdDictionaryInfo& dictionary);
std::unique_ptr<WalkReport> makeSarifReport(const cpi::StdDictionaryInfo& dictionary);
ReportFrame makeSarifFrame();

#endif  // TOOLS_STDDICT_WALKREPORT_H
