// The shared corpus: which messages there are, what is wrong with them, and their schemas compiled.
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

#include "cpi/compile/xsdcompiler.h"

namespace cpi::test {

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

// The lines behind the column names, by the value of their first column, each with `count` columns.
inline std::map<std::string, std::vector<std::vector<std::string>>> readIndex(
    const std::filesystem::path& file, std::size_t count) {
  std::map<std::string, std::vector<std::vector<std::string>>> lines;
  std::ifstream stream(file);
  std::string line;
  std::getline(stream, line);
  while (std::getline(stream, line)) {
    std::vector<std::string> columns = splitText(line, '\t');
    columns.resize(count);
    lines[columns[0]].push_back(std::move(columns));
  }
  return lines;
}

inline MessagesOfSchema readCorpusIndex(const std::filesystem::path& file) {
  MessagesOfSchema messages;
  for (const auto& [schema, lines] : readIndex(file, 4)) {
    for (const auto& columns : lines) {
      const std::vector<std::string> faults = splitText(columns[3], ',');
      messages[schema].push_back({columns[1], columns[2], {faults.begin(), faults.end()}});
    }
  }
  return messages;
}

inline DictionaryTables compileOfCorpus(const std::filesystem::path& schema) {
  XsdReport report;
  return compileXsd({schema}, {.catalog = corpusFolder() / "catalog.xml"}, report);
}

}  // namespace cpi::test

#endif  // TESTS_MODELS_CORPUS_SUPPORT_H
