// FixWalk: leads a dictionary iterator along the fields of one FIX message.
//
// Header and trailer are elements of their own around the body's fields, and so is each instance of
// a repeating group; which of them a field belongs to is found here, and the iterator is moved by
// tag id within each. After a fault the iterator stays where the next field can be placed from.
//
// Thread rule: one thread at a time. Any number of walks may share one model.
#ifndef CPI_WALK_FIXWALK_H
#define CPI_WALK_FIXWALK_H

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "cpi/walk/fixcursor.h"
#include "cpi/walk/fixmessage.h"
#include "cpi/walk/fixmodel.h"
#include "cpi/walk/walkvisitor.h"

namespace cpi {

// The places of a message's bytes in the text around it, counted on from one to the next.
class FixPlaces {
 public:
  // Of a message whose first byte is at `begin`.
  void start(const WalkPosition& begin, std::string_view message) noexcept;
  WalkPosition at(std::size_t offset) noexcept;
  // Moves a place over the bytes that begin there.
  static void advance(WalkPosition& place, std::string_view bytes) noexcept;

 private:
  WalkPosition begin_;
  WalkPosition last_;
  std::string_view message_;
};

class FixWalk final : private WalkTrail {
 public:
  // `model` is not owned and must outlive the walk.
  FixWalk(const FixModel& model, bool isChecking);
  ~FixWalk() override;

  // Walks one message, of which `places` is set to the start; `visitor` may be null. Adds to
  // `summary`. Throws what the visitor throws, and KelParserException when the dictionary makes no
  // sense to the navigator.
  void walk(const FixMessage& message, FixPlaces& places, WalkVisitor* visitor,
            WalkSummary& summary);

 private:
  enum Section : std::size_t { kHeader, kBody, kTrailer, kSectionCount };
  // A group may be defined inside itself, and a message is long: levels cost time and stack.
  static constexpr std::size_t kMaxLevels = 256;
  // Longer texts are cut off in a finding.
  static constexpr std::size_t kMaxText = 80;

  // The fields of one section or of one instance of a group.
  struct Level {
    std::int32_t typeIndex = kNone;
    std::int32_t member = kNone;     // of the section or group in the type around it
    std::int32_t tagId = 0;          // of the section or group; 0: it is none of its own
    std::int32_t delimiter = kNone;  // of a group: Tags row of its first field
    std::uint32_t stamp = 0;         // of this level alone, see Seen
    std::int32_t fields = 0;         // different ones that came
    std::int32_t requiredSeen = 0;
    std::int32_t strays = 0;     // fields that could not be read, or that the model does not have
    bool hadChild = false;       // the iterator stands on a child
    bool isOpen = false;         // of a section with a tag: the iterator is inside
    bool isFlat = false;         // the same, and a move there needs no search
    std::int32_t ahead = kNone;  // of a flat one: the member that the iterator has yet to come to
    // A count field came, and the next field tells whether its group does.
    std::int32_t awaited = kNone;            // member of the group's instances
    const FixField* awaitedCount = nullptr;  // the count field; null: it counts for nothing
    // Of a group:
    const FixField* count = nullptr;  // null: there is none
    std::int32_t told = kNone;        // its value; kNone: it tells no number
    std::int32_t instances = 0;       // so far
  };
  // How often a member came at the level with this stamp.
  struct Seen {
    std::uint32_t stamp = 0;
    std::int32_t count = 0;
  };

  void begin(const FixMessageModel& model);
  void beginSection(Section section, std::int32_t member);
  void end();
  // A message that the model does not have; null: it does not say which it is.
  void walkUnknown(const FixField* msgType);
  Verdict verdictOnUnknown(const FixField* msgType) const;

  // Placing.
  bool placeDirectly(const FixField& field);
  void place(const FixField& field);
  bool move(Level& level, const FixField& field, std::int32_t member) {
    if (!level.isFlat) return moveBySearch(level, field, member);
    level.ahead = member;
    return true;
  }
  bool moveBySearch(Level& level, const FixField& field, std::int32_t member);
  bool moveByTag(Level& level, std::int32_t tagId);
  void catchUp(Level& level);
  bool isFlatAt(const Level& level) const;
  void settle(Level& level, const FixField& field, std::int32_t member) {
    wasMisplaced_ = false;
    see(level, member);
    await(level, field, member);
    reportMember(field, member);
    if (isChecking_) checkValue(field);
  }
  // Behind a count field its group is awaited.
  void await(Level& level, const FixField& field, std::int32_t member) {
    const std::int32_t group = model_->groupMember(member);
    if (group == kNone) return;
    level.awaited = group;
    level.awaitedCount = &field;
  }
  void enterSection(std::size_t section, const FixField& field);
  void moveToSection(Level& before, Level& level);
  Level& level() noexcept { return levels_[current_]; }
  bool isSeen(const Level& level, std::int32_t member) const noexcept {
    return seen_[static_cast<std::size_t>(member)].stamp == level.stamp;
  }
  // Counts an occurrence; returns how many there are.
  std::int32_t see(Level& level, std::int32_t member) noexcept {
    Seen& seen = seen_[static_cast<std::size_t>(member)];
    if (seen.stamp == level.stamp) return ++seen.count;
    seen = {level.stamp, 1};
    ++level.fields;
    level.requiredSeen += model_->isRequired(member) ? 1 : 0;
    return 1;
  }
  std::uint32_t newStamp() noexcept;

  // Groups.
  bool awaitGroup(const FixField& field);
  void openGroup(const FixField& field);
  void beginInstance(Level& level, const FixField& field);
  void endInstance(Level& level);
  void closeGroup();
  void closeTo(std::size_t target);
  void closeAwaited(Level& level);
  void moveOut(Level& level);
  std::int32_t toldBy(const FixField* count) const noexcept;

  // Fields that are not where they belong, see fixwalkfaults.cpp. Those that answer say whether the
  // field was told.
  void placeElsewhere(const FixField& field);
  void placeAround(const FixField& field, std::size_t target);
  bool placeInNextSection(const FixField& field);
  bool placeUncounted(const FixField& field);
  void placeUncountedAt(const FixField& field, std::size_t at, std::int32_t group);
  bool placeRepeat(const FixField& field);
  bool placePassed(const FixField& field);
  void placeNowhere(const FixField& field);
  void placeUnknown(const FixField& field);
  void placeInside(const FixField& field);
  bool isOutOfTurn(const FixField& delimiter);
  void repeat(const FixField& field, std::size_t at);
  void closePassed(const FixField& field);
  bool isBehindUnknown(const FixField& field) const noexcept;
  std::size_t outward(std::size_t at) const noexcept;
  std::size_t levelWithout(std::int32_t row, std::size_t from) const;
  std::size_t levelWith(std::int32_t row) const;
  bool isAwaited(const Level& level, std::int32_t row) const;
  bool doesInterrupt(const FixField& field, std::size_t target);
  bool hasLostBegin(const FixField& field, std::size_t at);
  bool isTooMany(const FixField& delimiter);
  bool belongsToStray(const FixField& field) const;
  const FixField* nextKnown(const FixField& field);
  const FixField* findAhead(const FixField* from, std::int32_t row, std::int32_t stop);
  std::int32_t countBegins(const FixField* from, std::size_t at);
  bool takeStray(std::int32_t row);
  bool takeMissing(std::int32_t row);
  std::int32_t& balanceOf(std::int32_t row);

  // Judging.
  const FixField* findEarly();
  void checkFrame();
  void checkLength(const FixField& sum);
  void checkValue(const FixField& field);
  void checkRequired(Level& level);
  void checkCount(const FixField& count, std::int32_t instances, std::int32_t delimiter);
  void checkCutMessage();
  bool isCutOff(const FixField& field) const;
  Reason valueReason(const FixField& field) const;

  // Reporting.
  struct Fault {
    VerdictKind kind;
    Reason reason;
    bool isConsequence = false;
  };
  static void setRefused(Verdict& verdict, Fault fault) noexcept;
  void reportRoot(const FixMessageModel& model);
  void reportUnjudged(const FixField& field);
  void reportStructure(const Level& level, const FixField& field);
  void reportMember(const FixField& field, std::int32_t member) {
    if (visitor_ == nullptr && &field != early_) return countMember();
    reportPlaced(field, member);
  }
  void reportPlaced(const FixField& field, std::int32_t member);
  // A member of some level, at the place that the walk has come to.
  void reportMisplaced(const FixField& field, Level& level, std::int32_t member, Fault fault);
  void reportRefused(const FixField& field, Fault fault);
  void reportValue(const FixField& field, Reason reason, std::int64_t right = kNone);
  std::int32_t memberFor(const FixField& field) const;
  void reportIncomplete(std::vector<Expected> missing);
  void report(const FixField& field, const Verdict& verdict);
  void count(const Verdict& verdict) noexcept;
  // Counts a finding; whether it is to be handed out.
  bool countFinding(VerdictKind kind) noexcept;
  void countMember() noexcept {
    ++summary_->elements;
    ++summary_->placed[static_cast<std::size_t>(Placement::Member)];
  }
  Finding findingOf(const Verdict& verdict, const FixField* field);
  WalkedElement elementOf(const Verdict& verdict, std::string_view name, std::size_t offset) const;
  std::vector<Expected> expected(const Level& level, bool isOwedOnly) const;
  std::vector<Expected> expectedAround() const;
  Expected expectedNumber(std::int32_t number) const;
  void listElsewhere(Finding& finding, std::int32_t row) const;
  Verdict memberVerdict(std::int32_t member, std::int32_t occurrence) const;
  std::string nameOfTag(std::int32_t row) const;
  static std::string nameOfType(const SMD_TYPE_DEFINITION& type);
  std::string nameOf(const FixField& field) const;
  std::int32_t depth() const noexcept;
  std::vector<PathStep> path() const override;
  std::vector<GroupStep> groups() const override;

  const FixModel* model_;
  bool isChecking_;
  FixCursor at_;
  std::vector<Level> levels_;  // the sections, then the open groups
  std::size_t current_ = 0;    // the innermost
  std::size_t section_ = kHeader;
  bool messageHadChild_ = false;
  bool wasMisplaced_ = false;  // the field before stood behind its section
  std::vector<Seen> seen_;     // by Type Members row
  std::uint32_t stamp_ = 0;
  // By Tags row: how many more came without a place than are missing. One that came elsewhere and
  // one that is missing are one fault.
  std::vector<Seen> balance_;
  std::uint32_t messageStamp_ = 0;

  // Of the message that is walked.
  const FixMessage* message_ = nullptr;
  const FixMessageModel* messageModel_ = nullptr;
  FixPlaces* places_ = nullptr;
  WalkVisitor* visitor_ = nullptr;
  WalkSummary* summary_ = nullptr;
  bool isDirect_ = false;            // moves that need no search are made without one
  const FixField* early_ = nullptr;  // see findEarly()
  std::int32_t skipped_ = kNone;     // number of the field that should have come before one
  const FixField* next_ = nullptr;   // see nextKnown()
  const FixField* stray_ = nullptr;  // the last field that has no place in the message
  std::int64_t findings_ = 0;
  std::int32_t lookAhead_ = 0;            // how many more fields may be looked at ahead of time
  const FixField* field_ = nullptr;       // the one that is being placed; null: at the end
  const FixField* trailField_ = nullptr;  // the last step of path(); null: none
  struct Reported {
    const FixField* field = nullptr;
    std::int32_t occurrence = 1;
  };
  Reported reported_;  // the field whose place was reported last: its value may come after it
};

}  // namespace cpi

#endif  // CPI_WALK_FIXWALK_H
