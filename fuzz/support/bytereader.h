// ByteReader: draws values from the bytes of a fuzzer's input. Behind the end everything is 0.
#ifndef STDDI_FUZZ_SUPPORT_BYTEREADER_H
#define STDDI_FUZZ_SUPPORT_BYTEREADER_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <span>
#include <string>
#include <string_view>

namespace cpi::fuzz {

class ByteReader {
 public:
  ByteReader(const std::uint8_t* bytes, std::size_t size) : bytes_(bytes, size) {}

  bool isAtEnd() const noexcept { return bytes_.empty(); }
  std::uint8_t byte() noexcept {
    if (bytes_.empty()) return 0;
    const std::uint8_t first = bytes_.front();
    bytes_ = bytes_.subspan(1);
    return first;
  }
  bool flag() noexcept { return (byte() & 1) != 0; }
  // 0 to count - 1; 0 when there is nothing to choose from.
  std::int32_t below(std::int32_t count) noexcept { return count <= 0 ? 0 : byte() % count; }
  std::int32_t integer() noexcept {
    std::uint32_t number = 0;
    for (int i = 0; i < 4; ++i) number = number << 8 | byte();
    return static_cast<std::int32_t>(number);
  }
  // Mostly a row of a table, or none; now and then an index that leads nowhere.
  std::int32_t index(std::int32_t rows) noexcept {
    constexpr std::int32_t kNowhere[] = {-2, -3, -99, std::numeric_limits<std::int32_t>::max(),
                                         std::numeric_limits<std::int32_t>::min()};
    const std::uint8_t choice = byte();
    if (choice >= 250) return choice == 255 ? rows : kNowhere[choice - 250];
    return choice % (rows + 1) - 1;
  }
  // A name of few letters, so that equal ones come up; now and then units of any kind.
  std::u16string name() {
    constexpr std::u16string_view kNames[] = {u"a",     u"b",  u"c",      u"a^b", u"b ",
                                              u"urn:x", u"^a", u"\xD800", u"é",   u"12"};
    const std::uint8_t choice = byte();
    if (choice < 240) return std::u16string(kNames[choice % std::size(kNames)]);
    std::u16string units;
    for (int length = byte(); length > 0; --length) {
      units += static_cast<char16_t>(1 + (byte() << (length % 9)));
    }
    return units;
  }

 private:
  std::span<const std::uint8_t> bytes_;
};

// What must hold whatever the input: a fuzzer counts the abort as a finding.
inline void require(bool holds, const char* what) {
  if (holds) return;
  std::fprintf(stderr, "fuzz: %s\n", what);
  std::abort();
}

}  // namespace cpi::fuzz

#endif  // STDDI_FUZZ_SUPPORT_BYTEREADER_H
