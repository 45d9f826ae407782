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

// Shows faults as far as the limit goes.
class Faults {
 public:
  explicit Faults(const Options& options) : options_(options) {}

  void add(const cpi::DictionaryFault& fault) {
    if (options_.limit != 0 && ++shown_ > options_.limit) return;
    if (options_.isJson) {
      list_.push_back(toJson(fault));
    } else {
      fmt::print("{}\n", cpi::lineOf(fault));
    }
  }

  void finish(std::int64_t count) const {
    if (options_.isJson) {
      printJson({{"faultCount", count}, {"faults", list_}});
    } else if (count == 0) {
      fmt::print("no faults\n");
    } else {
      const std::int64_t more = options_.limit == 0 ? 0 : std::max<std::int64_t>(count - options_.limit, 0);
      if (more > 0) fmt::print("... and {} more (--limit 0 shows all)\n", more);
      fmt::print("{} fault{}\n", count, count == 1 ? "" : "s");
    }
  }

 private:
  const Options& options_;
  std::int64_t shown_ = 0;
  Json list_ = Json::array();
};

int run(const Options& options) {
  const auto dictionary = openDictionary(options.dictionary);
  Faults faults(options);
  std::int64_t count = 0;
  {
    const Progress progress("checking " + options.dictionary);
    count = cpi::checkDictionary(
        *dictionary, [&](const cpi::DictionaryFault& fault) { faults.add(fault); });
  }
  faults.finish(count);
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
