#include "tools/stddict/fixpieces.h"

#include <algorithm>
#include <cstring>
#include <span>

#include "cpi/extract/fileerror.h"
#include "cpi/walk/fixwalk.h"

namespace {

constexpr std::size_t kReadSize = std::size_t{1} << 18;

}  // namespace

FixPieces::FixPieces(const std::string& path, const cpi::FixModel& model)
    : path_(path), file_(path), framer_(model) {
  place_.line = 1;
  place_.column = 1;
  place_.offset = 0;
}

bool FixPieces::next(FixPiece& piece) {
  while (!isLast_) {
    read();
    if (take(piece)) return true;
  }
  if (count_ == 0) {
    throw cpi::FileError(path_, {}, "no FIX message",
                         "fields as tag=value, the first of them 8=FIX...");
  }
  return false;
}

// The buffer grows when it is full of one message.
void FixPieces::read() {
  if (held_ == buffer_.size()) buffer_.resize(std::max(kReadSize, 2 * held_));
  held_ += file_.read(std::span(buffer_).subspan(held_));
  isLast_ = held_ < buffer_.size();
}

// From the first message held to the end of the last one.
bool FixPieces::take(FixPiece& piece) {
  std::size_t at = 0;
  std::size_t first = 0;
  std::size_t end = 0;
  std::int64_t messages = 0;
  cpi::FixFrame frame;
  while (framer_.next(held(), isLast_, at, frame) == cpi::FixFramer::Outcome::Found) {
    if (messages++ == 0) first = frame.begin;
    end = frame.end;
  }
  if (messages != 0) {
    cpi::FixPlaces::advance(place_, held().substr(0, first));
    piece.bytes = held().substr(first, end - first);
    piece.start = place_;
    piece.number = count_ + 1;
    count_ += messages;
  }
  cpi::FixPlaces::advance(place_, held().substr(first, at - first));
  held_ -= at;
  std::memmove(buffer_.data(), buffer_.data() + at, held_);
  return messages != 0;
}
