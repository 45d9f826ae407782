#include "cpi/walk/fixwalk.h"

#include <algorithm>

#include "cpi/runtime/kellog.h"

namespace cpi {
namespace {

// A message full of faults would make each look far ahead.
constexpr std::int32_t kMaxLookAhead = 1 << 20;

}  // namespace

FixWalk::FixWalk(const FixModel& model, bool isChecking)
    : model_(&model),
      isChecking_(isChecking),
      at_(model.dictionary()),
      levels_(kSectionCount),
      seen_(static_cast<std::size_t>(model.dictionary().typeMembers().rowCount())),
      balance_(static_cast<std::size_t>(model.dictionary().tags().rowCount()) + 1) {}
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
  findings_ = 0;
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
  at_.setContextFromTag(model.tagId);
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
  const bool isThere = at_.memberIndex() == member;
  level.isFlat = isThere && isDirect_ && model_->isFlat(level.typeIndex);
  return isThere;
}

bool FixWalk::moveByTag(Level& level, std::int32_t tagId) {
  const bool isMoved = level.hadChild ? at_.moveToNextSiblingTagId(tagId, false, true)
                                      : at_.moveToFirstChildTagId(tagId, false, true);
  level.hadChild |= isMoved;
  messageHadChild_ |= isMoved;
  return isMoved;
}

// Only the last of the fields of a flat level is one from which the iterator moves on.
void FixWalk::catchUp(Level& level) {
  if (level.ahead == kNone) return;
  level.hadChild ? at_.standOn(level.ahead) : at_.enter(level.ahead);
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
  // One between both sections may be of either.
  const bool isSpare =
      before.strays > model_->requiredCount(before.typeIndex) - before.requiredSeen;
  if (isSpare && isBehindUnknown(field)) {
    --before.strays;
    ++level.strays;
  }
  if (isDirect_ && messageModel_->isPlain) {
    at_.begin(level.member);
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

}  // namespace cpi
