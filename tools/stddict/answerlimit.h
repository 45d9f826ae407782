// How large the answer to a question may grow: one budget for whatever a verb tells.
#ifndef TOOLS_STDDICT_ANSWERLIMIT_H
#define TOOLS_STDDICT_ANSWERLIMIT_H

#include <CLI/CLI.hpp>
#include <cstdint>

#include "tools/stddict/facts.h"

// A dictionary may refer to one long text, or to one long list, from each of its rows: an answer is
// not bounded by the size of the file. Entries are counted when they are added to a list of it.
class AnswerLimit {
 public:
  static constexpr std::uint64_t kDefault = std::uint64_t{64} << 20;

  // From here on the program ends when there is no memory left: JSON values cannot be freed then.
  explicit AnswerLimit(std::uint64_t bytes);
  AnswerLimit(const AnswerLimit&) = delete;
  AnswerLimit& operator=(const AnswerLimit&) = delete;

  // Takes the size of a text, or of an entry without the lists in it, off what is left. Throws
  // std::length_error when that is not enough.
  void take(std::uint64_t bytes);
  void take(const Json& entry);
  // Takes the entry and appends it to a list.
  void add(Json& list, Json entry);

 private:
  std::uint64_t bytes_;
  std::uint64_t left_;
};

// The option that sets it.
void addAnswerLimit(CLI::App& verb, std::uint64_t& bytes);

#endif  // TOOLS_STDDICT_ANSWERLIMIT_H
