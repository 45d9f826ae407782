#include "cpi/dictinfo/image/tablecheck.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>
#include <span>

#include "cpi/runtime/utf16.h"

namespace cpi {

namespace {

constexpr std::uint64_t kUnitBytes = sizeof(unsigned short);
constexpr std::uint64_t kOffsetBytes = sizeof(std::uint32_t);

std::string number(std::uint64_t value) { return std::to_string(value); }

std::string bounds(std::uint64_t low, std::uint64_t high) {
  return low == high ? number(low) : number(low) + " to " + number(high);
}

std::uint32_t offsetAt(const StringTable& property, std::uint32_t row) {
  std::uint32_t offset = 0;
  std::memcpy(&offset, property.buffer + kOffsetBytes * row, sizeof offset);
  return offset;
}

unsigned short unitAt(const StringTable& property, std::uint64_t offset) {
  return *reinterpret_cast<const unsigned short*>(property.buffer + offset);
}

Fault offsetFault(std::uint32_t row, std::uint32_t offset, const std::string& expected) {
  return {kOffsetBytes * row, "offset " + number(offset) + " for row " + number(row), expected};
}

std::optional<Fault> findIntegerFault(const StringTable& property, std::uint64_t start) {
  constexpr std::uint64_t kIntegerBytes = sizeof(std::int64_t);
  for (std::uint32_t row = 0; row < property.rowCount; ++row) {
    const std::uint32_t offset = offsetAt(property, row);
    if (offset == 0) continue;
    if (offset < start || offset + kIntegerBytes > property.bufferUsed) {
      return offsetFault(
          row, offset,
          "0, or 8 bytes from byte " + number(start) + " to byte " + number(property.bufferUsed));
    }
  }
  return std::nullopt;
}

// With a terminator at the very end every text ends inside the buffer.
std::optional<Fault> findEndFault(const StringTable& property, std::uint64_t start) {
  const std::uint64_t used = property.bufferUsed;
  if (used % kUnitBytes != 0) {
    return Fault{0, "a buffer of " + number(used) + " bytes of text", "whole UTF-16 units"};
  }
  if (used == start) return std::nullopt;
  unsigned short last = 0;
  std::memcpy(&last, property.buffer + used - kUnitBytes, sizeof last);
  if (last == 0) return std::nullopt;
  return Fault{used - kUnitBytes, "unit " + number(last), "the terminator of the last text"};
}

// Whether texts lie one behind the other in row order, as a load leaves them: each offset then lies
// behind the one before, with a terminator in front of it. Goes through the offsets block by block,
// for most columns have texts in all rows or in few, and looks for no fault's place: sound columns
// are what there is.
class TextsInOrder {
 public:
  // The buffer ends with a terminator.
  TextsInOrder(const StringTable& property, std::uint64_t start)
      : property_(property), previous_(static_cast<std::uint32_t>(start) - 1) {}

  bool check() {
    const auto* const first = reinterpret_cast<const std::uint32_t*>(property_.buffer);
    const std::span offsets(first, property_.rowCount);
    std::size_t done = 0;
    for (; done + kBlock <= offsets.size(); done += kBlock) {
      if (!checkBlock(offsets.subspan(done).first<kBlock>())) return false;
    }
    return checkRows(offsets.subspan(done));
  }

 private:
  static constexpr std::size_t kBlock = 16;

  bool checkBlock(std::span<const std::uint32_t, kBlock> offsets) {
    std::uint32_t bits = 0;
    for (std::size_t i = 0; i < kBlock; ++i) bits |= offsets[i];
    return bits == 0 || checkRows(offsets);
  }
  bool checkRows(std::span<const std::uint32_t> offsets) {
    std::uint32_t previous = previous_;
    std::uint32_t bits = 0;
    bool areAscending = true;
    for (const std::uint32_t offset : offsets) {
      const bool isNone = offset == 0;
      areAscending &= isNone | (offset > previous);
      bits |= offset;
      previous = isNone ? previous : offset;
    }
    if (!areAscending || bits % kUnitBytes != 0) return false;
    if (bits == 0) return true;
    previous_ = previous;
    return previous < property_.bufferUsed && areSeparate(offsets);
  }
  // The unit in front of each text but the first, which has offsets there. The others share a unit
  // that is known.
  bool areSeparate(std::span<const std::uint32_t> offsets) {
    if (first_ == 0) {
      first_ = *std::ranges::find_if(offsets, [](std::uint32_t offset) { return offset != 0; });
    }
    const std::uint32_t known = property_.bufferUsed;
    unsigned before = 0;
    for (const std::uint32_t offset : offsets) {
      before |= unitAt(property_, (offset > first_ ? offset : known) - kUnitBytes);
    }
    return before == 0;
  }

  const StringTable& property_;
  std::uint32_t previous_;  // the offset of the last text so far
  std::uint32_t first_ = 0;
};

std::optional<Fault> findTextFault(const StringTable& property, std::uint64_t start) {
  if (auto fault = findEndFault(property, start)) return fault;
  if (TextsInOrder(property, start).check()) return std::nullopt;
  // Texts lie side by side. Were many rows to share a long one, reading all rows could take the
  // square of the image's size.
  std::uint64_t left = property.bufferUsed - start;
  for (std::uint32_t row = 0; row < property.rowCount; ++row) {
    const std::uint32_t offset = offsetAt(property, row);
    if (offset == 0) continue;
    if (offset < start || offset >= property.bufferUsed || offset % kUnitBytes != 0) {
      return offsetFault(row, offset,
                         "0, or an even number from " + number(start) + " to less than " +
                             number(property.bufferUsed));
    }
    const auto* const text = reinterpret_cast<const unsigned short*>(property.buffer + offset);
    const std::uint64_t bytes = (textLength(text) + 1) * kUnitBytes;
    if (bytes > left) return offsetFault(row, offset, "a text that no other row shares");
    left -= bytes;
  }
  return std::nullopt;
}

}  // namespace

std::optional<Fault> findSizeFault(std::uint32_t recordSize, std::uint32_t rowCount,
                                   const RecordRules* rules) {
  constexpr std::uint64_t kMaximumRows = std::numeric_limits<std::int32_t>::max();
  constexpr std::uint64_t kMaximumBytes = std::numeric_limits<std::uint32_t>::max();
  const std::uint64_t low = rules == nullptr ? 0 : rules->minimumRows;
  const std::uint64_t high = rules == nullptr ? kMaximumRows : rules->maximumRows;
  const auto fault = [&](const std::string& expected) {
    return Fault{0, number(rowCount) + " rows of " + number(recordSize) + " bytes", expected};
  };
  if (rowCount < low || rowCount > high) return fault(bounds(low, high) + " rows");
  if ((recordSize == 0) != (rowCount == 0) ||
      std::uint64_t{recordSize} * rowCount > kMaximumBytes) {
    return fault("neither, or both and at most 4 GiB");
  }
  if (rules == nullptr || rowCount == 0 || recordSize == rules->recordSize) return std::nullopt;
  return fault("records of " + number(rules->recordSize) + " bytes");
}

std::optional<Fault> findKindFault(std::int32_t type, std::uint32_t propertyRows,
                                   std::uint32_t rowCount) {
  if (type != PTText && type != PTInteger) {
    return Fault{0, "a property of type " + std::to_string(type), "2 or 4"};
  }
  // A table that had no rows at first keeps what it had then.
  if (propertyRows == rowCount || propertyRows == 0) return std::nullopt;
  return Fault{0, "a property of " + number(propertyRows) + " rows",
               number(rowCount) + ", as the table has, or none"};
}

std::optional<Fault> findBufferFault(const StringTable& property) {
  const std::uint64_t start = kOffsetBytes * property.rowCount;
  if (property.bufferUsed < start || property.bufferUsed > property.bufferSize) {
    return Fault{0, number(property.bufferUsed) + " used bytes of a property",
                 bounds(start, property.bufferSize)};
  }
  return property.type == PTText ? findTextFault(property, start)
                                 : findIntegerFault(property, start);
}

}  // namespace cpi
