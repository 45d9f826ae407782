// Expectation: what may come next at a position of the model, and what is owed before its parent
// may end. Filled by StdDictionaryIterator::listNextSiblings and listFirstChildren:
//
//     cpi::Expectation expectation;  // kept, so that later calls reuse its memory
//     if (at.listNextSiblings(expectation, true)) {
//       for (const cpi::ExpectedElement& element : expectation.elements) { ... }
//     }
//
// Plain values: rows and numbers of the dictionary that the iterator walks, none of them owned.
#ifndef CPI_DICTINFO_STDDI_EXPECTATION_H
#define CPI_DICTINFO_STDDI_EXPECTATION_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"

namespace cpi {

// A place among the members of the model.
struct ExpectedPlace {
  std::int32_t memberIndex = kNone;  // Type Members row
  std::int32_t tagIndex = kNone;     // Tags row; -1: a member without tag
  std::int32_t typeIndex = kNone;    // Types row; -1: none
  std::int32_t minOccurs = 0;
  std::int32_t maxOccurs = 1;  // kUnbounded when there is no limit
  std::size_t firstGroup = 0;  // into Expectation::groups; see groupsOf
  std::size_t groupCount = 0;
};

// An element that may come next: the move that looks for it lands on this member and occurrence.
struct ExpectedElement : ExpectedPlace {
  std::int32_t repeatIndex = 0;  // which occurrence it would be, from 0
  // Above 0: the member is a value without tag, a wildcard for one; the move is the one by this
  // logical type. 0: the move is the one by tag id, or by name.
  std::int32_t logicalType = 0;
  // Whether the move by name lands here too. It does not when the tag has no name, or when another
  // tag of the same name and namespace is found earlier.
  bool isFoundByName = false;
};

// A member that has to come before the parent may end.
struct OwedMember : ExpectedPlace {
  // A group (no tag, a type that is not simple) is owed as a whole. With a memberIndex of -1 one of
  // the alternatives of the type `typeIndex` is owed; that type is the parent's, or that of the
  // innermost group of the path.
  std::int32_t owed = 0;         // occurrences, 1 or more
  std::int32_t repeatIndex = 0;  // the first of them, from 0
  // A member of a type in any order. The iterator knows of the current run of one member only: what
  // occurred before that has to be taken off by a caller who has counted it.
  bool isInAnyOrder = false;
};

struct Expectation {
  // In model order, forward from the position: what is left of the groups around it, those groups
  // once more where they may repeat, and what follows them. A tag is listed once, where a search
  // for it ends; its later places cannot be reached by a search while the first one can, and are
  // not listed. So is a logical type.
  std::vector<ExpectedElement> elements;
  // In model order. Only what lies ahead: a required member that a move skipped is no longer in
  // this list, and shows as the difference to the list before that move.
  std::vector<OwedMember> owed;
  // The paths of all entries, as getPartialMemberPath would tell them at the entry: the anonymous
  // groups below the parent, outermost first.
  std::vector<MbrPathItem> groups;

  std::span<const MbrPathItem> groupsOf(const ExpectedPlace& place) const noexcept {
    return std::span(groups).subspan(place.firstGroup, place.groupCount);
  }
  // Keeps the capacity.
  void clear() noexcept {
    elements.clear();
    owed.clear();
    groups.clear();
  }
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_EXPECTATION_H
