// What may come next: one search that matches nothing, and each candidate that it meets.
#include "cpi/dictinfo/stddi/navigate/expectationlist.h"

#include <algorithm>

#include "cpi/dictinfo/stddi/navigate/search.h"

namespace cpi {

namespace {

constexpr const char* kListNextSiblings = "StdDictionaryIterator::listNextSiblings";
constexpr const char* kListFirstChildren = "StdDictionaryIterator::listFirstChildren";
constexpr const char* kListOwedSiblings = "StdDictionaryIterator::listOwedSiblings";
constexpr const char* kListOwedChildren = "StdDictionaryIterator::listOwedChildren";
constexpr const char* kSearch = "StdDictionaryIterator::listCandidates";

// Groups around all listed elements together: what a hostile model of deep nesting may cost.
constexpr std::size_t kMaximumGroups = 4'000'000;

}  // namespace

// --- The operations ----------------------------------------------------------------------------

bool StdDictionaryIterator::listNextSiblings(Expectation& expectation, bool enforceRequired) const {
  KelOperation operation(this, kListNextSiblings, enforceRequired);
  ExpectationList list(*this, expectation);
  if (!list.isAmongSiblings()) return operation.returns(false);
  list.oweSiblings();
  list.listSiblings(enforceRequired);
  return operation.returns(true);
}

bool StdDictionaryIterator::listFirstChildren(Expectation& expectation,
                                              bool enforceRequired) const {
  KelOperation operation(this, kListFirstChildren, enforceRequired);
  ExpectationList list(*this, expectation);
  if (!list.isAboveChildren()) return operation.returns(false);
  list.oweChildren();
  list.listChildren(enforceRequired);
  return operation.returns(true);
}

bool StdDictionaryIterator::listOwedSiblings(Expectation& expectation) const {
  KelOperation operation(this, kListOwedSiblings);
  ExpectationList list(*this, expectation);
  if (!list.isAmongSiblings()) return operation.returns(false);
  list.oweSiblings();
  return operation.returns(true);
}

bool StdDictionaryIterator::listOwedChildren(Expectation& expectation) const {
  KelOperation operation(this, kListOwedChildren);
  ExpectationList list(*this, expectation);
  if (!list.isAboveChildren()) return operation.returns(false);
  list.oweChildren();
  return operation.returns(true);
}

// --- Elements ----------------------------------------------------------------------------------

bool ExpectationList::isAmongSiblings() const {
  return probe_.getCurrentPosition() != nullptr && probe_.positionStack.size() > 1 &&
         parentType() != nullptr;
}

bool ExpectationList::isAboveChildren() const {
  return probe_.getCurrentPosition() != nullptr && probe_.getTypeDef() != nullptr &&
         probe_.canHaveChildren();
}

const SMD_TYPE_DEFINITION* ExpectationList::parentType() const {
  return dictionary().types().find(probe_.getParentTypeIndex());
}

// The steps before the search are those of the moves.
void ExpectationList::listSiblings(bool enforceRequired) {
  if (probe_.isInNamedMessage()) return;
  probe_.settleCurrentEntry();
  runSearch(false, enforceRequired);
}

void ExpectationList::listChildren(bool enforceRequired) {
  const std::int32_t first = firstMember(dictionary(), probe_.getTypeDef());
  if (first < 0) return;
  probe_.positionStack.emplace_back(probe_.dictionaryInfo, first);
  runSearch(true, enforceRequired);
}

void ExpectationList::runSearch(bool matchCurrent, bool enforceRequired) {
  const SearchDef nothing(STUndefined, 0);
  PositionSearch search(probe_, kSearch, nothing, matchCurrent, enforceRequired);
  search.visitCandidates([this](const DictionaryPosition& candidate, std::int32_t repeatIndex) {
    return visit(candidate, repeatIndex);
  });
  if (held_) expectation_.elements.push_back(*held_);
}

// Whether the search is to go on.
bool ExpectationList::visit(const DictionaryPosition& candidate, std::int32_t repeatIndex) {
  const auto* const member = dictionary().typeMembers().find(candidate.memberIndex);
  if (member == nullptr) return true;
  if (held_ && held_->memberIndex == candidate.memberIndex) {
    expectation_.elements.push_back(*held_);
    held_.reset();
  }
  ExpectedElement element = elementAt(candidate, repeatIndex);
  if (!isNew(element)) return true;
  element.isFoundByName = element.tagIndex >= 0 && isFirstOfItsName(element.tagIndex);
  element.minOccurs = member->MinOccurs;
  element.maxOccurs = limitOf(*member);
  if (repeatIndex >= element.maxOccurs) return true;  // found, but as one too many
  element.firstGroup = addPath();
  element.groupCount = expectation_.groups.size() - element.firstGroup;
  if (isRestarting(element)) {
    held_ = element;
  } else {
    expectation_.elements.push_back(element);
  }
  return expectation_.groups.size() < kMaximumGroups;
}

ExpectedElement ExpectationList::elementAt(const DictionaryPosition& candidate,
                                           std::int32_t repeatIndex) const {
  ExpectedElement element;
  element.memberIndex = candidate.memberIndex;
  element.tagIndex = candidate.tagIndex;
  element.typeIndex = candidate.typeIndex;
  element.repeatIndex = repeatIndex;
  return element;
}

// Whether a search can look for it and did not end earlier. Groups and tags that are not in the
// dictionary are nothing to look for.
bool ExpectationList::isNew(ExpectedElement& element) {
  if (dictionary().tags().contains(element.tagIndex)) return tags_.insert(element.tagIndex).second;
  if (element.tagIndex != kNone || !types_.insert(element.typeIndex).second) return false;
  element.logicalType = dictionary().getTypeValueLogicalType(element.typeIndex);
  return element.logicalType > 0 && logicalTypes_.insert(element.logicalType).second;
}

bool ExpectationList::isFirstOfItsName(std::int32_t tagIndex) {
  const SMD_TAG_DEFINITION& tag = dictionary().tags().row(tagIndex);
  const std::u16string_view name = comparedName(tag.TextIdentifier);
  if (name.empty() || tag.namespaceIndex < kNone) return false;
  return names_.emplace(dictionary().namespaceText(tag.namespaceIndex), name).second;
}

// A level in any order starts over behind its current member, which is met again at its place.
bool ExpectationList::isRestarting(const ExpectedElement& element) const {
  if (element.repeatIndex == 0) return false;
  const SMD_TYPE_DEFINITION* const parent = parentType();
  return parent != nullptr && isInAnyOrder(*parent);
}

// The groups' occurrences are those that they would have after a match. Neighbours share a path.
std::size_t ExpectationList::addPath() {
  auto& groups = expectation_.groups;
  probe_.getPartialMemberPath(path_);
  for (std::size_t i = path_.size(); i-- > 0 && path_[i].repeatIndex < 0;) path_[i].repeatIndex = 0;
  const auto tail = std::span(groups).last(std::min(path_.size(), groups.size()));
  if (!std::ranges::equal(tail, path_)) groups.insert(groups.end(), path_.begin(), path_.end());
  return groups.size() - path_.size();
}

}  // namespace cpi
