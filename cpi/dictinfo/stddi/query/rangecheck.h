// Checks of whole arrays, as an index that comes from an image needs them.
//
// A number out of range leaves its trace in the sign of a difference, and the signs are collected
// block by block, which compilers turn into wide instructions. Stateless.
#ifndef CPI_DICTINFO_STDDI_QUERY_RANGECHECK_H
#define CPI_DICTINFO_STDDI_QUERY_RANGECHECK_H

#include <cstddef>
#include <cstdint>
#include <span>

namespace cpi {

// Whether `mark(element)` has its highest bit clear for each element.
template <class T, class Mark>
bool areAllUnmarked(std::span<const T> elements, Mark mark) noexcept {
  using Marks = decltype(mark(elements[0]));
  constexpr std::size_t kBlock = 64 / sizeof(Marks);
  Marks marks = 0;
  std::size_t done = 0;
  for (; done + kBlock <= elements.size(); done += kBlock) {
    const T* const block = elements.data() + done;
    for (std::size_t i = 0; i < kBlock; ++i) marks |= mark(block[i]);
  }
  for (; done < elements.size(); ++done) marks |= mark(elements[done]);
  return marks >> (8 * sizeof(Marks) - 1) == 0;
}

// A mark for what is neither -1 nor a row of a table with `rowCount` rows.
inline std::uint32_t markUnlessRowOrNone(std::int32_t row, std::int32_t rowCount) noexcept {
  const auto number = static_cast<std::uint32_t>(row);
  return (number + 1) | (static_cast<std::uint32_t>(rowCount) - 1 - number);
}

inline bool areRowsOrNone(std::span<const std::int32_t> rows, std::int32_t rowCount) noexcept {
  return areAllUnmarked(
      rows, [rowCount](std::int32_t row) { return markUnlessRowOrNone(row, rowCount); });
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_RANGECHECK_H
