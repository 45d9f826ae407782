#include "tools/stddict/facts.h"

#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <string_view>
#include <vector>

namespace {

// "minLength" as "min length".
std::string labelOf(const std::string& key) {
  std::string label;
  for (const char c : key) {
    const auto letter = static_cast<unsigned char>(c);
    if (std::isupper(letter) != 0) label += ' ';
    label += static_cast<char>(std::tolower(letter));
  }
  return label;
}

bool isReference(const Json& value) {
  return value.is_object() && value.size() == 2 && value.contains("id") && value.contains("name");
}

bool isTable(const Json& value) {
  return value.is_array() && !value.empty() && value[0].is_object() && !isReference(value[0]);
}

bool isEmpty(const Json& value) {
  return value.is_null() || (value.is_structured() && value.empty()) ||
         (value.is_string() && value.get_ref<const std::string&>().empty());
}

// Code points, which are what a terminal shows of most texts.
std::size_t widthOf(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0) != 0x80;
  }));
}

std::string padded(std::string text, std::size_t width) {
  const std::size_t has = widthOf(text);
  if (has < width) text.append(width - has, ' ');
  return text;
}

std::string moreThan(std::size_t count, std::size_t limit) {
  return fmt::format("... and {} more", count - limit);
}

std::size_t shownOf(const Json& list, std::size_t limit) {
  return limit == 0 ? list.size() : std::min(limit, list.size());
}

std::string inlineText(const Json& value, std::size_t limit);

std::string inlineObject(const Json& value, std::size_t limit) {
  if (value.contains("min") && value.contains("max")) {
    const std::string min = inlineText(value["min"], limit);
    const std::string max = value["max"].is_null() ? "*" : inlineText(value["max"], limit);
    return min == max ? min : min + ".." + max;
  }
  if (isReference(value)) {
    const std::string name = inlineText(value["name"], limit);
    return fmt::format("{} ({})", name.empty() ? "unnamed" : name, inlineText(value["id"], limit));
  }
  std::string text;
  for (const auto& [key, field] : value.items()) {
    if (isEmpty(field)) continue;
    text +=
        fmt::format("{}{} {}", text.empty() ? "" : ", ", labelOf(key), inlineText(field, limit));
  }
  return text;
}

std::string inlineList(const Json& list, std::size_t limit) {
  std::string text;
  const std::size_t count = shownOf(list, limit);
  for (std::size_t i = 0; i < count; ++i) text += (i == 0 ? "" : ", ") + inlineText(list[i], limit);
  return count == list.size() ? text : text + " " + moreThan(list.size(), count);
}

std::string inlineText(const Json& value, std::size_t limit) {
  if (value.is_null()) return {};
  if (value.is_boolean()) return value.get<bool>() ? "yes" : "no";
  if (value.is_string()) return printable(value.get<std::string>());
  if (value.is_array()) return inlineList(value, limit);
  return value.is_object() ? inlineObject(value, limit) : value.dump();
}

// Rows and columns of text; the columns are the keys that some row fills.
class Table {
 public:
  Table(const Json& list, std::size_t limit) {
    const std::size_t count = shownOf(list, limit);
    for (std::size_t i = 0; i < count; ++i) addKeys(list[i]);
    lines_.emplace_back();
    for (const std::string& key : keys_) lines_[0].push_back(labelOf(key));
    for (std::size_t i = 0; i < count; ++i) addLine(list[i], limit);
  }

  void print(const Layout& layout) const {
    std::vector<std::size_t> widths(keys_.size(), 0);
    for (const auto& line : lines_) {
      for (std::size_t i = 0; i < line.size(); ++i)
        widths[i] = std::min(kWidest, std::max(widths[i], widthOf(line[i])));
    }
    for (const auto& line : lines_) {
      std::string text;
      for (std::size_t i = 0; i < line.size(); ++i) text += padded(line[i], widths[i]) + "  ";
      text.erase(text.find_last_not_of(' ') + 1);
      const bool isHead = &line == &lines_[0];
      fmt::print("{:{}}{}\n", "", layout.indent, isHead ? layout.style.faint(text) : text);
    }
  }

 private:
  // One long text does not make all other lines as long.
  static constexpr std::size_t kWidest = 200;

  void addKeys(const Json& row) {
    for (const auto& [key, value] : row.items()) {
      if (!isEmpty(value) && std::ranges::find(keys_, key) == keys_.end()) keys_.push_back(key);
    }
  }
  void addLine(const Json& row, std::size_t limit) {
    auto& line = lines_.emplace_back();
    for (const std::string& key : keys_) {
      line.push_back(row.contains(key) ? inlineText(row[key], limit) : std::string());
    }
  }

  std::vector<std::string> keys_;
  std::vector<std::vector<std::string>> lines_;
};

void printTable(const std::string& label, const Json& list, Layout layout) {
  fmt::print("{:{}}{}\n", "", layout.indent, layout.style.faint(label));
  layout.indent += 2;
  const std::size_t count = shownOf(list, layout.limit);
  Table(list, layout.limit).print(layout);
  if (count < list.size()) {
    fmt::print("{:{}}{}\n", "", layout.indent, moreThan(list.size(), count));
  }
}

}  // namespace

Json reference(std::int32_t id, const std::string& name) { return {{"id", id}, {"name", name}}; }

Json range(std::int32_t minOccurs, std::int32_t maxOccurs) {
  return {{"min", minOccurs}, {"max", maxOccurs < 0 ? Json() : Json(maxOccurs)}};
}

void printJson(const Json& facts) {
  const std::string text = facts.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::fwrite(text.data(), 1, text.size(), stdout);
  std::fputc('\n', stdout);
}

void printFacts(const Json& object, const Layout& layout) {
  std::size_t width = 0;
  for (const auto& [key, value] : object.items()) {
    if (!isEmpty(value) && !isTable(value)) width = std::max(width, labelOf(key).size());
  }
  for (const auto& [key, value] : object.items()) {
    if (isEmpty(value)) continue;
    if (isTable(value)) {
      printTable(labelOf(key), value, layout);
    } else {
      fmt::print("{:{}}{}  {}\n", "", layout.indent,
                 layout.style.faint(padded(labelOf(key), width)), inlineText(value, layout.limit));
    }
  }
}
