// What a walker hands out, whatever the form of the messages: elements, findings and counts.
//
// Thread rule: a visitor is called by the thread that walks.
#ifndef CPI_WALK_WALKVISITOR_H
#define CPI_WALK_WALKVISITOR_H

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "cpi/dictinfo/stddi/records.h"
#include "cpi/walk/verdict.h"

namespace cpi {

// Where a walk stands, for those who ask: making these lists takes time and memory.
class WalkTrail {
 public:
  virtual ~WalkTrail();
  // The steps to the innermost open element, the root first.
  virtual std::vector<PathStep> path() const = 0;
  // The anonymous groups around it, outermost first.
  virtual std::vector<GroupStep> groups() const = 0;
};

// One element and where it was placed. Valid during the call that hands it out.
struct WalkedElement {
  Verdict verdict;
  std::int32_t depth = 0;         // 0: the root
  std::string_view name;          // local name, UTF-8
  std::string_view namespaceURI;  // UTF-8, empty: none
  WalkPosition position;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* member = nullptr;  // null: no member
  const SMD_TAG_DEFINITION* tag = nullptr;                   // null: the model has none
  const SMD_TYPE_DEFINITION* type = nullptr;                 // null: the content is not judged
  const Finding* finding = nullptr;                          // null: nothing is wrong with it
  const WalkTrail* trail = nullptr;                          // never null when handed out
};

// Members that the searches for a message's elements may look at, beside kSearchOfElement for each
// element that has come. Only models that were made to cost much come near.
inline constexpr std::int64_t kMaxSearch = 50'000'000;
inline constexpr std::int64_t kSearchOfElement = 500;

struct WalkOptions {
  bool isChecking = false;  // judge each message as a whole, not only where its elements belong
  std::int64_t maxSearch = kMaxSearch;  // of an XML message; beyond it the walk ends in an error
};

// A message's findings beyond so many are counted and not handed out.
inline constexpr std::int64_t kMaxFindings = 1000;

struct WalkSummary;

class WalkVisitor {
 public:
  virtual ~WalkVisitor();
  // At the start of each element, in document order. What it throws ends the walk and leaves it.
  virtual void element(const WalkedElement& element) = 0;
  // At each fault, in the order in which they show; after element() when it is about an element's
  // start. What it throws ends the walk and leaves it. Does nothing by default.
  virtual void finding(const Finding& finding);
  // Behind each message of an input that holds any number of them, with its own counts. What it
  // throws ends the walk and leaves it. Does nothing by default.
  virtual void endOfMessage(const WalkSummary& summary);
};

// Counts of one message.
struct WalkSummary {
  std::int64_t elements = 0;
  std::array<std::int64_t, kPlacementCount> placed{};   // by Placement
  std::array<std::int64_t, kVerdictKindCount> found{};  // findings, by VerdictKind
  std::int64_t beyondLimit = 0;  // members that occur more often than they may
  std::int64_t notFetched = 0;   // external entities and document types that it declares

  std::int64_t count(Placement placement) const noexcept {
    return placed[static_cast<std::size_t>(placement)];
  }
  std::int64_t count(VerdictKind kind) const noexcept {
    return found[static_cast<std::size_t>(kind)];
  }
  // Of all findings.
  std::int64_t findings() const noexcept;
  // Whether each element has a place that the model admits.
  bool isAllPlaced() const noexcept { return beyondLimit == 0 && count(Placement::Refused) == 0; }
  void add(const WalkSummary& other) noexcept;
};

}  // namespace cpi

#endif  // CPI_WALK_WALKVISITOR_H
