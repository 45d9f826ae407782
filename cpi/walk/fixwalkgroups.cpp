// How a FixWalk begins and ends repeating groups and their instances.
#include "cpi/walk/fixwalk.h"

namespace cpi {

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
      at_.repeat();
    } else {
      at_.moveToNextSiblingTagId(level.tagId, false, true);
    }
  }
  ++level.instances;
  level.stamp = newStamp();
  level.fields = 0;
  level.requiredSeen = 0;
  const bool hasBegin = field.row == level.delimiter;
  level.strays = !hasBegin && isBehindUnknown(field) ? 1 : 0;
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
    at_.leave();
  } else {
    at_.moveToParent();
  }
}

// Whether moves need no search below the section or group on which the iterator stands.
bool FixWalk::isFlatAt(const Level& level) const {
  return isDirect_ && at_.memberIndex() == level.member && model_->isFlat(level.typeIndex);
}

}  // namespace cpi
