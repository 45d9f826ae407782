#include "tools/stddict/walkreport.h"

void WalkReport::begin(const std::string& file, std::int64_t number) {
  file_ = file;
  number_ = number;
  begin();
}

std::string WalkReport::label() const {
  return number_ == 0 ? file_ : file_ + "#" + std::to_string(number_);
}

void WalkReport::fail(const cpi::FileError&) {}

bool isAccepted(const cpi::WalkSummary& summary, bool isChecking) noexcept {
  return isChecking ? summary.findings() == 0 : summary.isAllPlaced();
}

std::unique_ptr<WalkReport> makeReport(const ReportOptions& options,
                                       const cpi::StdDictionaryInfo& dictionary) {
  switch (options.form) {
    case ReportForm::Text: return makeTextReport(options);
    case ReportForm::Json: return makeJsonReport(options, dictionary);
    case ReportForm::Lines: return makeLinesReport(options, dictionary);
    case ReportForm::Sarif: return makeSarifReport(dictionary);
  }
  return nullptr;
}

ReportFrame makeFrame(ReportForm form) {
  return form == ReportForm::Sarif ? makeSarifFrame() : ReportFrame{};
}
