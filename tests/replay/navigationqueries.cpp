#include <unordered_map>

#include "navigation.h"
#include "tables.h"

namespace cpi::replay {
namespace {

struct Asked {
  ReplayIterator& iterator;
  const StdDictionaryInfo& dictionary;
};
using Query = Json (*)(Asked);

Json memberPath(Asked q) {
  std::vector<std::int32_t> path;
  const std::int32_t count = q.iterator.getMemberPath(path);
  if (static_cast<std::size_t>(count) != path.size()) return "a count that is not the path's";
  return path;
}

Json partialMemberPath(Asked q) {
  std::vector<MbrPathItem> path;
  const std::int32_t count = q.iterator.getPartialMemberPath(path);
  if (static_cast<std::size_t>(count) != path.size()) return "a count that is not the path's";
  if (q.iterator.getPartialMemberPath() != path) return "two forms that differ";
  Json items = Json::array();
  for (const MbrPathItem& item : path) {
    items.push_back(Json::array({item.repeatIndex, item.memberId, item.memberIndex}));
  }
  return items;
}

#define REPLAY_ASK(name, expression)                 \
  {                                                  \
    name, [](Asked q) -> Json { return expression; } \
  }

const std::unordered_map<std::string, Query>& queries() {
  static const std::unordered_map<std::string, Query> table = {
      REPLAY_ASK("tagIndex", q.iterator.getTagIndex()),
      REPLAY_ASK("repeatIndex", q.iterator.getRepeatIndex()),
      REPLAY_ASK("tagId", q.iterator.getTagId()),
      REPLAY_ASK("memberId", q.iterator.getMemberId()),
      REPLAY_ASK("typeId", q.iterator.getTypeId()),
      REPLAY_ASK("tagName", fromText(q.iterator.getTagName())),
      REPLAY_ASK("namespaceURI", fromText(q.iterator.getNamespaceURI())),
      REPLAY_ASK("tagDef", rowNumber(q.dictionary.tags(), q.iterator.getTagDef())),
      REPLAY_ASK("memberDef", rowNumber(q.dictionary.typeMembers(), q.iterator.getMemberDef())),
      REPLAY_ASK("typeDef", rowNumber(q.dictionary.types(), q.iterator.getTypeDef())),
      REPLAY_ASK("nodeType", static_cast<std::int32_t>(q.iterator.getNodeType())),
      REPLAY_ASK("minOccurs", q.iterator.getMinOccurs()),
      REPLAY_ASK("maxOccurs", q.iterator.getMaxOccurs()),
      REPLAY_ASK("defaultValue", rowNumber(q.dictionary.values(), q.iterator.getDefaultValue())),
      {"memberPath", memberPath},
      {"partialMemberPath", partialMemberPath},
      REPLAY_ASK("parentTypeIndex", q.iterator.getParentTypeIndex()),
      REPLAY_ASK("parentTrcRptInd", q.iterator.getParentTrcRptInd()),
      REPLAY_ASK("parentTrcName", fromText(q.iterator.getParentTrcName())),
      REPLAY_ASK("parentMinOccurs", q.iterator.getParentMinOccurs()),
      REPLAY_ASK("traceName", fromText(q.iterator.getTraceName())),
      REPLAY_ASK("parentStackIndex", q.iterator.getParentStackIndex()),
      REPLAY_ASK("parentTagIndex", q.iterator.getParentTagIndex()),
      REPLAY_ASK("parentTagId", q.iterator.getParentTagId()),
      REPLAY_ASK("canHaveChildren", q.iterator.canHaveChildren()),
      REPLAY_ASK("traceParentTypeName", fromText(q.iterator.getTraceParentTypeName())),
  };
  return table;
}

#undef REPLAY_ASK

bool isOutOfTable(const Json& expected) {
  return expected.is_object() && expected.contains("outOfTable");
}

Json ask(const std::string& name, Asked asked, const Json& expected) {
  const auto found = queries().find(name);
  if (found == queries().end()) throw InputError("expected a query, found " + name);
  const Attempt made = attempt([&] { return found->second(asked); });
  if (isOutOfTable(expected) && !made.threwForeign()) return expected;
  if (!made.error) return made.result;
  return {{"error", navigationError(made.error, &asked.iterator)}};
}

}  // namespace

Json askQueries(const ReplayIterator& iterator, const StdDictionaryInfo& dictionary,
                const Json& expected) {
  ReplayIterator copy(iterator);
  Json answers = Json::object();
  for (const auto& [name, answer] : expected.items()) {
    answers[name] = ask(name, {copy, dictionary}, answer);
  }
  return answers;
}

}  // namespace cpi::replay
