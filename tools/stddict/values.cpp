// stddict values and stddict path: which values a field may have, and what overrides it where.
#include <fmt/core.h>
#include <spdlog/spdlog.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "tools/stddict/definitions.h"
#include "tools/stddict/verbs.h"
#include "tools/stddict/words.h"

namespace {

constexpr const char* kValuesFooter = R"(Examples:
  stddict values order.json currency
  stddict values order.json 12 --json
  stddict values bank.json CountryCode --path 3

The values are those that a reader of the dictionary finds, in order, each with its kind and its
role; those of FIX fields with their description. With --path they are those of a row of Path Based
Info, if it has a set of its own, and the default is the row's.
Exit code: 0 when there are values, 1 when not, 2 when the file cannot be read.)";

constexpr const char* kPathFooter = R"(Examples:
  stddict path bank.json 17 204
  stddict path bank.json Payment CountryCode --json

Lists the rows that override the properties of a field in a message, each with the members of the
path on which it applies. A dictionary does not say where a path ends: listed are the member ids up
to the field, an id that is not above 0, the start of another path or the end of the table.
Exit code: 0 when there are rows, 1 when there are none, 2 when the file cannot be read.)";

struct Options {
  std::string dictionary;
  Query tag;
  std::int32_t overrideRow = cpi::kNone;
  std::string message;
  std::string field;
  bool isJson = false;
  std::uint64_t maxAnswer = AnswerLimit::kDefault;
};

int noSuchTag(const Query& query) {
  fmt::print("nothing found: {}\n", printable(query.text));
  return kExitNo;
}

// --- values --------------------------------------------------------------------------------------

Json valuesFacts(const cpi::StdDictionaryInfo& dictionary, const Options& options) {
  AnswerLimit answer(options.maxAnswer);
  Json list = Json::array();
  for (const std::int32_t row : chooseTags(dictionary, options.tag)) {
    const auto& tag = dictionary.tags().row(row);
    const auto* const override = dictionary.pathBasedInfo().find(options.overrideRow);
    const std::int32_t value = override == nullptr ? tag.DVTableIndex : override->DVIndex;
    answer.add(list, {{"tag", tagReference(dictionary, row)},
                      {"namespace", namespaceFact(dictionary, tag.namespaceIndex)},
                      {"values", valueSetFacts(dictionary, row, options.overrideRow, answer)},
                      {"default", valueFact(dictionary, value)}});
  }
  return list;
}

void printValues(const Json& tag) {
  const Layout layout{Style(), 2, 0};
  const bool isEmpty = tag["values"].empty();
  fmt::print("{} {}{}\n", layout.style.strong("tag " + tag["tag"]["id"].dump()),
             layout.style.strong(tag["tag"]["name"].get<std::string>()),
             isEmpty ? ": no values" : "");
  if (!isEmpty) printFacts({{"values", tag["values"]}, {"default", tag["default"]}}, layout);
}

int runValues(const Options& options) {
  const auto dictionary = openDictionary(options.dictionary);
  if (options.overrideRow >= 0 && !dictionary->pathBasedInfo().contains(options.overrideRow)) {
    spdlog::error("--path {}: Path Based Info has {} rows", options.overrideRow,
                  dictionary->pathBasedInfo().rowCount());
    return kExitTrouble;
  }
  Json list = valuesFacts(*dictionary, options);
  if (list.empty() && !options.isJson) return noSuchTag(options.tag);
  const bool hasValues =
      std::ranges::any_of(list, [](const Json& tag) { return !tag["values"].empty(); });
  if (options.isJson) {
    printJson({{"tags", std::move(list)}});
  } else {
    for (const Json& tag : list) printValues(tag);
  }
  finishOutput();
  return hasValues ? kExitGood : kExitNo;
}

// --- path ----------------------------------------------------------------------------------------

// The id of an argument: a number as it is, else the id of the tag of this name; 0 when there is
// none.
std::int32_t idOf(const cpi::StdDictionaryInfo& dictionary, const std::string& text) {
  std::int32_t id = 0;
  if (readId(text, id)) return id;
  const auto rows = chooseTags(dictionary, {text, {}});
  return rows.empty() ? 0 : dictionary.tags().row(rows.front()).Id;
}

// The rows of Member Path Table at which paths begin, ascending.
std::vector<std::int32_t> pathBegins(const cpi::StdDictionaryInfo& dictionary) {
  std::vector<std::int32_t> begins;
  for (std::int32_t row = 0; row < dictionary.pathBasedInfo().rowCount(); ++row) {
    begins.push_back(dictionary.pathBasedInfo().row(row).MemberPathIndex);
  }
  std::ranges::sort(begins);
  return begins;
}

Json memberReference(const cpi::StdDictionaryInfo& dictionary, std::int32_t memberId) {
  const auto* const member =
      dictionary.typeMembers().find(dictionary.getStructDefIndexFromMbrID(memberId));
  const auto* const tag = member == nullptr ? nullptr : dictionary.tags().find(member->toTagIndex);
  std::string name = member == nullptr ? std::string() : shown(member->PhysicalName);
  if (tag != nullptr) name = shown(comparedName(tag->TextIdentifier));
  return reference(memberId, name);
}

bool isOfTag(const cpi::StdDictionaryInfo& dictionary, std::int32_t memberId, std::int32_t tagId) {
  const auto* const member =
      dictionary.typeMembers().find(dictionary.getStructDefIndexFromMbrID(memberId));
  return member != nullptr && member->ChildTagId == tagId;
}

Json pathFacts(const cpi::StdDictionaryInfo& dictionary, const std::vector<std::int32_t>& begins,
               const cpi::SMD_PATH_BASED_DEFINITION& row, AnswerLimit& answer) {
  const auto next = std::ranges::upper_bound(begins, row.MemberPathIndex);
  const std::int32_t end = next == begins.end() ? dictionary.memberPath().rowCount() : *next;
  Json path = Json::array();
  for (std::int32_t i = row.MemberPathIndex; i < end; ++i) {
    const auto* const step = dictionary.memberPath().find(i);
    if (step == nullptr || step->MemberPathMemberId <= 0) break;
    answer.add(path, memberReference(dictionary, step->MemberPathMemberId));
    if (isOfTag(dictionary, step->MemberPathMemberId, row.EndFieldId)) break;
  }
  return path;
}

Json lengthFact(std::int32_t length) { return length < 0 ? Json() : Json(length); }

Json overridesFacts(const cpi::StdDictionaryInfo& dictionary, std::int32_t messageId,
                    std::int32_t fieldId, AnswerLimit& answer) {
  const std::vector<std::int32_t> begins = pathBegins(dictionary);
  Json list = Json::array();
  for (std::int32_t row = 0; row < dictionary.pathBasedInfo().rowCount(); ++row) {
    const auto& found = dictionary.pathBasedInfo().row(row);
    if (found.MsgId != messageId || found.EndFieldId != fieldId) continue;
    answer.add(list, {{"row", row},
                      {"path", pathFacts(dictionary, begins, found, answer)},
                      {"occurs", range(found.MinOccurs, found.MaxOccurs)},
                      {"minLength", lengthFact(found.MinLength)},
                      {"maxLength", lengthFact(found.MaxLength)},
                      {"nullPermitted", found.NullPermitted != 0},
                      {"values", valueList(dictionary, cpi::kNone, row, answer)},
                      {"default", valueFact(dictionary, found.DVIndex)}});
  }
  return list;
}

int runPath(const Options& options) {
  const auto dictionary = openDictionary(options.dictionary);
  const std::int32_t message = idOf(*dictionary, options.message);
  const std::int32_t field = idOf(*dictionary, options.field);
  const auto nameOf = [&](std::int32_t id) {
    return reference(id, shown(dictionary->getTraceTextForID(id)));
  };
  AnswerLimit answer(options.maxAnswer);
  const Json facts = {{"message", nameOf(message)},
                      {"field", nameOf(field)},
                      {"overrides", overridesFacts(*dictionary, message, field, answer)}};
  const bool isFound = !facts["overrides"].empty();
  if (options.isJson) {
    printJson(facts);
  } else if (isFound) {
    printFacts(facts, {Style(), 0, 0});
  } else {
    fmt::print("nothing overrides {} in {}\n", printable(options.field),
               printable(options.message));
  }
  finishOutput();
  return isFound ? kExitGood : kExitNo;
}

}  // namespace

void addValues(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("values", "List the values that a field may have");
  verb.footer(kValuesFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_option("TAG", options->tag.text, "Name or id of the tag")->required()->type_name("");
  verb.add_option("--namespace", options->tag.namespaceUri, "Namespace of the name; '' for none")
      ->type_name("URI");
  verb.add_option("--path", options->overrideRow, "Row of Path Based Info")
      ->check(CLI::NonNegativeNumber)
      ->type_name("ROW");
  verb.add_flag("--json", options->isJson, "One JSON object");
  addAnswerLimit(verb, options->maxAnswer);
  verb.callback([options, &exitCode] { exitCode = runValues(*options); });
}

void addPath(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("path", "List what overrides a field in a message");
  verb.footer(kPathFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_option("MESSAGE", options->message, "Id or name of the message")
      ->required()
      ->type_name("");
  verb.add_option("FIELD", options->field, "Id or name of the field")->required()->type_name("");
  verb.add_flag("--json", options->isJson, "One JSON object");
  addAnswerLimit(verb, options->maxAnswer);
  verb.callback([options, &exitCode] { exitCode = runPath(*options); });
}
