#include "tools/stddict/messagesource.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

namespace {

namespace fs = std::filesystem;

constexpr const char* kStream = "-";
constexpr std::size_t kMaxDigits = 18;

// Links to folders are not followed, so that each file comes once.
std::vector<std::string> filesIn(const std::string& folder) {
  std::vector<std::string> files;
  std::error_code error;
  fs::recursive_directory_iterator at(folder, error);
  for (; !error && at != fs::recursive_directory_iterator(); at.increment(error)) {
    const bool isHidden = at->path().filename().string().starts_with('.');
    std::error_code ignored;
    if (isHidden) {
      at.disable_recursion_pending();
    } else if (at->is_regular_file(ignored)) {
      files.push_back(at->path().string());
    }
  }
  if (error) throw cpi::FileError(folder, {}, "cannot be read (" + error.message() + ")");
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

MessageSource::MessageSource(const std::vector<std::string>& paths, const Options& options)
    : options_(options) {
  for (const std::string& path : paths) {
    std::error_code ignored;
    if (path == kStream) {
      hasStream_ = true;
      files_.push_back(path);
    } else if (fs::is_directory(path, ignored)) {
      const std::vector<std::string> files = filesIn(path);
      files_.insert(files_.end(), files.begin(), files.end());
    } else {
      files_.push_back(path);
    }
  }
  count_ = static_cast<std::int64_t>(files_.size());
}

bool MessageSource::next(Message& message) {
  message = {};
  while (pieces_ || at_ < files_.size()) {
    if (!pieces_ && files_[at_] == kStream) {
      if (nextOfStream(message)) return true;
      ++at_;
    } else if (nextOfFile(message)) {
      return true;
    }
  }
  return false;
}

// The next file, or a piece of it; false when the file before has no more.
bool MessageSource::nextOfFile(Message& message) {
  if (options_.fixModel == nullptr) {
    message.name = files_[at_++];
    message.isFile = true;
    return true;
  }
  if (!pieces_) ++at_;
  message.name = files_[at_ - 1];
  FixPiece piece;
  try {
    if (!pieces_) pieces_.emplace(message.name, *options_.fixModel);
    if (pieces_->next(piece)) {
      message.bytes = std::move(piece.bytes);
      message.start = piece.start;
      message.number = piece.number;
      return true;
    }
  } catch (const cpi::FileError& error) {
    message.error = error;
  }
  pieces_.reset();
  return message.error.has_value();
}

bool MessageSource::nextOfStream(Message& message) {
  const bool isThere =
      options_.framing == Framing::Line ? readLine(message) : readNetstring(message);
  if (std::ferror(stdin) != 0) throw cpi::FileError(kStream, {}, "cannot be read");
  if (!isThere) return false;
  if (message.error) message.bytes = {};
  return true;
}

bool MessageSource::readLine(Message& message) {
  std::size_t size = 0;
  int unit = 0;
  while ((unit = ::getc_unlocked(stdin)) != EOF) {
    if (unit == '\n') {
      if (size > 0) break;
      ++streamed_;
      continue;
    }
    if (++size <= options_.maxMessage) message.bytes += static_cast<char>(unit);
  }
  if (size == 0) return false;
  message.name = fmt::format("{}#{}", kStream, ++streamed_);
  checkSize(size, message);
  return true;
}

void MessageSource::checkSize(std::size_t size, Message& message) const {
  if (size <= options_.maxMessage) return;
  message.error.emplace(
      message.name, cpi::FilePosition{},
      fmt::format("the message has {} bytes; at most {} are taken", size, options_.maxMessage));
}

bool MessageSource::readNetstring(Message& message) {
  int unit = ::getc_unlocked(stdin);
  while (unit == '\n' || unit == '\r') unit = ::getc_unlocked(stdin);
  if (unit == EOF) return false;
  message.name = fmt::format("{}#{}", kStream, ++streamed_);
  const std::size_t size = readLength(unit);
  checkSize(size, message);
  for (std::size_t i = 0; i < size; ++i) {
    unit = ::getc_unlocked(stdin);
    if (unit == EOF) refuse("the end of the stream", fmt::format("{} more bytes", size - i));
    if (!message.error) message.bytes += static_cast<char>(unit);
  }
  if (::getc_unlocked(stdin) != ',') refuse("another byte", "',' behind the message");
  return true;
}

std::size_t MessageSource::readLength(int first) {
  std::string digits;
  for (int unit = first; unit != ':'; unit = ::getc_unlocked(stdin)) {
    const bool isDigit = unit >= '0' && unit <= '9';
    if (!isDigit || digits.size() == kMaxDigits) refuse("another byte", "LENGTH:BYTES,");
    digits += static_cast<char>(unit);
  }
  if (digits.empty()) refuse("':'", "LENGTH:BYTES,");
  return std::stoull(digits);
}

void MessageSource::refuse(const std::string& found, const std::string& expected) const {
  throw cpi::FileError(fmt::format("{}#{}", kStream, streamed_), {}, found, expected);
}
