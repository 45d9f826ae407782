// The search moves of the iterator: their entry checks, and the stack when an exception leaves. And
// what moves by tag and by name do where the element is none of the next members.
#include "cpi/dictinfo/stddi/navigate/search.h"
#include "cpi/dictinfo/stddi/navigate/stackguard.h"

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

bool StdDictionaryIterator::findFirstChildTag(std::int32_t tagIndex, bool allowUndefined,
                                              bool enforceRequired) {
  const Passing passing = passingForTag(tagIndex);
  if (passing.members != nullptr && goToChild(passing, tagIndex)) return true;
  SearchDef search(STTagId, tagIndex);
  return moveToChild(search, KelStringBase(), passing, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::findFirstChildTagName(const unsigned short* name,
                                                  const KelStringBase& namespaceURI,
                                                  Passing passing, bool allowUndefined,
                                                  bool enforceRequired) {
  if (passing.key != kNone && goToChild(passing, kNone)) return true;
  SearchDef search(STTagName, name, passing.members != nullptr ? KelStringBase() : namespaceURI);
  return moveToChild(search, namespaceURI, passing, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::findNextSiblingTag(std::int32_t tagIndex, bool allowUndefined,
                                               bool enforceRequired) {
  const Passing passing = passingForTag(tagIndex);
  if (passing.members != nullptr && goToPeer(passing, tagIndex)) return true;
  SearchDef search(STTagId, tagIndex);
  return moveToPeer(search, KelStringBase(), passing, allowUndefined, enforceRequired);
}

bool StdDictionaryIterator::findNextSiblingTagName(const unsigned short* name,
                                                   const KelStringBase& namespaceURI,
                                                   Passing passing, bool enforceRequired) {
  if (passing.key != kNone && goToPeer(passing, kNone)) return true;
  SearchDef search(STTagName, name, passing.members != nullptr ? KelStringBase() : namespaceURI);
  return moveToPeer(search, namespaceURI, passing, true, enforceRequired);
}

}  // namespace cpi
