#include "tools/stddict/words.h"

#include <fmt/core.h>

#include <array>
#include <charconv>

#include "cpi/extract/modelconventions.h"
#include "tools/stddict/terminal.h"

namespace {

bool isNone(std::int32_t code) { return code == cpi::kNone || code == cpi::kNotSupplied; }

template <std::size_t size>
std::string codeWord(const std::array<const char*, size>& words, std::int32_t code) {
  if (code >= 1 && code <= static_cast<std::int32_t>(size)) {
    return words[static_cast<std::size_t>(code - 1)];
  }
  return isNone(code) ? std::string() : fmt::format("unknown ({})", code);
}

std::string namespaceList(std::u16string_view rest) {
  std::string list;
  while (!rest.empty()) {
    const std::u16string_view word = cpi::takeWord(rest);
    if (!list.empty()) list += ", ";
    list += word == cpi::kNoNamespace ? "no namespace" : shown(word);
  }
  return list;
}

}  // namespace

std::string compositionWord(std::int32_t composition) {
  return codeWord<7>({"single", "choice", "unordered", "all", "sequence", "ordered", "message"},
                     composition);
}

std::string contentWord(std::int32_t content) {
  return codeWord<3>({"closed", "any tag of the dictionary", "anything"}, content);
}

std::string logicalTypeWord(std::int32_t logicalType) {
  if (logicalType >= cpi::kFirstWildcardLogicalType) return "wildcard";
  switch (logicalType) {
    case 0: return "structure";
    case cpi::LTString: return "text";
    case cpi::LTInteger: return "integer";
    case cpi::LTFloat: return "float";
    case cpi::LTBoolean: return "boolean";
    case cpi::LTInterval: return "interval";
    case cpi::LTDateTime: return "date-time";
    case cpi::LTDecimal: return "decimal";
    default: return isNone(logicalType) ? std::string() : fmt::format("unknown ({})", logicalType);
  }
}

std::string classWord(std::int32_t code) {
  if (isNone(code)) return {};
  if (code <= 0x20 || code >= 0x7F) return fmt::format("unknown ({})", code);
  const std::string letter(1, static_cast<char>(code));
  switch (code) {
    case cpi::TCMessage: return letter + ", message";
    case cpi::TCStructure: return letter + ", structure";
    case cpi::TCField: return letter + ", field";
    default: return letter;
  }
}

std::string occursText(std::int32_t minOccurs, std::int32_t maxOccurs) {
  if (minOccurs == maxOccurs && minOccurs >= 0) return std::to_string(minOccurs);
  return fmt::format("{}..{}", minOccurs, maxOccurs < 0 ? "*" : std::to_string(maxOccurs));
}

std::u16string_view comparedName(const unsigned short* text) noexcept {
  const std::u16string_view whole = cpi::textView(text);
  const std::size_t mark = whole.find(cpi::kNameMark);
  return mark == whole.npos ? whole : whole.substr(mark + 1);
}

bool isMarked(const unsigned short* text) noexcept {
  return cpi::textView(text).find(cpi::kNameMark) != std::u16string_view::npos;
}

bool isFixGroup(const unsigned short* text) noexcept {
  const std::u16string_view whole = cpi::textView(text);
  const std::size_t mark = whole.find(cpi::kNameMark);
  return mark != whole.npos && mark > 1 && whole.front() == u'g' &&
         whole.substr(1, mark - 1).find_first_not_of(u"0123456789") == whole.npos &&
         whole.ends_with(cpi::kFixGroupEnd);
}

bool isGroup(const cpi::SMD_STRUCTURE_ELEMENT_DEFINITION& member,
             const cpi::SMD_TYPE_DEFINITION* type) noexcept {
  return member.toTagIndex == cpi::kNone && type != nullptr && type->LogicalType == 0;
}

bool isWildcard(const cpi::SMD_STRUCTURE_ELEMENT_DEFINITION& member,
                const cpi::SMD_TYPE_DEFINITION* type) noexcept {
  return member.toTagIndex == cpi::kNone && type != nullptr &&
         type->LogicalType >= cpi::kFirstWildcardLogicalType;
}

std::string wildcardWords(const cpi::SMD_TYPE_DEFINITION& type) {
  std::u16string_view rest = cpi::textView(type.Identifier);
  if (!rest.starts_with(cpi::kWildcardPrefix)) return "any element: " + shown(rest);
  rest.remove_prefix(cpi::kWildcardPrefix.size());
  const std::string processing = shown(cpi::takeWord(rest));
  const std::u16string_view constraint = rest;
  std::string which = "any element";
  if (cpi::takeWord(rest) == cpi::kOtherNamespace) {
    which += rest.empty() ? " in a namespace" : " outside " + shown(rest);
  } else if (constraint != cpi::kAnyNamespace) {
    which += " in " + namespaceList(constraint);
  }
  return fmt::format("{} ({})", which, processing);
}

bool readId(const std::string& text, std::int32_t& id) noexcept {
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, id);
  return error == std::errc() && stop == end && !text.empty();
}

std::string shown(const unsigned short* text) { return shown(cpi::textView(text)); }
std::string shown(std::u16string_view text) { return printable(cpi::toUtf8(text)); }
