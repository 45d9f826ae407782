// LegalPlaces: which of the elements that a move may find next may also stand there at once.
#ifndef TOOLS_STDDICT_LEGALPLACES_H
#define TOOLS_STDDICT_LEGALPLACES_H

#include <cstdint>
#include <set>
#include <vector>

#include "cpi/dictinfo/stddi/expectation.h"
#include "cpi/walk/contentsearch.h"

class LegalPlaces {
 public:
  explicit LegalPlaces(const cpi::ContentSearch& search);

  // Whether nothing that is owed has to come before an entry of `expectation`, which lists the same
  // place in a message as the search.
  bool contains(const cpi::Expectation& expectation, const cpi::ExpectedElement& element) const;

 private:
  // Type Members rows of the groups and of the member. A search lists each member where it can
  // come first, so that the repeats tell nothing more.
  std::set<std::vector<std::int32_t>> places_;
};

#endif  // TOOLS_STDDICT_LEGALPLACES_H
