#include "navigation.h"

#include "feed.h"
#include "tables.h"

namespace cpi::replay {
namespace {

constexpr std::chrono::seconds kTimeLimit{1};

// Traces of a throw name a line of the source, which vectors leave out.
Json tracesWithoutLines(const LogCapture& log) {
  constexpr std::size_t kLinePlace = 2;
  Json traces = log.items(LogKind::Trace);
  for (Json& trace : traces) {
    if (trace.front() == "Throwing exception" && trace.size() > kLinePlace) trace.erase(kLinePlace);
  }
  return traces;
}

Json plainTraces(const Json& traces) {
  Json plain = Json::array();
  for (const Json& trace : traces) plain.push_back(plainInserts(trace));
  return plain;
}

Json withoutName(Json error) {
  if (!error.is_object()) return error;
  error.erase("name");
  error["inserts"] = plainInserts(error.at("inserts"));
  return error;
}

Json expectedQueries(Json queries) {
  for (auto& [name, answer] : queries.items()) {
    const bool isError = answer.is_object() && answer.contains("error");
    if (isError) answer["error"] = withoutName(answer["error"]);
  }
  return queries;
}

Json stackJson(const ReplayIterator& iterator) {
  Json stack = Json::array();
  for (const DictionaryPosition& at : iterator.positionStack) {
    stack.push_back(Json::array({at.memberIndex, at.tagIndex, at.typeIndex, at.pathBasedInfoIndex,
                                 at.repeatIndex, static_cast<std::int32_t>(at.nodeType)}));
  }
  return stack;
}

class NavigationReplay {
 public:
  explicit NavigationReplay(Report& report) : report_(report), dictionary_(0) {}

  void run(const Json& vector) {
    const Json& operations = vector.at("ops");
    const Json& outcomes = vector.at("expect");
    if (operations.size() != outcomes.size()) throw InputError("expected one outcome an operation");
    if (!prepare(vector.at("dict"))) return;
    for (std::size_t i = 0; i < operations.size(); ++i) {
      report_.beginOperation(i, operations[i].at(0).get<std::string>());
      perform(operations[i], outcomes[i]);
    }
  }

 private:
  bool prepare(const Json& tables) {
    report_.beginPhase("load");
    const Attempt loaded = attempt([&] {
      feedTables(tables, dictionary_);
      return Json();
    });
    if (!withoutError(loaded)) return false;
    checkTables(tables);
    report_.beginPhase("start");
    return withoutError(attempt([&] {
      session_.dictionary = &dictionary_;
      session_.iterator = std::make_unique<ReplayIterator>(nullptr, &dictionary_, 0);
      session_.spare = std::make_unique<ReplayIterator>(nullptr, &dictionary_, 0);
      return Json();
    }));
  }
  bool withoutError(const Attempt& made) {
    return report_.same("error", nullptr, made.error ? errorJson(*made.error) : Json());
  }

  // The library must hold the fields that the vector gives. Values are left to the load vectors.
  void checkTables(const Json& tables) {
    const Json loaded = tablesJson(dictionary_);
    for (const auto& [name, rows] : tables.items()) {
      if (name == "Values") continue;
      if (!loaded.contains(name)) throw InputError("expected a table name, found " + name);
      for (std::size_t i = 0; i < rows.size(); ++i) checkRow(name, i, rows[i], loaded[name]);
    }
  }
  void checkRow(const std::string& table, std::size_t index, const Json& given,
                const Json& loaded) {
    const std::string place = table + "[" + std::to_string(index) + "]";
    if (index >= loaded.size()) return report_.difference(place, printable(given), "(no row)");
    for (const auto& [field, value] : given.items()) {
      const auto found = loaded[index].find(field);
      if (found == loaded[index].end()) {
        throw InputError("expected a field of " + place + ", found " + field);
      }
      if (!report_.same(place + "." + field, value, *found)) return;
    }
  }

  void perform(const Json& operation, const Json& expected) {
    std::optional<LogCapture> log(std::in_place, LLTrace);
    const Attempt made = attempt([&] { return performOperation(session_, operation); });
    const Json traces = tracesWithoutLines(*log);
    log.reset();
    if (expected.contains("nonTermination") || expected.contains("outOfTable")) {
      return checkHarmless(made);
    }
    if (made.threwForeign()) {
      return report_.difference("error", printable(expected.at("error")), made.error->type);
    }
    const bool isConstruction = operation.at(0).get_ref<const std::string&>().starts_with("new");
    const Json error =
        navigationError(made.error, isConstruction ? nullptr : session_.iterator.get());
    const bool same = report_.same("error", withoutName(expected.at("error")), error) &&
                      report_.same("result", expected.at("result"), made.result);
    if (!same || !expected.value("exact", true)) {
      if (same) report_.same("traces", plainTraces(expected.at("traces")), traces);
      return;
    }
    compareState(expected, traces);
  }
  void checkHarmless(const Attempt& made) {
    if (made.threwForeign()) report_.difference("error", "the library's own", made.error->type);
    if (made.duration > kTimeLimit) {
      const auto taken = std::chrono::duration_cast<std::chrono::milliseconds>(made.duration);
      report_.difference("time", "1000 ms at most", std::to_string(taken.count()) + " ms");
    }
  }
  void compareState(const Json& expected, const Json& traces) {
    const ReplayIterator& iterator = *session_.iterator;
    const bool same = report_.same("stack", expected.at("stack"), stackJson(iterator)) &&
                      report_.same("saved", expected.at("saved"), iterator.positionStackSaved) &&
                      report_.same("traces", plainTraces(expected.at("traces")), traces);
    if (!same || expected.at("queries").is_null()) return;
    const Json queries = expectedQueries(expected.at("queries"));
    report_.same("queries", queries, askQueries(iterator, dictionary_, queries));
  }

  Report& report_;
  StdDictionaryInfo dictionary_;
  NavigationSession session_{};
};

}  // namespace

Json navigationError(const std::optional<CaughtError>& error, const ReplayIterator* iterator) {
  if (!error) return nullptr;
  if (error->type != "KelParserException") return errorJson(*error);
  const bool isIterators =
      error->source != nullptr && (iterator == nullptr || error->source == iterator);
  return {{"number", error->number},   {"text", error->message},
          {"inserts", error->inserts}, {"operation", error->operation},
          {"source", error->file},     {"iteratorSource", isIterators}};
}

void replayNavigation(const Json& vector, Report& report) { NavigationReplay(report).run(vector); }

}  // namespace cpi::replay
