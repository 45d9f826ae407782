#include "cpi/walk/fixwalker.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <vector>

#include "cpi/extract/fileerror.h"
#include "cpi/walk/fixmessage.h"
#include "cpi/walk/fixwalk.h"
#include "cpi/walk/messagefile.h"

namespace cpi {
namespace {

constexpr std::size_t kReadSize = std::size_t{1} << 18;

}  // namespace

class FixWalker::Walk {
 public:
  Walk(const FixModel& model, const WalkOptions& options)
      : model_(&model), walk_(model, options.isChecking), framer_(model) {}

  WalkSummary file(const std::string& path, WalkVisitor* visitor);
  WalkSummary text(std::string_view text, const std::string& name, WalkVisitor* visitor,
                   const WalkPosition& start);

 private:
  void begin(WalkVisitor* visitor, const WalkPosition& start);
  void walkOne(std::string_view message, FixDelimiter delimiter);
  // Walks the whole messages in a text; returns how much of it is done with.
  std::size_t walkAll(std::string_view text, bool isLast);
  WalkSummary finish(const std::string& name) const;
  void advance(std::string_view bytes) noexcept {
    if (visitor_ != nullptr) FixPlaces::advance(place_, bytes);
  }

  const FixModel* model_;
  FixWalk walk_;
  FixMessage message_;
  FixFramer framer_;
  FixPlaces places_;
  WalkPosition place_;  // of what follows the last message
  WalkVisitor* visitor_ = nullptr;
  WalkSummary summary_;
  std::vector<char> buffer_;
};

void FixWalker::Walk::begin(WalkVisitor* visitor, const WalkPosition& start) {
  visitor_ = visitor;
  framer_ = FixFramer(*model_);
  summary_ = {};
  place_ = start;
}

void FixWalker::Walk::walkOne(std::string_view message, FixDelimiter delimiter) {
  places_.start(place_, message);
  message_.parse(*model_, message, delimiter);
  if (visitor_ == nullptr) return walk_.walk(message_, places_, nullptr, summary_);
  WalkSummary summary;
  walk_.walk(message_, places_, visitor_, summary);
  summary_.add(summary);
  visitor_->endOfMessage(summary);
}

std::size_t FixWalker::Walk::walkAll(std::string_view text, bool isLast) {
  std::size_t at = 0;
  std::size_t done = 0;
  FixFrame frame;
  while (framer_.next(text, isLast, at, frame) == FixFramer::Outcome::Found) {
    advance(text.substr(done, frame.begin - done));
    walkOne(text.substr(frame.begin, frame.end - frame.begin), frame.delimiter);
    done = frame.begin;
  }
  advance(text.substr(done, at - done));
  return at;
}

WalkSummary FixWalker::Walk::finish(const std::string& name) const {
  if (summary_.elements == 0) {
    throw FileError(name, {}, "no FIX message", "fields as tag=value, the first of them 8=FIX...");
  }
  return summary_;
}

WalkSummary FixWalker::Walk::text(std::string_view text, const std::string& name,
                                  WalkVisitor* visitor, const WalkPosition& start) {
  begin(visitor, start);
  walkAll(text, true);
  return finish(name);
}

// What is not done with moves to the front of the buffer, which grows when it is full.
WalkSummary FixWalker::Walk::file(const std::string& path, WalkVisitor* visitor) {
  MessageFile file(path);
  begin(visitor, {{1, 1}, 0});
  std::size_t held = 0;
  while (true) {
    if (held == buffer_.size()) buffer_.resize(std::max(kReadSize, 2 * held));
    held += file.read(std::span(buffer_).subspan(held));
    const bool isLast = held < buffer_.size();
    const std::size_t done = walkAll({buffer_.data(), held}, isLast);
    if (isLast) return finish(path);
    held -= done;
    std::memmove(buffer_.data(), buffer_.data() + done, held);
  }
}

FixWalker::FixWalker(const FixModel& model, WalkOptions options)
    : walk_(std::make_unique<Walk>(model, options)) {}
FixWalker::~FixWalker() = default;
FixWalker::FixWalker(FixWalker&&) noexcept = default;

WalkSummary FixWalker::walkFile(const std::string& path, WalkVisitor* visitor) {
  return walk_->file(path, visitor);
}

WalkSummary FixWalker::walkText(std::string_view text, const std::string& name,
                                WalkVisitor* visitor, const WalkPosition& start) {
  return walk_->text(text, name, visitor, start);
}

}  // namespace cpi
