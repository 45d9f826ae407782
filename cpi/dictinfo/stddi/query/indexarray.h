// IndexArray: an array of an index, its own or one that lies in an image.
//
// Thread rule: `const` means safe to share. One thread builds the index.
#ifndef CPI_DICTINFO_STDDI_QUERY_INDEXARRAY_H
#define CPI_DICTINFO_STDDI_QUERY_INDEXARRAY_H

#include <algorithm>
#include <cstddef>
#include <memory>
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
      : own_(std::make_unique_for_overwrite<T[]>(count)), view_(own_.get(), count) {
    std::fill_n(own_.get(), count, value);
  }
  // A copy of `elements`. Throws std::bad_alloc.
  explicit IndexArray(const std::vector<T>& elements) : IndexArray(elements.size()) {
    std::ranges::copy(elements, own_.get());
  }
  IndexArray(IndexArray&& other) noexcept
      : own_(std::move(other.own_)), view_(std::exchange(other.view_, {})) {}
  IndexArray& operator=(IndexArray&& other) noexcept {
    own_ = std::move(other.own_);
    view_ = std::exchange(other.view_, {});
    return *this;
  }

  // Refers to elements that outlive this object.
  void borrow(std::span<const T> elements) noexcept {
    own_.reset();
    view_ = elements;
  }

  const T& operator[](std::size_t i) const noexcept { return view_[i]; }
  // Only of an array of its own.
  T& operator[](std::size_t i) noexcept { return own_[i]; }
  const T* data() const noexcept { return view_.data(); }
  const T* begin() const noexcept { return view_.data(); }
  const T* end() const noexcept { return view_.data() + view_.size(); }
  std::span<const T> elements() const noexcept { return view_; }
  std::size_t size() const noexcept { return view_.size(); }
  bool empty() const noexcept { return view_.empty(); }
  std::size_t bytes() const noexcept { return view_.size_bytes(); }

 private:
  std::unique_ptr<T[]> own_;
  std::span<const T> view_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_INDEXARRAY_H
