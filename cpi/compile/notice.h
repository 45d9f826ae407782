// Notice: something in a source that a compiled dictionary does not carry.
#ifndef CPI_COMPILE_NOTICE_H
#define CPI_COMPILE_NOTICE_H

#include <cstdint>
#include <string>

namespace cpi {

// One kind of thing, with the place where it was met first. Texts are UTF-8.
struct Notice {
  std::string text;       // what was met and what became of it
  std::string file;       // where first; empty when the place is not known
  std::int32_t line = 0;  // 1-based; 0: not known
  std::int32_t column = 0;
  std::int32_t count = 1;  // how often

  friend bool operator==(const Notice&, const Notice&) = default;
};

}  // namespace cpi

#endif  // CPI_COMPILE_NOTICE_H
