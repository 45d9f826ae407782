// ModelWalk: leads a dictionary iterator along the elements of one message.
//
// It knows nothing of the message's form: whoever reads the message calls enter() at each start
// of an element and leave() at each end, and reads the verdict. Where to start: XmlWalker, which
// does so for XML.
//
// The content of an element that a wildcard admitted, and of one that takes another type than the
// declared one, is walked by an iterator of its own, while the iterator around it waits. These
// levels are kept and used again, so that a walk allocates nothing once it has been as deep as
// the message goes.
//
// Thread rule: one thread at a time. Any number of walks may share one model.
#ifndef CPI_WALK_MODELWALK_H
#define CPI_WALK_MODELWALK_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "cpi/walk/occurrencecounter.h"
#include "cpi/walk/structurecheck.h"
#include "cpi/walk/verdict.h"
#include "cpi/walk/walkcursor.h"
#include "cpi/walk/walkmodel.h"

namespace cpi {

// A message with more faulty elements is judged no further when checking: the elements behind them
// are Unjudged. Without checking they are Refused without a closer kind.
inline constexpr std::int32_t kMaxExplainedFaults = 1000;

class ModelWalk {
 public:
  // `model` is not owned and must outlive the walk.
  // With `isChecking` a member is Placed only when the structure is right: nothing required was
  // skipped, no second alternative taken, no limit exceeded. Without it each element is judged by
  // its place alone.
  explicit ModelWalk(const WalkModel& model, bool isChecking = false);
  ~ModelWalk();
  ModelWalk(const ModelWalk&) = delete;
  ModelWalk& operator=(const ModelWalk&) = delete;

  // Forgets the open elements, to begin with another message. Keeps all capacity.
  void restart() noexcept;

  // The start of an element inside the innermost open one. `typeKey` names the type that the
  // element itself asks for (see WalkModel::hiddenTag); an empty or unknown one counts as none.
  // Throws KelParserException when the dictionary makes no sense to the navigator.
  Verdict enter(const unsigned short* name, const KelStringBase& namespaceURI,
                std::u16string_view typeKey) {
    return enter({name, namespaceURI}, keyOf(name, namespaceURI), typeKey);
  }
  // The same for a name whose key is known. Whoever keeps the keys of names spares each further
  // element the search for the text of its name.
  Verdict enter(const ElementName& name, std::int32_t key, std::u16string_view typeKey);
  std::int32_t keyOf(const unsigned short* name, const KelStringBase& namespaceURI) const noexcept {
    return WalkCursor::keyOfName(model_->dictionary(), name, namespaceURI);
  }
  // Says that the innermost open element is nil: it is complete, and nothing may stand in it. With
  // `isTold` it is known that something does, so that it is no fault again.
  void setNil(bool isTold = false);
  // Says that what stands in the innermost open element is not to be judged, since that would only
  // repeat in other words what is wrong with the element itself.
  void setUnjudged() noexcept { open_.back().judge = Judge::Nobody; }
  bool hasChild() const noexcept { return open_.back().hadChild; }
  // Whether the innermost open element lacks required members as it stands (only when checking).
  bool isIncomplete();
  // The end of the innermost open element, which must exist.
  void leave();

  // What there is to say of the last verdict that was a fault, or of isIncomplete(). The caller
  // may move the lists out.
  StructureFault& fault() noexcept { return structure_.fault(); }
  // The anonymous groups around the innermost open element, outermost first.
  std::vector<GroupStep> groups() const;

  // About how many members were looked at one by one since restart(), because no index tells where
  // an element belongs or because something was wrong. Whoever walks messages of strangers ends the
  // walk when they are too many.
  std::int64_t searched() const noexcept { return searched_; }

  // The number of open elements.
  std::size_t depth() const noexcept { return open_.size(); }

 private:
  struct Name : ElementName {
    std::int32_t key;
  };
  using Cursor = WalkCursor;
  // What judges the children of an open element.
  enum class Judge : std::uint8_t {
    Model,    // the iterator of the innermost level
    Skipped,  // nothing: the content of a wildcard that asks for none
    Nobody,   // nothing: a refused element without definition
  };
  struct OpenElement {
    Judge judge = Judge::Nobody;
    bool hasLevel = false;  // its children are walked by an iterator of their own
    bool hadChild = false;
    std::int32_t typeIndex = kNone;
    std::int64_t number = 0;     // in document order, from 1
    std::size_t countsMark = 0;  // see OccurrenceCounter
    std::size_t height = 0;      // of the iterator; see WalkCursor
    std::size_t pathBegin = 0;   // see StructureCheck::Scope
    bool isNil = false;
    bool isTold = false;  // that it has children though it may have none
  };
  struct Level {
    std::unique_ptr<Cursor> at;
    std::unique_ptr<Cursor> spare;  // a copy taken before a move that may have to be undone
  };

  enum class Move : std::uint8_t { Failed, ByName, ByWildcard };

  Verdict enterRoot(const Name& name, std::u16string_view typeKey);
  Verdict enterChild(const Name& name, std::u16string_view typeKey);
  Verdict enterChecked(const Name& name, std::u16string_view typeKey);
  Verdict enterPlaced(const Name& name, Move move, std::int32_t hiddenTag,
                      ProcessContents contents);
  Verdict enterAnew(const Name& name, std::int32_t hiddenTag);
  Verdict enterRefused(const StructureCheck::Outcome& outcome, std::int32_t hiddenTag);
  Verdict enterWildcard(const Name& name, std::int32_t hiddenTag, ProcessContents contents);
  Verdict enterForbidden(Reason reason);
  Verdict enterUnmodelled(Placement placement, Judge judge, Reason reason);
  void open(Judge judge, bool hasLevel, std::int32_t typeIndex);
  void openByModel(Verdict& verdict, std::int32_t hiddenTag);
  void pushLevel(std::int32_t contextTag);

  Move place(const OpenElement& parent, const Name& name, ProcessContents& contents);
  static bool goTo(Cursor& at, const OpenElement& parent, const Name& name) {
    return parent.hadChild ? at.goToNextSibling(name.key) : at.goToFirstChild(name.key);
  }
  bool isMember(const OpenElement& parent, const Name& name);
  Verdict enterMember(OpenElement& parent);
  bool readMember(const Cursor& at, Verdict& verdict) const;
  bool placeByName(Cursor& at, const OpenElement& parent, const Name& name);
  bool placeByWildcard(Cursor& at, const OpenElement& parent, const Name& name,
                       ProcessContents& contents);
  template <class Search>
  bool isFoundBy(Cursor& at, const OpenElement& parent, Search search);
  bool hasWildcardFor(const OpenElement& parent, const Name& name) const noexcept;
  Reason refusalUnder(const OpenElement& parent) const;
  Verdict verdictAt(const Cursor& at) const;
  void countUnordered(const Cursor& at, const OpenElement& parent, Verdict& verdict);
  void classify(Verdict& verdict, std::int32_t parentType, const Name& name);
  void takeContext(Verdict& verdict);
  bool isAccepted(const OpenElement& parent);
  bool isChecked(const OpenElement& element) const;
  static StructureCheck::Scope scopeOf(const OpenElement& element) noexcept {
    return {element.number, element.typeIndex, element.pathBegin};
  }
  Cursor& cursor() noexcept { return *levels_[levelCount_ - 1].at; }

  const WalkModel* model_;
  bool isChecking_;
  bool hasUnordered_;  // some type of the dictionary is
  std::vector<Level> levels_;
  std::size_t levelCount_ = 0;  // those in use; the others wait to be used again
  std::vector<OpenElement> open_;
  OccurrenceCounter counter_;
  std::int64_t searched_ = 0;
  StructureCheck structure_;
  ContentPath path_;           // of the element that is being placed
  std::int64_t elements_ = 0;  // entered so far
  std::int32_t faults_ = 0;
};

}  // namespace cpi

#endif  // CPI_WALK_MODELWALK_H
