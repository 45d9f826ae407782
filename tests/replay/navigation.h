// Replays navigation vectors: scripts of iterator operations on a dictionary given as tables.
#ifndef TESTS_REPLAY_NAVIGATION_H
#define TESTS_REPLAY_NAVIGATION_H

#include <memory>

#include "capture.h"
#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "report.h"

namespace cpi::replay {

// An iterator whose protected part can be driven and seen.
class ReplayIterator : public StdDictionaryIterator {
 public:
  using StdDictionaryIterator::StdDictionaryIterator;

  using StdDictionaryIterator::canHaveChildren;
  using StdDictionaryIterator::clearContext;
  using StdDictionaryIterator::dictionaryInfo;
  using StdDictionaryIterator::ensurePositionStackSaved;
  using StdDictionaryIterator::getCommonParentWithSavedStackIndex;
  using StdDictionaryIterator::getParentStackIndex;
  using StdDictionaryIterator::getParentTagId;
  using StdDictionaryIterator::getParentTagIndex;
  using StdDictionaryIterator::getTraceName;
  using StdDictionaryIterator::getTraceParentTypeName;
  using StdDictionaryIterator::isElementMatched;
  using StdDictionaryIterator::isTypeContentMatched;
  using StdDictionaryIterator::moveToBestPosition;
  using StdDictionaryIterator::moveToFirstChild;
  using StdDictionaryIterator::moveToNewPosition;
  using StdDictionaryIterator::moveToSibling;
  using StdDictionaryIterator::positionStack;
  using StdDictionaryIterator::positionStackSaved;
  using StdDictionaryIterator::restorePositionStackFromSaved;
};

// The objects of one script. The spare is what a join without a fork takes: a fresh iterator.
struct NavigationSession {
  const StdDictionaryInfo* dictionary;
  std::unique_ptr<ReplayIterator> iterator;
  std::unique_ptr<ReplayIterator> spare;
};

// Performs one operation of a script and gives its result. Throws InputError for an unknown
// operation, and what the library throws.
Json performOperation(NavigationSession& session, const Json& operation);

// Asks a copy of the iterator the queries that `expected` names. Throws InputError.
Json askQueries(const ReplayIterator& iterator, const StdDictionaryInfo& dictionary,
                const Json& expected);

// An exception in the form of navigation outcomes, without its name. `iterator` may be null: then
// any log source object counts as the iterator's.
Json navigationError(const std::optional<CaughtError>& error, const ReplayIterator* iterator);

void replayNavigation(const Json& vector, Report& report);

}  // namespace cpi::replay

#endif  // TESTS_REPLAY_NAVIGATION_H
