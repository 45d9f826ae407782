// StructureCheck: holds the children of each open element against what its content demands, and
// finds out what is wrong when they do not agree.
//
// While all is well it compares each child's path with that of the child before, and keeps it. A
// child that does not fit is sought again, exactly: the particle that it must be taken for is
// resolved from the members themselves, so that no peculiarity of a search by name raises a false
// alarm. Only then there is a fault, and the walk goes on where most of what follows makes sense:
// something skipped is told once, a run of elements that belong together elsewhere too, an element
// that came too early does not move the others out of their places, and an unknown element stands
// in for one that is missing beside it.
//
// Thread rule: one thread at a time.
#ifndef CPI_WALK_STRUCTURECHECK_H
#define CPI_WALK_STRUCTURECHECK_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cpi/walk/contentsearch.h"
#include "cpi/walk/memberfinder.h"
#include "cpi/walk/structurefault.h"
#include "cpi/walk/verdict.h"
#include "cpi/walk/walkmodel.h"

namespace cpi {

class StructureCheck {
 public:
  // An open element whose children are checked.
  struct Scope {
    std::int64_t number = 0;         // see OccurrenceCounter
    std::int32_t typeIndex = kNone;  // that judges its content
    std::size_t begin = 0;           // where its path begins, from open()
  };
  // What became of a child that did not fit.
  struct Outcome {
    VerdictKind kind = VerdictKind::Placed;
    Reason reason = Reason::None;
    bool isConsequence = false;
    bool isPlaced = false;         // it stands at path(), and the walk goes on from there
    std::int32_t leaf = kNone;     // the member row that it was taken for
    std::int32_t content = kNone;  // the Tags row by which its content may be judged
  };
  // None is owned; all must outlive this. `searched` counts the members that are looked at.
  StructureCheck(const WalkModel& model, const OccurrenceCounter& counter, std::int64_t& searched);

  void restart() noexcept;
  // An element begins whose children will be checked; returns Scope::begin.
  std::size_t open() const noexcept { return trail_.size(); }
  // It has ended.
  void close(const Scope& scope) noexcept;

  // The way to the last child of the innermost scope.
  ContentSearch::Path path(const Scope& scope) const noexcept {
    return ContentSearch::Path(trail_).subspan(scope.begin);
  }
  // Takes the child at `next`, if it fits there without further question.
  bool accept(const Scope& scope, const ContentPath& next);
  // Judges a child that does not.
  Outcome judge(const Scope& scope, const ElementName& name);
  // Judges the end: whether required children never came.
  bool isIncomplete(const Scope& scope);
  // Judges an outermost element that the model does not know.
  Outcome judgeRoot(const ElementName& name);
  // Judges an element that has no place in the content of a type, of which nothing else is known.
  Outcome judgeRefused(std::int32_t typeIndex, const ElementName& name);

  // Of the last outcome that was a fault, or the last end that was.
  StructureFault& fault() noexcept { return fault_; }

 private:
  // What a faulty element has to remember.
  struct Trouble {
    std::int64_t number = 0;  // of its scope
    ContentPath bookmark;     // where it stood before something came too early
    bool hasBookmark = false;
    std::int32_t strays = 0;               // elements without a place, since the last with one, or
                                           // in all where the order does not matter
    ContentPath aside;                     // where the last one out of place would stand
    std::vector<std::int32_t> strayTypes;  // Types rows that have all of the last ones without one
    ToldMembers told;
  };

  ContentSearch searchFrom(const Scope& scope, ContentSearch::Path last) const;
  Trouble* troubleOf(const Scope& scope) noexcept;
  Trouble& addTrouble(const Scope& scope);
  void settle(const Scope& scope, ContentSearch::Path next);
  bool isInAnyOrder(const Scope& scope) const;
  bool isStillOwed(const ContentStep& step) const;
  bool find(const ContentSearch& search, const ElementName& name);
  bool findAhead(const ContentSearch& search, const ElementName& name, const ToldMembers* told);
  Outcome placed(const Scope& scope);
  Outcome judgeAhead(const Scope& scope, const ElementName& name);
  Outcome judgeSkip(const Scope& scope);
  bool isOneMore(const Scope& scope, const ElementName& name) const;
  Outcome judgeBehind(const Scope& scope, const ElementName& name);
  void classifyBehind(const Scope& scope, const ElementName& name, Outcome& outcome);
  Outcome judgeUnknown(const Scope& scope, const ElementName& name);
  Outcome judgeByName(const ElementName& name);
  Outcome judgeStray(Trouble& trouble, const ElementName& name);
  Outcome wrongNamespace(std::int32_t leaf);
  void explain(const Scope& scope);
  bool isExhausted(const Scope& scope, const ElementName& name);

  const WalkModel& model_;
  const OccurrenceCounter& counter_;
  std::int64_t& searched_;
  MemberFinder finder_;
  ContentPath trail_;              // the paths of all open scopes, one behind the other
  ContentPath found_;              // by the last search that did
  std::vector<Trouble> troubles_;  // of the open scopes that have any, outermost first
  StructureFault fault_;
};

}  // namespace cpi

#endif  // CPI_WALK_STRUCTURECHECK_H
