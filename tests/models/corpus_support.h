// The index of the shared corpus: which messages there are, and what is wrong with them.
#ifndef TESTS_MODELS_CORPUS_SUPPORT_H
#define TESTS_MODELS_CORPUS_SUPPORT_H

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace cpi {

inline constexpr const char* kCorpusFamilies[] = {"bpmn",     "cyclonedx", "iso20022", "maven",
                                                  "musicxml", "ubl",       "w3c-xsts"};

struct CorpusMessage {
  std::string file;
  std::string expected;
  std::set<std::string> faults;

  bool isOfSoundStructure() const {
    if (expected == "valid") return true;
    const std::set<std::string> harmless = {"attribute", "value", "identity"};
    return expected == "invalid" &&
           std::includes(harmless.begin(), harmless.end(), faults.begin(), faults.end());
  }
};

using MessagesOfSchema = std::map<std::string, std::vector<CorpusMessage>>;

inline std::filesystem::path corpusFolder() {
  const char* const shared = std::getenv("STDDI_SHARED_DIR");
  return std::filesystem::path(shared == nullptr ? STDDI_SHARED_DIR : shared) / "corpus";
}

inline std::vector<std::string> splitText(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
  return parts;
}

inline MessagesOfSchema readCorpusIndex(const std::filesystem::path& file) {
  MessagesOfSchema messages;
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);  // column names
  while (std::getline(stream, line)) {
    const std::vector<std::string> columns = splitText(line, '\t');
    const std::vector<std::string> faults = splitText(columns.at(3), ',');
    messages[columns.at(0)].push_back(
        {columns.at(1), columns.at(2), std::set<std::string>(faults.begin(), faults.end())});
  }
  return messages;
}

}  // namespace cpi

#endif  // TESTS_MODELS_CORPUS_SUPPORT_H
