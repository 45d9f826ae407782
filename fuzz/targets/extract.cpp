// Bytes as a text extract. What loads must come out of an image and of an extract as it went in.
#include <sstream>

#include "cpi/extract/extractreader.h"
#include "fuzz/support/bytereader.h"
#include "fuzz/support/exercise.h"

namespace cpi::fuzz {

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr LoadLimits kLimits{.rows = 500, .properties = 20, .bytes = 1 << 20};
  std::istringstream stream(std::string(reinterpret_cast<const char*>(data), size));
  StdDictionaryInfo dictionary(0);
  dictionary.setLoadLimits(kLimits);
  bool isRead = false;
  try {
    readExtract(stream, "input", dictionary);
    isRead = true;
  } catch (const FileError& error) {
    require(error.line() >= 1 && error.column() >= 1, "an error without a place");
  }
  askEverything(dictionary);
  const bool isFinished = isRead && !dictionary.isLoading();
  if (isFinished && dictionary.identification().rowCount() == 1) roundTrip(dictionary);
  return 0;
}

}  // namespace cpi::fuzz
