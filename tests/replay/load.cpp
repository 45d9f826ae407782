#include "load.h"

#include <algorithm>

#include "tables.h"

namespace cpi::replay {
namespace {

// Rows up to which a dictionary that has no defined contents is read through.
constexpr std::int64_t kReadableRows = 100000;

// A dictionary that can leave out the named properties, whose listing vectors do not hold.
class ReplayDictionary final : public StdDictionaryInfo {
 public:
  explicit ReplayDictionary(bool listsProperties)
      : StdDictionaryInfo(0), listsProperties_(listsProperties) {}

  void DumpTableProperties(std::FILE* stream, const DictTableRefBase& table) const override {
    if (listsProperties_) StdDictionaryInfo::DumpTableProperties(stream, table);
  }

 private:
  bool listsProperties_;
};

struct EventError {
  std::size_t event;
  CaughtError error;
};

Json errorList(const std::vector<EventError>& errors) {
  Json list = Json::array();
  for (const EventError& entry : errors) {
    Json error = errorJson(entry.error);
    error["event"] = entry.event;
    list.push_back(std::move(error));
  }
  return list;
}

Json expectedErrors(const Json& expect) {
  Json list = Json::array();
  const auto add = [&](const Json& error) {
    list.push_back(expectedError(error));
    list.back()["event"] = error.at("event");
  };
  if (const auto all = expect.find("errors"); all != expect.end()) {
    for (const Json& error : *all) add(error);
  } else if (const auto first = expect.find("error"); first != expect.end() && !first->is_null()) {
    add(*first);
  }
  return list;
}

Json plainItems(const Json& items) {
  Json plain = Json::array();
  for (const Json& item : items) plain.push_back(plainInserts(item));
  return plain;
}

bool has(const Json& list, const char* text) {
  return list.is_array() && std::find(list.begin(), list.end(), text) != list.end();
}

// A name that is too long may be stored whole or cut.
bool isCutAlike(const Json& a, const Json& b) {
  constexpr std::size_t kKept = kFixedTextUnits - 1;
  return a.is_string() && b.is_string() &&
         toUnits(a).substr(0, kKept) == toUnits(b).substr(0, kKept);
}

std::string shortForm(const Json& query) {
  constexpr std::size_t kLength = 100;
  const std::string text = printable(query);
  return text.size() <= kLength ? text : text.substr(0, kLength) + "...";
}

class LoadReplay {
 public:
  LoadReplay(const Json& vector, Report& report)
      : vector_(vector),
        expect_(vector.at("expect")),
        report_(report),
        dictionary_(!has(vector.value("dump_choices", Json::array()), "named-properties")) {}

  void run() {
    feed();
    if (expect_.value("implementation_defined", false)) return checkUndefined();
    report_.beginPhase("events");
    const Json expected = expectedErrors(expect_);
    const Json got = errorList(errors_);
    if (isAcceptedRefusal(expected, got)) return checkReadable();
    if (!report_.same("errors", expected, got)) return;
    compareState();
    askAll();
    if (vector_.contains("dump")) compareDump(dictionary_, vector_, report_);
  }

 private:
  void feed() {
    const bool goesOn = vector_.at("on_error") == "continue";
    const Json& events = vector_.at("events");
    LogCapture log(LLDebug);
    for (std::size_t i = 0; i < events.size(); ++i) {
      report_.beginOperation(i, "event");
      const Attempt made = attempt([&] {
        performEvent(dictionary_, events[i]);
        return Json();
      });
      if (made.error) errors_.push_back({i, *made.error});
      if (made.error && !goesOn) break;
    }
    warnings_ = log.items(LogKind::DebugTrace);
    traces_ = log.items(LogKind::Trace);
  }

  // Where the vector leaves a choice, a refusal that it does not expect is as right.
  bool isAcceptedRefusal(const Json& expected, const Json& got) const {
    if (expect_.value("choices", Json::array()).empty()) return false;
    for (std::size_t i = 0; i < got.size(); ++i) {
      if (i < expected.size() && expected[i] == got[i]) continue;
      return errors_[i].error.isRefusal();
    }
    return false;
  }

  void checkUndefined() {
    report_.beginPhase("events");
    const auto event = expect_.at("event").get<std::size_t>();
    const auto isBefore = [&](const EventError& entry) { return entry.event < event; };
    const auto first = std::find_if_not(errors_.begin(), errors_.end(), isBefore);
    report_.same("errors", expectedErrors(expect_), errorList({errors_.begin(), first}));
    for (auto entry = first; entry != errors_.end(); ++entry) {
      if (!isAllowedRefusal(*entry, entry->event == event)) {
        report_.difference("event " + std::to_string(entry->event),
                           "a refusal with CP_DICTIONARY_ERROR or none",
                           printable(errorJson(entry->error)));
      }
    }
    checkReadable();
  }
  // Later events may meet the level checks too, which have a number of their own.
  static bool isAllowedRefusal(const EventError& entry, bool isFirst) {
    const bool isLevel = entry.error.type == "KelConfigurationException" &&
                         entry.error.number == CP_INCOMPATIBLE_DICTIONARY.number;
    return entry.error.isRefusal() || (!isFirst && isLevel);
  }

  // Whatever was loaded can be read through.
  void checkReadable() {
    if (rowsOfLargeTables() > kReadableRows) return;
    report_.beginPhase("reading");
    const Attempt read = attempt([&] {
      tablesJson(dictionary_);
      namedPropertiesJson(dictionary_);
      std::optional<CaughtError> error;
      dumpText(dictionary_, error);
      if (error && error->isForeign) report_.difference("dump", "a report", error->type);
      return Json();
    });
    if (read.error) report_.difference("error", "none", printable(errorJson(*read.error)));
  }
  std::int64_t rowsOfLargeTables() const {
    return std::int64_t{dictionary_.types().rowCount()} + dictionary_.pathBasedInfo().rowCount() +
           dictionary_.memberPath().rowCount() + dictionary_.valueSet().rowCount() +
           dictionary_.values().rowCount() + dictionary_.memberIdIndex().rowCount() +
           dictionary_.namespaces().rowCount();
  }

  void compareState() {
    report_.same("tables", expectedTables(expect_.at("tables")), tablesJson(dictionary_));
    compareSetId();
    report_.same("formatID", expect_.at("formatID"), fromText(dictionary_.formatID));
    report_.same("handler", expect_.at("handler"), dictionary_.isLoading());
    report_.same("namedProperties", expect_.at("namedProperties"),
                 namedPropertiesJson(dictionary_));
    const Json& columns = expect_.value("textColumns", Json::object());
    report_.same("textColumns", columns, textColumnsJson(dictionary_, columns));
    report_.same("warnings", plainItems(expect_.at("warnings")), warnings_);
    report_.same("traces", plainItems(expect_.at("traces")), traces_);
  }
  void compareSetId() {
    const Json& expected = expect_.at("msgSetID");
    const Json got = fromText(dictionary_.msgSetID);
    const bool isChoice = !expect_.value("choices", Json::array()).empty();
    if (isChoice && isCutAlike(expected, got)) return;
    report_.same("msgSetID", expected, got);
  }

  void askAll() {
    const Json& queries = vector_.value("queries", Json::array());
    const Json& answers = vector_.value("answers", Json::array());
    if (queries.size() != answers.size()) throw InputError("expected one answer a query");
    for (std::size_t i = 0; i < queries.size(); ++i) {
      report_.beginOperation(i, "query " + shortForm(queries[i]));
      report_.same("answer", expectedAnswer(answers[i]),
                   askQuery(dictionary_, queries[i], answers[i]));
    }
  }

  const Json& vector_;
  const Json& expect_;
  Report& report_;
  ReplayDictionary dictionary_;
  std::vector<EventError> errors_;
  Json warnings_;
  Json traces_;
};

}  // namespace

void replayLoad(const Json& vector, Report& report) { LoadReplay(vector, report).run(); }

}  // namespace cpi::replay
