#include "cpi/walk/xmlposition.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>

namespace cpi {
namespace {

// How far back the start of a line is sought for the column of a tag of several lines.
constexpr std::ptrdiff_t kMaxLookBack = 4'096;

bool startsCharacter(xmlChar byte) noexcept { return (byte & 0xC0) != 0x80; }

// Where a text begins that the parser has copied from directly in front of where it stands, or from
// the CDATA section there, with line ends made one character. Null: it is no such text.
const xmlChar* startInFront(const xmlParserInput& input, std::string_view text) noexcept {
  const xmlChar* at = input.cur;
  const auto isBehind = [&](std::string_view mark) {
    return at - input.base >= std::ssize(mark) &&
           std::equal(mark.begin(), mark.end(), reinterpret_cast<const char*>(at) - mark.size());
  };
  if (isBehind("]]>")) at -= 3;
  for (; !text.empty(); text.remove_suffix(1)) {
    const std::string_view last = text.substr(text.size() - 1);
    if (!isBehind(last)) return nullptr;
    at -= last == "\n" && isBehind("\r\n") ? 2 : 1;
  }
  return at;
}

// In front of where the parser stands; where the buffer begins, if it is not there.
const xmlChar* lastOf(xmlChar mark, const xmlParserInput& input) noexcept {
  const xmlChar* at = input.cur;
  while (at > input.base && *--at != mark) {
  }
  return at;
}

// The place of `at`, when the parser's line and column are those of `end`, behind it.
WalkPosition positionOf(const xmlParserInput& input, const xmlChar* at,
                        const xmlChar* end) noexcept {
  WalkPosition place;
  const bool isConverted = input.buf != nullptr && input.buf->encoder != nullptr;
  if (!isConverted) place.offset = static_cast<std::int64_t>(input.consumed) + (at - input.base);
  const std::int64_t lineEnds = std::count(at, end, xmlChar{'\n'});
  place.line = input.line - lineEnds;
  if (lineEnds == 0) {
    place.column = input.col - std::count_if(at, end, startsCharacter);
    return place;
  }
  const xmlChar* const limit = at - std::min(at - input.base, kMaxLookBack);
  const xmlChar* line = at;
  while (line > limit && line[-1] != '\n') --line;
  const bool isLineStart = line > input.base ? line[-1] == '\n' : input.consumed == 0;
  if (isLineStart) place.column = std::count_if(line, at, startsCharacter) + 1;
  return place;
}

}  // namespace

void catchUp(xmlParserInput& input) noexcept {
  const std::ptrdiff_t read = input.cur - input.base;
  input.base = xmlBufContent(input.buf->buffer);
  input.cur = input.base + read;
  input.end = input.base + xmlBufUse(input.buf->buffer);
}

// No value may contain '<', so the last one in front of the parser begins the tag. What the parser
// stands on is behind it, and may be the next tag.
const xmlChar* tagStart(const xmlParserInput& input) noexcept { return lastOf('<', input); }

// No tag ends with ';': then the parser stands behind a reference to an entity that holds the tag.
WalkPosition tagPosition(const xmlParserInput& input) noexcept {
  const bool isReference = input.cur > input.base && input.cur[-1] == ';';
  return positionOf(input, lastOf(isReference ? '&' : '<', input), input.cur);
}

// The parser's line is that of the end of the text. It hands out the text in its input, from where
// it stands on, or a copy of what is in front of there.
WalkPosition textPosition(const xmlParserInput& input, std::string_view part) noexcept {
  const auto* const begin = reinterpret_cast<const xmlChar*>(part.data());
  const bool isInside = std::less_equal<>()(input.base, begin) && std::less<>()(begin, input.end);
  if (isInside) return positionOf(input, begin, begin + part.size());
  const xmlChar* const copied = startInFront(input, part);
  return positionOf(input, copied == nullptr ? input.cur : copied, input.cur);
}

}  // namespace cpi
