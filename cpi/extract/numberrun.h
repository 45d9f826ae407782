// Integers of one column as events: in runs as far as the handler takes them.
#ifndef CPI_EXTRACT_NUMBERRUN_H
#define CPI_EXTRACT_NUMBERRUN_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "cpi/runtime/fihandler.h"

namespace cpi {

// Sends items of the column `id` for rows from `index` on: offers them to `handler`, and calls
// `sendOne(i)` for each that it leaves. A column begins with an item of the latter kind, from which
// a handler learns what it is. Throws what `sendOne` throws.
template <class SendOne>
void sendNumbers(FIHandler& handler, std::int32_t id, unsigned short kind, std::int32_t index,
                 std::span<const std::int64_t> values, SendOne sendOne) {
  bool isOffered = true;
  for (std::size_t i = 0; i < values.size(); ++i) {
    if (isOffered) {
      const auto row = index + static_cast<std::int32_t>(i);
      const std::size_t taken = handler.items(id, kind, row, values.subspan(i));
      isOffered = taken != 0 || i == 0;
      i += taken;
    }
    if (i < values.size()) sendOne(i);
  }
}

}  // namespace cpi

#endif  // CPI_EXTRACT_NUMBERRUN_H
