// Where differences go: printed at once, counted for the summary.
#ifndef TESTS_REPLAY_REPORT_H
#define TESTS_REPLAY_REPORT_H

#include <condition_variable>
#include <iosfwd>
#include <mutex>
#include <string>
#include <thread>

#include "json.h"

namespace cpi::replay {

struct Tally {
  long vectors = 0;
  long operations = 0;
  long differences = 0;
};

// What a replay tells about the vector that it is working on.
class Report {
 public:
  // Prints at most `limit` differences, and counts all.
  Report(std::ostream& out, long limit) : out_(out), limit_(limit) {}

  void beginVector(const std::string& name);
  // Says which operation follows; differences refer to it until the next.
  void beginOperation(std::size_t index, const std::string& name);
  // The same for what is compared outside of any operation: counts nothing.
  void beginPhase(const std::string& name);

  // Compares and reports the first difference; true when there is none.
  bool same(const std::string& field, const Json& expected, const Json& got);
  void difference(const std::string& field, const std::string& expected, const std::string& got);

  const Tally& tally() const noexcept { return tally_; }

 private:
  std::ostream& out_;
  long limit_;
  Tally tally_;
  std::string vector_;
  std::string operation_;
};

// Ends the program, naming the vector, when one takes too long.
class Watchdog {
 public:
  Watchdog();
  Watchdog(const Watchdog&) = delete;
  Watchdog& operator=(const Watchdog&) = delete;
  ~Watchdog();

  void start(const std::string& vector);
  void stop() { start(""); }

 private:
  void watch();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::string vector_;  // empty: none is replayed
  long started_ = 0;    // counts starts, so that a late wake-up sees that the vector is another
  bool ended_ = false;
  std::thread thread_;
};

}  // namespace cpi::replay

#endif  // TESTS_REPLAY_REPORT_H
