// stddict shell: a console over the dictionary and its iterators.
#include <fmt/core.h>
#include <unistd.h>

#include <cstdio>
#include <iostream>
#include <memory>
#include <string>

#include "cpi/extract/fileerror.h"
#include "tools/stddict/shellprint.h"
#include "tools/stddict/shellsession.h"
#include "tools/stddict/verbs.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict shell order.json
  stddict shell order.json < session.txt
  echo 'getTagDefIndexFromName order' | stddict shell order.json --json

Each line is an operation by its name, with its arguments behind it:
  getTagDefinition 3
  newName order urn:example:order
  moveToFirstChildTagName "placed" urn:example:order true false
`help` lists them all, `quit` ends. What begins with # is a comment. A line that cannot be done is
reported and the session goes on. Exit code: 0 at the end of the input, 1 with --strict when a line
had an error, 2 when the dictionary cannot be read.)";

struct Options {
  std::string dictionary;
  bool isJson = false;
  bool isStrict = false;
};

class Console {
 public:
  Console(const cpi::StdDictionaryInfo& dictionary, bool isJson)
      : session_(dictionary), isJson_(isJson), isTerminal_(::isatty(STDIN_FILENO) != 0) {}

  // Reads to the end of the input or `quit`; whether every line could be done.
  bool run() {
    if (isPrompted()) greet();
    std::string line;
    bool isAllDone = true;
    for (std::size_t number = 1; isReady() && shell::readLine(std::cin, line); ++number) {
      const auto outcome = shell::performLine(session_, number, line);
      if (!outcome) continue;
      report(line, *outcome);
      isAllDone = isAllDone && !outcome->failure;
    }
    if (isPrompted() && !session_.isEnded) fmt::print("\n");
    return isAllDone;
  }

 private:
  bool isPrompted() const { return isTerminal_ && !isJson_; }

  void greet() const {
    fmt::print("{} tags, {} types, {} members. `help` lists the operations, `quit` ends.\n",
               session_.dictionary.tags().rowCount(), session_.dictionary.types().rowCount(),
               session_.dictionary.typeMembers().rowCount());
  }

  // Prompts, and hands out what there is: a script may wait for each answer.
  bool isReady() const {
    if (session_.isEnded) return false;
    if (isPrompted()) fmt::print("> ");
    return std::fflush(stdout) == 0;
  }

  // Where nobody typed the line it is repeated, so that the output can be read by itself.
  void report(const std::string& line, const shell::LineOutcome& outcome) const {
    if (!isJson_ && !isTerminal_) fmt::print("> {}\n", shell::printable(line));
    fmt::print("{}", isJson_ ? shell::jsonReport(outcome)
                             : shell::textReport(outcome, session_.dictionary));
  }

  shell::Session session_;
  bool isJson_;
  bool isTerminal_;
};

int run(const Options& options) {
  const std::unique_ptr<const cpi::StdDictionaryInfo> dictionary =
      openDictionary(options.dictionary);
  const bool isAllDone = Console(*dictionary, options.isJson).run();
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw cpi::FileError("standard output", {}, "cannot be written");
  }
  return isAllDone || !options.isStrict ? kExitGood : kExitNo;
}

}  // namespace

void addShell(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("shell", "Ask a dictionary and walk it, line by line");
  verb.footer(kFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_flag("--json", options->isJson, "One JSON object per line that was done");
  verb.add_flag("--strict", options->isStrict, "Exit code 1 when a line had an error");
  verb.callback([options, &exitCode] { exitCode = run(*options); });
}
