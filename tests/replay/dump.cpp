#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "load.h"

namespace cpi::replay {
namespace {

constexpr std::string_view kWildcard = "\xEF\xBF\xBC";  // U+FFFC: anything up to the line's end

bool isRawByte(char16_t unit) { return unit >= 0xDC80 && unit <= 0xDCFF; }
bool isHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }

// The bytes that an expected report stands for.
std::string expectedBytes(const std::u16string& text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isRawByte(text[i])) {
      bytes += static_cast<char>(text[i] & 0xFFU);
      continue;
    }
    const std::size_t length = isHighSurrogate(text[i]) && i + 1 < text.size() ? 2 : 1;
    bytes += toUtf8(std::u16string_view(text).substr(i, length));
    i += length - 1;
  }
  return bytes;
}

std::string_view lineOf(std::string_view text) { return text.substr(0, text.find('\n')); }

// Compares two reports line by line.
class DumpComparison {
 public:
  DumpComparison(std::string_view expected, std::string_view got, bool hasWildcards)
      : expected_(expected), got_(got), hasWildcards_(hasWildcards) {}

  std::optional<Difference> run() {
    for (int line = 1; !(expected_.empty() && got_.empty()); ++line) {
      const std::string_view expected = take(expected_);
      const std::string_view got = take(got_);
      if (!matches(expected, got)) {
        return Difference{"dump line " + std::to_string(line), printable(expected), printable(got)};
      }
    }
    return std::nullopt;
  }

 private:
  // Takes a line with its end, which counts: the last line may lack it.
  static std::string_view take(std::string_view& text) {
    const std::string_view line = text.substr(0, lineOf(text).size() + 1);
    text.remove_prefix(line.size());
    return line;
  }
  bool matches(std::string_view expected, std::string_view got) const {
    const std::string_view start = lineOf(expected);
    if (!hasWildcards_ || !start.ends_with(kWildcard)) return expected == got;
    return got.starts_with(start.substr(0, start.size() - kWildcard.size())) &&
           got.ends_with('\n') == expected.ends_with('\n');
  }

  std::string_view expected_;
  std::string_view got_;
  bool hasWildcards_;
};

}  // namespace

std::string dumpText(const StdDictionaryInfo& dictionary, std::optional<CaughtError>& error) {
  char* buffer = nullptr;
  std::size_t size = 0;
  std::FILE* const stream = open_memstream(&buffer, &size);
  if (stream == nullptr) throw InputError("expected memory for a report");
  error = attempt([&] {
            dictionary.DumpContents(stream);
            return Json();
          }).error;
  std::fclose(stream);
  std::string text(buffer, size);
  std::free(buffer);  // NOLINT: of open_memstream
  return text;
}

void compareDump(const StdDictionaryInfo& dictionary, const Json& vector, Report& report) {
  report.beginPhase("dump");
  std::optional<CaughtError> error;
  const std::string got = dumpText(dictionary, error);
  report.same("dump_error", expectedError(vector.value("dump_error", Json())),
              error ? errorJson(*error) : Json());
  const Json choices = vector.value("dump_choices", Json::array());
  const bool hasWildcards =
      std::find(choices.begin(), choices.end(), "debug-form") != choices.end();
  const std::string expected = expectedBytes(toUnits(vector.at("dump")));
  const auto difference = DumpComparison(expected, got, hasWildcards).run();
  if (difference) report.difference(difference->path, difference->expected, difference->got);
}

}  // namespace cpi::replay
