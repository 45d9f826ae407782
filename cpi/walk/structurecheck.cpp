#include "cpi/walk/structurecheck.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "cpi/walk/elementplaces.h"

namespace cpi {

StructureCheck::StructureCheck(const WalkModel& model, const OccurrenceCounter& counter,
                               std::int64_t& searched)
    : model_(model), counter_(counter), searched_(searched), finder_(model) {}

void StructureCheck::restart() noexcept {
  trail_.clear();
  troubles_.clear();
}

void StructureCheck::close(const Scope& scope) noexcept {
  trail_.resize(scope.begin);
  if (troubleOf(scope) != nullptr) troubles_.pop_back();
}

bool StructureCheck::accept(const Scope& scope, const ContentPath& next) {
  if (next.empty() || !searchFrom(scope, path(scope)).passes(next)) return false;
  settle(scope, next);
  return true;
}

StructureCheck::Outcome StructureCheck::judge(const Scope& scope, const ElementName& name) {
  fault_ = {};
  if (find(searchFrom(scope, path(scope)), name)) return placed(scope);
  Trouble* const trouble = troubleOf(scope);
  if (trouble != nullptr && trouble->hasBookmark &&
      find(searchFrom(scope, trouble->bookmark), name)) {
    trouble->bookmark = found_;  // it has come now
    return placed(scope);
  }
  if (Outcome ahead = judgeAhead(scope, name); ahead.isPlaced) return ahead;
  if (Outcome behind = judgeBehind(scope, name); behind.leaf != kNone) return behind;
  return judgeUnknown(scope, name);
}

bool StructureCheck::isIncomplete(const Scope& scope) {
  const ContentSearch search = searchFrom(scope, path(scope));
  if (search.completes()) return false;
  const Trouble* const trouble = troubleOf(scope);
  const ToldMembers* const told = trouble == nullptr ? nullptr : &trouble->told;
  if (countMissing(search, {}, told) <= (trouble == nullptr ? 0 : trouble->strays)) return false;
  explain(scope);
  fault_.missing = listMissing(model_.content(), search, {}, told);
  return true;
}

StructureCheck::Outcome StructureCheck::judgeRoot(const ElementName& name) {
  fault_ = {};
  Outcome outcome = judgeByName(name);
  outcome.reason = Reason::UnknownRoot;
  outcome.content = kNone;
  if (outcome.kind != VerdictKind::UnknownName) return outcome;
  for (const std::int32_t tag : model_.places().tagsNamed(textView(name.local))) {
    if (!model_.places().isGlobal(tag)) continue;
    outcome.kind = VerdictKind::WrongNamespace;
    fault_.elsewhereCount += model_.places().addPlaces(tag, fault_.elsewhere);
  }
  return outcome;
}

StructureCheck::Outcome StructureCheck::judgeRefused(std::int32_t typeIndex,
                                                     const ElementName& name) {
  fault_ = {};
  const Scope scope{0, typeIndex, trail_.size()};
  const ContentSearch search = searchFrom(scope, {});
  if (findAhead(search, name, nullptr)) {
    Outcome outcome;
    outcome.kind = VerdictKind::OutOfOrder;
    outcome.reason = Reason::NotAllowed;
    return outcome;
  }
  const std::int32_t leaf = finder_.otherNamespace(search, name);
  return leaf == kNone ? judgeByName(name) : wrongNamespace(leaf);
}

ContentSearch StructureCheck::searchFrom(const Scope& scope, ContentSearch::Path last) const {
  return {model_.content(), counter_, scope.number, scope.typeIndex, last, &searched_};
}

StructureCheck::Trouble* StructureCheck::troubleOf(const Scope& scope) noexcept {
  const bool isItsOwn = !troubles_.empty() && troubles_.back().number == scope.number;
  return isItsOwn ? &troubles_.back() : nullptr;
}

StructureCheck::Trouble& StructureCheck::addTrouble(const Scope& scope) {
  if (Trouble* const known = troubleOf(scope)) return *known;
  Trouble& added = troubles_.emplace_back();
  added.number = scope.number;
  return added;
}

// The walk goes on from `next`. What is placed in faulty content may be missed at its own place
// later on, so it is remembered.
void StructureCheck::settle(const Scope& scope, ContentSearch::Path next) {
  trail_.resize(scope.begin);
  trail_.insert(trail_.end(), next.begin(), next.end());
  Trouble* const trouble = troubleOf(scope);
  if (trouble == nullptr) return;
  if (!isInAnyOrder(scope) && !isStillOwed(next.back())) trouble->strays = 0;
  trouble->aside.clear();
  trouble->strayTypes.clear();
  if (trouble->hasBookmark) trouble->told.insert(next.back().memberIndex);
}

// Then what an element without a place stood for may be missing to the end.
bool StructureCheck::isInAnyOrder(const Scope& scope) const {
  const SMD_TYPE_DEFINITION* const type = model_.dictionary().types().find(scope.typeIndex);
  return type != nullptr && cpi::isInAnyOrder(*type);
}

// A member of which more has to come: one may be among the elements without a place.
bool StructureCheck::isStillOwed(const ContentStep& step) const {
  return model_.content().isRequired(step.memberIndex) &&
         step.repeat + 1 < model_.content().member(step.memberIndex).MinOccurs;
}

bool StructureCheck::find(const ContentSearch& search, const ElementName& name) {
  found_ = finder_.next(search, name);
  return !found_.empty();
}

bool StructureCheck::findAhead(const ContentSearch& search, const ElementName& name,
                               const ToldMembers* told) {
  found_ = finder_.ahead(
      search, name, [&](const ContentPath& place) { return countMissing(search, place, told); });
  return !found_.empty();
}

// At found_.
StructureCheck::Outcome StructureCheck::placed(const Scope& scope) {
  settle(scope, found_);
  Outcome outcome;
  outcome.isPlaced = true;
  outcome.leaf = found_.back().memberIndex;
  return outcome;
}

// An element that may come later: what it skips is missing, unless that was told before or stands
// there under a wrong name.
StructureCheck::Outcome StructureCheck::judgeAhead(const Scope& scope, const ElementName& name) {
  const Trouble* const known = troubleOf(scope);
  const ToldMembers* const told = known == nullptr ? nullptr : &known->told;
  if (known != nullptr && known->hasBookmark) {
    const ContentSearch early = searchFrom(scope, known->bookmark);
    if (findAhead(early, name, told) && countMissing(early, found_, told) == 0) {
      return placed(scope);
    }
  }
  const ContentSearch search = searchFrom(scope, path(scope));
  if (!findAhead(search, name, told)) return {};
  const bool isFault = countMissing(search, found_, told) > (known == nullptr ? 0 : known->strays);
  if (isFault && isOneMore(scope, name)) return {};
  if (isFault) explain(scope);
  fault_.missing = listMissing(model_.content(), search, found_, told);
  Trouble& trouble = addTrouble(scope);
  for (const Expected& missing : fault_.missing) trouble.told.insert(missing.memberIndex);
  if (isFault) return judgeSkip(scope);
  fault_ = {};
  return placed(scope);
}

// The walk goes on from found_, and can go back to where it is now.
StructureCheck::Outcome StructureCheck::judgeSkip(const Scope& scope) {
  Trouble& trouble = addTrouble(scope);
  const ContentSearch::Path last = path(scope);
  trouble.bookmark.assign(last.begin(), last.end());
  trouble.hasBookmark = true;
  fault_.groups = groupsOf(model_.content(), found_);
  Outcome outcome = placed(scope);
  outcome.kind = VerdictKind::OutOfOrder;
  outcome.reason = Reason::SkipsRequired;
  return outcome;
}

// Whether the element, at found_, is the last child's, once more. Then that is the fault, rather
// than that the next repeat of a group around both would lack something in front of it. When it
// would lack nothing the repeat has begun, and the one before was cut short.
bool StructureCheck::isOneMore(const Scope& scope, const ElementName& name) const {
  const ContentSearch::Path last = path(scope);
  if (last.empty() || !finder_.isTaken(last.back().memberIndex, name)) return false;
  const auto [begun, before] = std::ranges::mismatch(found_, last);
  if (begun->memberIndex != before->memberIndex) return true;
  const auto level = static_cast<std::size_t>(begun - found_.begin());
  bool lacksInFront = false;
  searchFrom(scope, last).forEachMissing(found_, [&](const ContentLeaf& leaf) {
    lacksInFront = leaf.path.size() > level && leaf.path[level] == found_[level];
    return lacksInFront;
  });
  return lacksInFront;
}

// An element of this content that may no longer come.
StructureCheck::Outcome StructureCheck::judgeBehind(const Scope& scope, const ElementName& name) {
  const Trouble* const known = troubleOf(scope);
  const bool isInRun =
      known != nullptr && !known->aside.empty() && find(searchFrom(scope, known->aside), name);
  if (!isInRun) found_ = finder_.anywhere(searchFrom(scope, path(scope)), name);
  Outcome outcome;
  if (found_.empty()) return outcome;
  Trouble& trouble = addTrouble(scope);
  trouble.aside = found_;
  outcome.leaf = found_.back().memberIndex;
  outcome.content = model_.content().member(outcome.leaf).toTagIndex;
  outcome.kind = VerdictKind::OutOfOrder;
  outcome.reason = Reason::PlacePassed;
  const ContentSearch::Path last = path(scope);
  const bool isAgain = !last.empty() && last.back().memberIndex == outcome.leaf;
  outcome.isConsequence = isInRun || (!isAgain && trouble.told.contains(outcome.leaf));
  if (!outcome.isConsequence) classifyBehind(scope, name, outcome);
  return outcome;
}

// Why it may no longer come.
void StructureCheck::classifyBehind(const Scope& scope, const ElementName& name, Outcome& outcome) {
  explain(scope);
  const ContentSearch::Path last = path(scope);
  const bool isLast = !last.empty() && last.back().memberIndex == outcome.leaf;
  fault_.groups = groupsOf(model_.content(), isLast ? last : ContentSearch::Path(found_));
  if (isExhausted(scope, name)) {
    outcome.kind = VerdictKind::BeyondLimit;
    outcome.reason = Reason::None;
  } else if (searchFrom(scope, last).isOtherAlternative(found_)) {
    outcome.kind = VerdictKind::Refused;
    outcome.reason = Reason::OtherAlternative;
  }
}

// Whether a limit keeps found_ from coming, of the element itself or of a group around it: whether
// it might come if the last child, or a group around that, stood there once less.
bool StructureCheck::isExhausted(const Scope& scope, const ElementName& name) {
  const ContentSearch::Path last = path(scope);
  ContentPath once(last.begin(), last.end());
  for (std::size_t level = last.size(); level-- > 0;) {
    fault_.atMost = model_.content().member(last[level].memberIndex).MaxOccurs;
    if (fault_.atMost <= 1) continue;
    --once[level].repeat;
    ContentPath beyond = finder_.next(searchFrom(scope, once), name);
    ++once[level].repeat;
    if (beyond.size() <= level || beyond[level].memberIndex != last[level].memberIndex) continue;
    ++beyond[level].repeat;
    fault_.groups = groupsOf(model_.content(), beyond);
    return true;
  }
  // In any order it may have come anywhere before, or a substitute for it.
  const auto counted = std::ranges::find_if(found_, [&](const ContentStep& step) {
    return counter_.countedFor(scope.number, step.memberIndex) > 0;
  });
  const bool isLast = !last.empty() && last.back().memberIndex == found_.back().memberIndex;
  if (!isLast && counted == found_.end()) fault_.atMost = kNone;
  else
    fault_.atMost =
        model_.content().member((isLast ? found_.back() : *counted).memberIndex).MaxOccurs;
  return fault_.atMost != kNone;
}

StructureCheck::Outcome StructureCheck::judgeUnknown(const Scope& scope, const ElementName& name) {
  explain(scope);
  const ContentSearch search = searchFrom(scope, path(scope));
  fault_.groups = openGroups(model_.content(), search, path(scope));
  Trouble& trouble = addTrouble(scope);
  ++trouble.strays;
  const std::int32_t leaf = finder_.otherNamespace(search, name);
  if (leaf == kNone) return judgeStray(trouble, name);
  trouble.told.insert(leaf);
  return wrongNamespace(leaf);
}

// Elements side by side that another type has are one fault: their parent is missing.
StructureCheck::Outcome StructureCheck::judgeStray(Trouble& trouble, const ElementName& name) {
  Outcome outcome = judgeByName(name);
  std::vector<std::int32_t> owners =
      model_.places().typesWith(textView(name.local), name.namespaceURI);
  std::vector<std::int32_t> both;
  std::ranges::set_intersection(owners, trouble.strayTypes, std::back_inserter(both));
  outcome.isConsequence = !both.empty();
  trouble.strayTypes = std::move(outcome.isConsequence ? both : owners);
  return outcome;
}

StructureCheck::Outcome StructureCheck::wrongNamespace(std::int32_t leaf) {
  Outcome outcome;
  outcome.kind = VerdictKind::WrongNamespace;
  outcome.reason = Reason::NotAllowed;
  const std::int32_t tag = model_.content().member(leaf).toTagIndex;
  fault_.elsewhereCount = model_.places().addPlaces(tag, fault_.elsewhere);
  return outcome;
}

// By what the model has of this name, wherever that is. Its content can be judged when there is a
// global element or all that have the name have one type.
StructureCheck::Outcome StructureCheck::judgeByName(const ElementName& name) {
  const StdDictionaryInfo& dictionary = model_.dictionary();
  const auto tags = model_.places().tagsNamed(textView(name.local));
  Outcome outcome;
  outcome.kind = VerdictKind::UnknownName;
  outcome.reason = Reason::NotAllowed;
  bool isOneType = true;
  for (const std::int32_t tag : tags) {
    const SMD_TAG_DEFINITION& row = dictionary.tags().row(tag);
    if (!dictionary.isInNamespace(row.namespaceIndex, name.namespaceURI)) continue;
    outcome.kind = VerdictKind::KnownElsewhere;
    if (model_.places().isGlobal(tag) && model_.properties().controlOfTag(tag).isAbstract) {
      outcome.kind = VerdictKind::Refused;
      outcome.reason = Reason::AbstractType;
      outcome.content = kNone;
      return outcome;
    }
    fault_.elsewhereCount += model_.places().addPlaces(tag, fault_.elsewhere);
    const auto* const first = dictionary.tags().find(outcome.content);
    if (first == nullptr || model_.places().isGlobal(tag)) {
      outcome.content = tag;
      isOneType = isOneType || model_.places().isGlobal(tag);
    } else if (!model_.places().isGlobal(outcome.content)) {
      isOneType = isOneType && first->ToTypeIndexField == row.ToTypeIndexField;
    }
  }
  if (!isOneType) outcome.content = kNone;
  return outcome;
}

// What the finding of the next outcome has in any case.
void StructureCheck::explain(const Scope& scope) {
  const ContentSearch::Path last = path(scope);
  fault_ = {};
  fault_.groups = groupsOf(model_.content(), last);
  fault_.expected = listExpected(model_.content(), searchFrom(scope, last));
}

}  // namespace cpi
