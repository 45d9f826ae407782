// The console's operations: what a row of the table says, and what running it gives.
#ifndef TOOLS_STDDICT_SHELLOPERATION_H
#define TOOLS_STDDICT_SHELLOPERATION_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "tools/stddict/shellvalues.h"

namespace shell {

// An iterator of which the console shows the stack.
class ShellIterator : public cpi::StdDictionaryIterator {
 public:
  using StdDictionaryIterator::positionStack;
  using StdDictionaryIterator::StdDictionaryIterator;
};

// What lasts from line to line. Iterators begin without context.
struct Session {
  explicit Session(const Dictionary& dictionary);

  const Dictionary& dictionary;
  ShellIterator iterator;
  ShellIterator spare;  // what fork left
  cpi::StdValueIterator values;
  cpi::StdValueIterator spareValues;
  bool isTraced = false;
  bool isStackShown = true;
  bool isEnded = false;
};

// What a parameter takes. Out-parameters take nothing.
enum class Kind : std::uint8_t { Integer, Flag, Name, Space, Table, Switch, Topic, Out };

struct Argument {
  Json value;
  std::u16string text;     // of a name or a namespace
  std::size_t number = 0;  // of a table: its slot
};

struct Outcome {
  Json result;
  bool hasResult = false;
  std::string report;                    // what people are to read instead of the result
  std::vector<std::optional<Json>> out;  // out-parameters; without value: not written
};

struct Invocation {
  Session& session;
  std::span<const Argument> arguments;
  int round;  // 0 or 1: out-parameters begin with other values in each
  Outcome& outcome;
};

// The text of a report operation, its result too.
struct ReportText {
  std::string text;
};
// A list for programs and the text that says the same to people.
struct Listing {
  Json list;
  std::string text;
};

// A function of the library or of the console, ready to be run on arguments from a line. Throws
// what the function throws; `outcome.out` is filled nevertheless.
struct Call {
  std::span<const Kind> kinds;  // in the order of the function's parameters
  bool isRepeatable;            // asking twice changes nothing
  void (*run)(const Invocation& invocation);
};

// A row of the table. `parameters` are names separated by blanks, one for each of call.kinds.
struct Operation {
  consteval Operation(std::string_view name, std::string_view parameters, std::string_view help,
                      Call call)
      : name(name), parameters(parameters), help(help), call(call) {
    std::size_t count = parameters.empty() ? 0 : 1;
    for (const char letter : parameters) count += letter == ' ' ? 1 : 0;
    if (count != call.kinds.size()) throw "a parameter without name, or a name without parameter";
  }

  std::vector<std::string_view> inNames() const;
  std::vector<std::string_view> outNames() const;
  std::vector<Kind> inKinds() const;

  std::string_view name;
  std::string_view parameters;
  std::string_view help;
  Call call;
};

// A part of the table.
struct Group {
  std::string_view title;
  std::span<const Operation> operations;
  bool movesIterator;  // the stack is worth showing
};

std::span<const Operation> dictionaryOperations();
std::span<const Operation> iteratorOperations();
std::span<const Operation> valueOperations();
std::span<const Operation> consoleOperations();
// The whole table, in the order in which help lists it.
std::span<const Group> allGroups();

// An exception of the library, or a fault of the line.
struct Failure {
  std::string type;
  std::uint32_t number = 0;
  std::string text;
  std::vector<std::string> inserts;
  std::string where;  // operation, file and line; empty for a fault of the line
};

// Everything that there is to say of one line.
struct LineOutcome {
  std::size_t line = 0;
  std::string operation;
  const Operation* row = nullptr;  // null: there is no such operation
  Json arguments = Json::array();
  Outcome outcome;
  std::optional<Failure> failure;
  std::optional<Json> traces;
  std::optional<Json> stack;
};

}  // namespace shell

#endif  // TOOLS_STDDICT_SHELLOPERATION_H
