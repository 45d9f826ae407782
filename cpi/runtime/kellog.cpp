#include "cpi/runtime/kellog.h"

#include <cstdio>
#include <memory>
#include <new>
#include <optional>
#include <utility>

namespace cpi {

namespace {

std::atomic<KelLogSink*> installedSink{nullptr};

}  // namespace

std::atomic<int> KelLog::filter_{LLOff};

KelLogSource::~KelLogSource() = default;
KelNamedLogSource::~KelNamedLogSource() = default;
KelOwnedLogSource::~KelOwnedLogSource() = default;
KelLogSink::~KelLogSink() = default;

const char* KelOwnedLogSource::logSourceName() const noexcept {
  return owner_ == nullptr ? KelLog::iDefaultLogSource : owner_->logSourceName();
}

std::string KelInsert::text() const {
  struct Text {
    std::string operator()(const std::string& text) const { return text; }
    std::string operator()(const KelStringBase& text) const { return text.toUtf8(); }
    std::string operator()(std::int64_t number) const { return std::to_string(number); }
    std::string operator()(bool flag) const { return flag ? "true" : "false"; }
    std::string operator()(const void* pointer) const {
      char digits[32];
      std::snprintf(digits, sizeof digits, "%p", pointer);
      return digits;
    }
  };
  return std::visit(Text(), value_);
}

void KelLog::install(KelLogSink* sink, int level) noexcept {
  installedSink.store(sink, std::memory_order_release);
  filter_.store(sink == nullptr ? static_cast<int>(LLOff) : level, std::memory_order_relaxed);
}

void KelLog::write(const KelLogItem& item) noexcept {
  KelLogSink* const sink = installedSink.load(std::memory_order_acquire);
  if (sink == nullptr) return;
  try {
    sink->write(item);
  } catch (...) {  // A log that fails must not change what the operation does.
  }
}

struct KelOperation::Exit {
  const KelLogSource* source;
  const char* name;
  int exceptions;
  const char* failure = "";
  std::optional<KelInsert> result = std::nullopt;
};

// Without memory for the exit item there is none: logging changes no result.
void KelOperation::enter(const KelLogSource* source, const char* name,
                         std::initializer_list<KelInsert> arguments) noexcept {
  exit_ = new (std::nothrow) Exit{source, name, std::uncaught_exceptions()};
  KelLog::write({LogKind::DebugEntry, source, name, "", {arguments.begin(), arguments.size()}});
}

void KelOperation::leave() noexcept {
  const std::unique_ptr<const Exit> exit(exit_);
  if (std::uncaught_exceptions() > exit->exceptions || !KelLog::isOn(LLDebug)) return;
  std::span<const KelInsert> inserts;
  if (exit->result.has_value()) inserts = {&*exit->result, 1};
  KelLog::write({LogKind::DebugExit, exit->source, exit->name, exit->failure, inserts});
}

void KelOperation::remember(const char* text, KelInsert result) noexcept {
  exit_->failure = text;
  exit_->result = std::move(result);
}

}  // namespace cpi
