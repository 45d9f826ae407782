#include "report.h"

#include <chrono>
#include <cstdlib>
#include <iostream>

namespace cpi::replay {
namespace {

constexpr std::chrono::seconds kHardStop{20};
constexpr int kHardStopExit = 3;

}  // namespace

void Report::beginVector(const std::string& name) {
  vector_ = name;
  operation_.clear();
  ++tally_.vectors;
}

void Report::beginOperation(std::size_t index, const std::string& name) {
  operation_ = "op " + std::to_string(index) + " " + name;
  ++tally_.operations;
}

void Report::beginPhase(const std::string& name) { operation_ = name; }

bool Report::same(const std::string& field, const Json& expected, const Json& got) {
  const auto found = firstDifference(expected, got, field);
  if (found) difference(found->path, found->expected, found->got);
  return !found;
}

void Report::difference(const std::string& field, const std::string& expected,
                        const std::string& got) {
  if (++tally_.differences > limit_) return;
  out_ << vector_ << ": " << operation_ << ": " << field << ": expected " << expected << ", got "
       << got << '\n';
}

Watchdog::Watchdog() : thread_([this] { watch(); }) {}

Watchdog::~Watchdog() {
  {
    const std::lock_guard lock(mutex_);
    ended_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

void Watchdog::start(const std::string& vector) {
  {
    const std::lock_guard lock(mutex_);
    vector_ = vector;
    ++started_;
  }
  changed_.notify_one();
}

void Watchdog::watch() {
  std::unique_lock lock(mutex_);
  while (!ended_) {
    const long current = started_;
    const bool moved =
        changed_.wait_for(lock, kHardStop, [&] { return ended_ || started_ != current; });
    if (moved || vector_.empty()) continue;
    std::cout.flush();
    std::cerr << "replay: " << vector_ << " did not end within " << kHardStop.count() << " s\n";
    std::_Exit(kHardStopExit);
  }
}

}  // namespace cpi::replay
