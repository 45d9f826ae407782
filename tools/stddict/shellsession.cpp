#include "tools/stddict/shellsession.h"

#include <fmt/core.h>

#include <exception>
#include <new>
#include <ranges>

#include "cpi/runtime/kelexception.h"
#include "tools/stddict/shellarguments.h"

namespace shell {

namespace {

// Collects the trace items that are written while it lives.
class TraceCapture final : public cpi::KelLogSink {
 public:
  TraceCapture() { cpi::KelLog::install(this, cpi::LLTrace); }
  TraceCapture(const TraceCapture&) = delete;
  TraceCapture& operator=(const TraceCapture&) = delete;
  ~TraceCapture() override { cpi::KelLog::install(nullptr, cpi::LLOff); }

  void write(const cpi::KelLogItem& item) override {
    Json inserts = Json::array();
    for (const cpi::KelInsert& insert : item.inserts) inserts.push_back(insert.text());
    items_.push_back({{"source", item.source == nullptr ? cpi::KelLog::iDefaultLogSource
                                                        : item.source->logSourceName()},
                      {"operation", std::string(item.operation)},
                      {"text", std::string(item.text)},
                      {"inserts", inserts}});
  }

  const Json& items() const { return items_; }

 private:
  Json items_ = Json::array();
};

// The names of the parameters that are, or are not, out-parameters.
std::vector<std::string_view> namesOf(const Operation& operation, bool isOut) {
  std::vector<std::string_view> names;
  std::size_t at = 0;
  for (const Kind kind : operation.call.kinds) {
    const std::size_t end = operation.parameters.find(' ', at);
    if ((kind == Kind::Out) == isOut) names.push_back(operation.parameters.substr(at, end - at));
    at = end + 1;
  }
  return names;
}

bool isIteratorOperation(const Operation& operation) {
  for (const Group& group : allGroups()) {
    const auto* const first = group.operations.data();
    if (group.movesIterator && &operation >= first &&
        &operation < first + group.operations.size()) {
      return true;
    }
  }
  return false;
}

Json stackJson(const ShellIterator& iterator) {
  Json entries = Json::array();
  for (const cpi::DictionaryPosition& entry : iterator.positionStack) {
    entries.push_back(positionJson(entry));
  }
  return entries;
}

bool isAllWritten(const Outcome& outcome) {
  return std::ranges::all_of(outcome.out, [](const auto& value) { return value.has_value(); });
}

// An out-parameter that still holds what it held before may have been written nevertheless: a
// second round with another value tells.
void run(const Operation& operation, Session& session, std::span<const Argument> arguments,
         Outcome& outcome) {
  operation.call.run({session, arguments, 0, outcome});
  if (!operation.call.isRepeatable || isAllWritten(outcome)) return;
  Outcome second;
  operation.call.run({session, arguments, 1, second});
  for (std::size_t i = 0; i < outcome.out.size(); ++i) {
    if (!outcome.out[i]) outcome.out[i] = std::move(second.out[i]);
  }
}

Failure failureOf(const cpi::KelException& error) {
  const bool isParserError = dynamic_cast<const cpi::KelParserException*>(&error) != nullptr;
  Failure failure{isParserError ? "KelParserException" : "KelConfigurationException",
                  error.messageNumber(),
                  error.message(),
                  {},
                  {}};
  for (const cpi::KelInsert& insert : error.inserts()) failure.inserts.push_back(insert.text());
  failure.where = fmt::format("{} ({}:{})", error.operation(), error.file(), error.line());
  return failure;
}

template <class Work>
std::optional<Failure> failureIn(Work work) {
  try {
    work();
    return std::nullopt;
  } catch (const LineError& error) {
    return Failure{"LineError", 0, error.what(), {}, {}};
  } catch (const cpi::KelException& error) {
    return failureOf(error);
  } catch (const std::bad_alloc&) {
    return Failure{"std::bad_alloc", 0, "out of memory", {}, {}};
  } catch (const std::exception& error) {
    return Failure{"std::exception", 0, error.what(), {}, {}};
  }
}

void performWords(Session& session, std::span<const Word> words, LineOutcome& outcome) {
  outcome.operation = textJson(words.front().text).get<std::string>();
  words = words.subspan(1);
  for (const Word& word : words) outcome.arguments.push_back(textJson(word.text));
  const Operation& operation = chooseOperation(outcome.operation, words.size());
  const std::vector<Argument> arguments = readArguments(operation, words);
  outcome.row = &operation;
  for (std::size_t i = 0; i < words.size(); ++i) outcome.arguments[i] = arguments[i].value;
  std::optional<TraceCapture> traces;
  if (session.isTraced) traces.emplace();
  const auto work = [&] { run(operation, session, arguments, outcome.outcome); };
  outcome.failure = failureIn(work);
  if (traces) outcome.traces = traces->items();
  if (session.isStackShown && isIteratorOperation(operation)) {
    outcome.stack = stackJson(session.iterator);
  }
}

}  // namespace

Session::Session(const Dictionary& dictionary)
    : dictionary(dictionary),
      iterator(nullptr, &dictionary, static_cast<const unsigned short*>(nullptr),
               cpi::KelStringBase()),
      spare(iterator),
      values(nullptr, &dictionary),
      spareValues(values) {}

std::vector<std::string_view> Operation::inNames() const { return namesOf(*this, false); }
std::vector<std::string_view> Operation::outNames() const { return namesOf(*this, true); }
std::vector<Kind> Operation::inKinds() const {
  std::vector<Kind> kinds;
  std::ranges::copy_if(call.kinds, std::back_inserter(kinds),
                       [](Kind kind) { return kind != Kind::Out; });
  return kinds;
}

std::optional<LineOutcome> performLine(Session& session, std::size_t number,
                                       std::string_view line) {
  LineOutcome outcome;
  outcome.line = number;
  bool isEmpty = false;
  const auto failure = failureIn([&] {
    const std::vector<Word> words = splitLine(line);
    isEmpty = words.empty();
    if (!isEmpty) performWords(session, words, outcome);
  });
  if (isEmpty) return std::nullopt;
  if (failure) outcome.failure = failure;
  return outcome;
}

}  // namespace shell
