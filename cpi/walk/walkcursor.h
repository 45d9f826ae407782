// WalkCursor: a dictionary iterator that may start without context, and that a walk can put back
// or elsewhere among the children of an element.
#ifndef CPI_WALK_WALKCURSOR_H
#define CPI_WALK_WALKCURSOR_H

#include <cstddef>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "cpi/walk/contentsearch.h"

namespace cpi {

class WalkCursor : public StdDictionaryIterator {
 public:
  explicit WalkCursor(const StdDictionaryInfo& dictionary) { setDictionaryInfo(&dictionary); }

  using StdDictionaryIterator::goToFirstChild;
  using StdDictionaryIterator::goToNextSibling;
  using StdDictionaryIterator::keyOfName;

  // The current entry; there must be one.
  const DictionaryPosition& position() const noexcept { return positionStack.back(); }
  // Whether it stands on a member that is within its limit.
  bool isMemberWithinLimit() const;
  // The member whose occurrences may be scattered over the enclosing element and have risen by the
  // current element, a member; kNone when there is none. It is the element's own or that of a
  // choice around it, as that of a head and its substitutes: a member of an unordered type, which
  // is the enclosing element's or that of a group that occurs once.
  std::int32_t unorderedMember() const;

  // Identifies an element as long as it is open: what stands behind it leads to a child.
  std::size_t height() const noexcept { return positionStack.size(); }
  // How many members of the enclosing element's content stand in front of the current one; 0 when
  // that is no member.
  std::int64_t offset(const ContentModel& model) const;
  // The way from the element of this height to the current one; empty when that is no member.
  void readPath(std::size_t height, ContentPath& path) const;
  // Stands on the child of the element of this height to which `path` leads; with an empty path on
  // the element itself, as before its first child.
  void standAt(std::size_t height, ContentSearch::Path path);

 private:
  bool isOneOfChoice() const;
  static bool isGroup(const DictionaryPosition& position) {
    return position.memberIndex >= 0 && position.tagIndex == kNone;
  }
};

}  // namespace cpi

#endif  // CPI_WALK_WALKCURSOR_H
