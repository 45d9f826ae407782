// The search moves of the iterator: their entry checks, and the stack when an exception leaves.
#include "cpi/dictinfo/stddi/navigate/search.h"
#include "cpi/dictinfo/stddi/navigate/stackguard.h"
#include "cpi/dictinfo/stddi/query/lookupindex.h"

namespace cpi {

namespace {

constexpr const char* kNewPosition = "StdDictionaryIterator::moveToNewPosition";
constexpr const char* kBestPosition = "StdDictionaryIterator::moveToBestPosition";

void checkSearch(const StdDictionaryIterator& iterator, bool moveFwd, const char* operation) {
  if (iterator.getCurrentPosition() == nullptr) {
    throwParserError(nullptr, siteOf(kIteratorSource, operation), CP_DICT_ITERATOR_NOT_INITIALISED,
                     "null dictionary pointer or no context set");
  }
  if (!moveFwd) {
    throwParserError(&iterator, siteOf(kIteratorSource, operation), CP_INTERNAL_ERROR,
                     "moveFwd false not supported");
  }
}

}  // namespace

// How a search may pass over members that it would look at in vain; every member is looked at where
// the log tells of it, and where nothing was derived from the tables.
Passing StdDictionaryIterator::passing() const noexcept {
  if (isStepByStep || dictionaryInfo == nullptr || KelLog::isOn(LLTrace)) return {};
  const LookupIndex* const index = dictionaryInfo->index();
  return {index == nullptr ? nullptr : index->members(), kNone};
}

// A row that is no tag is left to the search, for which it may be what any group has.
Passing StdDictionaryIterator::passingForTag(std::int32_t tagIndex) const noexcept {
  Passing found = passing();
  if (found.members != nullptr) found.key = found.members->keyOfTag(tagIndex);
  return found.key == kNone ? Passing() : found;
}

// No name is one that the search refuses.
Passing StdDictionaryIterator::passingForName(const unsigned short* name,
                                              const KelStringBase& namespaceURI) const noexcept {
  Passing found = name == nullptr || *name == 0 ? Passing() : passing();
  if (found.members != nullptr) {
    found.key = found.members->names().keyOf(textView(name), namespaceURI.view());
  }
  return found;
}

Passing StdDictionaryIterator::passingFor(const SearchDef& search) const noexcept {
  switch (search.searchType) {
    case STTagId: return passingForTag(search.value);
    case STTagName: return passingForName(search.name, search.namespaceURI);
    case STSelfDef: return passing();
    default: return {};
  }
}

bool StdDictionaryIterator::moveToNewPosition(SearchDef search, bool matchCurrent, bool moveFwd,
                                              bool enforceRequired) {
  if (positionStack.empty()) {
    // which refuses it
    return searchNewPosition(search, {}, matchCurrent, moveFwd, enforceRequired);
  }
  StackGuard guard(positionStack, savedPositionStack, positionStackSaved);
  return guard.run([&] {
    return searchNewPosition(search, passingFor(search), matchCurrent, moveFwd, enforceRequired);
  });
}

// The searches without the guard, for moves that have one of their own.
bool StdDictionaryIterator::searchNewPosition(const SearchDef& search, const Passing& passing,
                                              bool matchCurrent, bool moveFwd,
                                              bool enforceRequired) {
  MoveOperation operation(this, kNewPosition, search, matchCurrent, moveFwd, enforceRequired);
  checkSearch(*this, moveFwd, kNewPosition);
  PositionSearch engine(*this, kNewPosition, search, matchCurrent, enforceRequired);
  engine.passOver(passing);
  return operation.returns(engine.findNewPosition());
}

bool StdDictionaryIterator::moveToBestPosition(SearchDef search, bool replaceCurrent,
                                               bool moveFwd) {
  if (positionStack.empty()) {
    return searchBestPosition(search, {}, replaceCurrent, moveFwd);  // which refuses it
  }
  StackGuard guard(positionStack, savedPositionStack, positionStackSaved);
  return guard.run(
      [&] { return searchBestPosition(search, passingFor(search), replaceCurrent, moveFwd); });
}

bool StdDictionaryIterator::searchBestPosition(const SearchDef& search, const Passing& passing,
                                               bool replaceCurrent, bool moveFwd) {
  MoveOperation operation(this, kBestPosition, search, replaceCurrent, moveFwd);
  checkSearch(*this, moveFwd, kBestPosition);
  PositionSearch engine(*this, kBestPosition, search, false, false);
  engine.passOver(passing);
  return operation.returns(engine.findBestPosition(replaceCurrent));
}

}  // namespace cpi
