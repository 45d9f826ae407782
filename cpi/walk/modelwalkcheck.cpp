// The part of ModelWalk that holds elements against the structure: what is placed only when nothing
// required was skipped, and what kind of fault the others are.
#include <utility>

#include "cpi/walk/modelwalk.h"

namespace cpi {

void ModelWalk::setNil(bool isTold) {
  open_.back().isNil = true;
  open_.back().isTold = isTold;
}

bool ModelWalk::isIncomplete() {
  const OpenElement& element = open_.back();
  return isChecked(element) && !element.isNil && structure_.isIncomplete(scopeOf(element));
}

// A child that fits where the iterator finds it needs no second look; so does one that is no
// member where others are admitted.
Verdict ModelWalk::enterChecked(const Name& name, std::u16string_view typeKey) {
  OpenElement& parent = open_.back();
  if (faults_ >= kMaxExplainedFaults) {
    return enterUnmodelled(Placement::Unjudged, Judge::Nobody, Reason::None);
  }
  const std::int32_t hiddenTag = model_->hiddenTag(typeKey);
  if (parent.isNil) return enterForbidden(Reason::InNil);
  ProcessContents contents{};
  const Move move = place(parent, name, contents);
  if (move != Move::Failed && isAccepted(parent)) {
    return enterPlaced(name, move, hiddenTag, contents);
  }
  return isChecked(parent) ? enterAnew(name, hiddenTag) : enterForbidden(refusalUnder(parent));
}

// A child of an element that may have none: one fault, however many there are.
Verdict ModelWalk::enterForbidden(Reason reason) {
  const bool isConsequence = std::exchange(open_.back().isTold, true);
  Verdict verdict = enterUnmodelled(Placement::Refused, Judge::Nobody, reason);
  verdict.isConsequence = isConsequence;
  return verdict;
}

// A child that does not fit: the iterator goes back to where it stood, and from there to where the
// check says.
Verdict ModelWalk::enterAnew(const Name& name, std::int32_t hiddenTag) {
  OpenElement& parent = open_.back();
  const StructureCheck::Scope scope = scopeOf(parent);
  const StructureCheck::Outcome outcome = structure_.judge(scope, name);
  if (outcome.kind != VerdictKind::Placed) ++faults_;
  cursor().standAt(parent.height, structure_.path(scope));
  if (!outcome.isPlaced) return enterRefused(outcome, hiddenTag);
  const auto& member = model_->content().member(outcome.leaf);
  const Wildcard* const wildcard =
      member.toTagIndex == kNone ? model_->wildcardOfType(member.toTypeIndex) : nullptr;
  Verdict verdict =
      enterPlaced(name, wildcard == nullptr ? Move::ByName : Move::ByWildcard, hiddenTag,
                  wildcard == nullptr ? ProcessContents{} : wildcard->processContents);
  if (outcome.kind == VerdictKind::Placed) return verdict;
  verdict.kind = outcome.kind;
  verdict.reason = outcome.reason;
  return verdict;
}

// What kind of refusal it is. That takes a look at many members, so not at any number of elements.
void ModelWalk::classify(Verdict& verdict, std::int32_t parentType, const Name& name) {
  if (++faults_ > kMaxExplainedFaults) return;
  const StructureCheck::Outcome outcome = structure_.judgeRefused(parentType, name);
  verdict.kind = outcome.kind;
  verdict.reason = outcome.reason;
}

// Whether the children of an element are held against its type.
bool ModelWalk::isChecked(const OpenElement& element) const {
  if (!isChecking_ || element.judge != Judge::Model) return false;
  const SMD_TYPE_DEFINITION* const type = model_->dictionary().types().find(element.typeIndex);
  return type != nullptr && type->LogicalType < 1;
}

}  // namespace cpi
