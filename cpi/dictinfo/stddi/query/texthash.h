// The hash of a UTF-16 text, for the name indexes.
//
// Sixteen bytes a step through one wide multiplication. It is fast on short names and spreads them
// well, but offers no defence against names chosen to collide: whoever builds a table by it has to
// bound the work. The same text has the same hash on every machine of one byte order.
#ifndef CPI_DICTINFO_STDDI_QUERY_TEXTHASH_H
#define CPI_DICTINFO_STDDI_QUERY_TEXTHASH_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace cpi {

namespace texthash {

__extension__ using Wide = unsigned __int128;

inline constexpr std::uint64_t kFirstFactor = 0x9E3779B97F4A7C15;
inline constexpr std::uint64_t kSecondFactor = 0xD6E8FEB86659FD93;

inline std::uint64_t fold(std::uint64_t a, std::uint64_t b) noexcept {
  const Wide product = Wide{a} * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
}

template <class Word>
std::uint64_t wordAt(const unsigned char* place) noexcept {
  Word word = 0;
  std::memcpy(&word, place, sizeof word);
  return word;
}

// Whether an even number of bytes is the same; names are too short for a call to be worth while.
inline bool isEqual(const unsigned char* a, const unsigned char* b, std::size_t bytes) noexcept {
  constexpr std::size_t kWord = sizeof(std::uint64_t);
  if (bytes < kWord) {
    for (std::size_t i = 0; i < bytes; i += 2) {
      if (wordAt<std::uint16_t>(a + i) != wordAt<std::uint16_t>(b + i)) return false;
    }
    return true;
  }
  const std::size_t last = bytes - kWord;
  for (std::size_t i = 0; i < last; i += kWord) {
    if (wordAt<std::uint64_t>(a + i) != wordAt<std::uint64_t>(b + i)) return false;
  }
  return wordAt<std::uint64_t>(a + last) == wordAt<std::uint64_t>(b + last);
}

}  // namespace texthash

inline std::uint32_t hashOf(std::u16string_view text) noexcept {
  using namespace texthash;
  const auto* place = reinterpret_cast<const unsigned char*>(text.data());
  std::size_t bytes = text.size() * sizeof(char16_t);
  std::uint64_t state = kSecondFactor ^ bytes;
  for (; bytes > 16; place += 16, bytes -= 16) {
    state =
        fold(wordAt<std::uint64_t>(place) ^ kFirstFactor, wordAt<std::uint64_t>(place + 8) ^ state);
  }
  // The last bytes, read twice where they are fewer than two words.
  std::uint64_t low = 0;
  std::uint64_t high = 0;
  if (bytes >= 8) {
    low = wordAt<std::uint64_t>(place);
    high = wordAt<std::uint64_t>(place + bytes - 8);
  } else if (bytes >= 4) {
    low = wordAt<std::uint32_t>(place);
    high = wordAt<std::uint32_t>(place + bytes - 4);
  } else if (bytes >= 2) {
    low = wordAt<std::uint16_t>(place);
  }
  return static_cast<std::uint32_t>(fold(low ^ kFirstFactor, high ^ state) >> 32);
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_TEXTHASH_H
