#include "bench/support/eventtape.h"

namespace cpi::bench {

void EventTape::play(FIHandler& handler) const {
  auto value = values_.begin();
  for (const Event& event : events_) {
    switch (event.kind) {
      case Kind::StartMessage: handler.startMessage(nullptr); break;
      case Kind::EndMessage: handler.endMessage(nullptr); break;
      case Kind::Start:
        handler.startElement(event.id, event.elementKind, nullptr, event.index, event.extra);
        break;
      case Kind::End: handler.endElement(event.id, nullptr); break;
      case Kind::Data: handler.data(*value++, nullptr); break;
    }
  }
}

void EventTape::keep(const PWFData& value) {
  const unsigned short* const text = value.getStringValue();
  if (text == nullptr) return values_.push_back(value);
  texts_.emplace_back(textView(text));
  values_.emplace_back(texts_.back().c_str(), -1, value.getLogicalType(), EOReference);
}

}  // namespace cpi::bench
