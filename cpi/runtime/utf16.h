// UTF-16 at the interface: zero-terminated `const unsigned short*`, and `u"..."` without a cast.
//
// Every public operation that takes a text takes `const unsigned short*`. Beside it stands a
// template overload for `const char16_t*`, so that literals need no cast and a plain `nullptr`
// still picks the first form. Thread rule: everything here is stateless and safe to share.
#ifndef CPI_RUNTIME_UTF16_H
#define CPI_RUNTIME_UTF16_H

#include <concepts>
#include <cstddef>
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
inline std::size_t textLength(const unsigned short* text) noexcept {
  return text == nullptr ? 0 : std::char_traits<char16_t>::length(asChars(text));
}

// A view of a zero-terminated text; empty for null. Valid as long as the text.
inline std::u16string_view textView(const unsigned short* text) noexcept {
  return text == nullptr ? std::u16string_view()
                         : std::u16string_view(asChars(text), textLength(text));
}

}  // namespace cpi

#endif  // CPI_RUNTIME_UTF16_H
