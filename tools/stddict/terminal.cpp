#include "tools/stddict/terminal.h"

#include <fmt/core.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

#include "cpi/extract/fileerror.h"

bool isColourWanted() noexcept {
  return ::isatty(STDOUT_FILENO) != 0 && std::getenv("NO_COLOR") == nullptr;
}

std::string Style::marked(std::string_view code, std::string_view text) const {
  if (!isColoured_ || text.empty()) return std::string(text);
  return fmt::format("\x1b[{}m{}\x1b[0m", code, text);
}

// Drawn by a thread of its own: what takes long need not know of it.
class Progress::Bar {
 public:
  explicit Bar(std::string what)
      : what_(std::move(what)), thread_([this](const std::stop_token& stop) { run(stop); }) {}

  std::atomic<double> done{-1};

 private:
  static constexpr std::chrono::milliseconds kPatience{2000};
  static constexpr std::chrono::milliseconds kInterval{100};
  static constexpr int kWidth = 30;

  void run(const std::stop_token& stop) {
    std::unique_lock lock(mutex_);
    if (isStopped(lock, stop, kPatience)) return;
    for (int step = 0; !isStopped(lock, stop, kInterval); ++step) draw(step);
    std::fputs("\r\x1b[K", stderr);
    std::fflush(stderr);
  }

  bool isStopped(std::unique_lock<std::mutex>& lock, const std::stop_token& stop,
                 std::chrono::milliseconds wait) {
    wakened_.wait_for(lock, stop, wait, [] { return false; });
    return stop.stop_requested();
  }

  void draw(int step) const {
    const double part = done.load(std::memory_order_relaxed);
    std::string bar(kWidth, '.');
    if (part >= 0) {
      std::fill_n(bar.begin(), static_cast<int>(std::min(part, 1.0) * kWidth), '#');
    } else {
      const int span = 2 * (kWidth - 1);
      const int place = step % span;
      bar[static_cast<std::size_t>(std::min(place, span - place))] = '#';
    }
    const auto passed = std::chrono::steady_clock::now() - start_;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(passed).count();
    fmt::print(stderr, "\r[{}] {}, {} s\x1b[K", bar, what_, seconds);
    std::fflush(stderr);
  }

  std::string what_;
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
  std::mutex mutex_;
  std::condition_variable_any wakened_;
  std::jthread thread_;  // the last member: stops before what it uses goes
};

Progress::Progress(std::string what) {
  if (::isatty(STDERR_FILENO) != 0) bar_ = std::make_unique<Bar>(std::move(what));
}

Progress::~Progress() = default;

void Progress::setDone(double part) noexcept {
  if (bar_ != nullptr) bar_->done.store(part, std::memory_order_relaxed);
}

void finishOutput() {
  if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
    throw cpi::FileError("standard output", {}, "cannot be written");
  }
}

std::string printable(std::string text) {
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
  // The second control block of Unicode, which is two bytes in UTF-8.
  const auto isWideControl = [&](std::size_t i) {
    return text[i] == '\xC2' && i + 1 < text.size() &&
           static_cast<unsigned char>(text[i + 1]) < 0xA0;
  };
  std::string shown;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isControl(static_cast<unsigned char>(text[i]))) {
      shown += kReplacement;
    } else if (isWideControl(i)) {
      shown += kReplacement;
      ++i;
    } else {
      shown += text[i];
    }
  }
  return shown;
}
