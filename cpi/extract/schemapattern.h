// SchemaPattern: a pattern of the schema language, ready to be held against values.
//
// It is matched by ICU, into whose language it is put: the two differ in what a class of characters
// subtracts, in classes such as \i and \w, and in what '^', '$' and '.' mean. A few forms have no
// like there; such a pattern, and one that ICU refuses, admits every value.
//
// Thread rule: one thread at a time.
#ifndef CPI_EXTRACT_SCHEMAPATTERN_H
#define CPI_EXTRACT_SCHEMAPATTERN_H

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace cpi {

// The pattern in ICU's language; nothing when it has a form that cannot be put so.
std::optional<std::u16string> icuPatternOf(std::u16string_view pattern);

class SchemaPattern {
 public:
  explicit SchemaPattern(std::u16string_view pattern);
  ~SchemaPattern();
  SchemaPattern(SchemaPattern&&) noexcept;
  SchemaPattern& operator=(SchemaPattern&&) noexcept;

  // Whether values are held against it at all.
  bool isUsable() const noexcept { return matcher_ != nullptr; }
  // Whether a value is matched as a whole. One that takes too long, or too much memory, counts as
  // matched; a pattern to which that happens often is used no more.
  bool admits(std::u16string_view value);

 private:
  struct Matcher;
  std::unique_ptr<Matcher> matcher_;
};

}  // namespace cpi

#endif  // CPI_EXTRACT_SCHEMAPATTERN_H
