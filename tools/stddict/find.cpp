// stddict find: everything known of a tag, a type or a member.
#include <fmt/core.h>

#include <algorithm>
#include <optional>

#include "tools/stddict/definitions.h"
#include "tools/stddict/verbs.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict find order.json article
  stddict find order.json 7
  stddict find order.json Article --type
  stddict find order.json note --namespace urn:example:order --json

A number is looked up as the id of a tag, a type and a member, a name (or a number that is no id) as
the name of each. Element names are compared with the whole name of a tag and with what follows '^'
in it, since tags of local elements are named like l5^street. With each definition stands where it
is used; members that bear the name of their tag are listed there and not by themselves. Exit code: 0 when something was found, 1 when not, 2 when the file cannot be read.)";

struct Options {
  std::string dictionary;
  Query query;
  bool isTypeOnly = false;
  bool isJson = false;
  bool isAll = false;
  std::uint64_t maxAnswer = AnswerLimit::kDefault;
};

// Matches that are shown, unless all are asked for.
constexpr std::size_t kMatchLimit = 20;
constexpr std::size_t kJsonMatchLimit = 1'000;

using Rows = std::vector<std::int32_t>;

class Finder {
 public:
  Finder(const Options& options, const cpi::StdDictionaryInfo& dictionary)
      : options_(options),
        dictionary_(dictionary),
        usage_(dictionary),
        answer_(options.maxAnswer) {}

  int run() {
    if (!options_.isTypeOnly) add("tag", findTags(dictionary_, options_.query), tagFacts);
    add("type", findTypes(dictionary_, options_.query), typeFacts);
    if (!options_.isTypeOnly) add("member", findMembers(dictionary_, options_.query), memberFacts);
    if (options_.isJson) {
      printJson(facts_);
    } else if (count_ == 0) {
      fmt::print("nothing found: {}\n", printable(options_.query.text));
    }
    return count_ == 0 ? kExitNo : kExitGood;
  }

 private:
  template <class FactsOf>
  void add(const std::string& kind, const Rows& rows, FactsOf factsOf) {
    count_ += rows.size();
    const std::size_t limit = options_.isAll    ? rows.size()
                              : options_.isJson ? kJsonMatchLimit
                                                : kMatchLimit;
    const std::size_t shown = std::min(rows.size(), limit);
    Json list = Json::array();
    for (std::size_t i = 0; i < shown; ++i) {
      Json facts = factsOf(dictionary_, usage_, rows[i], answer_);
      answer_.take(facts);
      if (!options_.isJson) print(kind, facts);
      if (options_.isJson) list.push_back(std::move(facts));
    }
    facts_[kind + "Count"] = rows.size();
    facts_[kind + "s"] = std::move(list);
    if (!options_.isJson && shown < rows.size()) {
      fmt::print("{}s: {} more (--all shows them)\n\n", kind, rows.size() - shown);
    }
  }

  void print(const std::string& kind, const Json& facts) const {
    const Layout layout{Style(), 2, options_.isAll ? 0 : Layout().limit};
    const std::string name = facts["name"].is_null() ? "" : " " + facts["name"].get<std::string>();
    fmt::print("{}\n", layout.style.strong(fmt::format("{} {}{}", kind, facts["id"].dump(), name)));
    Json rest = facts;
    rest.erase("id");
    rest.erase("name");
    printFacts(rest, layout);
    fmt::print("\n");
  }

  const Options& options_;
  const cpi::StdDictionaryInfo& dictionary_;
  const Usage usage_;
  AnswerLimit answer_;
  Json facts_;
  std::size_t count_ = 0;
};

int run(const Options& options) {
  const auto dictionary = openDictionary(options.dictionary);
  const int exitCode = Finder(options, *dictionary).run();
  finishOutput();
  return exitCode;
}

}  // namespace

void addFind(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("find", "Tell what is known of a name or an id");
  verb.footer(kFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_option("NAME|ID", options->query.text, "What to look for")->required()->type_name("");
  verb.add_option("--namespace", options->query.namespaceUri,
                  "Only names of this namespace; '' for those of none")
      ->type_name("URI");
  verb.add_flag("--type", options->isTypeOnly, "Types only");
  verb.add_flag("--all", options->isAll, "All matches, and all entries of long lists");
  verb.add_flag("--json", options->isJson, "One JSON object, with up to 1000 matches of a kind");
  addAnswerLimit(verb, options->maxAnswer);
  verb.callback([options, &exitCode] { exitCode = run(*options); });
}
