#include "tools/stddict/shellprint.h"

#include <fmt/core.h>

#include <iterator>

#include "cpi/runtime/kelstring.h"

namespace shell {

namespace {

unsigned byteAt(std::string_view text, std::size_t at) {
  return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
}

// Characters that are written as \uXXXX: controls, and surrogates in three bytes.
struct Escape {
  unsigned unit = 0;
  std::size_t length = 0;  // 0: stands for itself
};

Escape escapeAt(std::string_view text, std::size_t at) {
  const unsigned first = byteAt(text, at);
  const unsigned second = byteAt(text, at + 1);
  if (first < 0x20U || first == 0x7FU) return {first, 1};
  if (first == 0xC2U && second < 0xA0U) return {second, 2};
  if (first == 0xEDU && second >= 0xA0U) {
    return {0xD000U | (second & 0x3FU) << 6U | (byteAt(text, at + 2) & 0x3FU), 3};
  }
  return {};
}

std::string escaped(std::string_view text, bool isQuoted) {
  std::string out;
  for (std::size_t at = 0; at < text.size();) {
    const Escape escape = escapeAt(text, at);
    if (escape.length != 0) {
      fmt::format_to(std::back_inserter(out), "\\u{:04x}", escape.unit);
      at += escape.length;
      continue;
    }
    if (isQuoted && (text[at] == '"' || text[at] == '\\')) out += '\\';
    out += text[at++];
  }
  return out;
}

std::string inQuotes(std::string_view text) { return '"' + escaped(text, true) + '"'; }

// A report with its line ends and tabs, and without the other controls.
std::string lines(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const std::size_t end = text.find_first_of("\n\t");
    out += escaped(text.substr(0, end), false);
    if (end != text.npos) out += text[end];
    text.remove_prefix(end == text.npos ? text.size() : end + 1);
  }
  return out.ends_with('\n') ? out : out + '\n';
}

std::string failureText(const LineOutcome& outcome) {
  const Failure& failure = *outcome.failure;
  std::string text = fmt::format("line {}: error: ", outcome.line);
  if (failure.number != 0) {
    fmt::format_to(std::back_inserter(text), "{} 0x{:08X}: ", failure.type, failure.number);
  }
  text += escaped(failure.text, false);
  for (const std::string& insert : failure.inserts) text += ", " + inQuotes(insert);
  if (!failure.where.empty()) text += "; in " + escaped(failure.where, false);
  return text + '\n';
}

std::string resultText(const Outcome& outcome) {
  if (!outcome.report.empty()) return lines(outcome.report);
  return outcome.hasResult ? "= " + written(outcome.result, false) + '\n' : "= done\n";
}

// What an entry of the stack is, for who does not know the rows by heart.
std::string nameOf(const Json& entry, const Dictionary& dictionary) {
  const auto* const tag = dictionary.tags().find(entry.at("tagIndex").get<std::int32_t>());
  if (tag != nullptr) return written(textJson(tag->TextIdentifier), false);
  return entry.at("memberIndex").get<std::int32_t>() >= 0 ? "group" : "no tag";
}

std::string stackText(const Json& stack, const Dictionary& dictionary) {
  if (stack.empty()) return "  no context\n";
  std::string text;
  std::size_t depth = 0;
  for (const Json& entry : stack) {
    fmt::format_to(std::back_inserter(text),
                   "  [{}] member={} tag={} type={} pathInfo={} repeat={} node={}  {}\n", depth++,
                   entry.at("memberIndex").get<int>(), entry.at("tagIndex").get<int>(),
                   entry.at("typeIndex").get<int>(), entry.at("pathBasedInfoIndex").get<int>(),
                   entry.at("repeatIndex").get<int>(), entry.at("nodeType").get<int>(),
                   nameOf(entry, dictionary));
  }
  return text;
}

// Calls `visit` with the name and value of each out-parameter that was written.
template <class Visit>
void forEachWritten(const LineOutcome& outcome, Visit visit) {
  if (outcome.row == nullptr) return;
  const std::vector<std::string_view> names = outcome.row->outNames();
  for (std::size_t i = 0; i < outcome.outcome.out.size(); ++i) {
    if (const auto& value = outcome.outcome.out[i]) visit(names[i], *value);
  }
}

Json failureJson(const Failure& failure) {
  return {{"class", failure.type},
          {"number", failure.number},
          {"text", failure.text},
          {"inserts", failure.inserts},
          {"where", failure.where}};
}

}  // namespace

std::string written(const Json& value, bool hasQuotedKeys) {
  if (value.is_string()) return inQuotes(value.get_ref<const std::string&>());
  if (!value.is_structured()) return value.dump();
  std::string text;
  for (const auto& [key, item] : value.items()) {
    text += text.empty() ? "" : (hasQuotedKeys ? "," : ", ");
    if (value.is_object()) {
      text += hasQuotedKeys ? inQuotes(key) + ':' : key + ": ";
    }
    text += written(item, hasQuotedKeys);
  }
  return value.is_object() ? '{' + text + '}' : '[' + text + ']';
}

std::string printable(std::string_view line) {
  const std::size_t end = line.find_last_not_of(" \t\r");
  return escaped(cpi::toUtf8(cpi::toUtf16(line.substr(0, end == line.npos ? 0 : end + 1))), false);
}

std::string textReport(const LineOutcome& outcome, const Dictionary& dictionary) {
  std::string text = outcome.failure ? failureText(outcome) : resultText(outcome.outcome);
  forEachWritten(outcome, [&](std::string_view name, const Json& value) {
    fmt::format_to(std::back_inserter(text), "  {} = {}\n", name, written(value, false));
  });
  if (outcome.traces) {
    for (const Json& item : *outcome.traces) {
      fmt::format_to(std::back_inserter(text), "  trace {}\n", written(item, false));
    }
  }
  return outcome.stack ? text + stackText(*outcome.stack, dictionary) : text;
}

std::string jsonReport(const LineOutcome& outcome) {
  Json line = {{"line", outcome.line},
               {"operation", outcome.operation},
               {"arguments", outcome.arguments},
               {"result", outcome.outcome.result},
               {"out", Json::object()},
               {"error", outcome.failure ? failureJson(*outcome.failure) : Json()}};
  forEachWritten(outcome, [&](std::string_view name, const Json& value) {
    line["out"][std::string(name)] = value;
  });
  if (outcome.traces) line["traces"] = *outcome.traces;
  if (outcome.stack) line["stack"] = *outcome.stack;
  return written(line, true) + '\n';
}

}  // namespace shell
