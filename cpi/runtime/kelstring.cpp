#include "cpi/runtime/kelstring.h"

#include <unicode/ustring.h>

#include <atomic>
#include <climits>
#include <cstring>
#include <new>
#include <stdexcept>

#include "cpi/runtime/memory.h"

namespace cpi {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// ICU counts in int32; longer texts are a caller's mistake that must not wrap.
std::int32_t icuLength(std::size_t length) {
  if (length > static_cast<std::size_t>(INT32_MAX / 3)) {
    throw std::length_error("text too long to convert between UTF-8 and UTF-16");
  }
  return static_cast<std::int32_t>(length);
}

}  // namespace

// The code units and a terminator follow the header in the same block.
struct KelStringBase::Buffer {
  std::atomic<std::size_t> references;
  std::size_t length;

  char16_t* text() noexcept { return reinterpret_cast<char16_t*>(this + 1); }
};

KelStringBase::KelStringBase(std::u16string_view text) {
  if (text.empty()) return;
  void* block = cpMalloc(sizeof(Buffer) + (text.size() + 1) * sizeof(char16_t));
  buffer_ = new (block) Buffer{{1}, text.size()};
  std::memcpy(buffer_->text(), text.data(), text.size() * sizeof(char16_t));
  buffer_->text()[text.size()] = 0;
}

KelStringBase::KelStringBase(const KelStringBase& other) noexcept : buffer_(other.buffer_) {
  if (buffer_ != nullptr) buffer_->references.fetch_add(1, std::memory_order_relaxed);
}

KelStringBase& KelStringBase::operator=(const KelStringBase& other) noexcept {
  KelStringBase copy(other);
  std::swap(buffer_, copy.buffer_);
  return *this;
}

KelStringBase::~KelStringBase() {
  // The last owner must see every use of the text by the owners before it.
  if (buffer_ != nullptr && buffer_->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    buffer_->~Buffer();
    cpFree(buffer_);
  }
}

std::u16string_view KelStringBase::view() const noexcept {
  return buffer_ == nullptr ? std::u16string_view(u"", 0)
                            : std::u16string_view(buffer_->text(), buffer_->length);
}

KelStringBase KelStringBase::fromUtf8(std::string_view text) {
  return KelStringBase(toUtf16(text));
}

std::string KelStringBase::toUtf8() const { return cpi::toUtf8(view()); }

std::string toUtf8(std::u16string_view text) {
  // One code unit never needs more than three bytes.
  std::string bytes(static_cast<std::size_t>(icuLength(text.size())) * 3, '\0');
  std::int32_t written = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strToUTF8WithSub(bytes.data(), icuLength(bytes.size() / 3) * 3, &written, text.data(),
                     icuLength(text.size()), kReplacement, nullptr, &status);
  bytes.resize(static_cast<std::size_t>(written));
  return bytes;
}

std::u16string toUtf16(std::string_view text) {
  // One byte never makes more than one code unit.
  std::u16string units(text.size(), u'\0');
  std::int32_t written = 0;
  UErrorCode status = U_ZERO_ERROR;
  u_strFromUTF8WithSub(units.data(), icuLength(units.size()), &written, text.data(),
                       icuLength(text.size()), kReplacement, nullptr, &status);
  units.resize(static_cast<std::size_t>(written));
  return units;
}

}  // namespace cpi
