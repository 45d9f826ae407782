#include "tools/stddict/shellvalues.h"

#include <algorithm>
#include <cmath>
#include <span>
#include <string>

#include "cpi/runtime/kelstring.h"

namespace shell {

namespace {

bool isLead(char16_t unit) { return (unit & 0xFC00U) == 0xD800U; }
bool isTrail(char16_t unit) { return (unit & 0xFC00U) == 0xDC00U; }

// A lone surrogate by the rule for the other three-byte characters.
std::string loneSurrogate(unsigned unit) {
  return {static_cast<char>(0xE0U | unit >> 12U), static_cast<char>(0x80U | (unit >> 6U & 0x3FU)),
          static_cast<char>(0x80U | (unit & 0x3FU))};
}

Json plainValue(const cpi::PWFData& value) {
  switch (value.getLogicalType()) {
    case cpi::LTInteger: return value.getInt64Value();
    case cpi::LTBoolean: return value.getBooleanValue();
    case cpi::LTString:
    case cpi::LTDecimal: return textJson(value.getStringValue());
    case cpi::LTFloat:
      if (std::isfinite(value.getDoubleValue())) return value.getDoubleValue();
      [[fallthrough]];  // JSON has no numbers for the others
    default: return textJson(value.getDebugString().getStringValue());
  }
}

Json pathItemJson(const cpi::MbrPathItem& item) {
  return {{"repeatIndex", item.repeatIndex},
          {"memberId", item.memberId},
          {"memberIndex", item.memberIndex}};
}

Json groupsJson(std::span<const cpi::MbrPathItem> groups) {
  Json items = Json::array();
  for (const cpi::MbrPathItem& item : groups) items.push_back(pathItemJson(item));
  return items;
}

Json placeJson(const Dictionary& dictionary, const cpi::ExpectedPlace& place) {
  const auto* const tag = dictionary.tags().find(place.tagIndex);
  return {{"name", tag == nullptr ? Json() : textJson(tag->TextIdentifier)},
          {"memberIndex", place.memberIndex},
          {"tagIndex", place.tagIndex},
          {"typeIndex", place.typeIndex},
          {"minOccurs", place.minOccurs},
          {"maxOccurs", place.maxOccurs}};
}

}  // namespace

Json textJson(std::u16string_view text) {
  std::string utf8;
  for (std::size_t i = 0; i < text.size();) {
    const bool isPair = isLead(text[i]) && i + 1 < text.size() && isTrail(text[i + 1]);
    const std::u16string_view character = text.substr(i, isPair ? 2 : 1);
    const bool isLone = !isPair && (isLead(text[i]) || isTrail(text[i]));
    utf8 += isLone ? loneSurrogate(text[i]) : cpi::toUtf8(character);
    i += character.size();
  }
  return utf8;
}

Json textJson(const unsigned short* text) {
  return text == nullptr ? Json() : textJson(cpi::textView(text));
}

Json valueJson(const cpi::PWFData& value) {
  return {{"type", static_cast<std::int32_t>(value.getLogicalType())},
          {"value", plainValue(value)}};
}

Json positionJson(const cpi::DictionaryPosition& position) {
  return {{"memberIndex", position.memberIndex},
          {"tagIndex", position.tagIndex},
          {"typeIndex", position.typeIndex},
          {"pathBasedInfoIndex", position.pathBasedInfoIndex},
          {"repeatIndex", position.repeatIndex},
          {"nodeType", static_cast<std::int32_t>(position.nodeType)}};
}

Json toJson(const Dictionary&, const Dictionary* other) {
  return other == nullptr ? Json() : Json("this dictionary");
}

Json toJson(const Dictionary&, std::u16string_view text) { return textJson(text); }
Json toJson(const Dictionary&, const cpi::KelStringBase& text) { return textJson(text.view()); }
Json toJson(const Dictionary&, const unsigned short* text) { return textJson(text); }
Json toJson(const Dictionary&, const cpi::PWFData& value) { return valueJson(value); }

Json toJson(const Dictionary&, const cpi::DictionaryPosition* position) {
  if (position == nullptr) return nullptr;
  Json fields = positionJson(*position);
  fields["whereDefined"] = static_cast<std::int32_t>(position->whereDefined());
  return fields;
}

Json toJson(const Dictionary&, const std::vector<std::int32_t>& path) { return path; }

Json toJson(const Dictionary&, const std::vector<cpi::MbrPathItem>& path) {
  return groupsJson(path);
}

Json toJson(const Dictionary& dictionary, const cpi::Expectation& expectation) {
  Json elements = Json::array();
  for (const cpi::ExpectedElement& element : expectation.elements) {
    Json& fields = elements.emplace_back(placeJson(dictionary, element));
    fields["repeatIndex"] = element.repeatIndex;
    fields["logicalType"] = element.logicalType;
    fields["isFoundByName"] = element.isFoundByName;
    fields["groups"] = groupsJson(expectation.groupsOf(element));
  }
  Json owed = Json::array();
  for (const cpi::OwedMember& member : expectation.owed) {
    Json& fields = owed.emplace_back(placeJson(dictionary, member));
    fields["owed"] = member.owed;
    fields["repeatIndex"] = member.repeatIndex;
    fields["isInAnyOrder"] = member.isInAnyOrder;
    fields["groups"] = groupsJson(expectation.groupsOf(member));
  }
  return {{"elements", std::move(elements)}, {"owed", std::move(owed)}};
}

Json toJson(const Dictionary& dictionary, const std::int32_t* list) {
  // The table does not say where a path ends.
  constexpr std::int32_t kMostIds = 16;
  if (list == nullptr) return nullptr;
  const auto& table = dictionary.memberPath();
  const auto* const at = reinterpret_cast<const cpi::MemberPathRow*>(list);
  const auto row = static_cast<std::int32_t>(at - table.records());
  const std::int32_t count = std::min(kMostIds, table.rowCount() - row);
  return {{"row", row}, {"memberIds", std::vector<std::int32_t>(list, list + count)}};
}

}  // namespace shell
