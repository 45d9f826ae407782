// How a FixWalk places fields that are not where they belong: each fault is told once, and what
// follows is placed as if it were not there. Where a field may be taken for a fault in two ways,
// the fields ahead decide.
#include <utility>

#include "cpi/walk/fixwalk.h"

namespace cpi {

// --- One field ----------------------------------------------------------------------------------

// A field that has no place at the innermost level, or had it before.
void FixWalk::placeElsewhere(const FixField& field) {
  const std::size_t target = levelWithout(field.row, current_);
  if (target != levels_.size()) return placeAround(field, target);
  if (placeInNextSection(field) || placeUncounted(field) || placeRepeat(field)) return;
  if (!placePassed(field)) placeNowhere(field);
}

// At a level around the current one, whose groups end with that, or are interrupted.
void FixWalk::placeAround(const FixField& field, std::size_t target) {
  if (target == current_ || doesInterrupt(field, target)) return placeInside(field);
  closeTo(target);
  place(field);
}

bool FixWalk::placeInNextSection(const FixField& field) {
  for (std::size_t section = section_; section < kSectionCount; ++section) {
    Level& next = levels_[section];
    const std::int32_t member = model_->memberOf(next.typeIndex, field.row);
    if (member == kNone || (section == section_ && next.isOpen)) continue;
    enterSection(section, field);
    if (move(next, field, member)) {
      settle(next, field, member);
    } else {
      reportRefused(field, {VerdictKind::KnownElsewhere, Reason::NotAllowed});
    }
    return true;
  }
  return false;
}

// The first field of a group whose count field did not come: that is the fault, and the group goes
// on. If the count comes later it has its own group, and the field alone came too early.
bool FixWalk::placeUncounted(const FixField& field) {
  if (levels_.size() == kMaxLevels) return false;
  for (std::size_t at = current_; at < levels_.size(); at = at == kHeader ? kBody : outward(at)) {
    const Level& level = levels_[at];
    const std::int32_t group = model_->groupBegunBy(level.typeIndex, field.row);
    if (group == kNone || isSeen(level, group - 1)) continue;
    placeUncountedAt(field, at, group);
    return true;
  }
  return false;
}

void FixWalk::placeUncountedAt(const FixField& field, std::size_t at, std::int32_t group) {
  const std::int32_t count = model_->dictionary().typeMembers().row(group - 1).toTagIndex;
  skipped_ = model_->dictionary().tags().row(count).Id;
  const bool isTold = takeStray(field.row) || isBehindUnknown(field);
  const Fault fault = {VerdictKind::OutOfOrder, Reason::SkipsRequired, isTold};
  if (findAhead(&field + 1, count, levels_[at].delimiter) != nullptr) {
    closePassed(field);
    return reportRefused(field, fault);
  }
  if (at < kSectionCount && !levels_[at].isOpen) {
    enterSection(at, field);
  } else {
    closeTo(at);
  }
  see(level(), group - 1);
  level().awaited = group;
  level().awaitedCount = nullptr;
  openGroup(field);
  const std::int32_t member = model_->memberOf(level().typeIndex, field.row);
  move(level(), field, member);
  reportMisplaced(field, level(), member, fault);
}

// A field that came before, at each level that has it. In a group it may belong to the next
// instance, which has lost the field that should have begun it.
bool FixWalk::placeRepeat(const FixField& field) {
  const std::size_t at = levelWith(field.row);
  if (at == levels_.size()) return false;
  if (hasLostBegin(field, at)) {
    closeTo(at);
    beginInstance(levels_[at], field);
    place(field);
    return true;
  }
  if (!doesInterrupt(field, at)) closeTo(at);
  repeat(field, at);
  return true;
}

void FixWalk::repeat(const FixField& field, std::size_t at) {
  Level& level = levels_[at];
  const std::int32_t member = model_->memberOf(level.typeIndex, field.row);
  Verdict verdict = memberVerdict(member, see(level, member));
  verdict.kind = VerdictKind::BeyondLimit;
  verdict.isConsequence = takeStray(field.row);
  const std::size_t here = std::exchange(current_, at);
  report(field, verdict);
  current_ = here;
  checkValue(field);
  // The whole group may come once more.
  const std::int32_t group = model_->groupMember(member);
  const FixField* const next = group == kNone || at != here ? nullptr : nextKnown(field);
  if (next == nullptr || model_->groupBegunBy(level.typeIndex, next->row) != group) return;
  if (level.awaited != kNone) return;
  level.awaited = group;
  level.awaitedCount = nullptr;
}

// A field of a section that is over.
bool FixWalk::placePassed(const FixField& field) {
  for (std::size_t section = 0; section < section_; ++section) {
    const std::int32_t member = model_->memberOf(levels_[section].typeIndex, field.row);
    if (member == kNone) continue;
    closePassed(field);
    // Fields that follow one another were moved together.
    const bool isConsequence = std::exchange(wasMisplaced_, true);
    if (model_->groupMember(member) != kNone) stray_ = &field;  // and so is its group
    reportMisplaced(field, levels_[section], member,
                    {VerdictKind::OutOfOrder, Reason::PlacePassed, isConsequence});
    return true;
  }
  return false;
}

void FixWalk::placeNowhere(const FixField& field) {
  closePassed(field);
  const bool isConsequence = takeStray(field.row) || belongsToStray(field);
  stray_ = &field;
  reportRefused(field, {VerdictKind::KnownElsewhere, Reason::NotAllowed, isConsequence});
}

// What is meant by it may be what is missing: in the instance that ends here, if that lacks any.
void FixWalk::placeUnknown(const FixField& field) {
  const bool isConsequence = field.number == kNone && isChecking_ && isCutOff(field);
  const Level& here = level();
  const bool isOwedHere = model_->requiredCount(here.typeIndex) - here.requiredSeen > here.strays;
  if (!isConsequence && isOwedHere) ++level().strays;
  closePassed(field);
  if (!isConsequence && !isOwedHere) ++level().strays;
  if (field.number != kNone) {
    return reportRefused(field, {VerdictKind::UnknownName, Reason::NotAllowed});
  }
  reportRefused(field, {VerdictKind::Refused, Reason::NotAField, isConsequence});
}

// Whether a field without definition stands before one, in place of what should have come there.
bool FixWalk::isBehindUnknown(const FixField& field) const noexcept {
  return &field != message_->fields().data() && (&field - 1)->row == kNone;
}

// A field of a level around the current one, or of one whose group is awaited, in the midst of a
// group: the group goes on.
void FixWalk::placeInside(const FixField& field) {
  const std::size_t target = levelWithout(field.row, current_);
  if (target == levels_.size()) {
    const std::size_t at = levelWith(field.row);
    return at == levels_.size() ? placeNowhere(field) : repeat(field, at);
  }
  Level& level = levels_[target];
  const std::int32_t member = model_->memberOf(level.typeIndex, field.row);
  if (member == kNone) return placeNowhere(field);
  if (level.awaited == kNone) await(level, field, member);
  reportMisplaced(field, level, member, {VerdictKind::OutOfOrder, Reason::NotAllowed});
}

// Whether the first field of a group's instances begins none here: it comes behind others of its
// instance, or twice. It is told then.
bool FixWalk::isOutOfTurn(const FixField& delimiter) {
  Level& here = level();
  const std::int32_t member = model_->firstMember(here.typeIndex);
  const bool hasBegun = isSeen(here, member);
  const bool isWhole = here.requiredSeen == model_->requiredCount(here.typeIndex);
  if (hasBegun && (here.fields > 1 || isWhole)) return false;
  if (!isTooMany(delimiter)) return false;
  if (hasBegun) {
    repeat(delimiter, current_);
  } else {
    reportMisplaced(delimiter, here, member, {VerdictKind::OutOfOrder, Reason::PlacePassed});
  }
  return true;
}

// --- Levels -------------------------------------------------------------------------------------

std::size_t FixWalk::outward(std::size_t at) const noexcept {
  if (at < kSectionCount) return levels_.size();
  return at == kSectionCount ? section_ : at - 1;
}

// The innermost level from one outwards that has a field which did not come there yet, or begins
// an instance there; the number of levels when there is none.
std::size_t FixWalk::levelWithout(std::int32_t row, std::size_t from) const {
  std::size_t at = from;
  while (at < levels_.size() && !isAwaited(levels_[at], row)) at = outward(at);
  return at;
}

bool FixWalk::isAwaited(const Level& level, std::int32_t row) const {
  const std::int32_t member = model_->memberOf(level.typeIndex, row);
  const bool isNew = row == level.delimiter || (member != kNone && !isSeen(level, member));
  return isNew && level.isOpen;
}

// The innermost level that has a field.
std::size_t FixWalk::levelWith(std::int32_t row) const {
  std::size_t at = current_;
  while (at < levels_.size() && model_->memberOf(levels_[at].typeIndex, row) == kNone) {
    at = outward(at);
  }
  return at;
}

// Where a field has no place, groups end that the next one is not in.
void FixWalk::closePassed(const FixField& field) {
  if (current_ < kSectionCount) return;
  const FixField* const next = nextKnown(field);
  if (next == nullptr) return;
  const std::size_t target = levelWithout(next->row, current_);
  if (target != levels_.size()) return closeTo(target);
  for (std::size_t section = section_ + 1; section < kSectionCount; ++section) {
    if (model_->memberOf(levels_[section].typeIndex, next->row) != kNone) return closeTo(section_);
  }
}

// Whether a group that would be closed for a field goes on behind it.
bool FixWalk::doesInterrupt(const FixField& field, std::size_t target) {
  const FixField* const next = current_ == target ? nullptr : nextKnown(field);
  if (next == nullptr || levelWithout(next->row, target) != levels_.size()) return false;
  const std::size_t at = levelWithout(next->row, current_);
  if (at == levels_.size()) return false;
  const Level& level = levels_[at];
  return next->row != level.delimiter || level.told == kNone || level.instances < level.told;
}

}  // namespace cpi
