#include "cpi/runtime/kelexception.h"

#include <cstdio>

namespace cpi {

namespace {

constexpr const char* kInternalErrorText = "CPI Internal Error";

// Control characters of a message's own texts would break the one line of what().
std::string onOneLine(std::string text) {
  for (char& c : text) {
    if (static_cast<unsigned char>(c) < 0x20) c = ' ';
  }
  return text;
}

void traceThrow(const KelLogSource* source, const ErrorSite& site, const ErrorCode& code,
                const char* text, const std::vector<KelInsert>& inserts) {
  if (!KelLog::isOn(LLTrace)) return;
  std::vector<KelInsert> values{site.file, site.line, code.name, text};
  values.insert(values.end(), inserts.begin(), inserts.end());
  KelLog::write({LogKind::Trace, source, site.operation, "Throwing exception", values});
}

}  // namespace

KelException::KelException(const char* file, std::int32_t line, const char* operation,
                           const char* logSourceName, std::uint32_t messageNumber,
                           const char* message)
    : file_(file),
      line_(line),
      operation_(operation),
      logSourceName_(logSourceName),
      messageNumber_(messageNumber),
      message_(message) {
  char number[16];
  std::snprintf(number, sizeof number, "0x%08X", static_cast<unsigned>(messageNumber));
  what_ = operation_ + ": " + onOneLine(message_) + " (" + number + ", " + file_ + ":" +
          std::to_string(line_) + ")";
}

KelException::~KelException() = default;
KelParserException::~KelParserException() = default;
KelConfigurationException::~KelConfigurationException() = default;

void KelException::appendInsert(const KelInsert& insert) {
  inserts_.push_back(insert);
  what_ += (inserts_.size() == 1 ? ": " : ", ") + onOneLine(insert.text());
}

void throwParserError(const KelLogSource* source, const ErrorSite& site, const ErrorCode& code,
                      const char* message, std::initializer_list<KelInsert> inserts) {
  const bool isInternal = code.number == CP_INTERNAL_ERROR.number;
  const char* const text = isInternal ? kInternalErrorText : message;
  KelParserException error(source, site.file, site.line, site.operation, KelLog::iDefaultLogSource,
                           code.number, text);
  if (isInternal) error.appendInsert(message);
  for (const KelInsert& insert : inserts) error.appendInsert(insert);
  traceThrow(source, site, code, text, error.inserts());
  error.throwThis();
}

void throwConfigurationError(const ErrorSite& site, const ErrorCode& code, const char* message,
                             std::initializer_list<KelInsert> inserts) {
  KelConfigurationException error(site.file, site.line, site.operation, KelLog::iDefaultLogSource,
                                  code.number, message);
  for (const KelInsert& insert : inserts) error.appendInsert(insert);
  traceThrow(nullptr, site, code, message, error.inserts());
  error.throwThis();
}

}  // namespace cpi
