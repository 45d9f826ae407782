#include "cpi/extract/extractreader.h"

#include <fstream>
#include <memory>

#include "cpi/extract/extractparser.h"
#include "cpi/extract/openfile.h"

namespace cpi {

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

}  // namespace cpi
