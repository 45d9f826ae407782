#include "cpi/walk/structurecheck.h"

#include <algorithm>
#include <utility>

#include "cpi/walk/elementplaces.h"

namespace cpi {
namespace {

// Longer lists of what is expected or missing are cut off.
constexpr std::size_t kMaxListed = 200;

}  // namespace

StructureCheck::StructureCheck(const WalkModel& model, const OccurrenceCounter& counter)
    : model_(model), counter_(counter) {}

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
  if (find(searchFrom(scope, path(scope)), name, false)) return placed(scope);
  Trouble* const trouble = troubleOf(scope);
  if (trouble != nullptr && trouble->hasBookmark &&
      find(searchFrom(scope, trouble->bookmark), name, false)) {
    return placed(scope);
  }
  if (Outcome ahead = judgeAhead(scope, name); ahead.isPlaced) return ahead;
  if (Outcome behind = judgeBehind(scope, name); behind.leaf != kNone) return behind;
  return judgeUnknown(scope, name);
}

bool StructureCheck::isIncomplete(const Scope& scope) {
  const ContentSearch search = searchFrom(scope, path(scope));
  if (search.completes()) return false;
  fault_ = {};
  Trouble* const trouble = troubleOf(scope);
  listMissing(search, {}, trouble);
  if (fault_.missing.empty() || (trouble != nullptr && owedCount() <= trouble->strays))
    return false;
  explain(scope);
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
  if (find(search, name, true)) {
    Outcome outcome;
    outcome.kind = VerdictKind::OutOfOrder;
    outcome.reason = Reason::NotAllowed;
    return outcome;
  }
  const std::int32_t leaf = otherNamespace(search, name);
  return leaf == kNone ? judgeByName(name) : wrongNamespace(leaf);
}

ContentSearch StructureCheck::searchFrom(const Scope& scope, ContentSearch::Path last) const {
  return {model_.content(), counter_, scope.number, scope.typeIndex, last};
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
  if (!isInAnyOrder(scope)) trouble->strays = 0;
  trouble->aside.clear();
  trouble->strayType = kNone;
  if (trouble->hasBookmark) trouble->told.insert(next.back().memberIndex);
}

// Then what an element without a place stood for may be missing to the end.
bool StructureCheck::isInAnyOrder(const Scope& scope) const {
  const SMD_TYPE_DEFINITION* const type = model_.dictionary().types().find(scope.typeIndex);
  return type != nullptr && (type->Composition == TYPE_UNORDERED || type->Composition == TYPE_ALL);
}

bool StructureCheck::isTaken(std::int32_t leaf, const ElementName& name) const {
  const StdDictionaryInfo& dictionary = model_.dictionary();
  const SMD_STRUCTURE_ELEMENT_DEFINITION& member = model_.content().member(leaf);
  if (const Wildcard* const wildcard = model_.wildcardOfType(member.toTypeIndex);
      wildcard != nullptr && member.toTagIndex == kNone) {
    return wildcard->admits(name.namespaceURI.view());
  }
  const SMD_TAG_DEFINITION* const tag = dictionary.tags().find(member.toTagIndex);
  return tag != nullptr && elementNameOf(*tag) == textView(name.local) &&
         dictionary.isInNamespace(tag->namespaceIndex, name.namespaceURI);
}

// Beyond what may come next a wildcard takes only what is foreign to this content: a misspelt
// element would else be sent to the first wildcard that is ahead.
bool StructureCheck::find(const ContentSearch& search, const ElementName& name, bool isLenient) {
  found_.clear();
  const bool hasWildcards = !isLenient || isForeign(search, name);
  search.forEachNext(isLenient, [&](const ContentLeaf& leaf) {
    const std::int32_t row = leaf.path.back().memberIndex;
    if (!hasWildcards && model_.content().member(row).toTagIndex == kNone) return false;
    if (!isTaken(row, name)) return false;
    found_ = leaf.path;
    return true;
  });
  return !found_.empty();
}

void StructureCheck::findAnywhere(const ContentSearch& search, const ElementName& name) {
  found_.clear();
  search.forEachLeaf([&](const ContentLeaf& leaf) {
    if (!isTaken(leaf.path.back().memberIndex, name)) return false;
    found_ = leaf.path;
    return true;
  });
}

bool StructureCheck::isForeign(const ContentSearch& search, const ElementName& name) const {
  bool isForeign = true;
  search.forEachLeaf([&](const ContentLeaf& leaf) {
    const std::int32_t tagIndex = model_.content().member(leaf.path.back().memberIndex).toTagIndex;
    const auto* const tag = model_.dictionary().tags().find(tagIndex);
    isForeign = tag == nullptr ||
                !model_.dictionary().isInNamespace(tag->namespaceIndex, name.namespaceURI);
    return !isForeign;
  });
  return isForeign;
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
  Trouble* const known = troubleOf(scope);
  if (known != nullptr && known->hasBookmark) {
    const ContentSearch early = searchFrom(scope, known->bookmark);
    if (find(early, name, true)) {
      listMissing(early, found_, known);
      if (fault_.missing.empty()) return placed(scope);
    }
  }
  const ContentSearch search = searchFrom(scope, path(scope));
  if (!find(search, name, true)) return {};
  listMissing(search, found_, known);
  const bool isFault = owedCount() > (known == nullptr ? 0 : known->strays);
  if (isFault && isOneMore(scope, name)) return {};
  if (isFault) explain(scope);
  Trouble& trouble = addTrouble(scope);
  tellMissing(trouble);
  if (!isFault) {
    fault_ = {};
    return placed(scope);
  }
  const ContentSearch::Path last = path(scope);
  trouble.bookmark.assign(last.begin(), last.end());
  trouble.hasBookmark = true;
  fault_.groups = groupsOf(model_.content(), found_);
  Outcome outcome = placed(scope);
  outcome.kind = VerdictKind::OutOfOrder;
  outcome.reason = Reason::SkipsRequired;
  return outcome;
}

// Whether the element is the last child's, once more. Then that is the fault, rather than that the
// next repeat of a group around both would lack something.
bool StructureCheck::isOneMore(const Scope& scope, const ElementName& name) const {
  const ContentSearch::Path last = path(scope);
  return !last.empty() && isTaken(last.back().memberIndex, name);
}

// An element of this content that may no longer come.
StructureCheck::Outcome StructureCheck::judgeBehind(const Scope& scope, const ElementName& name) {
  Trouble* const known = troubleOf(scope);
  const bool isInRun = known != nullptr && !known->aside.empty() &&
                       find(searchFrom(scope, known->aside), name, false);
  const ContentSearch search = searchFrom(scope, path(scope));
  if (!isInRun) findAnywhere(search, name);
  Outcome outcome;
  if (found_.empty()) return outcome;
  Trouble& trouble = addTrouble(scope);
  trouble.aside = found_;
  outcome.leaf = found_.back().memberIndex;
  const SMD_STRUCTURE_ELEMENT_DEFINITION& member = model_.content().member(outcome.leaf);
  outcome.content = member.toTagIndex;
  outcome.kind = VerdictKind::OutOfOrder;
  outcome.reason = Reason::PlacePassed;
  outcome.isConsequence = isInRun || trouble.told.contains(outcome.leaf);
  if (outcome.isConsequence) return outcome;
  fault_.missing.clear();
  explain(scope);
  const ContentSearch::Path last = path(scope);
  const bool isLast = !last.empty() && last.back().memberIndex == outcome.leaf;
  fault_.groups = groupsOf(model_.content(), isLast ? last : ContentSearch::Path(found_));
  if (const std::int32_t limit = exhausted(scope); limit != kNone) {
    outcome.kind = VerdictKind::BeyondLimit;
    outcome.reason = Reason::None;
    fault_.atMost = limit;
  } else if (search.isOtherAlternative(found_)) {
    outcome.kind = VerdictKind::Refused;
    outcome.reason = Reason::OtherAlternative;
  }
  return outcome;
}

// The limit that keeps found_ from coming: of the element itself or of a repeating group around
// it; kNone: it is none.
std::int32_t StructureCheck::exhausted(const Scope& scope) const {
  const ContentSearch::Path last = path(scope);
  const std::int32_t leaf = found_.back().memberIndex;
  const auto& member = model_.content().member(leaf);
  if (!last.empty() && last.back().memberIndex == leaf) return member.MaxOccurs;
  if (counter_.countedFor(scope.number, leaf) > 0) return member.MaxOccurs;
  for (std::size_t level = 0; level + 1 < std::min(last.size(), found_.size()); ++level) {
    if (last[level].memberIndex != found_[level].memberIndex) break;
    const std::int32_t limit = model_.content().member(last[level].memberIndex).MaxOccurs;
    if (limit > 1) return limit;
  }
  return kNone;
}

StructureCheck::Outcome StructureCheck::judgeUnknown(const Scope& scope, const ElementName& name) {
  fault_.missing.clear();
  explain(scope);
  Trouble& trouble = addTrouble(scope);
  ++trouble.strays;
  const std::int32_t leaf = otherNamespace(searchFrom(scope, path(scope)), name);
  if (leaf == kNone) return judgeStray(trouble, name);
  trouble.told.insert(leaf);
  return wrongNamespace(leaf);
}

// Elements side by side that another type has are one fault: their parent is missing.
StructureCheck::Outcome StructureCheck::judgeStray(Trouble& trouble, const ElementName& name) {
  Outcome outcome = judgeByName(name);
  const auto isOfStrayType = [&](const KnownPlace& place) {
    return place.parentTypeIndex != kNone && place.parentTypeIndex == trouble.strayType;
  };
  outcome.isConsequence = std::ranges::any_of(fault_.elsewhere, isOfStrayType);
  if (outcome.isConsequence) return outcome;
  trouble.strayType = kNone;
  for (const KnownPlace& place : fault_.elsewhere) {
    if (trouble.strayType == kNone) trouble.strayType = place.parentTypeIndex;
  }
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

// The member of this content that has the name in another namespace, or kNone.
std::int32_t StructureCheck::otherNamespace(const ContentSearch& search,
                                            const ElementName& name) const {
  std::int32_t found = kNone;
  search.forEachLeaf([&](const ContentLeaf& leaf) {
    const std::int32_t row = leaf.path.back().memberIndex;
    const auto* const tag =
        model_.dictionary().tags().find(model_.content().member(row).toTagIndex);
    if (tag == nullptr || elementNameOf(*tag) != textView(name.local)) return false;
    found = row;
    return true;
  });
  return found;
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

// What the finding of the next outcome has in any case; `missing` stays as it is.
void StructureCheck::explain(const Scope& scope) {
  fault_.expected.clear();
  fault_.elsewhere.clear();
  fault_.elsewhereCount = 0;
  fault_.atMost = kNone;
  const ContentSearch::Path last = path(scope);
  fault_.groups = groupsOf(model_.content(), last);
  searchFrom(scope, last).forEachNext(false, [&](const ContentLeaf& leaf) {
    fault_.expected.push_back(expectedOf(leaf));
    return fault_.expected.size() == kMaxListed;
  });
}

// Into fault_.missing, without what was told before.
void StructureCheck::listMissing(const ContentSearch& search, ContentSearch::Path next,
                                 const Trouble* trouble) {
  fault_.missing.clear();
  search.forEachMissing(next, [&](const ContentLeaf& leaf) {
    const bool isTold = trouble != nullptr && trouble->told.contains(leaf.path.back().memberIndex);
    if (!isTold) fault_.missing.push_back(expectedOf(leaf));
    return fault_.missing.size() == kMaxListed;
  });
}

// How many members are missing; alternatives are one.
std::int32_t StructureCheck::owedCount() const noexcept {
  std::int32_t count = 0;
  std::int32_t choice = 0;
  for (const Expected& missing : fault_.missing) {
    if (missing.choice == 0 || missing.choice != choice) ++count;
    choice = missing.choice;
  }
  return count;
}

void StructureCheck::tellMissing(Trouble& trouble) const {
  for (const Expected& missing : fault_.missing) trouble.told.insert(missing.memberIndex);
}

Expected StructureCheck::expectedOf(const ContentLeaf& leaf) const {
  const StdDictionaryInfo& dictionary = model_.dictionary();
  Expected expected;
  expected.memberIndex = leaf.path.back().memberIndex;
  expected.owed = leaf.owed;
  expected.atMost = leaf.atMost < 0 ? kUnbounded : leaf.atMost;
  expected.choice = leaf.choice;
  expected.groups = groupsOf(model_.content(), leaf.path);
  const auto& member = model_.content().member(expected.memberIndex);
  if (const auto* const tag = dictionary.tags().find(member.toTagIndex); tag != nullptr) {
    expected.name = toUtf8(elementNameOf(*tag));
    expected.namespaceURI = toUtf8(dictionary.namespaceText(tag->namespaceIndex));
  } else if (const auto* const type = dictionary.types().find(member.toTypeIndex)) {
    expected.isWildcard = true;
    const std::u16string_view text = textView(type->Identifier);
    expected.name = toUtf8(text.substr(std::min(text.find(u' ') + 1, text.size())));
  }
  return expected;
}

}  // namespace cpi
