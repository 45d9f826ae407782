// The two exceptions of the library, and the one way in which it throws them.
//
// Loading throws KelConfigurationException; everything else that throws, throws
// KelParserException. Both carry where they were raised, a message number, a message text and a
// list of inserts. Thread rule: an exception object belongs to the thread that caught it.
#ifndef CPI_RUNTIME_KELEXCEPTION_H
#define CPI_RUNTIME_KELEXCEPTION_H

#include <cstdint>
#include <exception>
#include <string>
#include <vector>

#include "cpi/runtime/export.h"
#include "cpi/runtime/kellog.h"

namespace cpi {

// An error by its number and its name. Two names share a number: the name tells them apart.
struct ErrorCode {
  std::uint32_t number;
  const char* name;
};

inline constexpr ErrorCode CP_DICTIONARY_ERROR{0xC000158E, "CP_DICTIONARY_ERROR"};
inline constexpr ErrorCode CP_INCOMPATIBLE_DICTIONARY{0xC00014AD, "CP_INCOMPATIBLE_DICTIONARY"};
inline constexpr ErrorCode CP_INTERNAL_ERROR{0xC000157E, "CP_INTERNAL_ERROR"};
inline constexpr ErrorCode CP_DICT_SET_CONTEXT_FROM_TAG_ERROR{0xC00014CB,
                                                              "CP_DICT_SET_CONTEXT_FROM_TAG_ERROR"};
inline constexpr ErrorCode CP_DICT_ITERATOR_NOT_INITIALISED{0xC000158E,
                                                            "CP_DICT_ITERATOR_NOT_INITIALISED"};
inline constexpr ErrorCode CP_DICT_EMBEDDED_MESSAGE_NOT_ALLOWED{
    0xC00014EC, "CP_DICT_EMBEDDED_MESSAGE_NOT_ALLOWED"};

class CPI_API KelException : public std::exception {
 public:
  // Texts are zero-terminated and are copied.
  KelException(const char* file, std::int32_t line, const char* operation,
               const char* logSourceName, std::uint32_t messageNumber, const char* message);
  ~KelException() override;

  // Appends a value to the inserts. Throws std::bad_alloc.
  void appendInsert(const KelInsert& insert);
  // Throws a copy of this object under its own type.
  [[noreturn]] virtual void throwThis() const = 0;

  const std::string& file() const noexcept { return file_; }
  std::int32_t line() const noexcept { return line_; }
  const std::string& operation() const noexcept { return operation_; }
  const std::string& logSourceName() const noexcept { return logSourceName_; }
  std::uint32_t messageNumber() const noexcept { return messageNumber_; }
  const std::string& message() const noexcept { return message_; }
  const std::vector<KelInsert>& inserts() const noexcept { return inserts_; }
  // One line: file, line, operation, number, message and inserts.
  const char* what() const noexcept override { return what_.c_str(); }

 private:
  std::string file_;
  std::int32_t line_;
  std::string operation_;
  std::string logSourceName_;
  std::uint32_t messageNumber_;
  std::string message_;
  std::vector<KelInsert> inserts_;
  std::string what_;
};

class CPI_API KelParserException final : public KelException {
 public:
  using KelException::KelException;
  // `source` is the log source object that raised the error; it is only named, never used after.
  KelParserException(const KelLogSource* source, const char* file, std::int32_t line,
                     const char* operation, const char* logSourceName, std::uint32_t messageNumber,
                     const char* message)
      : KelException(file, line, operation, logSourceName, messageNumber, message),
        logSource_(source) {}
  ~KelParserException() override;

  [[noreturn]] void throwThis() const override { throw *this; }
  // The log source object given at construction, or null. It may be gone: compare, do not call.
  const KelLogSource* logSource() const noexcept { return logSource_; }

 private:
  const KelLogSource* logSource_ = nullptr;
};

class CPI_API KelConfigurationException final : public KelException {
 public:
  using KelException::KelException;
  ~KelConfigurationException() override;

  [[noreturn]] void throwThis() const override { throw *this; }
};

// Where an error is raised: the path and line that it reports, and the operation.
struct ErrorSite {
  const char* file;
  std::int32_t line;
  const char* operation;
};

// Writes the trace item "Throwing exception" (path, line, error name, message, inserts) under
// `source` and throws. CP_INTERNAL_ERROR carries the text "CPI Internal Error", and `message`
// becomes its first insert. With `source` given, the exception names it as its log source object.
[[noreturn]] CPI_API void throwParserError(const KelLogSource* source, const ErrorSite& site,
                                           const ErrorCode& code, const char* message,
                                           std::initializer_list<KelInsert> inserts = {});
[[noreturn]] CPI_API void throwConfigurationError(const ErrorSite& site, const ErrorCode& code,
                                                  const char* message,
                                                  std::initializer_list<KelInsert> inserts = {});

}  // namespace cpi

#endif  // CPI_RUNTIME_KELEXCEPTION_H
