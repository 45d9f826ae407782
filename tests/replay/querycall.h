// A query as it is asked, and its answer: how out-parameters are told apart that were not written.
#ifndef TESTS_REPLAY_QUERYCALL_H
#define TESTS_REPLAY_QUERYCALL_H

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "json.h"
#include "tables.h"

namespace cpi::replay {

inline constexpr std::size_t kRounds = 2;

// An out-parameter, preset with a mark. Each query is asked twice with different marks: what is
// left at its mark both times was not written.
template <class Value>
struct Slot {
  Value value;
  Value mark;
};

// The result and the out-parameters that no longer hold their marks.
class Answer {
 public:
  explicit Answer(Json result) : result_(std::move(result)) {}

  template <class Value>
  Answer& out(const char* name, const Slot<Value>& slot) {
    if (slot.value != slot.mark) out_[name] = slot.value;
    return *this;
  }
  Answer& out(const char* name, const Slot<const unsigned short*>& slot) {
    if (slot.value != slot.mark) out_[name] = fromText(slot.value);
    return *this;
  }
  template <class Pointer, class Record>
  Answer& out(const char* name, const Slot<Pointer>& slot, const TableReference<Record>& table) {
    if (slot.value != slot.mark) out_[name] = rowNumber(table, slot.value);
    return *this;
  }
  operator Json() const { return {{"result", result_}, {"out", out_}}; }  // NOLINT: its one use

 private:
  Json result_;
  Json out_ = Json::object();
};

// One query as it is asked in one round.
class Call : public Arguments {
 public:
  Call(const StdDictionaryInfo& dictionary, const Json& query, std::size_t round)
      : Arguments(query), d(dictionary), round_(round) {}

  bool isFirst() const { return round_ == 0; }
  Slot<std::int32_t> index() const { return preset(isFirst() ? -123456789 : 987654321); }
  static Slot<std::int32_t> preset(std::int32_t mark) { return {mark, mark}; }
  Slot<bool> flagSlot() const { return {isFirst(), isFirst()}; }
  template <class Pointee>
  Slot<const Pointee*> pointer() const {
    static constexpr std::uint64_t marks[kRounds] = {};
    const auto* const mark = reinterpret_cast<const Pointee*>(&marks[round_]);
    return {mark, mark};
  }

  const StdDictionaryInfo& d;

 private:
  std::size_t round_;
};

}  // namespace cpi::replay

#endif  // TESTS_REPLAY_QUERYCALL_H
