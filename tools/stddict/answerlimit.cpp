#include "tools/stddict/answerlimit.h"

#include <fmt/core.h>

#include <cstdio>
#include <cstdlib>
#include <new>
#include <stdexcept>
#include <utility>

#include "tools/stddict/verbs.h"

namespace {

// What a value takes in memory, and more than its marks and its key take on a line.
constexpr std::uint64_t kBytesOfValue = 64;

std::uint64_t bytesOf(const Json& value) {
  std::uint64_t bytes = kBytesOfValue;
  if (value.is_string()) bytes += value.get_ref<const std::string&>().size();
  if (value.is_object()) {
    for (const auto& [key, field] : value.items()) bytes += bytesOf(field);
  }
  return bytes;
}

[[noreturn]] void endWithoutMemory() {
  std::fputs("error: out of memory\n", stderr);
  std::_Exit(kExitTrouble);
}

}  // namespace

AnswerLimit::AnswerLimit(std::uint64_t bytes) : bytes_(bytes), left_(bytes) {
  std::set_new_handler(&endWithoutMemory);
}

void AnswerLimit::take(std::uint64_t bytes) {
  if (bytes > left_) {
    throw std::length_error(
        fmt::format("the answer takes more than {} bytes; --max-answer sets how many", bytes_));
  }
  left_ -= bytes;
}

void AnswerLimit::take(const Json& entry) { take(bytesOf(entry)); }

void AnswerLimit::add(Json& list, Json entry) {
  take(entry);
  list.push_back(std::move(entry));
}

void addAnswerLimit(CLI::App& verb, std::uint64_t& bytes) {
  verb.add_option("--max-answer", bytes, "Largest answer, in bytes; each value counts 64 more")
      ->capture_default_str()
      ->type_name("BYTES");
}
