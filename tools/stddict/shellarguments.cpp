#include "tools/stddict/shellarguments.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string>

#include "cpi/runtime/kelstring.h"
#include "tools/stddict/shellsession.h"

namespace shell {

namespace {

using Reader = bool (*)(const Word& word, Argument& argument);

bool readInteger(const Word& word, Argument& argument) {
  const std::string digits = cpi::toUtf8(word.text);
  const char* const end = digits.data() + digits.size();
  std::int32_t number = 0;
  const auto [stop, error] = std::from_chars(digits.data(), end, number);
  argument.value = number;
  return !word.isQuoted && error == std::errc() && stop == end;
}

bool readWords(const Word& word, std::u16string_view yes, std::u16string_view no,
               Argument& argument) {
  argument.value = word.text == yes;
  return !word.isQuoted && (word.text == yes || word.text == no);
}

bool readFlag(const Word& word, Argument& argument) {
  return readWords(word, u"true", u"false", argument);
}

bool readSwitch(const Word& word, Argument& argument) {
  return readWords(word, u"on", u"off", argument);
}

bool readName(const Word& word, Argument& argument) {
  const bool isNull = !word.isQuoted && word.text == u"null";
  argument.value = isNull ? Json() : textJson(word.text);
  argument.text = word.text;
  return true;
}

bool readSpace(const Word& word, Argument& argument) {
  const bool isNone = !word.isQuoted && (word.text == u"-" || word.text == u"null");
  if (!isNone) argument.text = word.text;
  argument.value = textJson(argument.text);
  return true;
}

bool readTable(const Word& word, Argument& argument) {
  const std::string name = cpi::toUtf8(word.text);
  const auto found = std::ranges::find(kTableNames, name);
  argument.value = name;
  argument.number = static_cast<std::size_t>(found - std::begin(kTableNames));
  return found != std::end(kTableNames);
}

bool readTopic(const Word& word, Argument& argument) {
  argument.value = cpi::toUtf8(word.text);
  return true;
}

struct KindReader {
  Reader read;
  std::string_view expected;
};

// In the order of Kind.
constexpr KindReader kReaders[] = {
    {&readInteger, "an integer of 32 bits"},
    {&readFlag, "true or false"},
    {&readName, "a name"},
    {&readSpace, "a namespace"},
    {&readTable, "the name of a table, as the operation tables lists them"},
    {&readSwitch, "on or off"},
    {&readTopic, "an operation"},
};

std::string usageOf(const Operation& operation) {
  std::string text(operation.name);
  for (const std::string_view name : operation.inNames()) {
    fmt::format_to(std::back_inserter(text), " {}", name);
  }
  return operation.inNames().empty() ? text + " alone" : text;
}

[[noreturn]] void refuseUnknown(const std::string& name) {
  const std::vector<const Operation*> alike = operationsLike(name);
  // The shortest name is the nearest one.
  const auto nearest = std::ranges::min_element(
      alike, {}, [](const Operation* operation) { return operation->name.size(); });
  const std::string hint = alike.empty() ? "`help` lists all operations"
                                         : fmt::format("did you mean {}?", (*nearest)->name);
  throw LineError(fmt::format("unknown operation \"{}\"; {}", name, hint));
}

}  // namespace

const Operation& chooseOperation(const std::string& name, std::size_t count) {
  const std::vector<const Operation*> named = operationsNamed(name);
  if (named.empty()) refuseUnknown(name);
  std::string expected;
  for (const Operation* operation : named) {
    if (operation->inNames().size() == count) return *operation;
    expected += (expected.empty() ? "" : " or ") + usageOf(*operation);
  }
  throw LineError(
      fmt::format("found {} argument{}; expected: {}", count, count == 1 ? "" : "s", expected));
}

std::vector<Argument> readArguments(const Operation& operation, std::span<const Word> words) {
  const std::vector<Kind> kinds = operation.inKinds();
  std::vector<Argument> arguments(words.size());
  for (std::size_t i = 0; i < words.size(); ++i) {
    const KindReader& reader = kReaders[static_cast<std::size_t>(kinds[i])];
    if (reader.read(words[i], arguments[i])) continue;
    const char* const quote = words[i].isQuoted ? "\"" : "";
    throw LineError(fmt::format("argument {} ({}): found {}{}{}; expected {}", i + 1,
                                operation.inNames()[i], quote, cpi::toUtf8(words[i].text), quote,
                                reader.expected));
  }
  return arguments;
}

}  // namespace shell
