// FIX dictionaries and messages for tests.
#ifndef TESTS_MODELS_FIX_SUPPORT_H
#define TESTS_MODELS_FIX_SUPPORT_H

#include <fmt/core.h>

#include <memory>
#include <numeric>
#include <string>
#include <string_view>
#include <vector>

#include "cpi/compile/fixcompiler.h"
#include "cpi/runtime/kellog.h"
#include "cpi/walk/fixwalker.h"
#include "tests/models/walk_support.h"

namespace cpi::test {

// A compiled dictionary, ready to walk along.
class FixDictionary {
 public:
  explicit FixDictionary(const std::vector<std::string>& files) {
    feed(compileFix(files, {}, report_), dictionary_);
    model_ = std::make_unique<FixModel>(dictionary_);
  }

  const FixModel& model() const { return *model_; }
  const StdDictionaryInfo& dictionary() const { return dictionary_; }
  const FixReport& report() const { return report_; }

 private:
  StdDictionaryInfo dictionary_{0};
  FixReport report_;
  std::unique_ptr<FixModel> model_;
};

// Puts body length and check sum into a message that has none, its fields ended by `mark`.
inline std::string framed(std::string message, char mark) {
  const std::string end(1, mark);
  const std::size_t first = message.find(mark) + 1;
  if (message.find(end + "9=") == message.npos) {
    const std::size_t sumField = message.find(end + "10=");
    const std::size_t stop = sumField == message.npos ? message.size() : sumField + 1;
    message.insert(first, fmt::format("9={}{}", stop - first, mark));
  }
  if (message.find(end + "10=") == message.npos) {
    const auto byte = [mark](std::uint32_t sum, char unit) {
      return sum + (unit == mark ? 1 : static_cast<unsigned char>(unit));
    };
    const std::uint32_t sum = std::accumulate(message.begin(), message.end(), 0U, byte);
    message += fmt::format("10={:03}{}", sum % 256, mark);
  }
  return message;
}

// While moves are logged a walk makes all of them, those that need no search too.
struct MovesLogged : KelLogSink {
  MovesLogged() { KelLog::install(this, LLTrace); }
  ~MovesLogged() override { KelLog::install(nullptr, LLOff); }
  void write(const KelLogItem&) override {}
};

}  // namespace cpi::test

#endif  // TESTS_MODELS_FIX_SUPPORT_H
