// The console's own operations, and the whole table.
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <iterator>

#include "tools/stddict/shellbind.h"
#include "tools/stddict/shellsession.h"

namespace shell {

namespace {

struct KindText {
  std::string_view word;
  std::string_view meaning;
};

// In the order of Kind.
constexpr KindText kKindTexts[] = {
    {"integer", "an integer of 32 bits"},
    {"flag", "true or false"},
    {"name", "a name, bare or in double quotes; null for no name"},
    {"namespace", "a namespace URI; - or \"\" for none"},
    {"table", "a table's name; tables lists them"},
    {"switch", "on or off"},
    {"word", "an operation, or a part of its name"},
};

const KindText& textOf(Kind kind) { return kKindTexts[static_cast<std::size_t>(kind)]; }

std::string joined(const std::vector<std::string_view>& words) {
  std::string text;
  for (const std::string_view word : words) fmt::format_to(std::back_inserter(text), " {}", word);
  return text;
}

Json describe(const Operation& operation) {
  Json arguments = Json::array();
  const std::vector<std::string_view> names = operation.inNames();
  const std::vector<Kind> kinds = operation.inKinds();
  for (std::size_t i = 0; i < names.size(); ++i) {
    arguments.push_back({{"name", names[i]}, {"kind", textOf(kinds[i]).word}});
  }
  return {{"operation", operation.name},
          {"arguments", arguments},
          {"out", operation.outNames()},
          {"help", operation.help}};
}

// One line, or two where the call is long.
std::string summaryOf(const Operation& operation) {
  constexpr std::size_t kColumn = 44;
  const std::string call = fmt::format("  {}{}", operation.name, joined(operation.inNames()));
  if (call.size() < kColumn) return fmt::format("{:{}}{}\n", call, kColumn, operation.help);
  return fmt::format("{}\n{:{}}{}\n", call, "", kColumn, operation.help);
}

std::string detailsOf(const Operation& operation) {
  const std::vector<std::string_view> names = operation.inNames();
  const std::vector<Kind> kinds = operation.inKinds();
  std::string text = fmt::format("{}{}\n  {}\n", operation.name, joined(names), operation.help);
  for (std::size_t i = 0; i < names.size(); ++i) {
    fmt::format_to(std::back_inserter(text), "  {}: {}\n", names[i], textOf(kinds[i]).meaning);
  }
  if (const auto outs = operation.outNames(); !outs.empty()) {
    fmt::format_to(std::back_inserter(text), "  writes{}\n", joined(outs));
  }
  return text;
}

Listing help(Session&) {
  Listing listing{Json::array(), {}};
  for (const Group& group : allGroups()) {
    fmt::format_to(std::back_inserter(listing.text), "{}\n", group.title);
    for (const Operation& operation : group.operations) {
      listing.list.push_back(describe(operation));
      listing.text += summaryOf(operation);
    }
  }
  listing.text +=
      "`help OP` tells more about one. Names are bare words or stand in double quotes.\n";
  return listing;
}

Listing helpOn(Session&, const Topic& topic) {
  std::vector<const Operation*> found = operationsNamed(topic.text);
  const bool isExact = !found.empty();
  if (!isExact) found = operationsLike(topic.text);
  if (found.empty()) throw LineError(fmt::format("no operation is named like \"{}\"", topic.text));
  Listing listing{Json::array(), {}};
  for (const Operation* operation : found) {
    listing.list.push_back(describe(*operation));
    listing.text += isExact ? detailsOf(*operation) : summaryOf(*operation);
  }
  return listing;
}

void trace(Session& session, Switch wanted) { session.isTraced = wanted.isOn; }
void stack(Session& session, Switch wanted) { session.isStackShown = wanted.isOn; }
void quit(Session& session) { session.isEnded = true; }

constexpr Operation kOperations[] = {
    {"help", "", "list all operations", bind<&help>},
    {"help", "operation", "tell more about one, or find it by a part of its name", bind<&helpOn>},
    {"trace", "switch", "print the trace items that operations write", bind<&trace>},
    {"stack", "switch", "print the stack after operations of the iterator", bind<&stack>},
    {"quit", "", "leave the console", bind<&quit>},
};

std::string lowered(std::string_view text) {
  std::string low(text);
  std::ranges::transform(low, low.begin(),
                         [](unsigned char byte) { return static_cast<char>(std::tolower(byte)); });
  return low;
}

template <class Condition>
std::vector<const Operation*> operationsWhere(Condition condition) {
  std::vector<const Operation*> found;
  for (const Group& group : allGroups()) {
    for (const Operation& operation : group.operations) {
      if (condition(operation)) found.push_back(&operation);
    }
  }
  return found;
}

}  // namespace

std::span<const Operation> consoleOperations() { return kOperations; }

std::span<const Group> allGroups() {
  static const std::array<Group, 4> groups = {
      Group{"Dictionary", dictionaryOperations(), false},
      Group{"Iterator", iteratorOperations(), true},
      Group{"Value iterator", valueOperations(), false},
      Group{"Console", consoleOperations(), false},
  };
  return groups;
}

std::vector<const Operation*> operationsNamed(std::string_view name) {
  return operationsWhere([&](const Operation& operation) { return operation.name == name; });
}

std::vector<const Operation*> operationsLike(std::string_view part) {
  return operationsWhere([low = lowered(part)](const Operation& operation) {
    return lowered(operation.name).find(low) != std::string::npos;
  });
}

}  // namespace shell
