// stddict check: is a dictionary sound?
#include <fmt/core.h>

#include <vector>

#include "cpi/extract/dictionarycheck.h"
#include "tools/stddict/facts.h"
#include "tools/stddict/verbs.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict check order.json
  stddict check order.json --limit 0
  stddict check order.json --json

Checks the orders, ids, indexes and codes of all tables, and each fault is a line:
  Tags row 3, ToTypeIndexField: found 99; expected a row of Types (0 to 41) or -1
Exit code: 0 when there are no faults, 1 when there are, 2 when the file cannot be read.)";

struct Options {
  std::string dictionary;
  std::int64_t limit = 100;
  bool isJson = false;
};

Json toJson(const cpi::DictionaryFault& fault) {
  return {{"table", cpi::tableName(fault.table)},
          {"row", fault.row},
          {"column", fault.column},
          {"found", fault.found},
          {"expected", fault.expected}};
}

void printAsJson(const std::vector<cpi::DictionaryFault>& faults, std::int64_t count) {
  Json list = Json::array();
  for (const cpi::DictionaryFault& fault : faults) list.push_back(toJson(fault));
  printJson({{"faultCount", count}, {"faults", std::move(list)}});
}

void printAsText(const std::vector<cpi::DictionaryFault>& faults, std::int64_t count) {
  for (const cpi::DictionaryFault& fault : faults) fmt::print("{}\n", cpi::lineOf(fault));
  const std::int64_t more = count - static_cast<std::int64_t>(faults.size());
  if (more > 0) fmt::print("... and {} more (--limit 0 shows all)\n", more);
  fmt::print("{} fault{}\n", count == 0 ? "no" : std::to_string(count), count == 1 ? "" : "s");
}

std::int64_t check(const Options& options, const cpi::StdDictionaryInfo& dictionary,
                   std::vector<cpi::DictionaryFault>& faults) {
  const Progress progress("checking " + options.dictionary);
  return cpi::checkDictionary(dictionary, [&](const cpi::DictionaryFault& fault) {
    const auto count = static_cast<std::int64_t>(faults.size());
    if (options.limit == 0 || count < options.limit) faults.push_back(fault);
  });
}

int run(const Options& options) {
  const auto dictionary = openDictionary(options.dictionary);
  std::vector<cpi::DictionaryFault> faults;
  const std::int64_t count = check(options, *dictionary, faults);
  if (options.isJson) {
    printAsJson(faults, count);
  } else {
    printAsText(faults, count);
  }
  finishOutput();
  return count == 0 ? kExitGood : kExitNo;
}

}  // namespace

void addCheck(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("check", "Check the orders and references of a dictionary");
  verb.footer(kFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_option("--limit", options->limit, "Faults to show; 0: all")
      ->check(CLI::NonNegativeNumber)
      ->capture_default_str()
      ->type_name("N");
  verb.add_flag("--json", options->isJson, "One JSON object");
  verb.callback([options, &exitCode] { exitCode = run(*options); });
}
