// The events of a load, recorded, so that playing them costs little beside what they cause.
#ifndef BENCH_SUPPORT_EVENTTAPE_H
#define BENCH_SUPPORT_EVENTTAPE_H

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

#include "cpi/extract/dictionarytables.h"

namespace cpi::bench {

class EventTape : private FIHandler {
 public:
  explicit EventTape(const DictionaryTables& tables) { feed(tables, *this); }

  // Offers runs of numbers as such, as readers and compilers do, or sends them one by one.
  enum class Numbers : bool { InRuns, OneByOne };
  void play(FIHandler& handler, Numbers numbers = Numbers::InRuns) const;

 private:
  enum class Kind : std::uint8_t { StartMessage, EndMessage, Start, End, Integers, Values };
  // Integers and Values are `count` items of one column in rows that follow each other, each of
  // which is played as a start, its data and an end.
  struct Event {
    Kind kind;
    unsigned short elementKind = 0;
    std::int32_t id = 0;
    std::int32_t index = 0;
    std::int32_t extra = 0;
    std::int32_t count = 0;
  };

  using FIHandler::endElement;
  using FIHandler::startElement;
  void startMessage(WorkerInfoPtr) override { events_.push_back({.kind = Kind::StartMessage}); }
  void endMessage(WorkerInfoPtr) override { events_.push_back({.kind = Kind::EndMessage}); }
  void startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr, std::int32_t index,
                    std::int32_t extra) override {
    open_ = {.kind = Kind::Start, .elementKind = kind, .id = id, .index = index, .extra = extra};
    if (kind > EKRepeatedField) events_.push_back(open_);
  }
  // Fields hold one item each, so that their ends need no record.
  void endElement(std::int32_t id, WorkerInfoPtr) override {
    if (open_.elementKind > EKRepeatedField || open_.id != id) {
      events_.push_back({.kind = Kind::End, .id = id});
    }
    open_ = {.kind = Kind::End, .elementKind = EKStructure};
  }
  void data(const PWFData& value, WorkerInfoPtr) override;

  static void playItem(FIHandler& handler, const Event& event, std::size_t i, const PWFData& value);
  void keep(const PWFData& value);

  Event open_{.kind = Kind::End, .elementKind = EKStructure};
  std::vector<Event> events_;
  std::vector<std::int64_t> integers_;  // of the items, in order
  std::vector<PWFData> values_;         // of the others
  std::deque<std::u16string> texts_;    // to which values refer
};

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_EVENTTAPE_H
