#include "cpi/dictinfo/stddi/navigate/emptycontent.h"

namespace cpi {

namespace {

bool isGroupMember(const StdDictionaryInfo& dictionary,
                   const SMD_STRUCTURE_ELEMENT_DEFINITION& member) noexcept {
  if (member.toTagIndex != kNone) return false;
  const SMD_TYPE_DEFINITION* const type = dictionary.types().find(member.toTypeIndex);
  return type != nullptr && type->LogicalType == 0;
}

}  // namespace

bool EmptyContent::isOptional(const SMD_STRUCTURE_ELEMENT_DEFINITION& member) {
  if (member.MinOccurs <= 0) return true;
  return isGroupMember(*dictionary_, member) && isPossible(member.toTypeIndex);
}

// A stack of its own: groups may be nested deeper than calls can be.
bool EmptyContent::isPossible(std::int32_t typeIndex) {
  answers_.resize(static_cast<std::size_t>(dictionary_->types().rowCount()));
  if (!dictionary_->types().contains(typeIndex)) return true;
  if (answerOf(typeIndex) == Answer::Unknown) open(typeIndex);
  while (!open_.empty() && stepsLeft_-- > 0) {
    const std::int32_t current = open_.back().typeIndex;
    if (const std::optional<bool> answer = step()) {
      answerOf(current) = *answer ? Answer::Yes : Answer::No;
      open_.pop_back();
    }
  }
  open_.clear();
  return answerOf(typeIndex) == Answer::Yes;
}

void EmptyContent::open(std::int32_t typeIndex) {
  answerOf(typeIndex) = Answer::No;  // for the type inside itself
  open_.push_back({typeIndex, firstMember(*dictionary_, dictionary_->types().find(typeIndex))});
}

// Nothing for a group that has to be looked at first.
std::optional<bool> EmptyContent::known(const SMD_STRUCTURE_ELEMENT_DEFINITION& member) const {
  if (member.MinOccurs <= 0) return true;
  if (!isGroupMember(*dictionary_, member)) return false;
  const Answer answer = answers_[static_cast<std::size_t>(member.toTypeIndex)];
  return answer == Answer::Unknown ? std::nullopt : std::optional(answer == Answer::Yes);
}

// One member on in the innermost open type; the answer for that type when it is found.
std::optional<bool> EmptyContent::step() {
  Frame& frame = open_.back();
  const SMD_TYPE_DEFINITION& type = dictionary_->types().row(frame.typeIndex);
  const auto* const member = dictionary_->typeMembers().find(frame.memberIndex);
  if (member == nullptr) return true;  // no members at all
  const std::optional<bool> isEmpty = known(*member);
  if (!isEmpty) {
    open(member->toTypeIndex);
    return std::nullopt;
  }
  const bool isChoice = type.Composition == TYPE_CHOICE || type.Composition == TYPE_MESSAGE;
  if (type.Composition == TYPE_SINGLE || *isEmpty == isChoice) return isEmpty;
  const auto* const next = dictionary_->typeMembers().find(frame.memberIndex + 1);
  if (next == nullptr || next->ParentTypeId != member->ParentTypeId) return isEmpty;
  ++frame.memberIndex;
  return std::nullopt;
}

}  // namespace cpi
