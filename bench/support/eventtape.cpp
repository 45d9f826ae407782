#include "bench/support/eventtape.h"

#include <span>

#include "cpi/extract/numberrun.h"

namespace cpi::bench {

inline void EventTape::playItem(FIHandler& handler, const Event& event, std::size_t i,
                                const PWFData& value) {
  const auto row = event.index + static_cast<std::int32_t>(i);
  handler.startElement(event.id, event.elementKind, nullptr, row, event.extra);
  handler.data(value, nullptr);
  handler.endElement(event.id, nullptr);
}

void EventTape::play(FIHandler& handler, Numbers numbers) const {
  std::span<const std::int64_t> integers(integers_);
  std::span<const PWFData> values(values_);
  for (const Event& event : events_) {
    const auto count = static_cast<std::size_t>(event.count);
    switch (event.kind) {
      case Kind::StartMessage: handler.startMessage(nullptr); break;
      case Kind::EndMessage: handler.endMessage(nullptr); break;
      case Kind::Start:
        handler.startElement(event.id, event.elementKind, nullptr, event.index, event.extra);
        break;
      case Kind::End: handler.endElement(event.id, nullptr); break;
      case Kind::Integers: {
        const auto run = integers.first(count);
        const auto sendOne = [&](std::size_t i) {
          playItem(handler, event, i, PWFData(run[i], false));
        };
        if (numbers == Numbers::InRuns) {
          sendNumbers(handler, event.id, event.elementKind, event.index, run, sendOne);
        } else {
          for (std::size_t i = 0; i < count; ++i) sendOne(i);
        }
        integers = integers.subspan(count);
        break;
      }
      case Kind::Values:
        for (std::size_t i = 0; i < count; ++i) playItem(handler, event, i, values[i]);
        values = values.subspan(count);
        break;
    }
  }
}

void EventTape::data(const PWFData& value, WorkerInfoPtr) {
  const std::int64_t* const number = value.getSignedValue();
  open_.kind = number != nullptr ? Kind::Integers : Kind::Values;
  Event& last = events_.back();
  const bool goesOn = last.kind == open_.kind && last.id == open_.id &&
                      last.elementKind == open_.elementKind && last.extra == open_.extra &&
                      last.index + last.count == open_.index;
  if (!goesOn) events_.push_back(open_);
  ++events_.back().count;
  if (number != nullptr) integers_.push_back(*number);
  else keep(value);
}

void EventTape::keep(const PWFData& value) {
  const unsigned short* const text = value.getStringValue();
  if (text == nullptr) return values_.push_back(value);
  texts_.emplace_back(textView(text));
  values_.emplace_back(texts_.back().c_str(), -1, value.getLogicalType(), EOReference);
}

}  // namespace cpi::bench
