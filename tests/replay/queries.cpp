#include <unordered_map>

#include "load.h"
#include "querycall.h"
#include "tables.h"

namespace cpi::replay {
namespace {

using Query = Json (*)(const Call&);
using QueryTable = std::unordered_map<std::string, Query>;
using TagRecord = SMD_TAG_DEFINITION;
using MemberRecord = SMD_STRUCTURE_ELEMENT_DEFINITION;
using TypeRecord = SMD_TYPE_DEFINITION;

// An accessor of a row by its index, and one of the only row of a table.
template <class Record>
Json rowByIndex(const Call& c,
                std::int32_t (StdDictionaryInfo::*accessor)(std::int32_t, const Record*&) const,
                const TableReference<Record>& table) {
  auto rec = c.pointer<Record>();
  return Answer((c.d.*accessor)(c.number(1), rec.value)).out("rec", rec, table);
}
template <class Record>
Json onlyRow(const Call& c, std::int32_t (StdDictionaryInfo::*accessor)(const Record*&) const,
             const TableReference<Record>& table) {
  auto rec = c.pointer<Record>();
  return Answer((c.d.*accessor)(rec.value)).out("rec", rec, table);
}

// A look-up that gives an index or id under a name.
Json foundIndex(const Call& c, const char* name,
                std::int32_t (StdDictionaryInfo::*lookup)(std::int32_t, std::int32_t&) const) {
  auto index = c.index();
  return Answer((c.d.*lookup)(c.number(1), index.value)).out(name, index);
}
Json lengthLimit(const Call& c, const char* name,
                 std::int32_t (StdDictionaryInfo::*query)(std::int32_t, std::int32_t, std::int32_t&)
                     const) {
  auto length = c.index();
  return Answer((c.d.*query)(c.number(1), c.number(2), length.value)).out(name, length);
}

Json tagIndexFromName(const Call& c) {
  if (c.size() == 2) return Answer(c.d.getTagDefIndexFromName(c.text(1).units()));
  return Answer(c.d.getTagDefIndexFromName(c.text(1).units(), c.space(2), c.flag(3)));
}
Json tagIdForText(const Call& c) {
  auto tagId = c.index();
  const Text text = c.text(1);
  const std::int32_t code =
      c.size() == 2 ? c.d.getTagIdForTagText(text.units(), tagId.value)
                    : c.d.getTagIdForTagText(text.units(), c.space(2), tagId.value, c.flag(3));
  return Answer(code).out("tagId", tagId);
}
Json typeIdForText(const Call& c) {
  auto typeId = c.index();
  const Text text = c.text(1);
  return Answer(c.d.getTypeIdForTypeText(text.units(), c.space(2), typeId.value, c.flag(3)))
      .out("typeId", typeId);
}
Json dependency(const Call& c) {
  auto text = c.pointer<unsigned short>();
  return Answer(c.d.getDependencyTableEntry(c.number(1), text.value)).out("text", text);
}
Json memberFromIndex(const Call& c) {
  auto count = c.index();
  auto rec = c.pointer<MemberRecord>();
  return Answer(c.d.getStructureDefinitionFromIndex(c.number(1), count.value, rec.value))
      .out("count", count)
      .out("rec", rec, c.d.typeMembers());
}
Json tagDefinition(const Call& c) {
  auto rec = c.pointer<TagRecord>();
  auto index = c.index();
  return Answer(c.d.getTagDefinition(c.number(1), rec.value, index.value))
      .out("rec", rec, c.d.tags())
      .out("index", index);
}
Json typeDefinition(const Call& c) {
  auto rec = c.pointer<TypeRecord>();
  auto index = c.index();
  return Answer(c.d.getTypeDefinition(c.number(1), rec.value, index.value))
      .out("rec", rec, c.d.types())
      .out("index", index);
}

using MemberAccessor = std::int32_t (StdDictionaryInfo::*)(std::int32_t, std::int32_t&,
                                                           const MemberRecord*&,
                                                           std::int32_t&) const;
Json memberRun(const Call& c, MemberAccessor accessor) {
  auto rec = c.pointer<MemberRecord>();
  auto count = c.index();
  auto index = c.index();
  return Answer((c.d.*accessor)(c.number(1), count.value, rec.value, index.value))
      .out("rec", rec, c.d.typeMembers())
      .out("count", count)
      .out("index", index);
}

Json typedValue(const Call& c) {
  const PWFData value = c.d.values().getData(c.number(1));
  const Json pair = {{"kind", value.getLogicalType()}, {"value", valueJson(value)}};
  return Answer(pair);
}
// The preset of firstIndex shows in the failure text alone, which is that of the first round.
Json pathBasedInfo(const Call& c) {
  constexpr std::int32_t kOtherBit = 1 << 30;
  auto count = c.index();
  auto first = c.pointer<SMD_PATH_BASED_DEFINITION>();
  auto firstIndex = Call::preset(c.isFirst() ? c.number(3) : c.number(3) ^ kOtherBit);
  return Answer(c.d.getPathBasedInfo(c.number(1), c.number(2), count.value, first.value,
                                     firstIndex.value))
      .out("count", count)
      .out("first", first, c.d.pathBasedInfo())
      .out("firstIndex", firstIndex);
}
Json tagPathList(const Call& c) {
  auto list = c.pointer<std::int32_t>();
  return Answer(c.d.getTagPathList(c.number(1), list.value)).out("list", list, c.d.memberPath());
}
Json nullPermitted(const Call& c) {
  auto permitted = c.flagSlot();
  return Answer(c.d.getNullPermitted(c.number(1), c.number(2), permitted.value))
      .out("nullPermitted", permitted);
}

LOGICAL_TYPE logicalType(const Call& c) { return static_cast<LOGICAL_TYPE>(c.number(1)); }

#define REPLAY_QUERY(name, expression)                     \
  {                                                        \
    name, [](const Call& c) -> Json { return expression; } \
  }

const QueryTable& queryTable() {
  using D = StdDictionaryInfo;
  static const QueryTable table = {
      REPLAY_QUERY("getTagDefIndex", Answer(c.d.getTagDefIndex(c.number(1)))),
      REPLAY_QUERY("getTypeDefIndex", Answer(c.d.getTypeDefIndex(c.number(1)))),
      REPLAY_QUERY("getStructDefIndexFromMbrID",
                   Answer(c.d.getStructDefIndexFromMbrID(c.number(1)))),
      REPLAY_QUERY("getStructDefIndexFromMbrID_code",
                   foundIndex(c, "index", &D::getStructDefIndexFromMbrID)),
      REPLAY_QUERY("getTypeDefIndexFromTypeID",
                   foundIndex(c, "index", &D::getTypeDefIndexFromTypeID)),
      REPLAY_QUERY("getTypeIndexFromTagID", foundIndex(c, "typeIndex", &D::getTypeIndexFromTagID)),
      REPLAY_QUERY("getStructDefIndexFromTypeID",
                   foundIndex(c, "memberIndex", &D::getStructDefIndexFromTypeID)),
      REPLAY_QUERY("getTagDefIndexUsingParentTypeDefIndex",
                   Answer(c.d.getTagDefIndexUsingParentTypeDefIndex(c.number(1), c.number(2)))),
      {"getTagDefIndexFromName", tagIndexFromName},
      {"getTagIdForTagText", tagIdForText},
      {"getTypeIdForTypeText", typeIdForText},
      {"getDependencyTableEntry", dependency},
      REPLAY_QUERY("getWireFormatEntry", rowByIndex(c, &D::getWireFormatEntry, c.d.wireFormats())),
      REPLAY_QUERY("getTypeDefinitionFromIndex",
                   rowByIndex(c, &D::getTypeDefinitionFromIndex, c.d.types())),
      REPLAY_QUERY("getValueSetDefinition",
                   rowByIndex(c, &D::getValueSetDefinition, c.d.valueSet())),
      REPLAY_QUERY(
          "getValueDefinitionFromIndex",
          rowByIndex<SMD_VALUE_DEFINITION>(c, &D::getValueDefinitionFromIndex, c.d.values())),
      {"getStructureDefinitionFromIndex", memberFromIndex},
      REPLAY_QUERY("getDictionaryIdentification",
                   onlyRow(c, &D::getDictionaryIdentification, c.d.identification())),
      REPLAY_QUERY("getMsgSetDefinition", onlyRow(c, &D::getMsgSetDefinition, c.d.project())),
      {"getTagDefinition", tagDefinition},
      {"getTypeDefinition", typeDefinition},
      REPLAY_QUERY("getStructureDefinition", memberRun(c, &D::getStructureDefinition)),
      REPLAY_QUERY("getStructDefFromMbrID", memberRun(c, &D::getStructDefFromMbrID)),
      {"getData", typedValue},
      {"getPathBasedInfo", pathBasedInfo},
      {"getTagPathList", tagPathList},
      {"getNullPermitted", nullPermitted},
      REPLAY_QUERY("getMaxLength", lengthLimit(c, "maxLength", &D::getMaxLength)),
      REPLAY_QUERY("getMinLength", lengthLimit(c, "minLength", &D::getMinLength)),
      REPLAY_QUERY("getTypeValueLogicalType",
                   Answer(static_cast<std::int32_t>(c.d.getTypeValueLogicalType(c.number(1))))),
      REPLAY_QUERY("getTypeBaseLogicalType",
                   Answer(static_cast<std::int32_t>(c.d.getTypeBaseLogicalType(c.number(1))))),
      REPLAY_QUERY("getTypeDefIndexFromLogicalType",
                   Answer(c.d.getTypeDefIndexFromLogicalType(logicalType(c)))),
      REPLAY_QUERY("getTraceTextForLogicalType",
                   Answer(fromText(c.d.getTraceTextForLogicalType(logicalType(c))))),
      REPLAY_QUERY("getTraceTextForID", Answer(fromText(c.d.getTraceTextForID(c.number(1))))),
  };
  return table;
}

#undef REPLAY_QUERY

// The operation under which a query writes its items.
std::string operationName(const std::string& query) {
  constexpr std::string_view kSuffix = "_code";
  return query.ends_with(kSuffix) ? query.substr(0, query.size() - kSuffix.size()) : query;
}

// The out-parameters of both rounds; a value that hit its mark in one shows in the other.
Json merged(const Json& first, const Json& second) {
  Json out = first.at("out");
  for (const auto& [name, value] : second.at("out").items()) {
    const bool isOther = out.contains(name) && out[name] != value;
    out[name] = isOther ? Json("not the same twice") : value;
  }
  const bool isSame = first.at("result") == second.at("result");
  return {{"result", isSame ? first.at("result") : Json("not the same twice")}, {"out", out}};
}

Attempt askRound(const StdDictionaryInfo& dictionary, const Json& query, Query function,
                 std::size_t round) {
  return attempt([&] { return function(Call(dictionary, query, round)); });
}

// The first round runs with all logging on, the second with none: it must not matter.
Json askTwice(const StdDictionaryInfo& dictionary, const Json& query, Query function) {
  std::optional<LogCapture> log(std::in_place, LLDebug);
  const Attempt first = askRound(dictionary, query, function, 0);
  const Json exit = log->failureText(operationName(query.at(0).get<std::string>()));
  log.reset();
  const Attempt second = askRound(dictionary, query, function, 1);
  if (first.error) return {{"error", errorJson(*first.error)}};
  if (second.error) return {{"error", errorJson(*second.error)}};
  Json answer = merged(first.result, second.result);
  answer["exit"] = exit;
  return answer;
}

bool isUndefined(const Json& answer) { return answer.value("implementation_defined", false); }

// The exception of a class that is not the library's, as an answer shows it.
bool isForeign(const Json& answer) {
  return answer.contains("error") && answer.at("error").at("number") == 0;
}

Json askValueScript(const StdDictionaryInfo& dictionary, const Json& script, const Json& expected) {
  if (isUndefined(expected)) {
    runValueScript(dictionary, script, Json(script.size(), expected));
    return expected;
  }
  const Json steps = runValueScript(dictionary, script, expected.at("result"));
  return {{"result", steps}, {"out", Json::object()}, {"exit", nullptr}};
}

}  // namespace

Json expectedAnswer(const Json& answer) {
  if (isUndefined(answer)) return answer;
  Json plain = answer;
  if (plain.contains("error")) plain["error"] = expectedError(plain["error"]);
  const auto typed = [](Json& pair) {
    pair["value"] = expectedValue(pair.at("kind").get<std::int32_t>(), pair.at("value"));
  };
  if (plain.contains("result") && plain["result"].is_object()) typed(plain["result"]);
  if (plain.contains("out") && plain["out"].contains("value")) typed(plain["out"]["value"]);
  if (plain.contains("result") && plain["result"].is_array()) {
    for (Json& step : plain["result"]) step = expectedAnswer(step);
  }
  return plain;
}

Json askQuery(const StdDictionaryInfo& dictionary, const Json& query, const Json& expected) {
  const std::string name = query.at(0).get<std::string>();
  if (name == "valueIterator") return askValueScript(dictionary, query.at(1), expected);
  const auto found = queryTable().find(name);
  if (found == queryTable().end()) throw InputError("expected a query, found " + name);
  Json answer = askTwice(dictionary, query, found->second);
  return isUndefined(expected) && !isForeign(answer) ? expected : answer;
}

}  // namespace cpi::replay
