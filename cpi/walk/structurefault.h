// StructureFault: what a Finding has to say about the structure, and how its lists are made.
//
// Thread rule: `const` means safe to share.
#ifndef CPI_WALK_STRUCTUREFAULT_H
#define CPI_WALK_STRUCTUREFAULT_H

#include <cstdint>
#include <unordered_set>
#include <vector>

#include "cpi/walk/contentsearch.h"
#include "cpi/walk/verdict.h"

namespace cpi {

struct StructureFault {
  std::vector<Expected> missing;
  std::vector<Expected> expected;
  std::vector<GroupStep> groups;
  std::vector<KnownPlace> elsewhere;
  std::int64_t elsewhereCount = 0;
  std::int32_t atMost = kNone;
};

// Type Members rows of which it is known that they are missing or out of place.
using ToldMembers = std::unordered_set<std::int32_t>;

// What may come next.
std::vector<Expected> listExpected(const ContentModel& model, const ContentSearch& search);
// What is left out when the next child stands at `next`, or with an empty path when the element
// ends; without the members in `told`, if that is given, and what they are alternatives of.
std::vector<Expected> listMissing(const ContentModel& model, const ContentSearch& search,
                                  ContentSearch::Path next, const ToldMembers* told);
// How many members that would be; alternatives are one.
std::int32_t countMissing(const ContentSearch& search, ContentSearch::Path next,
                          const ToldMembers* told);
// The groups that an element stands in which is none of those expected, behind the last child at
// `last`: those of what is owed, or those that may still go on.
std::vector<GroupStep> openGroups(const ContentModel& model, const ContentSearch& search,
                                  ContentSearch::Path last);

}  // namespace cpi

#endif  // CPI_WALK_STRUCTUREFAULT_H
