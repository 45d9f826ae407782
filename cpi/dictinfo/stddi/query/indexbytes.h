// IndexWriter and IndexReader: arrays as the image of a dictionary carries them.
//
// Each array is its number of elements, 8 bytes, and the elements, padded to whole words. Thread
// rule: one thread at a time.
#ifndef CPI_DICTINFO_STDDI_QUERY_INDEXBYTES_H
#define CPI_DICTINFO_STDDI_QUERY_INDEXBYTES_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <type_traits>
#include <utility>
#include <vector>

#include "cpi/dictinfo/stddi/query/indexarray.h"

namespace cpi {

class IndexWriter {
 public:
  template <class T>
  void operator()(const IndexArray<T>& array) {
    static_assert(std::has_unique_object_representations_v<T>, "padding would get into images");
    const std::uint64_t count = array.size();
    put(&count, sizeof count);
    put(array.data(), count * sizeof(T));
  }
  std::vector<unsigned char> bytes() && { return std::move(bytes_); }

 private:
  void put(const void* data, std::size_t size) {
    const auto* const first = static_cast<const unsigned char*>(data);
    if (size != 0) bytes_.insert(bytes_.end(), first, first + size);
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    bytes_.resize((bytes_.size() + kWord - 1) / kWord * kWord);
  }
  std::vector<unsigned char> bytes_;
};

// Nothing is known of the bytes but that they are aligned to words: an array that they do not hold
// stays as it is, the others lie in them.
class IndexReader {
 public:
  explicit IndexReader(std::span<const unsigned char> bytes) noexcept : bytes_(bytes) {}

  template <class T>
  void operator()(IndexArray<T>& array) noexcept {
    constexpr std::size_t kWord = sizeof(std::uint64_t);
    std::uint64_t count = 0;
    isWhole_ = isWhole_ && bytes_.size() >= kWord;
    if (!isWhole_) return;
    std::memcpy(&count, bytes_.data(), kWord);
    bytes_ = bytes_.subspan(kWord);
    isWhole_ = count <= bytes_.size() / sizeof(T);
    if (!isWhole_) return;
    const auto* const elements = reinterpret_cast<const T*>(bytes_.data());
    array.borrow({elements, static_cast<std::size_t>(count)});
    const std::size_t padded = (count * sizeof(T) + kWord - 1) / kWord * kWord;
    isWhole_ = padded <= bytes_.size();
    if (isWhole_) bytes_ = bytes_.subspan(padded);
  }
  // Whether all arrays were there, and nothing else.
  bool isDone() const noexcept { return isWhole_ && bytes_.empty(); }

 private:
  std::span<const unsigned char> bytes_;
  bool isWhole_ = true;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_INDEXBYTES_H
