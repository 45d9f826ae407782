// How a FixWalk judges a message: values, counts, what is missing, and what its frame says.
#include <algorithm>
#include <array>
#include <span>
#include <utility>

#include "cpi/walk/fixwalk.h"

namespace cpi {
namespace {

// What the first fields of every message are.
constexpr std::array<std::int32_t, 3> kFixedPlaces = {kFixBeginString, kFixBodyLength, kFixMsgType};

}  // namespace

// The first three fields have their places: the first of them in which another stands, although
// the one that should does come later. Null when there is none.
const FixField* FixWalk::findEarly() {
  const auto& fields = message_->fields();
  for (std::size_t i = 0; i < kFixedPlaces.size() && i < fields.size(); ++i) {
    if (fields[i].number == kFixedPlaces[i]) continue;
    const auto rest = std::span(fields).subspan(i);
    const bool comesLater =
        std::ranges::find(rest, kFixedPlaces[i], &FixField::number) != rest.end();
    skipped_ = kFixedPlaces[i];
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

// A field that the model does not have may have been meant for what is missing, and so may what
// came elsewhere.
void FixWalk::checkRequired(Level& level) {
  const std::int32_t missing = model_->requiredCount(level.typeIndex) - level.requiredSeen;
  if (!isChecking_ || missing <= level.strays) return;
  const std::int32_t first = model_->firstMember(level.typeIndex);
  std::int32_t owed = 0;
  for (std::int32_t i = 0; i < model_->memberCount(level.typeIndex); ++i) {
    const std::int32_t member = first + i;
    if (!model_->isRequired(member) || isSeen(level, member)) continue;
    const std::int32_t tag = model_->dictionary().typeMembers().row(member).toTagIndex;
    if (tag != kNone && takeMissing(tag)) {
      see(level, member);
    } else {
      ++owed;
    }
  }
  if (owed <= level.strays) return;
  if (countFinding(VerdictKind::Incomplete)) reportIncomplete(expected(level, true));
}

// A message that ends before its trailer was cut off, or has lost it: whatever is missing is one
// fault, and counts of groups cannot be right.
void FixWalk::checkCutMessage() {
  std::int32_t missing = 0;
  std::int32_t strays = 0;
  for (const Level& level : levels_) {
    missing += model_->requiredCount(level.typeIndex) - level.requiredSeen;
    strays += level.strays;
  }
  if (missing <= strays) return;
  if (!countFinding(VerdictKind::Incomplete)) return;
  std::vector<Expected> list;
  const auto add = [&](const Level& level) {
    const std::vector<Expected> owed = expected(level, true);
    list.insert(list.end(), owed.begin(), owed.end());
  };
  add(levels_[kHeader]);
  add(levels_[kBody]);
  for (std::size_t i = kSectionCount; i < levels_.size(); ++i) add(levels_[i]);
  add(levels_[kTrailer]);
  section_ = kBody;
  current_ = kBody;
  reportIncomplete(std::move(list));
}

// Whether the message ends within the field, so that nothing can be said of it.
bool FixWalk::isCutOff(const FixField& field) const {
  return field.end == message_->text().size() && section_ != kTrailer &&
         model_->requiredCount(levels_[kTrailer].typeIndex) > 0;
}

// Of the instances that are fewer than told, fields may come elsewhere: by their first one they are
// known.
void FixWalk::checkCount(const FixField& count, std::int32_t instances, std::int32_t delimiter) {
  if (!isChecking_) return;
  const std::string_view value = message_->value(count);
  const std::int32_t told = fixNumberOf(value);
  if (told == instances || valueReason(count) != Reason::None) return;
  if (told > instances && delimiter != kNone) {
    const std::int32_t lacking = told - instances;
    std::int32_t& strays = balanceOf(delimiter);
    if (strays >= lacking) {
      strays -= lacking;
      return;
    }
    strays = std::min(strays, -lacking);
  }
  reportValue(count, Reason::WrongCount, instances);
}

void FixWalk::checkValue(const FixField& field) {
  if (!isChecking_ || isCutOff(field)) return;
  if (field.hasWrongLength) {
    const FixField& length = *(&field - 1);
    if (valueReason(length) != Reason::None) return;  // that is told
    reportValue(length, Reason::WrongCount, field.end - field.valueBegin);
    return;
  }
  const Reason reason = valueReason(field);
  if (reason != Reason::None) reportValue(field, reason);
}

Reason FixWalk::valueReason(const FixField& field) const {
  const std::string_view value = message_->value(field);
  if (value.empty()) return Reason::NoValue;
  const FixForm form = field.form;
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
