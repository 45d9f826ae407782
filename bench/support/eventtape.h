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

  void play(FIHandler& handler) const;

 private:
  enum class Kind : std::uint8_t { StartMessage, EndMessage, Start, End, Data };
  struct Event {
    Kind kind;
    unsigned short elementKind = 0;
    std::int32_t id = 0;
    std::int32_t index = 0;
    std::int32_t extra = 0;
  };

  using FIHandler::endElement;
  using FIHandler::startElement;
  void startMessage(WorkerInfoPtr) override { events_.push_back({.kind = Kind::StartMessage}); }
  void endMessage(WorkerInfoPtr) override { events_.push_back({.kind = Kind::EndMessage}); }
  void startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr, std::int32_t index,
                    std::int32_t extra) override {
    events_.push_back(
        {.kind = Kind::Start, .elementKind = kind, .id = id, .index = index, .extra = extra});
  }
  void endElement(std::int32_t id, WorkerInfoPtr) override {
    events_.push_back({.kind = Kind::End, .id = id});
  }
  void data(const PWFData& value, WorkerInfoPtr) override {
    events_.push_back({.kind = Kind::Data});
    keep(value);
  }

  void keep(const PWFData& value);

  std::vector<Event> events_;
  std::vector<PWFData> values_;       // of the data events, in order
  std::deque<std::u16string> texts_;  // to which values refer
};

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_EVENTTAPE_H
