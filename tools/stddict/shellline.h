// One line of the console, taken apart into words.
#ifndef TOOLS_STDDICT_SHELLLINE_H
#define TOOLS_STDDICT_SHELLLINE_H

#include <cstddef>
#include <istream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace shell {

// A line that cannot be done: what() says what was found and what was expected.
class LineError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Longer lines are refused, so that input without line ends does not fill the memory.
inline constexpr std::size_t kLineLimit = 64 * 1024;

struct Word {
  std::u16string text;  // without its quotes, its escapes resolved
  bool isQuoted;
};

// Words are separated by blanks. A word in double quotes may hold blanks and the escapes of JSON
// strings, lone surrogates among them; any other word stands for itself. A word that begins with
// '#' opens a comment. Throws LineError for a line that is no UTF-8 or holds a NUL, for a quote
// that is not closed or has something right behind it, and for an escape that there is not.
std::vector<Word> splitLine(std::string_view line);

// Reads the next line without its end; false at the end of input. Of a line beyond the limit the
// first kLineLimit + 1 bytes are given, the others are dropped.
bool readLine(std::istream& input, std::string& line);

}  // namespace shell

#endif  // TOOLS_STDDICT_SHELLLINE_H
