#include "tests/core/support/eventtext.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "cpi/runtime/kelexception.h"

namespace cpi::test {

namespace {

std::int64_t numberOf(std::string_view text) {
  std::int64_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ptr != text.data() + text.size()) {
    throw std::invalid_argument("no number in event text: " + std::string(text));
  }
  return number;
}

std::int32_t idOf(std::string_view text) { return static_cast<std::int32_t>(numberOf(text)); }

void sendValue(FIHandler& handler, std::string_view text) {
  if (text == "~") {
    handler.data(PWFData(static_cast<const unsigned short*>(nullptr), -1, LTString, EOReference),
                 nullptr);
  } else if (text.starts_with('#')) {
    handler.data(PWFData(numberOf(text.substr(1)), false), nullptr);
  } else if (text.starts_with('%')) {
    handler.data(PWFData(std::stod(std::string(text.substr(1)))), nullptr);
  } else {
    std::string spaced(text);
    std::replace(spaced.begin(), spaced.end(), '+', ' ');
    const KelStringBase units = KelStringBase::fromUtf8(spaced);
    handler.data(PWFData(units.getText(), -1, LTString, EOReference), nullptr);
  }
}

void sendItem(FIHandler& handler, std::string_view token) {
  const std::size_t colon = token.find(':');
  const std::size_t equals = token.find('=');
  if (colon == std::string_view::npos || equals < colon) return sendValue(handler, token.substr(1));
  const std::int32_t column = idOf(token.substr(0, colon));
  handler.startElement(column, EKField, nullptr, idOf(token.substr(colon + 1, equals - colon - 1)),
                       0);
  if (equals == std::string_view::npos) return;
  sendValue(handler, token.substr(equals + 1));
  handler.endElement(column, nullptr);
}

}  // namespace

void feedText(FIHandler& handler, std::string_view events) {
  std::istringstream tokens{std::string(events)};
  std::vector<std::int32_t> open;
  for (std::string token; tokens >> token;) {
    if (token == "(") {
      handler.startMessage(nullptr);
    } else if (token == ")") {
      handler.endMessage(nullptr);
    } else if (token.ends_with('{')) {
      open.push_back(idOf(std::string_view(token).substr(0, token.size() - 1)));
      handler.startElement(open.back(), EKStructure, nullptr, 0, 0);
    } else if (token == "}") {
      handler.endElement(open.back(), nullptr);
      open.pop_back();
    } else if (token.starts_with('}')) {
      handler.endElement(idOf(std::string_view(token).substr(1)), nullptr);
    } else {
      sendItem(handler, token);
    }
  }
}

std::string errorOf(FIHandler& handler, std::string_view events) {
  try {
    feedText(handler, events);
    return "";
  } catch (const KelException& error) {
    return error.what();
  }
}

void SectionText::put(std::int32_t column, std::int32_t row, const std::string& text) {
  cells_[column] += std::to_string(column) + ":" + std::to_string(row) + "=" + text + " ";
}

std::string SectionText::take(std::int32_t section) {
  std::string text = std::to_string(section) + "{ ";
  for (const auto& [column, cells] : cells_) text += cells;
  cells_.clear();
  return text + "} ";
}

std::string reportOf(const DictionaryInfo& dictionary) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* const stream = open_memstream(&text, &size);
  if (stream == nullptr) throw std::bad_alloc();
  try {
    dictionary.DumpContents(stream);
  } catch (const KelException& error) {
    std::fputs(error.what(), stream);
  }
  std::fclose(stream);
  const std::string report(text, size);
  std::free(text);
  return report;
}

}  // namespace cpi::test
