// EmptyContent: whether a type of the model can be satisfied by nothing at all.
#ifndef CPI_DICTINFO_STDDI_NAVIGATE_EMPTYCONTENT_H
#define CPI_DICTINFO_STDDI_NAVIGATE_EMPTYCONTENT_H

#include <cstdint>
#include <optional>
#include <vector>

#include "cpi/dictinfo/stddi/navigate/navigation.h"

namespace cpi {

// Answers are kept, so that groups inside groups are looked at once. Ends on every model: a group
// inside itself counts as one that needs something, and so does what is left when the cost is
// beyond that of any sane model.
class EmptyContent {
 public:
  // Not to be asked without a dictionary.
  explicit EmptyContent(const StdDictionaryInfo* dictionary) : dictionary_(dictionary) {}

  // Whether a member is satisfied without any element: it is optional, or a group that can be
  // empty.
  bool isOptional(const SMD_STRUCTURE_ELEMENT_DEFINITION& member);
  // Whether the members of the type at a Types row need no element.
  bool isPossible(std::int32_t typeIndex);

 private:
  enum class Answer : std::uint8_t { Unknown, No, Yes };
  // A type that is being looked at, and its next member.
  struct Frame {
    std::int32_t typeIndex;
    std::int32_t memberIndex;
  };

  std::optional<bool> known(const SMD_STRUCTURE_ELEMENT_DEFINITION& member) const;
  Answer& answerOf(std::int32_t typeIndex) { return answers_[static_cast<std::size_t>(typeIndex)]; }
  void open(std::int32_t typeIndex);
  std::optional<bool> step();

  const StdDictionaryInfo* dictionary_;
  std::vector<Answer> answers_;  // by Types row; empty until a group is asked for
  std::vector<Frame> open_;      // innermost last
  std::int64_t stepsLeft_ = 10'000'000;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_NAVIGATE_EMPTYCONTENT_H
