#include "tools/stddict/findingjson.h"

#include "cpi/runtime/kelstring.h"
#include "tools/stddict/walkwords.h"

namespace {

// The id of the row that an index leads to; null: it leads to none.
template <class Table, class Id>
WalkJson idOf(const Table& table, std::int32_t index, Id id) {
  const auto* const row = table.find(index);
  return row == nullptr ? WalkJson() : WalkJson(row->*id);
}

WalkJson memberId(const cpi::StdDictionaryInfo& dictionary, std::int32_t index) {
  return idOf(dictionary.typeMembers(), index, &cpi::SMD_STRUCTURE_ELEMENT_DEFINITION::Id);
}

WalkJson toJson(const std::vector<cpi::PathStep>& path) {
  WalkJson steps = WalkJson::array();
  for (const cpi::PathStep& step : path) {
    steps.push_back(
        {{"name", step.name}, {"namespace", step.namespaceURI}, {"occurrence", step.occurrence}});
  }
  return steps;
}

WalkJson toJson(const std::vector<cpi::Expected>& expected,
                const cpi::StdDictionaryInfo& dictionary) {
  WalkJson list = WalkJson::array();
  for (const cpi::Expected& one : expected) {
    WalkJson item = {{"name", one.name},
                     {"namespace", one.namespaceURI},
                     {"memberId", memberId(dictionary, one.memberIndex)},
                     {"owed", one.owed},
                     {"atMost", one.atMost == cpi::kUnbounded ? WalkJson() : WalkJson(one.atMost)}};
    if (one.isWildcard) item["isWildcard"] = true;
    if (one.choice != 0) item["choice"] = one.choice;
    if (!one.groups.empty()) item["groups"] = ::toJson(one.groups, dictionary);
    list.push_back(std::move(item));
  }
  return list;
}

WalkJson toJson(const std::vector<cpi::KnownPlace>& places,
                const cpi::StdDictionaryInfo& dictionary) {
  WalkJson list = WalkJson::array();
  for (const cpi::KnownPlace& place : places) {
    list.push_back(
        {{"parent", place.parent.empty() ? WalkJson() : WalkJson(place.parent)},
         {"namespace", place.namespaceURI},
         {"tagId", idOf(dictionary.tags(), place.tagIndex, &cpi::SMD_TAG_DEFINITION::Id)},
         {"memberId", memberId(dictionary, place.memberIndex)}});
  }
  return list;
}

void addLimits(WalkJson& json, const cpi::Finding& finding) {
  if (finding.atLeast != cpi::kNone) json["atLeast"] = finding.atLeast;
  if (finding.atMost != cpi::kNone) json["atMost"] = finding.atMost;
  if (!finding.value.empty()) json["value"] = finding.value;
  if (!finding.values.empty()) json["values"] = finding.values;
}

}  // namespace

WalkJson toJson(const std::vector<cpi::GroupStep>& groups,
                const cpi::StdDictionaryInfo& dictionary) {
  WalkJson steps = WalkJson::array();
  for (const cpi::GroupStep& group : groups) {
    steps.push_back({{"group", group.text},
                     {"memberId", memberId(dictionary, group.memberIndex)},
                     {"occurrence", group.occurrence}});
  }
  return steps;
}

WalkJson toJson(const cpi::Finding& finding, const cpi::StdDictionaryInfo& dictionary) {
  const cpi::Verdict& verdict = finding.verdict;
  WalkJson json = {
      {"kind", wordOf(verdict.kind)},
      {"reason", wordOf(verdict.reason)},
      {"message", sentenceOf(finding)},
      {"path", cpi::toText(finding.path)},
      {"steps", toJson(finding.path)},
      {"groups", toJson(finding.groups, dictionary)},
      {"line", finding.position.line},
      {"column", finding.position.column},
      {"offset", finding.position.offset},
      {"name", finding.name},
      {"namespace", finding.namespaceURI},
      {"memberId", memberId(dictionary, verdict.memberIndex)},
      {"tagId", idOf(dictionary.tags(), verdict.tagIndex, &cpi::SMD_TAG_DEFINITION::Id)},
      {"typeId", idOf(dictionary.types(), verdict.typeIndex, &cpi::SMD_TYPE_DEFINITION::TypeId)}};
  addLimits(json, finding);
  if (!finding.missing.empty()) json["missing"] = toJson(finding.missing, dictionary);
  if (!finding.expected.empty()) json["expected"] = toJson(finding.expected, dictionary);
  if (finding.elsewhereCount != 0) {
    json["elsewhere"] = toJson(finding.elsewhere, dictionary);
    json["elsewhereCount"] = finding.elsewhereCount;
  }
  return json;
}

std::string toLine(const WalkJson& json) {
  return json.dump(-1, ' ', false, WalkJson::error_handler_t::replace);
}
