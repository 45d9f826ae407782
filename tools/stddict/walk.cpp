// stddict walk: where does each element of a message belong, and is the message right?
#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "cpi/walk/fixwalker.h"
#include "cpi/walk/walkmodel.h"
#include "cpi/walk/xmlwalker.h"
#include "tools/stddict/terminal.h"
#include "tools/stddict/verbs.h"
#include "tools/stddict/walkbulk.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict walk order.json order.xml
  stddict walk order.json inbox --check --jobs 4
  stddict walk order.json order.xml --check --sarif >findings.sarif
  stddict walk order.json - --check --jsonl <messages-one-a-line
  stddict walk fix44.json session.log --check

Each element is listed with its line and column and with what it is:
  root          the outermost element, a global element of the model
  member        a member of the enclosing type
  wildcard      admitted by a wildcard of the enclosing type
  tag-defined   a global element where anything may stand
  self-defined  an element unknown to the model where anything may stand
  REFUSED       the model does not admit it here
  unjudged      inside a refused element of which the model says nothing
then its name, its occurrence [n] from the second one on, its type, and what is wrong with it.
With --check the message must be right as a whole, and what is listed are its faults: also what is
missing or stands too early, values, and text where none may be.
MESSAGE is a file, a folder, or - for messages on standard input: one a line, or with --framing
netstring each as LENGTH:BYTES, (the comma belongs to it). With a dictionary of FIX messages a file
holds any number of them, their fields ended by 0x01, '|' or ^A, also behind other text in a line;
each has a report of its own, as FILE#NUMBER.
Exit code: 0 when all messages are accepted, 1 when one is not, 2 when one cannot be read or is not
well-formed.)";

struct Options {
  std::string dictionary;
  std::vector<std::string> messages;
  bool isJson = false;
  bool isLines = false;
  bool isSarif = false;
  ReportOptions report;
  BulkOptions bulk;
  MessageSource::Options source;
};

ReportForm formOf(const Options& options) {
  if (options.isLines) return ReportForm::Lines;
  if (options.isSarif) return ReportForm::Sarif;
  return options.isJson ? ReportForm::Json : ReportForm::Text;
}

MakeWalk makeXmlWalk(const cpi::StdDictionaryInfo& dictionary, cpi::WalkOptions options) {
  const auto model = std::make_shared<const cpi::WalkModel>(dictionary);
  return [model, options]() -> WalkMessage {
    const auto walker = std::make_shared<cpi::XmlWalker>(*model, options);
    return [model, walker](const Message& message, cpi::WalkVisitor* visitor) {
      return message.isFile ? walker->walkFile(message.name, visitor)
                            : walker->walkText(message.bytes, message.name, visitor);
    };
  };
}

MakeWalk makeFixWalk(const cpi::FixModel& model, cpi::WalkOptions options) {
  return [&model, options]() -> WalkMessage {
    const auto walker = std::make_shared<cpi::FixWalker>(model, options);
    return [walker](const Message& message, cpi::WalkVisitor* visitor) {
      return walker->walkText(message.bytes, message.name, visitor, message.start);
    };
  };
}

// A list of elements is written while the message is read, so one thread has to do it.
int jobsOf(const Options& options) {
  if (options.report.hasElements()) return 1;
  if (options.bulk.jobs > 0) return options.bulk.jobs;
  return static_cast<int>(std::max(std::thread::hardware_concurrency(), 1U));
}

int run(Options options) {
  options.report.form = formOf(options);
  options.report.isColoured = isColourWanted();
  options.bulk.jobs = jobsOf(options);
  const auto dictionary = openDictionary(options.dictionary);
  std::optional<cpi::FixModel> fixModel;
  if (cpi::FixModel::isFix(*dictionary)) options.source.fixModel = &fixModel.emplace(*dictionary);
  MessageSource source(options.messages, options.source);
  const cpi::WalkOptions walking = {.isChecking = options.report.isChecking};
  const MakeWalk makeWalk =
      fixModel ? makeFixWalk(*fixModel, walking) : makeXmlWalk(*dictionary, walking);
  return walkAll(source, makeWalk, options.report, options.bulk, *dictionary);
}

void addForms(CLI::App& verb, Options& options) {
  CLI::Option* const json =
      verb.add_flag("--json", options.isJson, "One JSON object per element and per message");
  CLI::Option* const lines =
      verb.add_flag("--jsonl", options.isLines, "One JSON object per message, with its faults");
  CLI::Option* const sarif =
      verb.add_flag("--sarif", options.isSarif, "One SARIF 2.1.0 log of all faults")
          ->excludes(json)
          ->excludes(lines);
  lines->excludes(json);
  verb.add_flag("--quiet", options.report.isQuiet,
                "Summaries only; --jsonl and --sarif have all faults");
  verb.add_flag("--summary", options.bulk.hasSummary, "At the end, the verdicts of each path")
      ->excludes(sarif);
}

void addBulk(CLI::App& verb, Options& options) {
  constexpr int kMaxJobs = 1024;
  const std::map<std::string, Framing> framings = {{"line", Framing::Line},
                                                   {"netstring", Framing::Netstring}};
  verb.add_option("--jobs", options.bulk.jobs, "Threads; 0: as many as there are processors")
      ->check(CLI::Range(0, kMaxJobs))
      ->capture_default_str();
  verb.add_option("--framing", options.source.framing, "Of standard input: line or netstring")
      ->transform(CLI::CheckedTransformer(framings))
      ->type_name("HOW");
  verb.add_option("--max-message", options.source.maxMessage,
                  "Longest message taken from standard input, in bytes")
      ->capture_default_str();
}

}  // namespace

void addWalk(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("walk", "Walk messages along a dictionary, or check them");
  verb.footer(kFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_option("MESSAGE", options->messages, "Files, folders, or - for standard input")
      ->required()
      ->type_name("PATH");
  verb.add_flag("--check", options->report.isChecking, "Judge each message as a whole");
  addForms(verb, *options);
  addBulk(verb, *options);
  verb.callback([options, &exitCode] { exitCode = run(*options); });
}
