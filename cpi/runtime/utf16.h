// UTF-16 at the interface: zero-terminated `const unsigned short*`, and `u"..."` without a cast.
//
// Every public operation that takes a text takes `const unsigned short*`. Beside it stands a
// template overload for `const char16_t*`, so that literals need no cast and a plain `nullptr`
// still picks the first form. Thread rule: `const` means safe to share.
#ifndef CPI_RUNTIME_UTF16_H
#define CPI_RUNTIME_UTF16_H

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace cpi {

// Admits char16_t and nothing else; see the note at the top of this file.
template <class C>
concept Char16 = std::same_as<C, char16_t>;

// The same text under the other code-unit type. The two types have one size and one alignment;
// the barrier keeps an optimiser from assuming that accesses through them never meet.
inline const unsigned short* asUnits(const char16_t* text) noexcept {
  asm volatile("" : : "rm"(text) : "memory");
  return reinterpret_cast<const unsigned short*>(text);
}
inline const char16_t* asChars(const unsigned short* text) noexcept {
  asm volatile("" : : "rm"(text) : "memory");
  return reinterpret_cast<const char16_t*>(text);
}

// Length in code units of a zero-terminated text; 0 for null.
//
// Reads whole aligned words, four units at a time, and so up to three units in front of the text
// and behind its terminator. They lie on the same page; no memory checker must mind.
__attribute__((no_sanitize("address", "thread"))) inline std::size_t textLength(
    const unsigned short* text) noexcept {
  using Word [[gnu::may_alias]] = std::uint64_t;
  constexpr std::uint64_t kLowBits = 0x0001000100010001;
  constexpr std::uint64_t kHighBits = 0x8000800080008000;
  if (text == nullptr) return 0;
  asm volatile("" : "+r"(text));  // the optimiser knows nothing of where the text begins and ends
  const std::uintptr_t skipped = reinterpret_cast<std::uintptr_t>(text) % sizeof(Word);
  const auto* word =
      reinterpret_cast<const Word*>(reinterpret_cast<std::uintptr_t>(text) - skipped);
  // Units in front of the text become ones that do not end it. The lowest unit of 0 is found
  // exactly: a borrow, by which others look like 0, only goes up.
  std::uint64_t units = *word | ((std::uint64_t{1} << 8 * skipped) - 1);
  std::size_t bytes = 0;
  for (;; units = *++word, bytes += sizeof(Word)) {
    const std::uint64_t ends = (units - kLowBits) & ~units & kHighBits;
    if (ends == 0) continue;
    bytes += static_cast<std::size_t>(std::countr_zero(ends)) / 8;
    return (bytes - skipped) / sizeof(unsigned short);
  }
}

// A view of a zero-terminated text; empty for null. Valid as long as the text.
inline std::u16string_view textView(const unsigned short* text) noexcept {
  return text == nullptr ? std::u16string_view()
                         : std::u16string_view(asChars(text), textLength(text));
}

}  // namespace cpi

#endif  // CPI_RUNTIME_UTF16_H
