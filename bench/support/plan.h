// Message models and messages of our own making: a plan becomes a schema, and messages of it.
//
// Two shapes that real messages have. A narrow one: few members a type, in one namespace, as in
// payment orders. A wide one: long sequences of optional members that are references to global
// elements of three namespaces, as in invoices.
#ifndef BENCH_SUPPORT_PLAN_H
#define BENCH_SUPPORT_PLAN_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "bench/support/directory.h"

namespace cpi::bench {

struct PlanMember {
  std::string name;
  int type = -1;  // of the plan; -1: text
  bool isOptional = false;
  bool isRepeated = false;
};

struct PlanType {
  std::string name;
  std::vector<PlanMember> members;
  bool isChoice = false;
  bool isRepeated = false;  // the whole content, as often as one likes
};

// The first type is that of the message, whose element bears the plan's name.
struct Plan {
  std::string name;
  std::vector<PlanType> types;
  bool isByReference = false;  // members are references to global elements
};

Plan narrowPlan();
Plan widePlan();
// One type: a repeated choice of `members` texts.
Plan choicePlan(std::size_t members);

// Writes the plan's schema into a directory; returns the path of the root document.
std::string writeSchema(const Plan& plan, const TemporaryDirectory& directory);

// A valid message of about `elements` elements. The same arguments give the same message.
std::string messageOf(const Plan& plan, std::size_t elements);

}  // namespace cpi::bench

#endif  // BENCH_SUPPORT_PLAN_H
