#include <unordered_map>

#include "navigation.h"

namespace cpi::replay {
namespace {

using Session = NavigationSession;
using Operation = Json (*)(Session&, const Arguments&);

// A SearchDef and the text that it refers to.
class Search {
 public:
  explicit Search(const Json& form)
      : name_(form.contains("name") ? form.at("name") : Json()), definition_(make(form)) {}
  operator const SearchDef&() const { return definition_; }  // NOLINT: stands for it in calls

 private:
  SearchDef make(const Json& form) const {
    const auto type = static_cast<ESearchType>(form.at("type").get<std::int32_t>());
    if (form.contains("name")) {
      return SearchDef(type, name_.units(), KelStringBase(Text(form.at("ns")).units()));
    }
    if (form.contains("logical")) {
      return SearchDef(type, static_cast<ELogicalType>(form.at("logical").get<std::int32_t>()));
    }
    return SearchDef(type, form.at("value").get<std::int32_t>());
  }

  Text name_;
  SearchDef definition_;
};

DictionaryPosition position(const Session& session, const Arguments& fields) {
  return DictionaryPosition(session.iterator->dictionaryInfo, fields.number(0), fields.number(1),
                            fields.number(2), fields.number(3), fields.number(4),
                            static_cast<ENodeType>(fields.number(5)));
}

ELogicalType logicalType(const Arguments& a) { return static_cast<ELogicalType>(a.number(1)); }

// Wraps a call that has no result.
template <class Call>
Json nothing(Call call) {
  call();
  return nullptr;
}

Json newIterator(Session& s, const Arguments& a) {
  s.iterator = std::make_unique<ReplayIterator>(nullptr, s.dictionary, a.number(1));
  return nullptr;
}

Json newIteratorByName(Session& s, const Arguments& a) {
  s.iterator =
      std::make_unique<ReplayIterator>(nullptr, s.dictionary, a.text(1).units(), a.space(2));
  return nullptr;
}

Json join(Session& s, const Arguments&) {
  *s.iterator = *s.spare;
  return nullptr;
}

Json selfAssign(Session& s, const Arguments&) {
  const ReplayIterator& same = *s.iterator;
  *s.iterator = same;
  return nullptr;
}

Json defaultValueRow(Session& s, const Arguments&) {
  const SMD_VALUE_DEFINITION* const value = s.iterator->getDefaultValue();
  const StdDictionaryInfo* const dictionary = s.iterator->getDictionaryInfo();
  if (value == nullptr) return nullptr;
  return value - (dictionary == nullptr ? value : dictionary->values().records());
}

#define REPLAY_CALL(expression) \
  [](Session& s, [[maybe_unused]] const Arguments& a) -> Json { return expression; }
#define REPLAY_DO(statement)                                    \
  [](Session& s, [[maybe_unused]] const Arguments& a) -> Json { \
    return nothing([&] { statement; });                         \
  }

const std::unordered_map<std::string, Operation>& operations() {
  static const std::unordered_map<std::string, Operation> table = {
      {"setContextFromTag", REPLAY_DO(s.iterator->setContextFromTag(a.number(1)))},
      {"setContextFromTagName",
       REPLAY_DO(s.iterator->setContextFromTag(a.text(1).units(), a.space(2)))},
      {"setContextFromMbrId", REPLAY_DO(s.iterator->setContextFromMbrId(a.number(1)))},
      {"setDictionaryInfo",
       REPLAY_DO(s.iterator->setDictionaryInfo(a.flag(1) ? s.dictionary : nullptr))},
      {"moveToParent", REPLAY_CALL(s.iterator->moveToParent())},
      {"moveToFirstChild", REPLAY_CALL(s.iterator->moveToFirstChild())},
      {"moveToFirstChildTagId",
       REPLAY_CALL(s.iterator->moveToFirstChildTagId(a.number(1), a.flag(2), a.flag(3)))},
      {"moveToFirstChildTagName", REPLAY_CALL(s.iterator->moveToFirstChildTagName(
                                      a.text(1).units(), a.space(2), a.flag(3), a.flag(4)))},
      {"moveToFirstChildMemberId",
       REPLAY_CALL(s.iterator->moveToFirstChildMemberId(a.number(1), a.flag(2)))},
      {"moveToFirstChildSimpleType",
       REPLAY_CALL(s.iterator->moveToFirstChildSimpleType(logicalType(a), a.flag(2), a.flag(3)))},
      {"moveToFirstChildSelfDef",
       REPLAY_CALL(s.iterator->moveToFirstChildSelfDef(a.text(1).units(), a.space(2), a.flag(3)))},
      {"moveToNextSibling", REPLAY_CALL(s.iterator->moveToNextSibling())},
      {"moveToNextSiblingTagId",
       REPLAY_CALL(s.iterator->moveToNextSiblingTagId(a.number(1), a.flag(2), a.flag(3)))},
      {"moveToNextSiblingTagName", REPLAY_CALL(s.iterator->moveToNextSiblingTagName(
                                       a.text(1).units(), a.space(2), a.flag(3), a.flag(4)))},
      {"moveToNextSiblingMemberId",
       REPLAY_CALL(s.iterator->moveToNextSiblingMemberId(a.number(1), a.flag(2)))},
      {"moveToNextSiblingSimpleType",
       REPLAY_CALL(s.iterator->moveToNextSiblingSimpleType(logicalType(a), a.flag(2), a.flag(3)))},
      {"moveToNextSiblingSelfDef",
       REPLAY_CALL(s.iterator->moveToNextSiblingSelfDef(a.text(1).units(), a.space(2), a.flag(3)))},
      {"moveToPreviousSibling", REPLAY_CALL(s.iterator->moveToPreviousSibling())},
      {"moveToNextSiblingOfMbrId",
       REPLAY_CALL(s.iterator->moveToNextSiblingOfMbrId(a.number(1), a.number(2), a.flag(3)))},
      {"getNodeType", REPLAY_CALL(static_cast<std::int32_t>(s.iterator->getNodeType()))},
      {"getPathBasedInfoIndex", REPLAY_CALL(s.iterator->getPathBasedInfoIndex())},
      {"getMinOccurs", REPLAY_CALL(s.iterator->getMinOccurs())},
      {"getMaxOccurs", REPLAY_CALL(s.iterator->getMaxOccurs())},
      {"getDefaultValue", defaultValueRow},
      {"getParentTrcName", REPLAY_CALL(fromText(s.iterator->getParentTrcName()))},
      {"new", newIterator},
      {"newName", newIteratorByName},
      {"fork", REPLAY_DO(s.spare = std::make_unique<ReplayIterator>(*s.iterator))},
      {"join", join},
      {"selfAssign", selfAssign},
      {"p.clearContext", REPLAY_DO(s.iterator->clearContext())},
      {"p.ensurePositionStackSaved", REPLAY_DO(s.iterator->ensurePositionStackSaved())},
      {"p.restorePositionStackFromSaved", REPLAY_DO(s.iterator->restorePositionStackFromSaved())},
      {"p.getCommonParentWithSavedStackIndex",
       REPLAY_CALL(s.iterator->getCommonParentWithSavedStackIndex())},
      {"p.moveToFirstChild",
       REPLAY_CALL(s.iterator->moveToFirstChild(Search(a.at(1)), a.flag(2), a.flag(3)))},
      {"p.moveToSibling",
       REPLAY_CALL(s.iterator->moveToSibling(Search(a.at(1)), a.flag(2), a.flag(3), a.flag(4)))},
      {"p.moveToNewPosition", REPLAY_CALL(s.iterator->moveToNewPosition(Search(a.at(1)), a.flag(2),
                                                                        a.flag(3), a.flag(4)))},
      {"p.moveToBestPosition",
       REPLAY_CALL(s.iterator->moveToBestPosition(Search(a.at(1)), a.flag(2), a.flag(3)))},
      {"p.isTypeContentMatched", REPLAY_CALL(s.iterator->isTypeContentMatched(Search(a.at(1))))},
      {"p.isElementMatched",
       REPLAY_CALL(s.iterator->isElementMatched(Search(a.at(1)), position(s, Arguments(a.at(2))),
                                                a.flag(3), a.flag(4)))},
      {"p.getTraceName", REPLAY_CALL(fromText(s.iterator->getTraceName(Search(a.at(1)))))},
      {"p.push", REPLAY_DO(s.iterator->positionStack.push_back(position(s, Arguments(a.at(1)))))},
  };
  return table;
}

#undef REPLAY_CALL
#undef REPLAY_DO

}  // namespace

Json performOperation(NavigationSession& session, const Json& operation) {
  const std::string& name = operation.at(0).get_ref<const std::string&>();
  const auto found = operations().find(name);
  if (found == operations().end()) throw InputError("expected an operation, found " + name);
  return found->second(session, Arguments(operation));
}

}  // namespace cpi::replay
