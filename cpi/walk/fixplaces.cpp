#include "cpi/walk/fixwalk.h"
#include "cpi/walk/valueform.h"

namespace cpi {

void FixPlaces::start(const WalkPosition& begin, std::string_view message) noexcept {
  begin_ = begin;
  last_ = begin;
  message_ = message;
}

WalkPosition FixPlaces::at(std::size_t offset) noexcept {
  const auto done = static_cast<std::size_t>(last_.offset - begin_.offset);
  if (offset < done) {
    last_ = begin_;
    return at(offset);
  }
  advance(last_, message_.substr(done, offset - done));
  return last_;
}

// Columns count characters: bytes that go on with one are left out.
void FixPlaces::advance(WalkPosition& place, std::string_view bytes) noexcept {
  place.offset += static_cast<std::int64_t>(bytes.size());
  for (std::size_t end = bytes.find('\n'); end != bytes.npos; end = bytes.find('\n')) {
    ++place.line;
    place.column = 1;
    bytes.remove_prefix(end + 1);
  }
  place.column += characters(bytes);
}

}  // namespace cpi
