// The search engine. How it always ends: three guards, none of which changes the result of a search
// that would end without them.
//  - A level in any order starts over at most once at each stack depth of a search. Without that, a
//    repeating group inside it that matches nothing could start the level over, which enters the
//    group again, for ever.
//  - A group is not entered from inside itself while nothing of it was matched, so a model whose
//    groups contain themselves does not grow the stack without end.
//  - The cost of a search is capped, far beyond what any sane model needs: a million candidates at
//    a moderate depth.
#include "cpi/dictinfo/stddi/navigate/search.h"

#include <algorithm>
#include <limits>

namespace cpi {

namespace {

constexpr std::int64_t kCandidateCost = 64;  // beside one for each stack entry below it
constexpr std::int64_t kMaximumCost = 100'000'000;

void increaseRepeat(DictionaryPosition& position) noexcept {
  if (position.repeatIndex < std::numeric_limits<std::int32_t>::max()) ++position.repeatIndex;
}

const char* matchText(ESearchType searchType) noexcept {
  switch (searchType) {
    case STAny: return "Matched any";
    case STTagId: return "Matched tag id";
    case STMember: return "Matched member";
    case STSimpleType: return "Matched logical type";
    default: return nullptr;  // name searches write none
  }
}

}  // namespace

// --- Shared by both searches -------------------------------------------------------------------

bool PositionSearch::isExhausted() noexcept {
  cost_ += kCandidateCost + static_cast<std::int64_t>(iterator_.positionStack.size());
  return cost_ > kMaximumCost;
}

const SMD_TYPE_DEFINITION* PositionSearch::parentType() const {
  return dictionary().types().find(iterator_.getParentTypeIndex());
}

// Reading the limit marks the top entry as looked up: later comparisons of positions see it.
std::int32_t PositionSearch::occurrenceLimit() const { return iterator_.getMaxOccurs(); }

void PositionSearch::pushFirstMember() {
  const auto* const type = dictionary().types().find(top().typeIndex);
  iterator_.positionStack.emplace_back(iterator_.dictionaryInfo, firstMember(dictionary(), type));
  candidate_ = top();
  isDescended_ = true;
}

bool PositionSearch::entersGroup() {
  if (!isGroup(dictionary(), candidate_) || isInsideItself()) return false;
  iterator_.ensurePositionStackSaved();
  top() = candidate_;
  pushFirstMember();
  isFirst_ = false;
  return true;
}

// Looks at the groups around the candidate as far as they are unmatched.
bool PositionSearch::isInsideItself() noexcept {
  const auto& stack = iterator_.positionStack;
  for (std::size_t i = stack.size() - 1; i-- > 0;) {
    const DictionaryPosition& entry = stack[i];
    ++cost_;
    if (entry.memberIndex < 0 || entry.tagIndex != kNone || entry.repeatIndex >= 0) return false;
    if (entry.memberIndex == candidate_.memberIndex) return true;
  }
  return false;
}

PositionSearch::Step PositionSearch::advance() {
  for (;;) {
    const SMD_TYPE_DEFINITION* const parent = parentType();
    if (parent == nullptr) return Step::Ended;
    const auto* const row = memberOf(candidate_);
    const std::int32_t next = row == nullptr ? kNone : nextMember(*parent);
    const auto* const nextRow = dictionary().typeMembers().find(next);
    if (nextRow != nullptr && row != nullptr && nextRow->ParentTypeId == row->ParentTypeId) {
      candidate_ = DictionaryPosition(iterator_.dictionaryInfo, next);
      isFirst_ = false;
      return Step::Candidate;
    }
    const Step step = leaveGroup();
    if (step != Step::Ended) isFirst_ = false;
    if (step != Step::Left) return step;
  }
}

std::int32_t PositionSearch::nextMember(const SMD_TYPE_DEFINITION& parent) {
  const std::int32_t following = candidate_.memberIndex + 1;
  switch (parent.Composition) {
    case TYPE_SINGLE: return kNone;
    case TYPE_CHOICE:
    case TYPE_MESSAGE: return isAlternativeTaken() ? kNone : passedOver(following, parent);
    case TYPE_UNORDERED:
    case TYPE_ALL: return restartsLevel() ? parent.ToTypeMbrIndex : passedOver(following, parent);
    case TYPE_SEQUENCE:
    case TYPE_ORDERED: return closesLevel() ? kNone : passedOver(following, parent);
    default: break;
  }
  throwParserError(&iterator_, siteOf(kIteratorSource, operation_), CP_INTERNAL_ERROR,
                   "invalid type composition for moving");
}

void PositionSearch::passOver(const Passing& passing) noexcept {
  passing_ = passing;
  passesOver_ = passing.members != nullptr && isAllIndexed(*passing.members);
}

bool PositionSearch::isAllIndexed(const MemberIndex& members) const noexcept {
  const auto& stack = iterator_.positionStack;
  if (stack.size() > kMaximumPassingDepth) return false;
  // Where the search may go up to is regular too, or it is not known what that would cost.
  for (std::size_t i = stack.size() - 1; i-- > 0 && stack[i].memberIndex >= 0;) {
    const SMD_TAG_DEFINITION* const tag = members.tag(stack[i].tagIndex);
    if (tag != nullptr && tag->Id != 0) break;
    if (members.member(stack[i].memberIndex) == nullptr ||
        members.runOf(stack[i].memberIndex) < 0) {
      return false;
    }
  }
  return true;
}

// The next member to look at from `row` on, kNoRow or -1 when none is left at this level. What a
// search step by step would look at in between ends up as if it had been.
std::int32_t PositionSearch::passedOver(std::int32_t row, const SMD_TYPE_DEFINITION& parent) {
  if (!passesOver_) return row;
  const MemberIndex& members = *passing_.members;
  if (members.member(row) == nullptr || members.runOf(row) < 0 ||
      members.runOf(row) != members.runOf(candidate_.memberIndex)) {
    return row;
  }
  if (isBestPosition_ && !isRefused(parent)) return row;
  const std::int32_t group = members.nextGroup(row);
  const std::int32_t stop = nextStop(row, group, parent);
  if (stop == row) return row;
  isFirst_ = false;
  const bool isOrdered = parent.Composition == TYPE_SEQUENCE || parent.Composition == TYPE_ORDERED;
  if (!isBestPosition_ && isDescended_ && isOrdered &&
      members.nextRequired(row) < std::min(stop, group)) {
    return kNone;  // which closes the level
  }
  if (group < stop) {  // entered and left
    iterator_.ensurePositionStackSaved();
    isDescended_ = false;
    replaceCurrent_ = true;
  }
  return stop;
}

// The next member that may match, or at which a group that is left in vain changes how it goes on.
std::int32_t PositionSearch::nextStop(std::int32_t row, std::int32_t group,
                                      const SMD_TYPE_DEFINITION& parent) const {
  const MemberIndex& members = *passing_.members;
  const std::int32_t stop =
      isBestPosition_ ? members.nextOpenGroup(row) : members.find(row, passing_.key);
  if (group >= stop) return stop;
  switch (parent.Composition) {
    case TYPE_SEQUENCE: return stop;
    case TYPE_ORDERED:
      return !isBestPosition_ && enforceRequired_ && iterator_.isParentAnonymous()
                 ? std::min(stop, members.nextRequiredGroup(row))
                 : stop;
    default: return countsFromStart() ? group : stop;
  }
}

// Whether every candidate at the level fails the test for a place without a member.
bool PositionSearch::isRefused(const SMD_TYPE_DEFINITION& parent) const noexcept {
  return parent.Content == CONTENT_CLOSED ||
         (parent.Content == CONTENT_DEFINED && !isSearchFor(STTagId));
}

// Whether a repeating group that matched nothing counts as one that occurred: when what stood at
// this level at the start had not matched either.
bool PositionSearch::countsFromStart() const noexcept {
  const auto& stack = iterator_.positionStack;
  const auto& saved = iterator_.positionStackSaved ? iterator_.savedPositionStack : stack;
  return saved.size() >= stack.size() && saved[stack.size() - 1].repeatIndex == kUnmatchedRepeat;
}

bool PositionSearch::isMatching(const DictionaryPosition& position, bool atStartEntry) const {
  if (passing_.members != nullptr && isSearchFor(STTagName)) {
    const MemberIndex& members = *passing_.members;
    return position.memberIndex >= 0 && members.tag(position.tagIndex) != nullptr &&
           members.names().answers(position.tagIndex, passing_.key);
  }
  return iterator_.isElementMatched(search_, position, atStartEntry, matchCurrent_);
}

// One alternative of this very occurrence of the parent was matched before.
bool PositionSearch::isAlternativeTaken() const {
  return candidate_.repeatIndex >= 0 && !isSearchFor(STMember) &&
         iterator_.commonParentIndex() == iterator_.parentIndex();
}

bool PositionSearch::restartsLevel() {
  return candidate_.repeatIndex >= 0 && !isSearchFor(STAny) &&
         restarted_.add(iterator_.positionStack.size());
}

// A required member of a group that was entered and does not match closes the group.
bool PositionSearch::closesLevel() const {
  if (isBestPosition_ || (isFirst_ && !matchCurrent_) || isSearchFor(STMember) || !isDescended_) {
    return false;
  }
  const auto* const row = memberOf(candidate_);
  return row != nullptr && row->MinOccurs > 0 && !isMatching(candidate_, isFirst_);
}

PositionSearch::Step PositionSearch::leaveGroup() {
  if (!iterator_.isParentAnonymous()) return Step::Ended;
  iterator_.ensurePositionStackSaved();
  removeLeftEntries();
  if (iterator_.positionStack.empty()) {
    throwParserError(&iterator_, siteOf(kIteratorSource, operation_), CP_INTERNAL_ERROR,
                     "invalid dictionary context");
  }
  candidate_ = top();
  if (!repeatsGroup()) return Step::Left;
  increaseRepeat(top());
  if (!isBestPosition_ && isSearchFor(STMember) && search_.value == candidate_.memberIndex) {
    traceItem(&iterator_, operation_, "Repeated anonymous member id found", {top().repeatIndex});
    return Step::GroupFound;
  }
  pushFirstMember();
  return Step::Candidate;
}

void PositionSearch::removeLeftEntries() {
  auto& stack = iterator_.positionStack;
  const auto* const topRow = memberOf(top());
  const auto* const row = memberOf(candidate_);
  if (topRow != nullptr && row != nullptr && topRow->ParentTypeId != row->ParentTypeId) return;
  stack.pop_back();
  const auto isUnmatchedRequired = [&] {
    const auto* const member = memberOf(top());
    if (top().repeatIndex >= 0 || member == nullptr || member->MinOccurs <= 0) return false;
    if (!iterator_.isParentAnonymous()) return false;
    const SMD_TYPE_DEFINITION* const parent = parentType();
    return parent != nullptr && parent->Composition == TYPE_ORDERED;
  };
  if (!isBestPosition_ && enforceRequired_ && !isSearchFor(STMember)) {
    while (!stack.empty() && isUnmatchedRequired()) stack.pop_back();
  }
  isDescended_ = false;
}

// The group that was left starts again once, within its occurrence limit.
bool PositionSearch::repeatsGroup() const {
  const auto& saved = iterator_.savedPositionStack;
  const std::size_t size = iterator_.positionStack.size();
  if (saved.size() < size || top().repeatIndex != saved[size - 1].repeatIndex) return false;
  const std::int32_t limit = occurrenceLimit();
  return limit != 0 && limit != 1 && top().repeatIndex < limit - 1;
}

void PositionSearch::markMatched() noexcept {
  auto& stack = iterator_.positionStack;
  for (std::size_t i = stack.size(); i-- > 0 && stack[i].repeatIndex < 0;) stack[i].repeatIndex = 0;
}

// --- New position ------------------------------------------------------------------------------

bool PositionSearch::findNewPosition() {
  while (!isExhausted()) {
    if (isCandidateFound()) return placeFound();
    if (entersGroup()) continue;
    const Step step = advance();
    if (step == Step::GroupFound) return true;
    if (step == Step::Ended) break;
  }
  return failNewPosition();
}

bool PositionSearch::isCandidateFound() {
  isMatched_ = isMatching(candidate_, isFirst_) &&
               !(isSearchFor(STAny) && isGroup(dictionary(), candidate_));
  isRepeat_ = candidate_.repeatIndex >= 0 && isFirst_ && !isSearchFor(STAny);
  return isMatched_ && (!isRepeat_ || mayRepeat());
}

bool PositionSearch::mayRepeat() const {
  if (top().repeatIndex < occurrenceLimit() - 1) return true;
  const SMD_TYPE_DEFINITION* const parent = parentType();
  return parent != nullptr && isInAnyOrder(*parent);
}

bool PositionSearch::placeFound() {
  if (const char* const text = matchText(search_.searchType); text != nullptr) {
    traceItem(&iterator_, operation_, text);
  }
  if (isRepeat_) return countRepeat();
  if (candidate_.memberIndex < 0) {
    // Tag searches match members only, so this is a place for an element without definition.
    candidate_ = DictionaryPosition(iterator_.dictionaryInfo, kNone, kSelfDefinedTag, kNone,
                                    kPathInfoUnknown, kUnmatchedRepeat, NTMessage);
  }
  top() = candidate_;
  markMatched();
  return true;
}

// An element that matches the start entry, and nothing behind it, is one more occurrence of it even
// beyond the limit: the caller sees the excess in repeatIndex instead of losing the element.
bool PositionSearch::failNewPosition() {
  traceItem(&iterator_, operation_, "Position not found");
  iterator_.restorePositionStackFromSaved();
  if (isFirst_ || isSearchFor(STAny)) return isRepeat_ && isMatched_ && countRepeat();
  return isMatching(start_, false) && repeatStartEntry();
}

bool PositionSearch::repeatStartEntry() {
  auto& stack = iterator_.positionStack;
  iterator_.ensurePositionStackSaved();
  while (!stack.empty() && !(stack.back() == start_)) stack.pop_back();
  if (stack.empty()) {
    iterator_.restorePositionStackFromSaved();
    return false;
  }
  return start_.repeatIndex >= 0 && countRepeat();
}

bool PositionSearch::countRepeat() {
  if (iterator_.positionStack.empty()) return false;
  if (KelLog::isOn(LLDebug)) KelLog::debug(&iterator_, operation_, "Incrementing repeat index");
  increaseRepeat(top());
  traceItem(&iterator_, operation_, "Repeated item found", {top().repeatIndex});
  return true;
}

// --- Best position -----------------------------------------------------------------------------

bool PositionSearch::findBestPosition(bool replaceCurrent) {
  if (!isSearchFor(STTagId) && !isSearchFor(STSimpleType) && !isSearchFor(STSelfDef)) return false;
  isBestPosition_ = true;
  replaceCurrent_ = replaceCurrent;
  while (!isExhausted()) {
    if (iterator_.isTypeContentMatched(search_)) return placeUndefined(replaceCurrent_);
    if (entersGroup()) {
      replaceCurrent_ = true;
      continue;
    }
    if (advance() == Step::Ended) {
      if (!iterator_.isTypeContentMatched(search_) || top().tagIndex != kNone) break;
      candidate_ = top();
      return placeUndefined(false);
    }
  }
  return failBestPosition();
}

bool PositionSearch::placeUndefined(bool replaceCurrent) {
  auto& stack = iterator_.positionStack;
  const auto* const member = memberOf(candidate_);
  if (candidate_.tagIndex == kNone && member != nullptr && member->ChildClass == TCStructure) {
    stack.emplace_back(iterator_.dictionaryInfo, kNone);
    replaceCurrent = true;
  }
  const DictionaryPosition placed = undefinedPosition(replaceCurrent ? kNone : kMarkerMember);
  if (replaceCurrent) {
    top() = placed;
  } else {
    stack.push_back(placed);
  }
  markMatched();
  return true;
}

DictionaryPosition PositionSearch::undefinedPosition(std::int32_t memberIndex) const {
  std::int32_t tagIndex = kSelfDefinedTag;
  std::int32_t typeIndex = kNone;
  if (isSearchFor(STTagId)) {
    traceItem(&iterator_, operation_, "Matched Tag defined");
    tagIndex = search_.value;
    if (const auto* const tag = dictionary().tags().find(tagIndex); tag != nullptr) {
      typeIndex = tag->ToTypeIndexField;
    }
  } else if (isSearchFor(STSimpleType)) {
    traceItem(&iterator_, operation_, "Matched Selfdefining Value");
    tagIndex = kNone;
    typeIndex =
        dictionary().getTypeDefIndexFromLogicalType(static_cast<LOGICAL_TYPE>(search_.value));
  } else {
    traceItem(&iterator_, operation_, "Matched Selfdefining");
  }
  return {iterator_.dictionaryInfo, memberIndex,      tagIndex,   typeIndex,
          kPathInfoUnknown,         kUnmatchedRepeat, NTUndefined};
}

bool PositionSearch::failBestPosition() {
  iterator_.restorePositionStackFromSaved();
  traceItem(&iterator_, operation_, "Position not found");
  return false;
}

}  // namespace cpi
