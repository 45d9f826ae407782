// What a call into the library did: its result or exception, its log items and its duration.
#ifndef TESTS_REPLAY_CAPTURE_H
#define TESTS_REPLAY_CAPTURE_H

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "cpi/runtime/kelexception.h"
#include "cpi/runtime/kellog.h"
#include "json.h"

namespace cpi::replay {

// An exception that left the library.
struct CaughtError {
  std::string type;  // name of the class; of another exception also what it says
  std::string file;
  std::int32_t line = 0;
  std::string operation;
  std::uint32_t number = 0;
  Json message;
  Json inserts = Json::array();  // as texts
  const KelLogSource* source = nullptr;
  bool isForeign = true;  // neither of the library's two classes

  bool isRefusal() const;  // a KelConfigurationException with CP_DICTIONARY_ERROR's number
};

struct Attempt {
  Json result;  // null when the call threw
  std::optional<CaughtError> error;
  std::chrono::steady_clock::duration duration{};

  bool threwForeign() const { return error && error->isForeign; }
};

// Calls `call` and catches whatever leaves it, but for errors of the vector itself.
Attempt attempt(const std::function<Json()>& call);

// An exception with class, file, line, operation, number, message and inserts.
Json errorJson(const CaughtError& error);
// The same members of an expected error, the inserts as texts.
Json expectedError(const Json& error);
// Inserts of a vector as texts: numbers in decimal.
Json plainInserts(const Json& inserts);

// Collects log items from construction to destruction.
class LogCapture final : public KelLogSink {
 public:
  explicit LogCapture(int level) noexcept { KelLog::install(this, level); }
  LogCapture(const LogCapture&) = delete;
  LogCapture& operator=(const LogCapture&) = delete;
  ~LogCapture() override { KelLog::install(nullptr, 0); }

  void write(const KelLogItem& item) override;
  // [text, insert, ...] of each item of a kind.
  Json items(LogKind kind) const;
  // The failure text of the last exit item of an operation, or null.
  Json failureText(std::string_view operation) const;

 private:
  struct Item {
    LogKind kind;
    std::string operation;
    Json fields;
  };
  std::vector<Item> items_;
};

}  // namespace cpi::replay

#endif  // TESTS_REPLAY_CAPTURE_H
