#include "cpi/walk/fixwalk.h"

#include <algorithm>
#include <array>
#include <span>

namespace cpi {
namespace {

// What the first fields of every message are.
constexpr std::array<std::int32_t, 3> kFixedPlaces = {kFixBeginString, kFixBodyLength, kFixMsgType};
// A group may be defined inside itself, and a message is long: levels cost time and stack.
constexpr std::size_t kMaxLevels = 256;

}  // namespace

// An iterator that may start without context.
class FixWalk::Cursor : public StdDictionaryIterator {
 public:
  explicit Cursor(const StdDictionaryInfo& dictionary) { setDictionaryInfo(&dictionary); }

  std::int32_t memberIndex() const noexcept { return positionStack.back().memberIndex; }
};

void FixPlaces::start(const WalkPosition& begin, std::string_view message) noexcept {
  begin_ = begin;
  last_ = begin;
  message_ = message;
}

WalkPosition FixPlaces::at(std::size_t offset) noexcept {
  const auto done = static_cast<std::size_t>(last_.offset - begin_.offset);
  if (offset < done) {
    last_ = begin_;
    return at(offset);
  }
  advance(last_, message_.substr(done, offset - done));
  return last_;
}

// Columns count characters: bytes that go on with one are left out.
void FixPlaces::advance(WalkPosition& place, std::string_view bytes) noexcept {
  place.offset += static_cast<std::int64_t>(bytes.size());
  for (std::size_t end = bytes.find('\n'); end != bytes.npos; end = bytes.find('\n')) {
    ++place.line;
    place.column = 1;
    bytes.remove_prefix(end + 1);
  }
  place.column += std::ranges::count_if(
      bytes, [](char byte) { return (static_cast<unsigned char>(byte) & 0xc0) != 0x80; });
}

FixWalk::FixWalk(const FixModel& model, bool isChecking)
    : model_(&model),
      isChecking_(isChecking),
      at_(std::make_unique<Cursor>(model.dictionary())),
      levels_(kSectionCount),
      seen_(static_cast<std::size_t>(model.dictionary().typeMembers().rowCount())) {}
FixWalk::~FixWalk() = default;

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
    place(field);
  }
  field_ = nullptr;
  end();
}

void FixWalk::begin(const FixMessageModel& model) {
  at_->setContextFromTag(model.tagId);
  messageHadChild_ = false;
  wasMisplaced_ = false;
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
  while (current_ >= kSectionCount) closeGroup();
  closeAwaited(level());
  for (std::size_t section = 0; section < kSectionCount; ++section) {
    current_ = section;
    checkRequired(levels_[section]);
  }
  if (isChecking_) checkFrame();
}

// --- Placing ------------------------------------------------------------------------------------

void FixWalk::place(const FixField& field) {
  if (field.row == kNone) {
    const bool isField = field.number != kNone;
    if (!isField) ++level().garbled;
    reportRefused(field, isField ? Fault{VerdictKind::UnknownName, Reason::NotAllowed}
                                 : Fault{VerdictKind::Refused, Reason::NotAField});
    return;
  }
  if (level().awaited != kNone) awaitGroup(field);
  if (field.row == level().delimiter && level().hadChild) beginInstance(level(), field);
  // Without the first question, a field of another level would be searched for in vain.
  if (model_->mayHave(level().typeIndex, field.row) && move(level(), field.number)) {
    settle(field);
  } else {
    placeElsewhere(field);
  }
}

bool FixWalk::move(Level& level, std::int32_t tagId) {
  if (!level.isOpen) return false;
  const bool isMoved = level.hadChild ? at_->moveToNextSiblingTagId(tagId, false, true)
                                      : at_->moveToFirstChildTagId(tagId, false, true);
  level.hadChild |= isMoved;
  return isMoved;
}

// The iterator stands on the field.
void FixWalk::settle(const FixField& field) {
  Level& here = level();
  const std::int32_t member = at_->memberIndex();
  wasMisplaced_ = false;
  messageHadChild_ = true;
  if (member < 0) {
    reportRefused(field, {VerdictKind::KnownElsewhere, Reason::NotAllowed});
    return;
  }
  if (current_ >= kSectionCount && isSeen(here, member) && placeRepeat(field)) return;
  const std::int32_t occurrence = see(here, member);
  if (const std::int32_t group = model_->groupMember(member); group != kNone) {
    here.awaited = group;
    here.awaitedCount = &field;
  }
  reportMember(field, member, occurrence);
  checkValue(field);
}

// Whether the field behind a count begins the group's first instance. Another than the one that
// should begin it does too, if the count says that there is a group.
void FixWalk::awaitGroup(const FixField& field) {
  const std::int32_t type = model_->dictionary().typeMembers().row(level().awaited).toTypeIndex;
  const std::int32_t member = model_->memberOf(type, field.row);
  const bool isFirst = member == model_->firstMember(type);
  const bool isTold = fixNumberOf(message_->value(*level().awaitedCount)) != 0;
  if (member != kNone && (isFirst || isTold) && levels_.size() < kMaxLevels) {
    openGroup(field);
  } else {
    closeAwaited(level());
  }
}

void FixWalk::openGroup(const FixField& field) {
  const auto& row = model_->dictionary().typeMembers().row(level().awaited);
  Level group;
  group.typeIndex = row.toTypeIndex;
  group.member = level().awaited;
  group.tagId = row.ChildTagId;
  group.count = level().awaitedCount;
  group.isOpen = true;
  const auto* const first =
      model_->dictionary().typeMembers().find(model_->firstMember(row.toTypeIndex));
  group.delimiter = first == nullptr ? kNone : first->toTagIndex;
  level().awaited = kNone;
  at_->moveToNextSiblingTagId(group.tagId, false, true);
  levels_.push_back(group);
  current_ = levels_.size() - 1;
  beginInstance(level(), field);
}

void FixWalk::beginInstance(Level& level, const FixField& field) {
  if (level.instances > 0) {
    closeAwaited(level);
    checkRequired(level);
    moveOut(level);
    at_->moveToNextSiblingTagId(level.tagId, false, true);
  }
  ++level.instances;
  level.stamp = newStamp();
  level.requiredSeen = 0;
  level.garbled = 0;
  reportStructure(level, field);
}

void FixWalk::closeGroup() {
  closeAwaited(level());
  checkRequired(level());
  moveOut(level());
  const FixField& count = *level().count;
  const std::int32_t instances = level().instances;
  levels_.pop_back();
  current_ = levels_.size() == kSectionCount ? section_ : levels_.size() - 1;
  checkCount(count, instances);
}

// A count without any instance behind it.
void FixWalk::closeAwaited(Level& level) {
  if (level.awaited == kNone) return;
  level.awaited = kNone;
  checkCount(*level.awaitedCount, 0);
}

// From a field up to the section or group that it is in.
void FixWalk::moveOut(Level& level) {
  if (level.hadChild) at_->moveToParent();
  level.hadChild = false;
}

// A field that was in the same instance of a group before: it belongs to a level around that, or
// to the next instance, if this one lacks the field that should have begun it.
bool FixWalk::placeRepeat(const FixField& field) {
  Level& here = level();
  const std::size_t target = levelWithout(field.row);
  if (target != levels_.size()) {
    while (current_ != target) closeGroup();
  } else if (!isSeen(here, model_->firstMember(here.typeIndex))) {
    beginInstance(here, field);
  } else {
    return false;
  }
  place(field);
  return true;
}

// A field that has no place at the innermost level: it belongs to a level around it, to another
// section, or nowhere.
void FixWalk::placeElsewhere(const FixField& field) {
  const std::size_t target = levelWithout(field.row);
  if (target == current_) {
    reportMisplaced(field, level(), model_->memberOf(level().typeIndex, field.row));
  } else if (target != levels_.size()) {
    while (current_ != target) closeGroup();
    place(field);
  } else if (!placeInSection(field)) {
    reportRefused(field, {VerdictKind::KnownElsewhere, Reason::NotAllowed});
  }
}

// The innermost level around the iterator that has a field which did not come there yet, or begins
// an instance there; the number of levels when there is none.
std::size_t FixWalk::levelWithout(std::int32_t row) const {
  for (std::size_t at = current_;; at = at == kSectionCount ? section_ : at - 1) {
    const Level& level = levels_[at];
    const std::int32_t member = model_->memberOf(level.typeIndex, row);
    const bool isAwaited = row == level.delimiter || (member != kNone && !isSeen(level, member));
    if (level.isOpen && isAwaited) return at;
    if (at < kSectionCount) return levels_.size();
  }
}

// Whether the field is one of a section: of one that is behind it or to come.
bool FixWalk::placeInSection(const FixField& field) {
  for (std::size_t section = 0; section < kSectionCount; ++section) {
    Level& level = levels_[section];
    const std::int32_t member = model_->memberOf(level.typeIndex, field.row);
    if (member == kNone) continue;
    const bool isToCome = section > section_ || (section == section_ && !level.isOpen);
    if (section == section_ && level.isOpen) continue;
    if (!isToCome) {
      reportMisplaced(field, level, member);
      return true;
    }
    enterSection(section);
    reportStructure(level, field);
    if (move(this->level(), field.number)) {
      settle(field);
    } else {
      reportRefused(field, {VerdictKind::KnownElsewhere, Reason::NotAllowed});
    }
    return true;
  }
  return false;
}

void FixWalk::enterSection(std::size_t section) {
  while (current_ >= kSectionCount) closeGroup();
  Level& before = level();
  closeAwaited(before);
  if (before.tagId != 0) moveOut(before);
  section_ = section;
  current_ = section;
  Level& level = levels_[section];
  level.isOpen = true;
  level.hadChild = messageHadChild_;
  if (level.tagId == 0) return;
  move(level, level.tagId);
  level.hadChild = false;
  messageHadChild_ = true;
}

bool FixWalk::isSeen(const Level& level, std::int32_t member) const noexcept {
  return seen_[static_cast<std::size_t>(member)].stamp == level.stamp;
}

std::int32_t FixWalk::see(Level& level, std::int32_t member) noexcept {
  Seen& seen = seen_[static_cast<std::size_t>(member)];
  if (seen.stamp == level.stamp) return ++seen.count;
  seen = {level.stamp, 1};
  level.requiredSeen += model_->isRequired(member) ? 1 : 0;
  return 1;
}

// Stamps are used once; when they run out, none that was given counts any more.
std::uint32_t FixWalk::newStamp() noexcept {
  if (++stamp_ == 0) {
    std::ranges::fill(seen_, Seen());
    ++stamp_;
  }
  return stamp_;
}

// --- Judging ------------------------------------------------------------------------------------

// The first three fields have their places: the first of them in which another stands, although
// the one that should does come later. Null when there is none.
const FixField* FixWalk::findEarly() {
  const auto& fields = message_->fields();
  for (std::size_t i = 0; i < kFixedPlaces.size() && i < fields.size(); ++i) {
    if (fields[i].number == kFixedPlaces[i]) continue;
    const auto rest = std::span(fields).subspan(i);
    const bool comesLater =
        std::ranges::find(rest, kFixedPlaces[i], &FixField::number) != rest.end();
    earlyNumber_ = kFixedPlaces[i];
    return comesLater ? &fields[i] : nullptr;
  }
  return nullptr;
}

// What the frame of the message says about its bytes.
void FixWalk::checkFrame() {
  const auto& fields = message_->fields();
  if (fields.back().number != kFixCheckSum) return;
  const FixField& sum = fields.back();
  checkLength(sum);
  current_ = kTrailer;
  const std::int32_t right = message_->checkSum(sum);
  const std::string_view value = message_->value(sum);
  if (!value.empty() && (value.size() != 3 || fixNumberOf(value) != right)) {
    reportValue(sum, Reason::WrongCheckSum, right);
  }
}

// The body length counts what stands between it and the check sum.
void FixWalk::checkLength(const FixField& sum) {
  const auto& fields = message_->fields();
  const auto length = std::ranges::find(fields, kFixBodyLength, &FixField::number);
  if (length == fields.end()) return;
  current_ = kHeader;
  const std::int64_t bytes = message_->length(*(length + 1), sum);
  const std::string_view told = message_->value(*length);
  if (hasFixForm(told, FixForm::Count) && fixNumberOf(told) != bytes) {
    reportValue(*length, Reason::WrongCount, bytes);
  }
}

void FixWalk::checkRequired(const Level& level) {
  // What could not be read may have been what is missing.
  const std::int32_t missing = model_->requiredCount(level.typeIndex) - level.requiredSeen;
  if (isChecking_ && missing > level.garbled) reportIncomplete(level);
}

void FixWalk::checkCount(const FixField& count, std::int32_t instances) {
  if (!isChecking_) return;
  const std::string_view value = message_->value(count);
  if (hasFixForm(value, FixForm::Count) && fixNumberOf(value) != instances) {
    reportValue(count, Reason::WrongCount, instances);
  }
}

void FixWalk::checkValue(const FixField& field) {
  if (!isChecking_) return;
  if (field.hasWrongLength) {
    const FixField& length = *(&field - 1);
    reportValue(length, Reason::WrongCount, field.end - field.valueBegin);
    return;
  }
  const Reason reason = valueReason(field);
  if (reason != Reason::None) reportValue(field, reason);
}

Reason FixWalk::valueReason(const FixField& field) const {
  const std::string_view value = message_->value(field);
  if (value.empty()) return Reason::NoValue;
  const FixForm form = model_->form(field.row);
  if (form != FixForm::Text && !hasFixForm(value, form)) return Reason::WrongForm;
  if (field.number == kFixBeginString && !model_->beginString().empty()) {
    return value == model_->beginString() ? Reason::None : Reason::NotFixedValue;
  }
  const FixValueSet* const set = model_->valueSet(field.row);
  if (set == nullptr || field.number == kFixMsgType) return Reason::None;
  if (form != FixForm::List) return set->contains(value) ? Reason::None : Reason::NotInValueSet;
  for (std::size_t begin = 0; begin <= value.size();) {
    const std::size_t end = std::min(value.find(' ', begin), value.size());
    if (!set->contains(value.substr(begin, end - begin))) return Reason::NotInValueSet;
    begin = end + 1;
  }
  return Reason::None;
}

}  // namespace cpi
