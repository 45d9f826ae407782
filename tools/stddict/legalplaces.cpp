#include "tools/stddict/legalplaces.h"

#include <utility>

LegalPlaces::LegalPlaces(const cpi::ContentSearch& search) {
  search.forEachNext(false, [this](const cpi::ContentLeaf& leaf) {
    std::vector<std::int32_t> rows;
    for (const cpi::ContentStep& step : leaf.path) rows.push_back(step.memberIndex);
    places_.insert(std::move(rows));
    return false;
  });
}

bool LegalPlaces::contains(const cpi::Expectation& expectation,
                           const cpi::ExpectedElement& element) const {
  std::vector<std::int32_t> rows;
  for (const cpi::MbrPathItem& group : expectation.groupsOf(element)) {
    rows.push_back(group.memberIndex);
  }
  rows.push_back(element.memberIndex);
  return places_.contains(rows);
}
