// XmlTrail: the open elements of an XML message, with their numbers among their siblings.
//
// Thread rule: one thread at a time.
#ifndef CPI_WALK_XMLTRAIL_H
#define CPI_WALK_XMLTRAIL_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cpi/walk/modelwalk.h"
#include "cpi/walk/occurrencecounter.h"
#include "cpi/walk/walkvisitor.h"
#include "cpi/walk/xmlnames.h"

namespace cpi {

// One open element.
struct XmlFrame {
  const char* local = nullptr;  // interned by the parser
  const char* uri = nullptr;    // null: none
  std::int32_t occurrence = 1;  // among its siblings of this name
  std::int64_t number = 0;      // no other element of the message has it
  std::size_t countsMark = 0;   // see OccurrenceCounter
  Verdict verdict;
  bool hasNoText = false;     // only white space may stand in it, and nothing else has yet
  bool hasValue = false;      // its text is a value to be judged
  bool hasWrongText = false;  // that was told
  bool isNil = false;
  bool isWronglyNil = false;  // it says so and may not be
};

class XmlTrail : public WalkTrail {
 public:
  // `walk` is not owned and tells the groups.
  explicit XmlTrail(const ModelWalk& walk) : walk_(walk), counter_(0) {}

  void clear() noexcept;
  // An element begins. `names` is the number of distinct names so far.
  XmlFrame& enter(const XmlName& name, std::size_t names);
  void leave() noexcept;
  XmlFrame& top() noexcept { return frames_.back(); }
  // The element around the innermost one; null: there is none.
  XmlFrame* parent() noexcept {
    return frames_.size() < 2 ? nullptr : &frames_[frames_.size() - 2];
  }
  bool isEmpty() const noexcept { return frames_.empty(); }

  std::vector<PathStep> path() const override;
  std::vector<GroupStep> groups() const override { return walk_.groups(); }

 private:
  const ModelWalk& walk_;
  std::vector<XmlFrame> frames_;
  OccurrenceCounter counter_;  // rows are numbers of names
  std::int64_t elements_ = 0;
};

}  // namespace cpi

#endif  // CPI_WALK_XMLTRAIL_H
