#include <map>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "load.h"
#include "tables.h"

namespace cpi::replay {
namespace {

constexpr std::int32_t kRoleMark = -123456789;
constexpr std::int32_t kOtherRoleMark = 987654321;

class ValueScript {
 public:
  explicit ValueScript(const StdDictionaryInfo& dictionary) : dictionary_(dictionary) {}

  // The answer to one step; `expected` where the step has no result to compare.
  Json perform(const Json& step, const Json& expected) {
    const Arguments a(step);
    if (a.at(0) == "getValue") return getValue(at(a.number(1)), expected);
    const Attempt made = attempt([&] {
      move(a);
      return Json();
    });
    return made.error ? Json{{"error", errorJson(*made.error)}} : expected;
  }

 private:
  StdValueIterator& at(std::int32_t number) {
    const auto found = iterators_.find(number);
    if (found == iterators_.end()) {
      throw InputError("expected an iterator, found " + std::to_string(number));
    }
    return found->second;
  }

  void move(const Arguments& a) {
    const std::string name = a.at(0).get<std::string>();
    const std::int32_t r = a.number(1);
    if (name == "new") {
      iterators_.insert_or_assign(r, StdValueIterator(nullptr, &dictionary_));
    } else if (name == "newContext") {
      iterators_.insert_or_assign(
          r, StdValueIterator(nullptr, &dictionary_, a.number(2), a.number(3)));
    } else if (name == "copy") {
      const StdValueIterator copy(at(a.number(2)));
      iterators_.erase(r);
      iterators_.emplace(r, copy);
    } else if (name == "assign") {
      iterators_.try_emplace(r, nullptr, &dictionary_).first->second = at(a.number(2));
    } else if (name == "setContext") {
      at(r).setContext(a.number(2), a.number(3));
    } else if (name == "moveToNextValue") {
      at(r).moveToNextValue();
    } else {
      throw InputError("expected a value iterator step, found " + name);
    }
  }

  static Json getValue(const StdValueIterator& iterator, const Json& expected) {
    std::int32_t role = kRoleMark;
    Json answer = ask(iterator, role, kRoleMark);
    if (role == kRoleMark) answer = ask(iterator, role, kOtherRoleMark);
    const bool isUndefined = expected.value("implementation_defined", false);
    const bool isForeign = answer.contains("error") && answer["error"]["number"] == 0;
    return isUndefined && !isForeign ? expected : answer;
  }
  static Json ask(const StdValueIterator& iterator, std::int32_t& role, std::int32_t mark) {
    role = mark;
    PWFData value;
    const Attempt made = attempt([&] { return iterator.getValue(value, role); });
    Json out = Json::object();
    if (role != mark) out["role"] = role;
    if (made.error) return {{"error", errorJson(*made.error)}, {"out", out}};
    if (value.getLogicalType() != LTUndefined) {
      out["value"] = {{"kind", value.getLogicalType()}, {"value", valueJson(value)}};
    }
    return {{"result", made.result}, {"out", out}};
  }

  const StdDictionaryInfo& dictionary_;
  std::map<std::int32_t, StdValueIterator> iterators_;
};

}  // namespace

Json runValueScript(const StdDictionaryInfo& dictionary, const Json& script, const Json& expected) {
  if (script.size() != expected.size()) throw InputError("expected one answer a step");
  ValueScript runner(dictionary);
  Json answers = Json::array();
  for (std::size_t i = 0; i < script.size(); ++i) {
    answers.push_back(runner.perform(script[i], expected[i]));
    const bool isEnded = answers.back().contains("error") && !expected[i].contains("error");
    if (isEnded) break;  // the iterators that later steps need may be missing
  }
  return answers;
}

}  // namespace cpi::replay
