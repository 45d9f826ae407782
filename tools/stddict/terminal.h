// What the verbs share with whoever sits at the terminal: colour, progress, and the end of output.
#ifndef TOOLS_STDDICT_TERMINAL_H
#define TOOLS_STDDICT_TERMINAL_H

#include <memory>
#include <string>
#include <string_view>

// On a terminal, unless the environment says NO_COLOR.
bool isColourWanted() noexcept;

// Marks parts of a text, or leaves them as they are where colour is not wanted.
class Style {
 public:
  explicit Style(bool isColoured = isColourWanted()) : isColoured_(isColoured) {}
  std::string strong(std::string_view text) const { return marked("1", text); }
  std::string faint(std::string_view text) const { return marked("2", text); }
  std::string bad(std::string_view text) const { return marked("1;31", text); }

 private:
  std::string marked(std::string_view code, std::string_view text) const;
  bool isColoured_;
};

// Shows on stderr, when that is a terminal, that something is still under way after two seconds.
// Wiped out at its end.
class Progress {
 public:
  explicit Progress(std::string what);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();
  // How much is done, 0 to 1. Without it the bar tells only that time passes.
  void setDone(double part) noexcept;

 private:
  class Bar;
  std::unique_ptr<Bar> bar_;  // null: not on a terminal
};

// Throws FileError when what was printed did not arrive in full.
void finishOutput();

// A text of a dictionary as one line may hold it: control characters, which could steer a terminal,
// become U+FFFD.
std::string printable(std::string text);

#endif  // TOOLS_STDDICT_TERMINAL_H
