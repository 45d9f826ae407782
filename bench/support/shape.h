// Models that show one trait each, without a schema, and a message of each.
#ifndef BENCH_SUPPORT_SHAPE_H
#define BENCH_SUPPORT_SHAPE_H

#include <memory>
#include <string>
#include <vector>

#include "bench/support/model.h"
#include "tests/core/support/testmodel.h"

namespace cpi::bench {

// An element of a message: how deep it lies below the root, whose children have depth 1.
struct Visit {
  std::int32_t depth;
  std::string name;
};

struct Shape {
  std::unique_ptr<StdDictionaryInfo> dictionary;
  std::vector<Step> steps;
};

// A name that is no member of the model counts as one that has to be placed all the same.
Shape makeShape(const test::Node& root, const std::vector<Visit>& message);

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_SHAPE_H
