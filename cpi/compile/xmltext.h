// Texts of the XML parser, and the one start of its runtime. Stateless and safe to share.
#ifndef CPI_COMPILE_XMLTEXT_H
#define CPI_COMPILE_XMLTEXT_H

#include <new>
#include <string_view>
#include <xercesc/util/OutOfMemoryException.hpp>

#include "cpi/runtime/kelstring.h"

namespace cpi {

// A view of a zero-terminated text; empty for null.
inline std::u16string_view viewOf(const char16_t* text) noexcept {
  return text == nullptr ? std::u16string_view() : std::u16string_view(text);
}

// Without the white space of XML at its ends.
std::u16string_view trimmed(std::u16string_view text) noexcept;

// Must be called before anything of the XML parser is used; starts it at the first call.
void startXmlParser();

// Runs what uses the XML parser, whose word for memory that fails is no std::exception: throws
// std::bad_alloc instead.
template <class Work>
auto withParser(const Work& work) {
  try {
    return work();
  } catch (const xercesc::OutOfMemoryException&) {
    throw std::bad_alloc();
  }
}

}  // namespace cpi

#endif  // CPI_COMPILE_XMLTEXT_H
