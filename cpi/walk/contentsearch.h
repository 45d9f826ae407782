// ContentSearch: exact answers about the content of one open element.
//
// Where the children of an element stand is told by their paths: through which groups, and which
// repeat of each, a child is reached. Two neighbouring paths tell what was left out between them.
// That question (passes(), completes()) is asked of every element and is answered by counts; all
// others are asked only when something is wrong, and read the members one by one.
//
// Thread rule: a plain view of what it is given; used by the walk that owns the path.
#ifndef CPI_WALK_CONTENTSEARCH_H
#define CPI_WALK_CONTENTSEARCH_H

#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "cpi/walk/contentmodel.h"
#include "cpi/walk/occurrencecounter.h"

namespace cpi {

// An element or wildcard that may come next.
struct ContentLeaf {
  const ContentPath& path;  // where it would stand
  std::int32_t owed;        // how many must come before what is behind it may
  std::int32_t atMost;      // how many may come; negative: any number
  std::int32_t choice;      // alternatives share a number above 0
};
// Returns true to end the search.
using LeafVisitor = std::function<bool(const ContentLeaf&)>;

class ContentSearch {
 public:
  using Path = std::span<const ContentStep>;

  // The content of the element with the number `element` (see OccurrenceCounter), whose type is
  // `typeIndex` and whose last child stands at `last`; empty: it has none yet. The members that it
  // looks at one by one are added to `searched`, which is not owned.
  ContentSearch(const ContentModel& model, const OccurrenceCounter& counter, std::int64_t element,
                std::int32_t typeIndex, Path last, std::int64_t* searched = nullptr)
      : model_(model),
        counter_(counter),
        element_(element),
        typeIndex_(typeIndex),
        last_(last),
        searched_(searched) {}

  // Whether a child may stand at `next`: nothing required is left out, no second alternative is
  // taken, and no repeat is beyond its limit.
  bool passes(Path next) const;
  // Whether the element may end.
  bool completes() const;

  // Whether `path` leads into another alternative of a choice than the last child's.
  bool isOtherAlternative(Path path) const;

  // Each leaf that may come next, in model order; with `isLenient` also those for which something
  // required would be left out, the nearest first.
  void forEachNext(bool isLenient, const LeafVisitor& visit) const;
  // Each leaf of the content, as if nothing had come yet.
  void forEachLeaf(const LeafVisitor& visit) const;
  // Each required leaf that is left out when the next child stands at `next`; with an empty path
  // when the element ends.
  void forEachMissing(Path next, const LeafVisitor& visit) const;

 private:
  class Lister;
  std::int32_t typeAt(Path path, std::size_t level) const {
    return level == 0 ? typeIndex_ : model_.member(path[level - 1].memberIndex).toTypeIndex;
  }
  std::size_t divergence(Path next) const noexcept;
  bool closes(std::size_t level) const;
  bool turns(std::size_t level, const ContentStep& next) const;
  bool opens(Path next, std::size_t level) const;
  bool isCounted(Path path, std::size_t level) const;
  // How many repeats of the last child's step must still come.
  std::int32_t owedAt(std::size_t level) const;
  bool divides(std::size_t level) const;
  bool hasAllOf(std::int32_t typeIndex) const;
  std::int32_t countOf(std::int32_t memberRow) const {
    return counter_.countedFor(element_, memberRow);
  }

  const ContentModel& model_;
  const OccurrenceCounter& counter_;
  std::int64_t element_;
  std::int32_t typeIndex_;
  Path last_;
  std::int64_t* searched_;  // null: not counted
};

}  // namespace cpi

#endif  // CPI_WALK_CONTENTSEARCH_H
