#include "cpi/walk/walkvisitor.h"

#include <numeric>

namespace cpi {

WalkTrail::~WalkTrail() = default;
WalkVisitor::~WalkVisitor() = default;

void WalkVisitor::finding(const Finding&) {}
void WalkVisitor::endOfMessage(const WalkSummary&) {}

std::int64_t WalkSummary::findings() const noexcept {
  return std::accumulate(found.begin(), found.end(), std::int64_t{0});
}

void WalkSummary::add(const WalkSummary& other) noexcept {
  const auto addAll = [](auto& to, const auto& from) {
    for (std::size_t i = 0; i < to.size(); ++i) to[i] += from[i];
  };
  elements += other.elements;
  addAll(placed, other.placed);
  addAll(found, other.found);
  beyondLimit += other.beyondLimit;
  notFetched += other.notFetched;
}

}  // namespace cpi
