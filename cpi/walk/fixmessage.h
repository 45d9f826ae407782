// The tag=value form of FIX messages: where one begins and ends in a text, and its fields.
//
// Fields end with the byte 0x01, or with '|' or "^A" as people paste them. Messages may follow one
// another at once, or stand one in a line behind any other text. Thread rule: `const` means safe to
// share.
#ifndef CPI_WALK_FIXMESSAGE_H
#define CPI_WALK_FIXMESSAGE_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "cpi/walk/fixmodel.h"

namespace cpi {

// What ends a field.
enum class FixDelimiter : std::uint8_t { Soh, Bar, Caret };

// Longer messages are refused, in bytes.
inline constexpr std::size_t kMaxFixMessage = std::size_t{16} << 20;

// One message in a text, without the end of its line.
struct FixFrame {
  std::size_t begin = 0;
  std::size_t end = 0;
  FixDelimiter delimiter = FixDelimiter::Soh;
};

// Finds messages one after another. A message begins at "8=FIX", or at the start of a line, or
// right behind another message, with any other tag. It ends behind its check sum, in front of the
// next message or with its line; a body length that leads to a check sum counts more than these.
// Lengths that lead over other messages to wrong sums again and again are no longer followed.
class FixFramer {
 public:
  enum class Outcome : std::uint8_t { Found, NeedsMore, None };

  // `model` tells which fields hold data, in which nothing ends a message; it is not owned and must
  // outlive the framer.
  explicit FixFramer(const FixModel& model) noexcept : model_(&model) {}

  // The next message from `at` on, which moves behind it, or to where the search has to go on with
  // more text; there is none behind `text` if `isLast`. Of a message that is too long, which shows
  // by the size of the frame, no more than a little above kMaxFixMessage is needed or framed; the
  // rest is passed over up to the next message.
  Outcome next(std::string_view text, bool isLast, std::size_t& at, FixFrame& frame);

 private:
  Outcome passOver(std::string_view text, std::size_t& at) noexcept;
  bool frameAt(std::string_view text, bool isLast, FixFrame& frame) noexcept;
  bool endsByLength(std::string_view text, std::size_t checkSum, FixFrame& frame) noexcept;
  std::size_t findFieldEnd(std::string_view text, FixDelimiter delimiter, std::size_t begin,
                           std::int32_t& dataSize) const noexcept;

  const FixModel* model_;
  bool isFresh_ = true;  // at the start of a line, or behind a message
  // Bytes that body lengths led over in vain, less what messages behind them make up for.
  std::size_t inVain_ = 0;
};

// One field. Offsets count from the start of the message.
struct FixField {
  std::int32_t number = kNone;  // kNone: there is no tag, or it is no number
  std::int32_t row = kNone;     // Tags row; kNone: the model has no such field
  std::uint32_t begin = 0;
  std::uint32_t valueBegin = 0;
  std::uint32_t end = 0;        // of the value; the delimiter stands here
  bool hasWrongLength = false;  // no delimiter stands where the length field says
  FixForm form = FixForm::Text;
};

// The fields of one message; its capacity serves the next message too.
class FixMessage {
 public:
  // `text` stays valid until the next call. One of more than kMaxFixMessage is not read: it has no
  // fields.
  void parse(const FixModel& model, std::string_view text, FixDelimiter delimiter);

  std::string_view text() const noexcept { return text_; }
  const std::vector<FixField>& fields() const noexcept { return fields_; }
  std::string_view value(const FixField& field) const noexcept {
    return text_.substr(field.valueBegin, field.end - field.valueBegin);
  }
  // The number of bytes between two places, each delimiter counted as one.
  std::int64_t length(const FixField& from, const FixField& to) const noexcept;
  // The sum of all bytes before a field, each delimiter counted as 0x01, modulo 256.
  std::int32_t checkSum(const FixField& end) const noexcept;

 private:
  void readTag(const FixModel& model, FixField& field) const noexcept;
  void takeData(FixField& field) const;
  std::uint32_t findDelimiter(std::uint32_t from, char mark) const noexcept;
  bool isDelimiter(std::size_t at) const noexcept;

  std::string_view text_;
  FixDelimiter delimiter_ = FixDelimiter::Soh;
  std::vector<FixField> fields_;
};

}  // namespace cpi

#endif  // CPI_WALK_FIXMESSAGE_H
