// KelStringBase: an immutable UTF-16 text whose copies share one buffer.
//
// Thread rule: `const` means safe to share. Any number of threads may hold, copy and destroy copies
// of the same text at once; the reference count is atomic.
#ifndef CPI_RUNTIME_KELSTRING_H
#define CPI_RUNTIME_KELSTRING_H

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>

#include "cpi/runtime/export.h"
#include "cpi/runtime/utf16.h"

namespace cpi {

class CPI_API KelStringBase {
 public:
  // The empty text. Allocates nothing.
  KelStringBase() noexcept = default;
  // A copy of `text` up to its terminator; null gives the empty text. Throws std::bad_alloc.
  KelStringBase(const unsigned short* text) : KelStringBase(textView(text)) {}  // NOLINT: implicit
  template <Char16 C>
  KelStringBase(const C* text) : KelStringBase(asUnits(text)) {}  // NOLINT: implicit
  // A copy of `text`, which may hold any code units. Throws std::bad_alloc.
  explicit KelStringBase(std::u16string_view text);
  KelStringBase(const KelStringBase& other) noexcept;
  KelStringBase(KelStringBase&& other) noexcept : buffer_(std::exchange(other.buffer_, nullptr)) {}
  KelStringBase& operator=(const KelStringBase& other) noexcept;
  KelStringBase& operator=(KelStringBase&& other) noexcept {
    std::swap(buffer_, other.buffer_);
    return *this;
  }
  ~KelStringBase();

  // From UTF-8; ill-formed bytes become U+FFFD. Throws std::bad_alloc.
  static KelStringBase fromUtf8(std::string_view text);
  // To UTF-8; a lone surrogate becomes U+FFFD. Throws std::bad_alloc.
  std::string toUtf8() const;

  // The zero-terminated text, never null; valid while this object or a copy of it lives.
  const unsigned short* getText() const noexcept { return asUnits(view().data()); }
  std::u16string_view view() const noexcept;
  std::size_t length() const noexcept { return view().size(); }
  bool isEmpty() const noexcept { return length() == 0; }

  // Equal length and equal code units.
  friend bool operator==(const KelStringBase& a, const KelStringBase& b) noexcept {
    return a.buffer_ == b.buffer_ || a.view() == b.view();
  }

 private:
  struct Buffer;
  Buffer* buffer_ = nullptr;  // null: the empty text
};

// UTF-16 to UTF-8; a lone surrogate becomes U+FFFD. Throws std::bad_alloc.
CPI_API std::string toUtf8(std::u16string_view text);
// UTF-8 to UTF-16; ill-formed bytes become U+FFFD. Throws std::bad_alloc.
CPI_API std::u16string toUtf16(std::string_view text);

}  // namespace cpi

#endif  // CPI_RUNTIME_KELSTRING_H
