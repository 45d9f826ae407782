// Message models for tests: a tree of nodes becomes a loaded dictionary, a script of moves is run
// on it, and every position is told as one line of text.
#ifndef STDDI_TESTS_CORE_SUPPORT_TESTMODEL_H
#define STDDI_TESTS_CORE_SUPPORT_TESTMODEL_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"

namespace cpi::test {

// A member and what is inside it. Without a name it is a group.
struct Node {
  std::string name;
  std::int32_t min = 1;
  std::int32_t max = 1;
  std::int32_t composition = 0;  // 0: a simple member
  std::vector<Node> members = {};
  std::int32_t content = CONTENT_CLOSED;
  char tagClass = 0;  // 0: 'S' with members, 'F' without
};

// A model text: members separated by spaces, occurrence behind a member as {min,max} with * for
// unbounded; `name(...)` a structure, `(...)` a group, the members led by the composition's digit
// and, optionally, `!` open, `?` content 2. "Order(6 Head Item{1,3}(2 A B) (4 X Y){0,*})".
Node parseModel(std::string_view text);

// The dictionary of one root element and of further global tags (simple ones).
std::unique_ptr<StdDictionaryInfo> buildModel(const Node& root,
                                              const std::vector<std::string>& moreTags = {});

// An iterator whose protected side is open to tests.
class OpenIterator : public StdDictionaryIterator {
 public:
  using StdDictionaryIterator::ensurePositionStackSaved;
  using StdDictionaryIterator::getCommonParentWithSavedStackIndex;
  using StdDictionaryIterator::moveToBestPosition;
  using StdDictionaryIterator::moveToNewPosition;
  using StdDictionaryIterator::moveToSibling;
  using StdDictionaryIterator::positionStack;
  using StdDictionaryIterator::positionStackSaved;
  using StdDictionaryIterator::restorePositionStackFromSaved;
  using StdDictionaryIterator::savedPositionStack;
  using StdDictionaryIterator::StdDictionaryIterator;
};

// The stack: entries joined by '/': a member by its name, a group as "()", a tag-defined element as
// "+name", a self-defined one as "?", a marker led by '^'; the occurrence in brackets when not 0.
// "-" when there is no context.
std::string stackText(const OpenIterator& iterator);

// Runs a script, steps separated by spaces: `>A` first child A, `A` next sibling A, `^` up, `>*`
// and `*` any first child or sibling, a leading '!' forbids undefined elements. Names are looked
// for by tag id when the dictionary knows them, else by name. Returns the position after each step
// in lines, "no" in place of a failed one, "throws ..." in place of an exception.
std::string walk(OpenIterator& iterator, std::string_view script);

}  // namespace cpi::test

#endif  // STDDI_TESTS_CORE_SUPPORT_TESTMODEL_H
