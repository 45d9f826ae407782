// Logging: an ordered level, items with inserts, and a sink that the application installs.
//
// The library prints nothing of its own. An application that wants the log installs a KelLogSink
// together with a level; without one the filter is off and an operation pays one relaxed load.
// Thread rule: install may be called at any time; a sink receives items from every thread that
// uses the library, and must stay alive until no thread can still be inside a call that saw it.
#ifndef CPI_RUNTIME_KELLOG_H
#define CPI_RUNTIME_KELLOG_H

#include <atomic>
#include <concepts>
#include <cstdint>
#include <exception>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

#include "cpi/runtime/export.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

// The ordered levels. An item is written when the effective filter is at least its level.
enum LogLevel : int { LLOff = 0, LLTrace = 3, LLDebug = 4 };

// A source of log items. Items without a source belong to KelLog::iDefaultLogSource.
class CPI_API KelLogSource {
 public:
  virtual ~KelLogSource();
  // The name under which the items of this source appear.
  virtual const char* logSourceName() const noexcept = 0;
};

// A source with a name of its own, usually one for each component of an application.
class CPI_API KelNamedLogSource : public KelLogSource {
 public:
  // `name` is a zero-terminated text that outlives the source.
  explicit KelNamedLogSource(const char* name) noexcept : name_(name) {}
  ~KelNamedLogSource() override;
  const char* logSourceName() const noexcept override { return name_; }

 private:
  const char* name_;
};

// A source that appears under the name of its owner, which it does not own.
class CPI_API KelOwnedLogSource : public KelLogSource {
 public:
  // A null owner stands for the default log source.
  explicit KelOwnedLogSource(const KelNamedLogSource* owner) noexcept : owner_(owner) {}
  KelOwnedLogSource(const KelOwnedLogSource&) noexcept = default;
  KelOwnedLogSource& operator=(const KelOwnedLogSource&) noexcept = default;
  ~KelOwnedLogSource() override;
  const char* logSourceName() const noexcept override;
  const KelNamedLogSource* logSourceOwner() const noexcept { return owner_; }

 private:
  const KelNamedLogSource* owner_;
};

// One value that a log item or an exception carries.
class CPI_API KelInsert {
 public:
  using Value = std::variant<std::string, KelStringBase, std::int64_t, bool, const void*>;

  KelInsert(const char* text) : value_(std::string(text == nullptr ? "" : text)) {}  // NOLINT
  KelInsert(std::string text) : value_(std::move(text)) {}                           // NOLINT
  KelInsert(const KelStringBase& text) : value_(text) {}                             // NOLINT
  KelInsert(const unsigned short* text) : value_(KelStringBase(text)) {}             // NOLINT
  template <Char16 C>
  KelInsert(const C* text) : KelInsert(asUnits(text)) {}  // NOLINT
  KelInsert(bool flag) : value_(flag) {}                  // NOLINT
  template <std::integral I>
  KelInsert(I number) : value_(static_cast<std::int64_t>(number)) {}  // NOLINT
  template <class E>
  requires std::is_enum_v<E> KelInsert(E code)
      : value_(static_cast<std::int64_t>(code)) {}     // NOLINT
  KelInsert(const void* pointer) : value_(pointer) {}  // NOLINT

  const Value& value() const noexcept { return value_; }
  // The insert as UTF-8 text: numbers in decimal, flags as "true"/"false", pointers as 0x hex.
  std::string text() const;

 private:
  Value value_;
};

enum class LogKind : std::uint8_t { DebugEntry, DebugExit, DebugTrace, Trace };

// One log item, valid only during KelLogSink::write.
struct KelLogItem {
  LogKind kind;
  const KelLogSource* source;  // null: the default log source
  std::string_view operation;  // class, "::", operation
  std::string_view text;       // the message; the failure text of an exit item; may be empty
  std::span<const KelInsert> inserts;
};

class CPI_API KelLogSink {
 public:
  virtual ~KelLogSink();
  // Receives one item. An exception that leaves it is swallowed: logging changes no result.
  virtual void write(const KelLogItem& item) = 0;
};

class CPI_API KelLog {
 public:
  // Name of the log source of items that have no source object.
  static constexpr const char* iDefaultLogSource = "cpi.dictionary";

  // Installs `sink` (not owned; null removes it) and the filter level.
  static void install(KelLogSink* sink, int level) noexcept;
  // The effective filter: 0 while no sink is installed.
  static int filter() noexcept { return filter_.load(std::memory_order_relaxed); }
  static bool isOn(LogLevel level) noexcept { return filter() >= level; }
  // Hands an item to the sink, if there is one; tests no level. Never throws.
  static void write(const KelLogItem& item) noexcept;

  // Writes an item; callers ask isOn first, so that inserts cost nothing while it is off.
  static void trace(const KelLogSource* source, const char* op, const char* text,
                    std::initializer_list<KelInsert> inserts = {}) noexcept {
    write({LogKind::Trace, source, op, text, {inserts.begin(), inserts.size()}});
  }
  static void debug(const KelLogSource* source, const char* op, const char* text,
                    std::initializer_list<KelInsert> inserts = {}) noexcept {
    write({LogKind::DebugTrace, source, op, text, {inserts.begin(), inserts.size()}});
  }

 private:
  static std::atomic<int> filter_;
};

// The debug entry and exit items of one operation. Costs one relaxed load while the filter is
// below debug; the arguments are turned into inserts, and memory is taken, only when it is not. An
// operation that is left by an exception writes no exit item: the exception has its own.
class CPI_API KelOperation {
 public:
  template <class... Arguments>
  KelOperation(const KelLogSource* source, const char* name, const Arguments&... arguments) {
    if (KelLog::isOn(LLDebug)) [[unlikely]]
      enter(source, name, {KelInsert(arguments)...});
  }
  KelOperation(const KelOperation&) = delete;
  KelOperation& operator=(const KelOperation&) = delete;
  ~KelOperation() {
    if (exit_ != nullptr) [[unlikely]]
      leave();
  }

  // Records `result` for the exit item and gives it back: `return operation.returns(index);`.
  template <class Result>
  Result returns(Result result) {
    if (exit_ != nullptr) [[unlikely]]
      remember("", KelInsert(result));
    return result;
  }
  // The same for a failure: the exit item carries the short text and the result.
  template <class Result>
  Result fails(const char* text, Result result) {
    if (exit_ != nullptr) [[unlikely]]
      remember(text, KelInsert(result));
    return result;
  }

 private:
  struct Exit;
  void enter(const KelLogSource* source, const char* name,
             std::initializer_list<KelInsert> arguments) noexcept;
  void leave() noexcept;
  void remember(const char* text, KelInsert result) noexcept;

  Exit* exit_ = nullptr;  // what the exit item will tell; null while the filter is off
};

}  // namespace cpi

#endif  // CPI_RUNTIME_KELLOG_H
