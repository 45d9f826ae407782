#include "cpi/walk/walkvisitor.h"

#include <numeric>

namespace cpi {

WalkTrail::~WalkTrail() = default;
WalkVisitor::~WalkVisitor() = default;

void WalkVisitor::finding(const Finding&) {}

std::int64_t WalkSummary::findings() const noexcept {
  return std::accumulate(found.begin(), found.end(), std::int64_t{0});
}

}  // namespace cpi
