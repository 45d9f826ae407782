// The fixed parts of an image and its checksum. All numbers are in the byte order of the machine.
#ifndef CPI_DICTINFO_IMAGE_IMAGELAYOUT_H
#define CPI_DICTINFO_IMAGE_IMAGELAYOUT_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "cpi/dictinfo/dictionaryimage.h"
#include "cpi/dictinfo/dicttable.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

// The line ends show a file that went through a text conversion.
inline constexpr std::array<unsigned char, 8> kImageMagic = {
    kImageFirstByte, 'C', 'P', 'I', '\r', '\n', 0x1A, '\n'};
inline constexpr std::uint32_t kImageByteOrder = 0x01020304;
inline constexpr std::uint32_t kImageVersion = 3;
inline constexpr std::uint64_t kImageAlignment = 8;
// As many as a load admits. It also bounds the cost of putting them in order.
inline constexpr std::uint32_t kMaximumImageProperties = 1024;

struct ImageHead {
  std::array<unsigned char, 8> magic = kImageMagic;
  std::uint32_t byteOrder = kImageByteOrder;
  std::uint32_t version = kImageVersion;
  std::uint64_t size = 0;      // of the whole image
  std::uint64_t checksum = 0;  // of all that follows
};
struct ImageContentsHead {
  std::uint32_t slots = 0;
  std::uint32_t msgSetUnits = 0;  // of the message set id, which follows; the format id comes next
  std::uint32_t formatUnits = 0;
  std::uint32_t derivedWords = 0;  // 8-byte words of what was derived, behind the last table
};
struct ImageTableHead {
  std::uint32_t recordSize = 0;  // 0 without rows
  std::uint32_t rowCount = 0;
  std::uint32_t properties = 0;
  std::uint32_t reserved = 0;
};
struct ImagePropertyHead {
  std::int32_t type = PTNone;
  std::uint32_t rowCount = 0;
  std::uint32_t tableMemberUnits = 0;  // of the table-member name, which follows
  std::uint32_t memberUnits = 0;       // of the member name, which comes next
  std::uint32_t used = 0;              // bytes of the value buffer, which comes last
  std::uint32_t reserved = 0;
};
static_assert(sizeof(ImageHead) == kImageHeadBytes);
static_assert(sizeof(ImageContentsHead) == 16);
static_assert(sizeof(ImageTableHead) == 16);
static_assert(sizeof(ImagePropertyHead) == 24);

inline constexpr std::uint64_t paddedSize(std::uint64_t size) noexcept {
  return (size + kImageAlignment - 1) / kImageAlignment * kImageAlignment;
}

// Of a whole number of 8-byte words: the sum of each eighth word, and the sum of these sums as they
// grow, so that a change of a word changes its sum, and an exchange of words the other. It goes
// through the bytes as fast as they come. `copy`, if not null, gets the bytes on the way.
inline std::uint64_t imageChecksum(std::span<const unsigned char> bytes,
                                   unsigned char* copy = nullptr) noexcept {
  using Pair [[gnu::vector_size(16)]] = std::uint64_t;
  constexpr std::uint64_t kFactor = 0x9E3779B97F4A7C15;  // odd, with well-mixed bits
  constexpr std::size_t kPairs = 4;
  Pair sums[kPairs] = {};
  Pair totals[kPairs] = {};
  std::size_t done = 0;
  const auto addBlocks = [&](auto keep) {
    for (; bytes.size() - done >= sizeof sums; done += sizeof sums) {
#pragma GCC unroll 4
      for (std::size_t i = 0; i < kPairs; ++i) {  // in registers, which a plain loop would not use
        Pair words;
        std::memcpy(&words, bytes.data() + done + i * sizeof words, sizeof words);
        keep(words, done + i * sizeof words);
        sums[i] += words;
        totals[i] += sums[i];
      }
    }
  };
  if (copy == nullptr) {
    addBlocks([](const Pair&, std::size_t) {});
  } else {
    addBlocks([copy](const Pair& words, std::size_t place) {
      std::memcpy(copy + place, &words, sizeof words);
    });
    std::memcpy(copy + done, bytes.data() + done, bytes.size() - done);
  }
  std::uint64_t state = bytes.size();
  const auto mix = [&state](std::uint64_t word) {
    state = (state ^ word) * kFactor;
    state ^= state >> 32;
  };
  for (; bytes.size() - done >= sizeof state; done += sizeof state) {
    std::uint64_t word = 0;
    std::memcpy(&word, bytes.data() + done, sizeof word);
    mix(word);
  }
  for (const auto& pairs : {sums, totals}) {
    for (std::size_t i = 0; i < 2 * kPairs; ++i) mix(pairs[i / 2][i % 2]);
  }
  return state;
}

// What an image holds, in memory.
struct ImageContents {
  explicit ImageContents(std::size_t slots) : tables(slots) {}

  KelStringBase msgSetID;
  KelStringBase formatID;
  std::shared_ptr<const void> bytes;  // that the following refers to
  std::vector<DictTable> tables;
  std::span<const unsigned char> derived;  // not looked into
};

// The rules of each slot's records; null where there are none.
using SlotRules = std::vector<const RecordRules*>;

}  // namespace cpi

#endif  // CPI_DICTINFO_IMAGE_IMAGELAYOUT_H
