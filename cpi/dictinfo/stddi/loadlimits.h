// LoadLimits: how much a stream may ask for before it has sent it.
//
// The first rows of a stream say how many will follow, and the tables are sized by that. A short
// hostile stream can say anything: what is beyond these limits is refused before anything is
// claimed. The defaults are far above what real models need.
#ifndef CPI_DICTINFO_STDDI_LOADLIMITS_H
#define CPI_DICTINFO_STDDI_LOADLIMITS_H

#include <cstdint>

namespace cpi {

struct LoadLimits {
  std::int64_t rows = std::int64_t{1} << 24;   // of one table
  std::int64_t properties = 1024;              // of one table
  std::int64_t bytes = std::int64_t{1} << 31;  // that all tables and properties claim up front,
                                               // and the names of properties
};

// What a reader that knows the length of its input sets in place of `bytes`: no row of a table, not
// even one of a single short column, takes more memory than this for each byte that makes it.
inline constexpr std::int64_t kClaimedBytesPerInputByte = 256;
// The claim that any input may make, however short: tables whose rows hold nothing but defaults.
inline constexpr std::int64_t kFreeClaimedBytes = std::int64_t{1} << 20;

// The limits for an input of `inputBytes`; never above those given.
constexpr LoadLimits limitsForInput(std::int64_t inputBytes, LoadLimits limits = {}) noexcept {
  const std::int64_t most = (limits.bytes - kFreeClaimedBytes) / kClaimedBytesPerInputByte;
  if (inputBytes < most) limits.bytes = kFreeClaimedBytes + inputBytes * kClaimedBytesPerInputByte;
  return limits;
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_LOADLIMITS_H
