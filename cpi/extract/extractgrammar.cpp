#include "cpi/extract/extractgrammar.h"

#include <vector>

namespace cpi {

namespace {

constexpr KeyRule kFile[] = {{ExtractKey::Extract, "extract", true},
                             {ExtractKey::Start, "start"},
                             {ExtractKey::Stream, "stream", true},
                             {ExtractKey::End, "end"}};

constexpr KeyRule kSection[] = {{ExtractKey::Section, "section", true},
                                {ExtractKey::Kind, "kind"},
                                {ExtractKey::Row, "row"},
                                {ExtractKey::Extra, "extra"},
                                {ExtractKey::Content, "content", true},
                                {ExtractKey::End, "end"}};
constexpr KeyRule kColumn[] = {{ExtractKey::Column, "column", true},
                               {ExtractKey::Kind, "kind"},
                               {ExtractKey::Row, "row"},
                               {ExtractKey::Extra, "extra"},
                               {ExtractKey::Values, "values", true}};
constexpr KeyRule kStartElement[] = {{ExtractKey::StartElement, "startElement", true},
                                     {ExtractKey::Kind, "kind", true},
                                     {ExtractKey::Row, "row"},
                                     {ExtractKey::Extra, "extra"}};
constexpr KeyRule kEndElement[] = {{ExtractKey::EndElement, "endElement", true}};
constexpr KeyRule kData[] = {{ExtractKey::Data, "data", true}};
constexpr KeyRule kMessage[] = {{ExtractKey::Message, "message", true}};
constexpr KeyRules kEntries[] = {kSection, kColumn, kStartElement, kEndElement, kData, kMessage};

constexpr KeyRule kText[] = {{ExtractKey::Text, "text", true}};
constexpr KeyRule kDecimal[] = {{ExtractKey::Decimal, "decimal", true}};
constexpr KeyRule kDouble[] = {{ExtractKey::Double, "double", true}};
constexpr KeyRule kDateTime[] = {{ExtractKey::DateTime, "dateTime", true}};
constexpr KeyRule kInterval[] = {{ExtractKey::Interval, "interval", true}};
constexpr KeyRule kNothing[] = {{ExtractKey::Nothing, "none", true}};
constexpr KeyRules kTypedValues[] = {kText, kDecimal, kDouble, kDateTime, kInterval, kNothing};

KeyRules findRules(std::span<const KeyRules> all, std::string_view firstKey) noexcept {
  for (const KeyRules rules : all) {
    if (rules.front().name == firstKey) return rules;
  }
  return {};
}

std::string listNames(const std::vector<std::string_view>& names) {
  std::string list;
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (i > 0) list += i + 1 == names.size() ? " or " : ", ";
    list += "\"" + std::string(names[i]) + "\"";
  }
  return list;
}

std::string listFirstKeys(std::span<const KeyRules> all) {
  std::vector<std::string_view> names;
  for (const KeyRules rules : all) names.push_back(rules.front().name);
  return listNames(names);
}

}  // namespace

KeyRules fileKeys() noexcept { return kFile; }

KeyRules entryKeys(std::string_view firstKey) noexcept { return findRules(kEntries, firstKey); }

KeyRules typedValueKeys(std::string_view firstKey) noexcept {
  return findRules(kTypedValues, firstKey);
}

std::string listKeys(KeyRules rules) {
  std::vector<std::string_view> names;
  for (const KeyRule& rule : rules) {
    names.push_back(rule.name);
    if (rule.isRequired) return listNames(names);
  }
  return names.empty() ? "the end of the object" : listNames(names) + " or the end of the object";
}

std::string listEntryKeys() { return listFirstKeys(kEntries); }
std::string listTypedValueKeys() { return listFirstKeys(kTypedValues); }

}  // namespace cpi
