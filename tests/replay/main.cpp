// replay FILE...: drives the library with recorded vectors and compares what it does.
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <span>
#include <string_view>
#include <vector>

#include "load.h"
#include "navigation.h"
#include "report.h"
#include "storage.h"

namespace {

using cpi::replay::InputError;
using cpi::replay::Json;
using cpi::replay::Report;
using cpi::replay::Watchdog;

constexpr int kDifferent = 1;
constexpr int kUnreadable = 2;
constexpr long kDefaultLimit = 50;
constexpr std::string_view kUsage =
    "usage: replay [--verbose] [--only NAME] [--limit N] FILE...\n"
    "  --verbose    name each vector on stderr before it is replayed\n"
    "  --only NAME  replay the vectors of this name alone\n"
    "  --limit N    print at most N differences a file (default 50); all are counted\n";

struct Options {
  bool isVerbose = false;
  std::string only;
  long limit = kDefaultLimit;
  std::vector<std::string> files;
};

// Throws InputError.
Options parseOptions(std::span<char* const> words) {
  Options options;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string_view word = words[i];
    const bool takesValue = word == "--only" || word == "--limit";
    if (takesValue && ++i == words.size()) throw InputError("expected a value at the end");
    if (word == "--verbose") {
      options.isVerbose = true;
    } else if (word == "--only") {
      options.only = words[i];
    } else if (word == "--limit") {
      options.limit = std::strtol(words[i], nullptr, 10);
    } else if (word.starts_with("--")) {
      throw InputError("expected an option, found " + std::string(word));
    } else {
      options.files.emplace_back(word);
    }
  }
  if (options.files.empty()) throw InputError("expected a file");
  return options;
}

void replayVector(const Json& vector, Report& report) {
  if (vector.contains("dict")) return cpi::replay::replayNavigation(vector, report);
  if (vector.at("kind") == "storage") return cpi::replay::replayStorage(vector, report);
  cpi::replay::replayLoad(vector, report);
}

class FileReplay {
 public:
  FileReplay(const Options& options, const std::string& file, Watchdog& watchdog)
      : options_(options), file_(file), watchdog_(watchdog), report_(std::cout, options.limit) {}

  int run() {
    std::ifstream input(file_);
    if (!input) return unreadable("expected a readable file");
    int worst = 0;
    for (std::string line; std::getline(input, line);) {
      ++line_;
      if (!line.empty()) worst = std::max(worst, replayLine(line));
      watchdog_.stop();  // waiting for input is no fault of a vector
    }
    if (input.bad()) worst = unreadable("expected to read on, met an input error");
    return std::max(worst, summarise());
  }

 private:
  int replayLine(const std::string& line) {
    try {
      const Json vector = cpi::replay::parseLine(line);
      const auto name = vector.at(vector.contains("id") ? "id" : "name").get<std::string>();
      if (!options_.only.empty() && options_.only != name) return 0;
      if (options_.isVerbose) std::cerr << name << std::endl;
      watchdog_.start(name);
      report_.beginVector(name);
      replayVector(vector, report_);
      return 0;
    } catch (const InputError& error) {
      return unreadable(error.what());
    } catch (const Json::exception& error) {
      return unreadable(error.what());
    }
  }
  int unreadable(const char* what) const {
    std::cerr << file_ << ':' << line_ << ": " << what << '\n';
    return kUnreadable;
  }
  int summarise() const {
    const auto& tally = report_.tally();
    if (tally.differences > options_.limit) {
      std::cout << "... and " << tally.differences - options_.limit << " more\n";
    }
    std::cout << file_ << ": " << tally.vectors << " vectors, " << tally.operations
              << " operations, " << tally.differences << " differences" << std::endl;
    return tally.differences == 0 ? 0 : kDifferent;
  }

  const Options& options_;
  const std::string& file_;
  Watchdog& watchdog_;
  Report report_;
  long line_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  try {
    const Options options =
        parseOptions(std::span(argv, static_cast<std::size_t>(argc)).subspan(1));
    Watchdog watchdog;
    int worst = 0;
    for (const std::string& file : options.files) {
      worst = std::max(worst, FileReplay(options, file, watchdog).run());
    }
    return worst;
  } catch (const InputError& error) {
    std::cerr << "replay: " << error.what() << '\n' << kUsage;
    return kUnreadable;
  }
}
