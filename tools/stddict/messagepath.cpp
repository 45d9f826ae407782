#include "tools/stddict/messagepath.h"

#include <fmt/core.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "tools/stddict/words.h"

namespace {

constexpr std::int32_t kMaximumOccurrence = 1'000;

class PathReader {
 public:
  explicit PathReader(const std::string& text) : text_(text) {}

  std::vector<MessageStep> steps() {
    std::vector<MessageStep> steps;
    do {
      if (!accept('/')) refuse("/");
      steps.push_back(step());
    } while (at_ < text_.size());
    return steps;
  }

 private:
  MessageStep step() {
    const std::size_t begin = at_;
    MessageStep step;
    if (accept('{')) step.query.namespaceUri = until("}", "} at the namespace's end");
    if (step.query.namespaceUri) ++at_;
    step.query.text = until("/[", nullptr);
    if (step.query.text.empty()) refuse("a name");
    if (accept('[')) step.occurrence = occurrence();
    step.text = text_.substr(begin, at_ - begin);
    return step;
  }

  std::int32_t occurrence() {
    std::int32_t number = 0;
    const char* const begin = text_.data() + at_;
    const auto [stop, error] = std::from_chars(begin, text_.data() + text_.size(), number);
    if (error != std::errc() || number < 1 || number > kMaximumOccurrence) {
      refuse(fmt::format("an occurrence, 1 to {}", kMaximumOccurrence));
    }
    at_ += static_cast<std::size_t>(stop - begin);
    if (!accept(']')) refuse("]");
    return number;
  }

  bool accept(char expected) {
    if (at_ == text_.size() || text_[at_] != expected) return false;
    ++at_;
    return true;
  }

  // Up to one of the characters; without `expected` the end of the text will do too.
  std::string until(const char* ends, const char* expected) {
    const std::size_t begin = at_;
    at_ = std::min(text_.find_first_of(ends, begin), text_.size());
    if (at_ == text_.size() && expected != nullptr) refuse(expected);
    return text_.substr(begin, at_ - begin);
  }

  [[noreturn]] void refuse(const std::string& expected) const {
    throw std::invalid_argument(
        fmt::format("--path: found {} at column {}; expected {}",
                    at_ == text_.size() ? "the end" : "'" + printable(text_.substr(at_, 1)) + "'",
                    at_ + 1, expected));
  }

  const std::string& text_;
  std::size_t at_ = 0;
};

}  // namespace

std::vector<MessageStep> readMessagePath(const std::string& text) {
  return PathReader(text).steps();
}
