// IndexArray: an array of an index, its own or one that lies in an image.
//
// Thread rule: written by the one thread that builds the index; afterwards safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_INDEXARRAY_H
#define CPI_DICTINFO_STDDI_QUERY_INDEXARRAY_H

#include <cstddef>
#include <span>
#include <utility>
#include <vector>

namespace cpi {

template <class T>
class IndexArray {
 public:
  IndexArray() noexcept = default;
  // `count` elements to be filled in. Throws std::bad_alloc.
  explicit IndexArray(std::size_t count, const T& value = {})
      : IndexArray(std::vector<T>(count, value)) {}
  explicit IndexArray(std::vector<T> elements) noexcept : own_(std::move(elements)), view_(own_) {}
  IndexArray(IndexArray&& other) noexcept
      : own_(std::move(other.own_)), view_(std::exchange(other.view_, {})) {}
  IndexArray& operator=(IndexArray&& other) noexcept {
    own_ = std::move(other.own_);
    view_ = std::exchange(other.view_, {});
    return *this;
  }

  // Refers to elements that outlive this object.
  void borrow(std::span<const T> elements) noexcept { *this = IndexArray(elements); }

  const T& operator[](std::size_t i) const noexcept { return view_[i]; }
  // Only of an array of its own.
  T& operator[](std::size_t i) noexcept { return own_[i]; }
  const T* data() const noexcept { return view_.data(); }
  const T* begin() const noexcept { return view_.data(); }
  const T* end() const noexcept { return view_.data() + view_.size(); }
  std::size_t size() const noexcept { return view_.size(); }
  bool empty() const noexcept { return view_.empty(); }
  std::size_t bytes() const noexcept { return view_.size_bytes(); }

 private:
  explicit IndexArray(std::span<const T> elements) noexcept : view_(elements) {}

  std::vector<T> own_;
  std::span<const T> view_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_INDEXARRAY_H
