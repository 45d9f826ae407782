// Where the messages of a walk come from: files, folders, or a stream of messages.
//
// Thread rule: used by one thread at a time.
#ifndef TOOLS_STDDICT_MESSAGESOURCE_H
#define TOOLS_STDDICT_MESSAGESOURCE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "cpi/extract/fileerror.h"
#include "tools/stddict/fixpieces.h"

// How messages follow one another on standard input.
enum class Framing {
  Line,       // one a line; empty lines are passed over
  Netstring,  // "LENGTH:BYTES,", the length in decimal digits
};

struct Message {
  std::string name;   // of the file; of the stream "-#" and its number there, from 1
  std::string bytes;  // of the stream, or of a piece of a file
  bool isFile = false;
  std::optional<cpi::FileError> error;  // it was too long or cannot be read, and is not here
  // Of a piece of a file, which holds whole messages:
  cpi::WalkPosition start = {{1, 1}, 0};
  std::int64_t number = 0;  // of the first message in the file, from 1; 0: it is no piece
};

class MessageSource {
 public:
  struct Options {
    Framing framing = Framing::Line;
    std::size_t maxMessage = std::size_t{64} << 20;  // of the stream, in bytes
    // Files hold any number of messages of this model; null: each is one message. Not owned.
    const cpi::FixModel* fixModel = nullptr;
  };

  // Each of `paths` is a file, a folder (all files in it and below, hidden ones left out, in the
  // order of their paths) or "-" for standard input. Folders are read here. Throws FileError when
  // one cannot be.
  MessageSource(const std::vector<std::string>& paths, const Options& options);

  // The next message; false: there is none. Throws FileError when the framing is broken or the
  // stream cannot be read.
  bool next(Message& message);
  // The number of all messages; 0: not known.
  std::int64_t count() const noexcept {
    return hasStream_ || options_.fixModel != nullptr ? 0 : count_;
  }

 private:
  bool nextOfFile(Message& message);
  bool nextOfStream(Message& message);
  bool readLine(Message& message);
  bool readNetstring(Message& message);
  std::size_t readLength(int first);
  // A message that is too long gets an error in the place of its bytes.
  void checkSize(std::size_t size, Message& message) const;
  [[noreturn]] void refuse(const std::string& found, const std::string& expected) const;

  Options options_;
  std::vector<std::string> files_;  // in order; "-": the stream
  std::size_t at_ = 0;
  std::optional<FixPieces> pieces_;  // of the file before, which was not read to its end
  std::int64_t count_ = 0;
  bool hasStream_ = false;
  std::int64_t streamed_ = 0;
};

#endif  // TOOLS_STDDICT_MESSAGESOURCE_H
