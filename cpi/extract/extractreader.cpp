#include "cpi/extract/extractreader.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>

#include "cpi/extract/extractparser.h"
#include "cpi/extract/openfile.h"

namespace cpi {

namespace {

// Other limits for a dictionary as long as this object lives.
class LimitsOfLoad {
 public:
  LimitsOfLoad(StdDictionaryInfo& dictionary, const LoadLimits& limits) noexcept
      : dictionary_(dictionary), before_(dictionary.loadLimits()) {
    dictionary.setLoadLimits(limits);
  }
  LimitsOfLoad(const LimitsOfLoad&) = delete;
  LimitsOfLoad& operator=(const LimitsOfLoad&) = delete;
  ~LimitsOfLoad() { dictionary_.setLoadLimits(before_); }

 private:
  StdDictionaryInfo& dictionary_;
  const LoadLimits before_;
};

}  // namespace

void readExtract(std::istream& stream, const std::string& fileName, FIHandler& handler,
                 const ReadOptions& options) {
  const auto source = std::make_unique<JsonSource>(stream, fileName, options);  // a large object
  ExtractParser parser(*source, handler, options);
  nlohmann::json::sax_parse(JsonSource::Iterator(*source), JsonSource::Iterator(), &parser);
  parser.finish();
}

void readExtract(const std::string& path, FIHandler& handler, const ReadOptions& options) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) failToOpen(path);
  readExtract(stream, path, handler, options);
}

void readExtract(const std::string& path, StdDictionaryInfo& dictionary,
                 const ReadOptions& options) {
  const LimitsOfLoad forThisFile(dictionary, limitsForFile(path, dictionary.loadLimits()));
  readExtract(path, static_cast<FIHandler&>(dictionary), options);
}

LoadLimits limitsForFile(const std::string& path, const LoadLimits& limits) {
  std::error_code unknown;
  const std::uintmax_t bytes = std::filesystem::file_size(path, unknown);
  return unknown ? limits : limitsForInput(static_cast<std::int64_t>(bytes), limits);
}

}  // namespace cpi
