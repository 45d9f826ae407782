// bind: makes a row's call of a function, whose type says what arguments a line has to give.
//
//     {"getTagDefIndex", "tagId", "...", bind<&Dictionary::getTagDefIndex>},
//
// A parameter by value or const reference is an argument of the line, one by reference is an
// out-parameter. Functions of the console itself take the session first.
#ifndef TOOLS_STDDICT_SHELLBIND_H
#define TOOLS_STDDICT_SHELLBIND_H

#include <array>
#include <tuple>
#include <type_traits>
#include <utility>

#include "tools/stddict/shelloperation.h"

namespace shell {

// Arguments that only the console's own functions take.
struct TableChoice {
  std::size_t slot;
};
struct Switch {
  bool isOn;
};
struct Topic {
  std::string text;
};

template <class T>
inline constexpr bool kIsOut =
    std::is_lvalue_reference_v<T> && !std::is_const_v<std::remove_reference_t<T>>;

template <class T>
constexpr Kind kindOf() {
  using Plain = std::remove_cvref_t<T>;
  if (kIsOut<T>) return Kind::Out;
  if (std::is_same_v<Plain, bool>) return Kind::Flag;
  if (std::is_same_v<Plain, const unsigned short*>) return Kind::Name;
  if (std::is_same_v<Plain, cpi::KelStringBase>) return Kind::Space;
  if (std::is_same_v<Plain, TableChoice>) return Kind::Table;
  if (std::is_same_v<Plain, Switch>) return Kind::Switch;
  if (std::is_same_v<Plain, Topic>) return Kind::Topic;
  return Kind::Integer;
}

template <class T>
T argumentAs(const Argument& argument) {
  if constexpr (std::is_same_v<T, const unsigned short*>) {
    return argument.value.is_null() ? nullptr : cpi::asUnits(argument.text.c_str());
  } else if constexpr (std::is_same_v<T, cpi::KelStringBase>) {
    return cpi::KelStringBase(std::u16string_view(argument.text));
  } else if constexpr (std::is_same_v<T, TableChoice>) {
    return {argument.number};
  } else if constexpr (std::is_same_v<T, Topic>) {
    return {argument.value.get<std::string>()};
  } else if constexpr (std::is_same_v<T, Switch>) {
    return {argument.value.get<bool>()};
  } else if constexpr (std::is_same_v<T, bool>) {
    return argument.value.get<bool>();
  } else {
    return static_cast<T>(argument.value.get<std::int32_t>());
  }
}

// What an out-parameter holds before the call, another value in each round.
template <class T>
T markOf(int round) {
  constexpr std::int32_t kMarks[] = {-123456789, 987654321};
  if constexpr (std::is_same_v<T, bool>) {
    return round != 0;
  } else if constexpr (std::is_same_v<T, std::int32_t>) {
    return kMarks[round];
  } else if constexpr (std::is_pointer_v<T>) {
    static const std::remove_const_t<std::remove_pointer_t<T>> places[2] = {};
    return &places[round];
  } else {
    return {};
  }
}

// One parameter during a call.
template <class T>
struct Slot {
  using Value = std::remove_cvref_t<T>;

  Slot(const Argument*& next, int) : value(argumentAs<Value>(*next++)) {}
  T pass() { return value; }
  void collect(const Invocation&) const {}

  Value value;
};
template <class T>
requires kIsOut<T>
struct Slot<T> {
  using Value = std::remove_cvref_t<T>;

  Slot(const Argument*&, int round) : value(markOf<Value>(round)), round(round) {}
  T pass() { return value; }
  void collect(const Invocation& at) const {
    auto& out = at.outcome.out;
    isWritten() ? out.emplace_back(toJson(at.session.dictionary, value)) : out.emplace_back();
  }
  bool isWritten() const {
    if constexpr (std::is_same_v<Value, cpi::PWFData>) {
      return value.getLogicalType() != cpi::LTUndefined;
    } else if constexpr (std::is_scalar_v<Value>) {
      return value != markOf<Value>(round);
    } else {
      return true;
    }
  }

  Value value;
  int round;
};

inline void keep(const Invocation& at, ReportText result) {
  at.outcome.result = result.text;
  at.outcome.report = std::move(result.text);
}
inline void keep(const Invocation& at, Listing result) {
  at.outcome.result = std::move(result.list);
  at.outcome.report = std::move(result.text);
}
inline void keep(const Invocation& at, Json result) { at.outcome.result = std::move(result); }
template <class Result>
void keep(const Invocation& at, const Result& result) {
  at.outcome.result = toJson(at.session.dictionary, result);
}

template <class Result, class... Parameters, class Function>
void perform(const Invocation& at, Function function) {
  [[maybe_unused]] const Argument* next = at.arguments.data();
  // The braces keep the order of the arguments.
  std::tuple<Slot<Parameters>...> slots{Slot<Parameters>(next, at.round)...};
  const auto collect = [&] {
    std::apply([&](const auto&... slot) { (slot.collect(at), ...); }, slots);
  };
  const auto call = [&] {
    return std::apply([&](auto&... slot) -> Result { return function(slot.pass()...); }, slots);
  };
  try {
    if constexpr (std::is_void_v<Result>) {
      call();
    } else {
      keep(at, call());
      at.outcome.hasResult = true;
    }
  } catch (...) {
    collect();
    throw;
  }
  collect();
}

template <class Object>
decltype(auto) objectOf(Session& session) {
  if constexpr (std::is_same_v<Object, cpi::StdDictionaryIterator>) {
    return static_cast<cpi::StdDictionaryIterator&>(session.iterator);
  } else if constexpr (std::is_same_v<Object, cpi::StdValueIterator>) {
    return (session.values);
  } else if constexpr (std::is_same_v<Object, cpi::StdDictValueDefs>) {
    return session.dictionary.values();
  } else {
    return (session.dictionary);
  }
}

template <class... Parameters>
inline constexpr std::array<Kind, sizeof...(Parameters)> kKindsOf = {kindOf<Parameters>()...};

template <auto Function, class Type = decltype(Function)>
struct Binding;

template <auto Function, class Object, class Result, class... Parameters, bool N>
struct Binding<Function, Result (Object::*)(Parameters...) noexcept(N)> {
  static void run(const Invocation& at) {
    perform<Result, Parameters...>(at, [&](auto&&... values) -> Result {
      return (objectOf<Object>(at.session).*Function)(static_cast<Parameters>(values)...);
    });
  }
  static constexpr Call call{kKindsOf<Parameters...>, false, &run};
};

template <auto Function, class Object, class Result, class... Parameters, bool N>
struct Binding<Function, Result (Object::*)(Parameters...) const noexcept(N)> {
  static void run(const Invocation& at) {
    perform<Result, Parameters...>(at, [&](auto&&... values) -> Result {
      return (objectOf<Object>(at.session).*Function)(static_cast<Parameters>(values)...);
    });
  }
  static constexpr Call call{kKindsOf<Parameters...>, true, &run};
};

template <auto Function, class Result, class... Parameters>
struct Binding<Function, Result (*)(Session&, Parameters...)> {
  static void run(const Invocation& at) {
    perform<Result, Parameters...>(at, [&](auto&&... values) -> Result {
      return Function(at.session, static_cast<Parameters>(values)...);
    });
  }
  static constexpr Call call{kKindsOf<Parameters...>, false, &run};
};

template <auto Function>
inline constexpr Call bind = Binding<Function>::call;

// Picks one of several functions of a name by its type.
template <class Object, class Type>
constexpr auto pick(Type Object::*function) {
  return function;
}

}  // namespace shell

#endif  // TOOLS_STDDICT_SHELLBIND_H
