// JsonSource: the bytes of a JSON file for the JSON parser, with the place of each token.
//
// The parser tells neither where a value stands nor stops at a long token, and it keeps every byte
// since the last string or number. The source follows the tokens on its own, hands runs of white
// space on as one byte, and refuses what is longer than the bounds.
#ifndef CPI_EXTRACT_JSONSOURCE_H
#define CPI_EXTRACT_JSONSOURCE_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <istream>
#include <iterator>
#include <string>
#include <string_view>

#include "cpi/extract/extractreader.h"
#include "cpi/extract/fileerror.h"

namespace cpi {

class JsonSource {
 public:
  // The single-pass iterator that the parser takes; all copies share the source.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = const char*;
    using reference = const char&;

    Iterator() = default;
    explicit Iterator(JsonSource& source) : source_(&source) {}
    reference operator*() const { return source_->current(); }
    Iterator& operator++() {
      source_->advance();
      return *this;
    }
    // Equal are two iterators of which neither has a byte left.
    friend bool operator==(const Iterator& a, const Iterator& b) {
      return a.isAtEnd() == b.isAtEnd();
    }
    friend bool operator!=(const Iterator& a, const Iterator& b) { return !(a == b); }

   private:
    bool isAtEnd() const { return source_ == nullptr || source_->isAtEnd(); }
    JsonSource* source_ = nullptr;
  };

  JsonSource(std::istream& stream, const std::string& fileName, const ReadOptions& options)
      : stream_(stream), fileName_(fileName), options_(options) {}
  JsonSource(const JsonSource&) = delete;
  JsonSource& operator=(const JsonSource&) = delete;

  // A value of which nothing has to be made out: null, an integer of up to 18 digits, or a text of
  // up to a thousand ASCII characters without an escape.
  enum class PlainKind : std::uint8_t { Null, Number, Text };
  struct PlainValue {
    PlainKind kind = PlainKind::Null;
    FilePosition place{};
    std::int64_t number = 0;
    std::string_view text;  // valid until the source is asked for more
  };
  // At the start of an array's value, takes it and the comma behind it past the parser, for which
  // the array then begins with the next value. False, with nothing taken, when the value is not
  // plain or the last one: the parser tells what is wrong with an array.
  bool takePlain(PlainValue& value);

  const std::string& fileName() const noexcept { return fileName_; }
  // Where the last string, number or literal began; where the last bracket, comma or colon is.
  FilePosition scalar() const noexcept { return scalar_; }
  FilePosition structural() const noexcept { return structural_; }
  // The later one of the two; where the next byte is.
  FilePosition token() const noexcept { return isScalarLast_ ? scalar_ : structural_; }
  FilePosition here() const noexcept { return here_; }

 private:
  static constexpr std::size_t kChunkBytes = std::size_t{1} << 16;

  bool isAtEnd() { return next_ == end_ && !refill(); }
  const char& current() const { return chunk_[next_]; }
  void advance();
  bool refill();
  void refillBehind();
  void follow(char byte);
  void followString(char byte);
  void beginScalar(bool isKeptAnew);
  void step(char byte);
  void countToken();
  void countLiteral();
  void checkByte(char byte) const;

  std::istream& stream_;
  const std::string& fileName_;
  const ReadOptions& options_;
  std::array<char, kChunkBytes> chunk_;
  std::size_t next_ = 0;
  std::size_t end_ = 0;
  FilePosition here_{1, 1};
  FilePosition scalar_{1, 1};
  FilePosition structural_{1, 1};
  bool isScalarLast_ = false;
  bool isInString_ = false;
  bool isInWord_ = false;  // a number or a literal
  bool isInNumber_ = false;
  bool isEscaped_ = false;  // the next byte of a string stands for itself
  std::size_t tokenBytes_ = 0;
  std::size_t literalBytes_ = 0;  // since the last string or number
};

}  // namespace cpi

#endif  // CPI_EXTRACT_JSONSOURCE_H
