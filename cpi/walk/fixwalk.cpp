#include "cpi/walk/fixwalk.h"

#include <algorithm>

#include "cpi/runtime/kellog.h"

namespace cpi {
namespace {

// A group may be defined inside itself, and a message is long: levels cost time and stack.
constexpr std::size_t kMaxLevels = 256;
// A message full of faults would make each look far ahead.
constexpr std::int32_t kMaxLookAhead = 1 << 20;

}  // namespace

// An iterator that may start without context, and that can be put where a move in a type without
// groups and in any order would lead it.
class FixWalk::Cursor : public StdDictionaryIterator {
 public:
  explicit Cursor(const StdDictionaryInfo& dictionary) { setDictionaryInfo(&dictionary); }

  std::int32_t memberIndex() const noexcept { return positionStack.back().memberIndex; }
  void enter(std::int32_t member) {
    positionStack.push_back(positionAt(member));
    positionStackSaved = false;
  }
  void standOn(std::int32_t member) {
    positionStack.back() = positionAt(member);
    positionStackSaved = false;
  }
  void repeat() {
    positionStack.back().pathBasedInfoIndex = kNone;  // as if its limit had been asked for
    ++positionStack.back().repeatIndex;
    positionStackSaved = false;
  }
  void leave() {
    positionStack.pop_back();
    positionStackSaved = false;
  }
  // Stands on a member of the message.
  void begin(std::int32_t member) {
    positionStack.erase(positionStack.begin() + 1, positionStack.end());
    enter(member);
  }

 private:
  DictionaryPosition positionAt(std::int32_t member) const noexcept {
    const SMD_STRUCTURE_ELEMENT_DEFINITION& row = dictionaryInfo->typeMembers().row(member);
    return {dictionaryInfo,   member, row.toTagIndex, row.toTypeIndex,
            kPathInfoUnknown, 0,      NTUndefined};
  }
};

FixWalk::FixWalk(const FixModel& model, bool isChecking)
    : model_(&model),
      isChecking_(isChecking),
      at_(std::make_unique<Cursor>(model.dictionary())),
      levels_(kSectionCount),
      seen_(static_cast<std::size_t>(model.dictionary().typeMembers().rowCount())),
      balance_(static_cast<std::size_t>(model.dictionary().tags().rowCount())) {}
FixWalk::~FixWalk() = default;

// A field in the midst of a level that needs no search, as most are. False: it is left to place().
inline bool FixWalk::placeDirectly(const FixField& field) {
  Level& here = level();
  if (!here.isFlat || here.awaited != kNone || field.row == here.delimiter) return false;
  const std::int32_t member = model_->memberOf(here.typeIndex, field.row);
  if (member == kNone || isSeen(here, member)) return false;
  here.ahead = member;
  settle(here, field, member);
  return true;
}

void FixWalk::walk(const FixMessage& message, FixPlaces& places, WalkVisitor* visitor,
                   WalkSummary& summary) {
  message_ = &message;
  places_ = &places;
  visitor_ = visitor;
  summary_ = &summary;
  field_ = nullptr;
  trailField_ = nullptr;
  reported_ = {};
  const auto& fields = message.fields();
  const auto msgType = std::ranges::find(fields, kFixMsgType, &FixField::number);
  messageModel_ = msgType == fields.end() ? nullptr : model_->message(message.value(*msgType));
  if (messageModel_ == nullptr) {
    walkUnknown(msgType == fields.end() ? nullptr : &*msgType);
    return;
  }
  begin(*messageModel_);
  for (const FixField& field : fields) {
    field_ = &field;
    if (!placeDirectly(field)) place(field);
  }
  field_ = nullptr;
  end();
}

// Moves are logged one by one, so that a walk makes all of them while the log is read.
void FixWalk::begin(const FixMessageModel& model) {
  at_->setContextFromTag(model.tagId);
  isDirect_ = !KelLog::isOn(LLTrace);
  messageHadChild_ = false;
  wasMisplaced_ = false;
  next_ = nullptr;
  stray_ = nullptr;
  lookAhead_ = kMaxLookAhead;
  messageStamp_ = newStamp();
  levels_.resize(kSectionCount);
  beginSection(kHeader, model.headerMember);
  beginSection(kBody, model.bodyMember);
  beginSection(kTrailer, model.trailerMember);
  section_ = model.headerMember == kNone ? kBody : kHeader;
  current_ = section_;
  levels_[kBody].isOpen = section_ == kBody;
  early_ = model.headerMember == kNone ? nullptr : findEarly();
  reportRoot(model);
}

void FixWalk::beginSection(Section section, std::int32_t member) {
  Level& level = levels_[section];
  level = {};
  level.stamp = newStamp();
  const SMD_STRUCTURE_ELEMENT_DEFINITION* const row =
      model_->dictionary().typeMembers().find(member);
  if (row == nullptr) return;
  level.member = member;
  level.typeIndex =
      model_->dictionary().types().contains(row->toTypeIndex) ? row->toTypeIndex : kNone;
  level.tagId = row->ChildTagId;
}

// What is owed is asked for when all fields are known, so that one that only stands in the wrong
// section is not missing as well.
void FixWalk::end() {
  const bool hasTrailer =
      section_ == kTrailer || model_->requiredCount(levels_[kTrailer].typeIndex) == 0;
  if (isChecking_ && !hasTrailer) return checkCutMessage();
  closeTo(section_);
  closeAwaited(level());
  for (std::size_t section = 0; section < kSectionCount; ++section) {
    current_ = section;
    checkRequired(levels_[section]);
  }
  if (isChecking_) checkFrame();
}

// --- Placing ------------------------------------------------------------------------------------

void FixWalk::place(const FixField& field) {
  if (field.row == kNone) return placeUnknown(field);
  if (level().awaited != kNone && !awaitGroup(field)) return placeInside(field);
  Level& here = level();
  if (field.row == here.delimiter && here.fields > 0) {
    if (isOutOfTurn(field)) return;
    beginInstance(here, field);
  }
  const std::int32_t member = model_->memberOf(here.typeIndex, field.row);
  if (member != kNone && !isSeen(here, member) && move(here, field, member)) {
    settle(here, field, member);
  } else {
    placeElsewhere(field);
  }
}

bool FixWalk::moveBySearch(Level& level, const FixField& field, std::int32_t member) {
  if (!level.isOpen || !moveByTag(level, field.number)) return false;
  const bool isThere = at_->memberIndex() == member;
  level.isFlat = isThere && isDirect_ && model_->isFlat(level.typeIndex);
  return isThere;
}

bool FixWalk::moveByTag(Level& level, std::int32_t tagId) {
  const bool isMoved = level.hadChild ? at_->moveToNextSiblingTagId(tagId, false, true)
                                      : at_->moveToFirstChildTagId(tagId, false, true);
  level.hadChild |= isMoved;
  messageHadChild_ |= isMoved;
  return isMoved;
}

// Only the last of the fields of a flat level is one from which the iterator moves on.
void FixWalk::catchUp(Level& level) {
  if (level.ahead == kNone) return;
  level.hadChild ? at_->standOn(level.ahead) : at_->enter(level.ahead);
  level.hadChild = true;
  level.ahead = kNone;
}

void FixWalk::enterSection(std::size_t section, const FixField& field) {
  closeTo(section_);
  closeAwaited(level());
  Level& before = level();
  Level& level = levels_[section];
  section_ = section;
  current_ = section;
  level.isOpen = true;
  if (isDirect_ && messageModel_->isPlain) {
    at_->begin(level.member);
    level.isFlat = true;
  } else {
    moveToSection(before, level);
  }
  reportStructure(level, field);
}

// A body without a tag is entered with its first field.
void FixWalk::moveToSection(Level& before, Level& level) {
  if (before.tagId != 0) moveOut(before);
  level.hadChild = messageHadChild_;
  if (level.tagId == 0) return;
  moveByTag(level, level.tagId);
  level.hadChild = false;
  level.isFlat = isFlatAt(level);
}

// Stamps are used once; when they run out, none that was given counts any more.
std::uint32_t FixWalk::newStamp() noexcept {
  if (++stamp_ == 0) {
    std::ranges::fill(seen_, Seen());
    std::ranges::fill(balance_, Seen());
    ++stamp_;
  }
  return stamp_;
}

// --- Groups -------------------------------------------------------------------------------------

// Whether the field behind a count begins the group's first instance. Another than the one that
// should begin it does too, if the count says that there is a group. False when the field has come
// between the count and its group.
bool FixWalk::awaitGroup(const FixField& field) {
  const std::int32_t type = model_->dictionary().typeMembers().row(level().awaited).toTypeIndex;
  const std::int32_t first = model_->firstTag(type);
  const bool isTold = toldBy(level().awaitedCount) != 0;
  const bool isOfGroup = model_->memberOf(type, field.row) != kNone;
  if (isOfGroup && (field.row == first || isTold) && levels_.size() < kMaxLevels) {
    openGroup(field);
    return true;
  }
  const FixField* const next = isTold ? nextKnown(field) : nullptr;
  if (next != nullptr && next->row == first) return false;
  closeAwaited(level());
  return true;
}

// What a count says; kNone: no number.
std::int32_t FixWalk::toldBy(const FixField* count) const noexcept {
  return count == nullptr ? kNone : fixNumberOf(message_->value(*count));
}

void FixWalk::openGroup(const FixField& field) {
  Level& around = level();
  const auto& row = model_->dictionary().typeMembers().row(around.awaited);
  Level group;
  group.typeIndex = row.toTypeIndex;
  group.member = around.awaited;
  group.tagId = row.ChildTagId;
  group.count = around.awaitedCount;
  group.told = toldBy(group.count);
  group.isOpen = true;
  group.delimiter = model_->firstTag(row.toTypeIndex);
  around.awaited = kNone;
  if (around.isFlat) {
    around.ahead = group.member;
    catchUp(around);
  } else {
    moveByTag(around, group.tagId);
  }
  group.isFlat = isFlatAt(group);
  levels_.push_back(group);
  current_ = levels_.size() - 1;
  beginInstance(level(), field);
}

void FixWalk::beginInstance(Level& level, const FixField& field) {
  if (level.instances > 0) {
    endInstance(level);
    if (levels_[outward(current_)].isFlat) {
      at_->repeat();
    } else {
      at_->moveToNextSiblingTagId(level.tagId, false, true);
    }
  }
  ++level.instances;
  level.stamp = newStamp();
  level.fields = 0;
  level.requiredSeen = 0;
  level.garbled = 0;
  reportStructure(level, field);
}

void FixWalk::endInstance(Level& level) {
  closeAwaited(level);
  checkRequired(level);
  moveOut(level);
}

void FixWalk::closeGroup() {
  endInstance(level());
  const FixField* const count = level().count;
  const std::int32_t instances = level().instances;
  const std::int32_t delimiter = level().delimiter;
  levels_.pop_back();
  current_ = outward(current_);
  if (count != nullptr) checkCount(*count, instances, delimiter);
}

// Closes the groups inside a level around the current one.
void FixWalk::closeTo(std::size_t target) {
  while (current_ != target) closeGroup();
}

// A count without any instance behind it.
void FixWalk::closeAwaited(Level& level) {
  if (level.awaited == kNone) return;
  const auto& group = model_->dictionary().typeMembers().row(level.awaited);
  level.awaited = kNone;
  if (level.awaitedCount == nullptr) return;
  checkCount(*level.awaitedCount, 0, model_->firstTag(group.toTypeIndex));
}

// From a field up to the section or group that it is in.
void FixWalk::moveOut(Level& level) {
  level.ahead = kNone;
  if (!level.hadChild) return;
  level.hadChild = false;
  if (level.isFlat) {
    at_->leave();
  } else {
    at_->moveToParent();
  }
}

// Whether moves need no search below the section or group on which the iterator stands.
bool FixWalk::isFlatAt(const Level& level) const {
  return isDirect_ && at_->memberIndex() == level.member && model_->isFlat(level.typeIndex);
}

}  // namespace cpi
