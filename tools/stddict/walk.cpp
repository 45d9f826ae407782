// stddict walk: where does each element of a message belong?
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "cpi/extract/fileerror.h"
#include "cpi/walk/fixwalker.h"
#include "cpi/walk/walkmodel.h"
#include "cpi/walk/xmlwalker.h"
#include "tools/stddict/terminal.h"
#include "tools/stddict/verbs.h"
#include "tools/stddict/walkreport.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict walk order.json order.xml
  stddict walk order.json inbox/*.xml --quiet
  stddict walk order.json order.xml --json

Each element is listed with its line and column and with what it is:
  root          the outermost element, a global element of the model
  member        a member of the enclosing type
  wildcard      admitted by a wildcard of the enclosing type
  tag-defined   a global element where anything may stand
  self-defined  an element unknown to the model where anything may stand
  REFUSED       the model does not admit it here
  unjudged      inside a refused element of which the model says nothing
then its name, its occurrence [n] from the second one on, and its type. Texts and attributes are
not judged, nor is what is missing. Exit code: 0 when each element of each message has its place,
1 when one has none or occurs too often, 2 when a file cannot be read or is not well-formed.)";

struct Options {
  std::string dictionary;
  std::vector<std::string> messages;
  bool isJson = false;
  bool isQuiet = false;
};

std::unique_ptr<WalkReport> makeReport(const Options& options) {
  return options.isJson ? makeJsonReport(options.isQuiet)
                        : makeTextReport(options.isQuiet, isColourWanted());
}

// Walks a file of messages in the form that the dictionary is for.
using WalkFile = std::function<cpi::WalkSummary(const std::string&, cpi::WalkVisitor*)>;

template <class Model, class Walker>
WalkFile walkFileWith(const cpi::StdDictionaryInfo& dictionary) {
  const auto model = std::make_shared<const Model>(dictionary);
  const auto walker = std::make_shared<Walker>(*model);
  return [model, walker](const std::string& file, cpi::WalkVisitor* visitor) {
    return walker->walkFile(file, visitor);
  };
}

WalkFile makeWalkFile(const cpi::StdDictionaryInfo& dictionary) {
  return cpi::FixModel::isFix(dictionary)
             ? walkFileWith<cpi::FixModel, cpi::FixWalker>(dictionary)
             : walkFileWith<cpi::WalkModel, cpi::XmlWalker>(dictionary);
}

// A message that cannot be read does not keep the others from being walked.
int walkOne(const WalkFile& walkFile, const std::string& message, WalkReport& report) {
  try {
    report.begin(message);
    const cpi::WalkSummary summary = walkFile(message, &report);
    report.end(summary);
    return summary.isAllPlaced() ? kExitGood : kExitNo;
  } catch (const cpi::FileError& error) {
    std::fflush(stdout);
    spdlog::error("{}", error.what());
    return kExitTrouble;
  }
}

int run(const Options& options) {
  const auto dictionary = openDictionary(options.dictionary);
  const WalkFile walkFile = makeWalkFile(*dictionary);
  const std::unique_ptr<WalkReport> report = makeReport(options);
  // Lines on the terminal tell by themselves how far it is.
  std::optional<Progress> progress;
  if (::isatty(STDOUT_FILENO) == 0) progress.emplace("walking messages");
  int exitCode = kExitGood;
  for (std::size_t i = 0; i < options.messages.size(); ++i) {
    exitCode = std::max(exitCode, walkOne(walkFile, options.messages[i], *report));
    const auto count = static_cast<double>(options.messages.size());
    if (progress && count > 1) progress->setDone(static_cast<double>(i + 1) / count);
  }
  finishOutput();
  return exitCode;
}

}  // namespace

void addWalk(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("walk", "Walk XML messages along a dictionary");
  verb.footer(kFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_option("MESSAGE", options->messages, "XML messages")->required()->type_name("FILE");
  verb.add_flag("--json", options->isJson, "One JSON object per element and per message");
  verb.add_flag("--quiet", options->isQuiet, "Summaries only");
  verb.callback([options, &exitCode] { exitCode = run(*options); });
}
