#include "cpi/walk/xmlreferences.h"

#include <unicode/uchar.h>
#include <unicode/utf8.h>

#include <algorithm>
#include <charconv>

namespace cpi {
namespace {

// As deep as libxml2 follows entities in entities.
constexpr int kMaxDepth = 40;

struct Predefined {
  std::string_view name;
  char text;
};
constexpr Predefined kPredefined[] = {
    {"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

bool hasReference(const unsigned char* begin, const unsigned char* end) {
  return std::find(begin, end, '&') != end;
}

// `number` is what stands between "&#" and the semicolon.
void appendCharacter(std::string_view number, std::string& out) {
  const bool isHex = number.starts_with('x');
  if (isHex) number.remove_prefix(1);
  UChar32 code = 0;
  std::from_chars(number.data(), number.data() + number.size(), code, isHex ? 16 : 10);
  if (code <= 0 || code > UCHAR_MAX_VALUE || U_IS_SURROGATE(code)) return;
  char bytes[U8_MAX_LENGTH];
  std::size_t size = 0;
  U8_APPEND_UNSAFE(bytes, size, code);
  out.append(bytes, size);
}

// White space of a replacement text counts as one space each; that of a reference to a character
// stays what it is.
void appendReplaced(std::string_view text, int depth, const XmlReferences::Lookup& lookup,
                    std::string& out) {
  while (!text.empty()) {
    const std::size_t size = std::min(text.find('&'), text.size());
    std::ranges::transform(text.substr(0, size), std::back_inserter(out), [depth](char unit) {
      return depth > 0 && (unit == '\t' || unit == '\n' || unit == '\r') ? ' ' : unit;
    });
    text.remove_prefix(size);
    const std::size_t end = text.find(';');
    if (end == text.npos) return;
    const std::string_view name = text.substr(1, end - 1);
    text.remove_prefix(end + 1);
    const auto* const known = std::ranges::find(kPredefined, name, &Predefined::name);
    if (name.starts_with('#')) appendCharacter(name.substr(1), out);
    else if (known != std::end(kPredefined)) out += known->text;
    else if (depth < kMaxDepth) appendReplaced(lookup(std::string(name)), depth + 1, lookup, out);
  }
}

}  // namespace

const unsigned char** XmlReferences::replacedIn(const unsigned char** attributes, int count,
                                                const Lookup& lookup) {
  values_.clear();
  const std::size_t size = static_cast<std::size_t>(count) * kPartsOfAttribute;
  for (std::size_t value = 3; value < size; value += kPartsOfAttribute) {
    if (!hasReference(attributes[value], attributes[value + 1])) continue;
    if (values_.empty()) parts_.assign(attributes, attributes + size);
    const auto* const begin = reinterpret_cast<const char*>(attributes[value]);
    const auto length = static_cast<std::size_t>(attributes[value + 1] - attributes[value]);
    std::string& text = values_.emplace_back();
    appendReplaced({begin, length}, 0, lookup, text);
    parts_[value] = reinterpret_cast<const unsigned char*>(text.data());
    parts_[value + 1] = parts_[value] + text.size();
  }
  return values_.empty() ? attributes : parts_.data();
}

}  // namespace cpi
