#include "tools/stddict/walkbulk.h"

#include <fmt/core.h>
#include <spdlog/spdlog.h>
#include <unistd.h>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "tools/stddict/pathcounts.h"
#include "tools/stddict/terminal.h"
#include "tools/stddict/verbs.h"

namespace {

// So many messages may be under way for each thread.
constexpr std::int64_t kWindowPerJob = 8;
// A report is written in pieces of about this size.
constexpr std::size_t kPiece = std::size_t{1} << 16;

// What came of one message.
struct Outcome {
  std::string text;
  std::string error;
  int exitCode = kExitGood;
};

// Hands a report on, message by message, and counts paths if that is asked for.
class Recorder : public cpi::WalkVisitor {
 public:
  Recorder(WalkReport& report, const ReportOptions& reporting, const BulkOptions& options)
      : report_(report),
        isChecking_(reporting.isChecking),
        hasCounts_(options.hasSummary),
        isStreaming_(options.jobs == 1 && reporting.hasElements()) {}

  // A message, or a piece of a file with some, begins.
  void begin(const Message& message) {
    message_ = &message;
    number_ = message.number;
    exitCode_ = kExitGood;
    beginMessage();
  }
  void element(const cpi::WalkedElement& element) override {
    if (hasEnded_) beginMessage();
    if (hasCounts_) counts_.count(element);
    report_.element(element);
    if (isStreaming_ && report_.size() >= kPiece) fmt::print("{}", report_.take());
  }
  void finding(const cpi::Finding& finding) override {
    if (hasCounts_) counts_.count(finding);
    report_.finding(finding);
  }
  void endOfMessage(const cpi::WalkSummary& summary) override {
    report_.end(summary);
    const bool isGood = isAccepted(summary, isChecking_);
    counts_.countMessage(isGood);
    if (!isGood) exitCode_ = std::max(exitCode_, kExitNo);
    if (number_ != 0) ++number_;
    hasEnded_ = true;
  }
  // Behind the last one, with the summary of all.
  void end(const cpi::WalkSummary& summary) {
    if (!hasEnded_) endOfMessage(summary);
  }
  void fail(const cpi::FileError& error) {
    report_.fail(error);
    counts_.countUnreadable();
    exitCode_ = kExitTrouble;
  }

  int exitCode() const noexcept { return exitCode_; }
  const PathCounts& counts() const noexcept { return counts_; }

 private:
  void beginMessage() {
    hasEnded_ = false;
    report_.begin(message_->name, number_);
    counts_.begin();
  }

  WalkReport& report_;
  PathCounts counts_;
  bool isChecking_;
  bool hasCounts_;
  bool isStreaming_;
  const Message* message_ = nullptr;
  std::int64_t number_ = 0;  // of the message in its file
  bool hasEnded_ = false;
  int exitCode_ = kExitGood;
};

// One thread's walker, report and counts.
class Worker {
 public:
  Worker(WalkMessage walk, const ReportOptions& reporting, const BulkOptions& options,
         const cpi::StdDictionaryInfo& dictionary)
      : walk_(std::move(walk)),
        report_(makeReport(reporting, dictionary)),
        recorder_(*report_, reporting, options) {}

  Outcome walk(const Message& message) {
    Outcome outcome;
    recorder_.begin(message);
    try {
      if (message.error) throw *message.error;
      recorder_.end(walk_(message, &recorder_));
    } catch (const cpi::FileError& error) {
      recorder_.fail(error);
      outcome.error = error.what();
    }
    outcome.exitCode = recorder_.exitCode();
    outcome.text = report_->take();
    return outcome;
  }

  const PathCounts& counts() const noexcept { return recorder_.counts(); }

 private:
  WalkMessage walk_;
  std::unique_ptr<WalkReport> report_;
  Recorder recorder_;
};

// Writes outcomes in the order of their messages.
class Output {
 public:
  Output(const ReportFrame& frame, std::int64_t count) : frame_(frame), count_(count) {
    if (::isatty(STDOUT_FILENO) == 0) progress_.emplace("walking messages");
    fmt::print("{}", frame_.head);
  }

  void write(const Outcome& outcome) {
    if (!outcome.text.empty()) {
      if (std::exchange(hasText_, true)) fmt::print("{}", frame_.separator);
      fmt::print("{}", outcome.text);
    }
    if (!outcome.error.empty()) {
      std::fflush(stdout);
      spdlog::error("{}", outcome.error);
    }
    exitCode_ = std::max(exitCode_, outcome.exitCode);
    ++written_;
    if (progress_ && count_ > 1) {
      progress_->setDone(static_cast<double>(written_) / static_cast<double>(count_));
    }
  }

  int finish() {
    progress_.reset();
    fmt::print("{}", frame_.tail);
    return exitCode_;
  }

  std::int64_t written() const noexcept { return written_; }

 private:
  ReportFrame frame_;
  std::int64_t count_;
  std::optional<Progress> progress_;
  bool hasText_ = false;
  int exitCode_ = kExitGood;
  std::int64_t written_ = 0;
};

// The messages under way. The reader waits while the next outcome to be written is too far behind,
// so that neither side can run away.
class Exchange {
 public:
  Exchange(Output& output, std::int64_t window) : output_(output), window_(window) {}

  // False when nothing more is wanted, since a thread has failed.
  bool put(Message message) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return isOver_ || read_ - output_.written() < window_; });
    if (isOver_) return false;
    waiting_.emplace(read_++, std::move(message));
    changed_.notify_all();
    return true;
  }

  bool take(Message& message, std::int64_t& number) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return isOver_ || !waiting_.empty(); });
    if (waiting_.empty()) return false;
    const auto first = waiting_.begin();
    number = first->first;
    message = std::move(first->second);
    waiting_.erase(first);
    return true;
  }

  void deliver(std::int64_t number, Outcome outcome) {
    const std::lock_guard lock(mutex_);
    done_.emplace(number, std::move(outcome));
    for (auto next = done_.begin(); next != done_.end() && next->first == output_.written();
         next = done_.erase(next)) {
      output_.write(next->second);
    }
    changed_.notify_all();
  }

  void end() {
    const std::lock_guard lock(mutex_);
    isOver_ = true;
    changed_.notify_all();
  }

  void fail(std::exception_ptr error) {
    {
      const std::lock_guard lock(mutex_);
      if (error_ == nullptr) error_ = std::move(error);
      waiting_.clear();
    }
    end();
  }

  void rethrow() const {
    if (error_ != nullptr) std::rethrow_exception(error_);
  }

 private:
  Output& output_;
  std::int64_t window_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::map<std::int64_t, Message> waiting_;
  std::map<std::int64_t, Outcome> done_;
  std::int64_t read_ = 0;
  bool isOver_ = false;
  std::exception_ptr error_;
};

void work(Worker& worker, Exchange& exchange) {
  try {
    Message message;
    std::int64_t number = 0;
    while (exchange.take(message, number)) exchange.deliver(number, worker.walk(message));
  } catch (...) {
    exchange.fail(std::current_exception());
  }
}

void read(MessageSource& source, Exchange& exchange) {
  try {
    Message message;
    while (source.next(message) && exchange.put(std::move(message))) {
    }
    exchange.end();
  } catch (...) {
    exchange.fail(std::current_exception());
  }
}

void walkByThreads(MessageSource& source, std::vector<std::unique_ptr<Worker>>& workers,
                   Output& output) {
  Exchange exchange(output, kWindowPerJob * static_cast<std::int64_t>(workers.size()));
  {
    std::vector<std::jthread> threads;
    for (const auto& worker : workers) {
      threads.emplace_back([&exchange, &worker] { work(*worker, exchange); });
    }
    read(source, exchange);
  }
  exchange.rethrow();
}

void walkAlone(MessageSource& source, Worker& worker, Output& output) {
  for (Message message; source.next(message);) output.write(worker.walk(message));
}

}  // namespace

int walkAll(MessageSource& source, const MakeWalk& makeWalk, const ReportOptions& reporting,
            const BulkOptions& options, const cpi::StdDictionaryInfo& dictionary) {
  std::vector<std::unique_ptr<Worker>> workers;
  for (int job = 0; job < options.jobs; ++job) {
    workers.push_back(std::make_unique<Worker>(makeWalk(), reporting, options, dictionary));
  }
  Output output(makeFrame(reporting.form), source.count());
  if (workers.size() == 1) {
    walkAlone(source, *workers.front(), output);
  } else {
    walkByThreads(source, workers, output);
  }
  const int exitCode = output.finish();
  if (options.hasSummary) {
    PathCounts all;
    for (const auto& worker : workers) all.add(worker->counts());
    fmt::print("{}", reporting.form == ReportForm::Text ? all.toText() : all.toJson());
  }
  finishOutput();
  return exitCode;
}
