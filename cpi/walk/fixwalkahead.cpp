// What a FixWalk asks to tell one fault from another: the fields ahead, the count of a group, and
// what was missing or had no place before.
#include <algorithm>

#include "cpi/walk/fixwalk.h"

namespace cpi {

// The next field behind one that the model has; null when there is none.
const FixField* FixWalk::nextKnown(const FixField& field) {
  const auto& fields = message_->fields();
  const FixField* const end = fields.data() + fields.size();
  if (next_ == nullptr || next_ <= &field) {
    next_ = &field + 1;
    while (next_ != end && next_->row == kNone) ++next_;
  }
  return next_ == end ? nullptr : next_;
}

// A field from one on and before one of the tag `stop`; null when there is none, or it is too far.
const FixField* FixWalk::findAhead(const FixField* from, std::int32_t row, std::int32_t stop) {
  const auto& fields = message_->fields();
  const FixField* const end = fields.data() + fields.size();
  for (const FixField* at = from; at != end && lookAhead_ > 0; ++at, --lookAhead_) {
    if (at->row == row) return at;
    if (stop != kNone && at->row == stop) return nullptr;
  }
  return nullptr;
}

// How many instances of a group begin from a field on, until one of a group around it does.
std::int32_t FixWalk::countBegins(const FixField* from, std::size_t at) {
  const auto& fields = message_->fields();
  const FixField* const end = fields.data() + fields.size();
  const std::size_t around = outward(at);
  const std::int32_t stop = around < kSectionCount ? kNone : levels_[around].delimiter;
  std::int32_t count = 0;
  for (const FixField* next = from; next != end && lookAhead_ > 0; ++next, --lookAhead_) {
    if (next->row == kNone) continue;
    if (next->row == levels_[at].delimiter) ++count;
    if (next->row == stop) break;
  }
  return count;
}

// Whether the instances from this one on would be more than told.
bool FixWalk::isTooMany(const FixField& delimiter) {
  const Level& here = level();
  return here.told != kNone && countBegins(&delimiter, current_) > here.told - here.instances;
}

// Whether a field that a group's instance has already belongs to the next one, which has lost its
// first field or has it behind this one.
bool FixWalk::hasLostBegin(const FixField& field, std::size_t at) {
  if (at < kSectionCount) return false;
  const Level& level = levels_[at];
  if (level.told == kNone) return !isSeen(level, model_->firstMember(level.typeIndex));
  const std::int32_t owed = level.told - level.instances;
  const std::int32_t ahead = countBegins(&field, at);
  if (ahead != owed) return ahead < owed;
  const FixField* const next = nextKnown(field);
  const bool isSwapped = next != nullptr && next->row == level.delimiter;
  const bool isTwice = &field != message_->fields().data() && (&field - 1)->row == field.row;
  return isSwapped && !isTwice && findAhead(next + 1, field.row, level.delimiter) == nullptr;
}

// Whether the field before has no place either, and both are of one group.
bool FixWalk::belongsToStray(const FixField& field) const {
  constexpr std::size_t kMaxPlaces = 64;
  if (stray_ == nullptr || stray_ + 1 != &field) return false;
  const auto members = model_->membersWith(stray_->row);
  for (const std::int32_t member : members.first(std::min(members.size(), kMaxPlaces))) {
    const auto& rows = model_->dictionary().typeMembers();
    const std::int32_t group = model_->groupMember(member);
    const std::int32_t inside = group == kNone ? kNone : rows.row(group).toTypeIndex;
    const std::int32_t around = model_->groupTypeOf(member);
    if (model_->memberOf(inside, field.row) != kNone) return true;
    if (model_->memberOf(around, field.row) != kNone) return true;
  }
  return false;
}

// What a dictionary names but does not have shares the last balance.
std::int32_t& FixWalk::balanceOf(std::int32_t row) {
  Seen& balance = balance_[std::min(static_cast<std::size_t>(row), balance_.size() - 1)];
  if (balance.stamp != messageStamp_) balance = {messageStamp_, 0};
  return balance.count;
}

// A field came without a place; whether it was told before that it is missing.
bool FixWalk::takeStray(std::int32_t row) { return balanceOf(row)++ < 0; }

// A field is missing; whether it was told before that it came without a place.
bool FixWalk::takeMissing(std::int32_t row) { return balanceOf(row)-- > 0; }

}  // namespace cpi
