// The binary image of a dictionary: its finished tables as one block of bytes.
//
// DictionaryInfo::ToQLBuffer makes an image and FromQLBuffer opens one, after having verified all
// of it. docs/image-format.md describes the layout. Everything here is stateless. Thread rule:
// `const` means safe to share.
#ifndef CPI_DICTINFO_DICTIONARYIMAGE_H
#define CPI_DICTINFO_DICTIONARYIMAGE_H

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

#include "cpi/runtime/export.h"

namespace cpi {

// Why a block of bytes is refused as an image. what() is one line: "found X at byte N; expected Y".
class CPI_API ImageError : public std::runtime_error {
 public:
  ImageError(std::uint64_t offset, const std::string& found, const std::string& expected);
  ~ImageError() override;

  // The place of the offending bytes, counted from 0.
  std::uint64_t offset() const noexcept { return offset_; }
  const std::string& found() const noexcept { return found_; }
  const std::string& expected() const noexcept { return expected_; }

 private:
  std::uint64_t offset_;
  std::string found_;
  std::string expected_;
};

// Opens every image, and no text file.
inline constexpr unsigned char kImageFirstByte = 0x89;
// The bytes from which the size of an image can be told.
inline constexpr std::size_t kImageHeadBytes = 32;

// The size in bytes of the image that begins with `head`. Throws ImageError when these are not
// the first bytes of an image that this library can read on this machine.
CPI_API std::uint64_t imageSize(std::span<const unsigned char> head);

// A value inside a record that no dictionary of its kind has.
struct RecordFault {
  std::uint64_t offset;  // in bytes from the start of the first record
  std::string found;
  std::string expected;
};

// What the base has to know of one table's records to keep them in an image. `records` is a whole
// number of records; nothing is known of its alignment, and for `findFault` of its bytes.
struct RecordRules {
  std::uint32_t recordSize = 0;  // in bytes
  std::uint32_t minimumRows = 0;
  std::uint32_t maximumRows = std::numeric_limits<std::int32_t>::max();
  // Sets what holds no value to zero: pointers, padding, the rest of a short value.
  void (*clearUnused)(std::span<unsigned char> records) = nullptr;
  // The first fault, or nothing. Bytes that hold no value are not looked at.
  std::optional<RecordFault> (*findFault)(std::span<const unsigned char> records) = nullptr;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_DICTIONARYIMAGE_H
