// ExtractParser: the receiver of the JSON parser's calls, which it turns into parse events.
#ifndef CPI_EXTRACT_EXTRACTPARSER_H
#define CPI_EXTRACT_EXTRACTPARSER_H

#include <cstdint>
#include <exception>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include <nlohmann/json.hpp>

#include "cpi/extract/extractgrammar.h"
#include "cpi/extract/extractnames.h"
#include "cpi/extract/jsonsource.h"
#include "cpi/runtime/fihandler.h"

namespace cpi {

class ExtractParser {
 public:
  ExtractParser(JsonSource& source, FIHandler& handler, const ReadOptions& options);
  ExtractParser(const ExtractParser&) = delete;
  ExtractParser& operator=(const ExtractParser&) = delete;

  // What is left to send once the parser has seen the end of the file.
  void finish();

  // The JSON parser's calls. They throw FileError instead of returning false.
  bool null() { return take(std::monostate()); }
  bool boolean(bool value) { return take(value); }
  bool number_integer(std::int64_t value) { return take(value); }
  bool number_unsigned(std::uint64_t value);
  bool number_float(double value, const std::string& digits);
  bool string(std::string& value) { return take(std::string_view(value)); }
  bool binary(nlohmann::json::binary_t&) { return false; }
  bool start_object(std::size_t size);
  bool key(std::string& name);
  bool end_object();
  bool start_array(std::size_t size);
  bool end_array();
  bool parse_error(std::size_t offset, const std::string& token,
                   const nlohmann::json::exception& error);

 private:
  using Scalar =
      std::variant<std::monostate, bool, std::int64_t, std::uint64_t, double, std::string_view>;

  enum class FrameKind : std::uint8_t { Object, Entries, Values, TypedValue, Units };
  // One open array or object.
  struct Frame {
    FrameKind kind;
    bool isEntry = false;                 // an Object: one of the stream
    KeyRules rules = {};                  // an Object: its keys that may still come
    ExtractKey first = ExtractKey::None;  // the key that tells what an object is
    ExtractKey key = ExtractKey::None;    // the key whose value comes next
    std::int32_t id = 0;
    std::int32_t eventKind = EKField;
    std::int64_t row = 0;
    std::int32_t extra = 0;
    bool isEndSent = true;
    FilePosition place = {};  // of the id
  };
  struct Integer {
    std::int64_t minimum;
    std::int64_t maximum;
    const char* expected;
  };

  bool take(const Scalar& value);
  void takeByKey(Frame& frame, const Scalar& value);
  void takeTypedValue(const Scalar& value);
  void takeUnit(const Scalar& value);
  void takeElementId(Frame& frame, const Scalar& value);
  void takeKind(Frame& frame, const Scalar& value);
  void takeMessage(const Scalar& value);
  bool takeFlag(const Scalar& value) const;
  std::int32_t takeSection(const Scalar& value) const;
  std::int32_t takeColumn(const Scalar& value) const;
  std::int64_t takeInteger(const Scalar& value, const Integer& bounds) const;
  double takeDouble(const Scalar& value) const;

  Frame& open(FrameKind kind);
  void openEntries(Frame& owner);
  void openValues(const Frame& owner);
  void takePlainValues();
  void sendNumbers(std::span<const std::int64_t> numbers, std::span<const FilePosition> places);
  void finishObject(const Frame& frame);

  // Values.
  PWFData valueOf(const Scalar& value);
  PWFData textValue(ELogicalType type);
  PWFData convertedText(const Scalar& value);
  const std::u16string& decode(std::string_view text);
  void checkLength() const;
  ELogicalType textType() const;
  void deliver(const PWFData& value);
  void sendItem(const PWFData& value) { sendItem(value, source_.scalar()); }
  void sendItem(const PWFData& value, FilePosition place);

  // Runs `event`, saying where in the file the handler refused it.
  template <class Event>
  void send(FilePosition place, Event event);

  SectionNames names() const { return sections_.empty() ? SectionNames() : sections_.back(); }
  static std::string describe(const Scalar& value);
  [[noreturn]] void fail(FilePosition place, const std::string& found,
                         const std::string& expected) const;
  [[noreturn]] void failScalar(const Scalar& value, const std::string& expected) const;

  JsonSource& source_;
  FIHandler& handler_;
  const ReadOptions& options_;
  std::vector<Frame> frames_;
  std::vector<SectionNames> sections_;  // open `section` entries, innermost last
  std::u16string text_;                 // of the value that is being delivered
  bool hasStart_ = true;
  bool hasEnd_ = true;
};

template <class Event>
void ExtractParser::send(FilePosition place, Event event) {
  try {
    event();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const std::exception& error) {
    std::throw_with_nested(FileError(source_.fileName(), place, error.what()));
  }
}

}  // namespace cpi

#endif  // CPI_EXTRACT_EXTRACTPARSER_H
