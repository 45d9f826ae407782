// MemberFinder: which member of a content an element is to be taken for, by its name.
//
// Thread rule: `const` means safe to share. The model is not owned and must outlive it.
#ifndef CPI_WALK_MEMBERFINDER_H
#define CPI_WALK_MEMBERFINDER_H

#include <cstdint>
#include <functional>

#include "cpi/runtime/kelstring.h"
#include "cpi/walk/contentsearch.h"
#include "cpi/walk/walkmodel.h"

namespace cpi {

struct ElementName {
  const unsigned short* local;
  const KelStringBase& namespaceURI;
};

class MemberFinder {
 public:
  // What a place costs; a place that costs less is the better one.
  using CostOf = std::function<std::int32_t(const ContentPath& place)>;

  explicit MemberFinder(const WalkModel& model) : model_(model) {}

  // Whether the member of that row takes an element of that name.
  bool isTaken(std::int32_t memberRow, const ElementName& name) const;

  // The following return the way to the member, empty when there is none.
  // The first that may come next.
  ContentPath next(const ContentSearch& search, const ElementName& name) const;
  // One that may come later; the first of those that cost least.
  ContentPath ahead(const ContentSearch& search, const ElementName& name,
                    const CostOf& costOf) const;
  // The first of all, as if nothing had come yet.
  ContentPath anywhere(const ContentSearch& search, const ElementName& name) const;

  // The row of a member that has the name in another namespace, or kNone.
  std::int32_t otherNamespace(const ContentSearch& search, const ElementName& name) const;

 private:
  bool isWildcard(std::int32_t memberRow) const;
  bool isForWildcards(const ContentSearch& search, const ElementName& name) const;

  const WalkModel& model_;
};

}  // namespace cpi

#endif  // CPI_WALK_MEMBERFINDER_H
