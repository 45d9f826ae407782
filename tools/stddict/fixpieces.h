// FixPieces: a file of FIX messages in pieces, so that several threads may share it and memory
// holds a part of it.
//
// Thread rule: used by one thread at a time.
#ifndef TOOLS_STDDICT_FIXPIECES_H
#define TOOLS_STDDICT_FIXPIECES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cpi/walk/fixmessage.h"
#include "cpi/walk/messagefile.h"
#include "cpi/walk/verdict.h"

// Whole messages that follow one another in a file.
struct FixPiece {
  std::string bytes;
  cpi::WalkPosition start;  // of the first one in the file
  std::int64_t number = 1;  // of the first one in the file, from 1
};

class FixPieces {
 public:
  // Throws FileError when the file cannot be opened. `model` is not owned and must outlive this.
  FixPieces(const std::string& path, const cpi::FixModel& model);

  // The next piece; false: there is none. Throws FileError when the file cannot be read or has no
  // message; there is none behind that. Of a message that is too long a piece has enough to show
  // it.
  bool next(FixPiece& piece);

 private:
  void read();
  bool take(FixPiece& piece);
  std::string_view held() const noexcept { return {buffer_.data(), held_}; }

  std::string path_;
  cpi::MessageFile file_;
  std::vector<char> buffer_;
  std::size_t held_ = 0;
  bool isLast_ = false;  // the file ends with what is held
  cpi::FixFramer framer_;
  cpi::WalkPosition place_;  // of the first byte held
  std::int64_t count_ = 0;   // of the messages in the pieces so far
};

#endif  // TOOLS_STDDICT_FIXPIECES_H
