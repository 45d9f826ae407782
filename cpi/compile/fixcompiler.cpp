#include "cpi/compile/fixcompiler.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>

#include "cpi/compile/fixdocument.h"
#include "cpi/compile/fixmodelbuilder.h"
#include "cpi/compile/xmltext.h"
#include "cpi/extract/modelconventions.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

namespace {

// What stands in the first field of a message: the version of the session layer.
std::u16string beginString(const std::vector<FixDocument>& documents) {
  const auto transport = std::ranges::find_if(documents, &FixDocument::isTransport);
  const FixDocument& document = transport == documents.end() ? documents.front() : *transport;
  const std::string version = (document.isTransport ? "FIXT." : "FIX.") +
                              std::to_string(document.major) + "." + std::to_string(document.minor);
  return toUtf16(version);
}

// Dictionaries of the application layer leave header and trailer to that of the transport.
void noteMissingFrame(const std::vector<FixDocument>& documents, std::vector<Notice>& notices) {
  const bool hasHeader = !std::ranges::all_of(
      documents, [](const FixDocument& document) { return document.header.empty(); });
  const bool hasTrailer = !std::ranges::all_of(
      documents, [](const FixDocument& document) { return document.trailer.empty(); });
  if (hasHeader && hasTrailer) return;
  const std::string what = hasHeader ? "trailer" : hasTrailer ? "header" : "header and trailer";
  notices.push_back({"no " + what + ", without which no message is right: give the dictionary of " +
                         "the transport, too, as in FIXT11.xml FIX50.xml",
                     documents.front().path, 1, 1});
}

}  // namespace

bool isFixDictionary(const std::string& path) {
  return withParser([&] { return isFixDocument(path); });
}

DictionaryTables compileFix(const std::vector<std::string>& files, const FixOptions& options,
                            FixReport& report) {
  if (files.empty()) throw std::invalid_argument("compileFix: no files");
  report.notices.clear();
  std::vector<FixDocument> documents;
  for (const std::string& file : files) {
    documents.push_back(withParser([&] { return readFixDocument(file, report.notices); }));
  }
  noteMissingFrame(documents, report.notices);
  TableDraft draft;
  const FixModelBuilder builder(documents, draft, report.notices);
  constexpr std::size_t kMost = kFixedTextUnits - 1;
  const std::string stem = std::filesystem::path(files.front()).stem().string();
  DictionaryTables tables =
      draft.finish(toUtf16(options.name.empty() ? stem : options.name).substr(0, kMost));
  tables.Project->DefaultWireFormat = kFixWireFormat;
  tables.WireFormats.push_back({std::u16string(kFixWireFormat), beginString(documents)});
  return tables;
}

}  // namespace cpi
