// What a FixWalk says about what it found: counts for all, elements and findings for a visitor.
#include <algorithm>
#include <utility>

#include "cpi/runtime/kelstring.h"
#include "cpi/walk/fixwalk.h"

namespace cpi {
namespace {

// Of more values than these, or elements that might have come, the first are listed.
constexpr std::size_t kMaxListed = 20;
constexpr std::size_t kMaxExpected = 200;
// What a message is called that does not say what it is.
constexpr const char* kUnnamed = "message";

}  // namespace

// --- Elements -----------------------------------------------------------------------------------

void FixWalk::count(const Verdict& verdict) noexcept {
  ++summary_->elements;
  ++summary_->placed[static_cast<std::size_t>(verdict.placement)];
  if (verdict.isBeyondLimit()) ++summary_->beyondLimit;
}

bool FixWalk::countFinding(VerdictKind kind) noexcept {
  ++summary_->found[static_cast<std::size_t>(kind)];
  return visitor_ != nullptr && ++findings_ <= kMaxFindings;
}

Verdict FixWalk::memberVerdict(std::int32_t member, std::int32_t occurrence) const {
  const SMD_STRUCTURE_ELEMENT_DEFINITION& row = model_->dictionary().typeMembers().row(member);
  Verdict verdict;
  verdict.placement = Placement::Member;
  verdict.kind = VerdictKind::Placed;
  verdict.occurrence = occurrence;
  verdict.memberIndex = member;
  verdict.tagIndex = row.toTagIndex;
  verdict.typeIndex = row.toTypeIndex;
  return verdict;
}

void FixWalk::reportRoot(const FixMessageModel& model) {
  Verdict verdict;
  verdict.placement = Placement::Root;
  verdict.kind = VerdictKind::Placed;
  verdict.tagIndex = model.tagIndex;
  verdict.typeIndex = model.typeIndex;
  count(verdict);
  if (visitor_ == nullptr) return;
  WalkedElement element = elementOf(verdict, model.name, 0);
  element.depth = 0;
  visitor_->element(element);
}

Verdict FixWalk::verdictOnUnknown(const FixField* msgType) const {
  const auto& fields = message_->fields();
  Verdict verdict;
  verdict.placement = Placement::Refused;
  verdict.kind = VerdictKind::Refused;
  if (fields.empty()) {
    verdict.reason = Reason::TooLong;
  } else if (fields.size() == 1 && fields.front().end == message_->text().size()) {
    verdict.reason = Reason::NoDelimiter;
  } else if (msgType == nullptr) {
    verdict.kind = VerdictKind::Incomplete;
    verdict.reason = Reason::NeverCame;
  } else {
    verdict.kind = VerdictKind::UnknownName;
    verdict.reason = Reason::UnknownMessage;
  }
  return verdict;
}

// A message that the model does not have, or that does not say which it is.
void FixWalk::walkUnknown(const FixField* msgType) {
  const Verdict verdict = verdictOnUnknown(msgType);
  const bool isIncomplete = verdict.kind == VerdictKind::Incomplete;
  count(verdict);
  if (countFinding(verdict.kind)) {
    Finding finding;
    finding.verdict = verdict;
    finding.name = kUnnamed;
    if (msgType != nullptr) finding.value = message_->value(*msgType).substr(0, kMaxText);
    if (isIncomplete) finding.missing.push_back(expectedNumber(kFixMsgType));
    if (verdict.reason == Reason::TooLong) finding.atMost = kMaxFixMessage;
    finding.path = {{finding.name, {}, 1}};
    Verdict root = verdict;
    if (isIncomplete) root.kind = VerdictKind::Unjudged;
    WalkedElement element = elementOf(root, finding.name, 0);
    element.depth = 0;
    element.finding = &finding;
    finding.position = places_->at(msgType == nullptr ? 0 : msgType->begin);
    visitor_->element(element);
    visitor_->finding(finding);
  }
  for (const FixField& field : message_->fields()) reportUnjudged(field);
}

void FixWalk::reportUnjudged(const FixField& field) {
  const Verdict verdict;
  count(verdict);
  if (visitor_ == nullptr) return;
  const std::string name = nameOf(field);
  WalkedElement element = elementOf(verdict, name, field.begin);
  element.depth = 1;
  visitor_->element(element);
}

// Header, trailer or an instance of a group, in front of its first field.
void FixWalk::reportStructure(const Level& level, const FixField& field) {
  if (level.tagId == 0) return;
  if (visitor_ == nullptr) return countMember();
  const Verdict verdict = memberVerdict(level.member, std::max(level.instances, 1));
  count(verdict);
  const std::string name = nameOfTag(verdict.tagIndex);
  WalkedElement element = elementOf(verdict, name, field.begin);
  element.depth = depth() - 1;
  visitor_->element(element);
}

void FixWalk::reportPlaced(const FixField& field, std::int32_t member) {
  Verdict verdict = memberVerdict(member, 1);
  if (&field == early_) {
    verdict.kind = VerdictKind::OutOfOrder;
    verdict.reason = Reason::SkipsRequired;
  }
  report(field, verdict);
}

void FixWalk::reportMisplaced(const FixField& field, Level& level, std::int32_t member,
                              Fault fault) {
  Verdict verdict = memberVerdict(member, see(level, member));
  setRefused(verdict, fault);
  report(field, verdict);
  checkValue(field);
}

void FixWalk::reportRefused(const FixField& field, Fault fault) {
  Verdict verdict;
  setRefused(verdict, fault);
  verdict.tagIndex = field.row;
  report(field, verdict);
}

void FixWalk::setRefused(Verdict& verdict, Fault fault) noexcept {
  verdict.placement = Placement::Refused;
  verdict.kind = fault.kind;
  verdict.reason = fault.reason;
  verdict.isConsequence = fault.isConsequence;
}

void FixWalk::report(const FixField& field, const Verdict& verdict) {
  count(verdict);
  const bool isFault = !verdict.isGood() && !verdict.isConsequence;
  const bool isFinding = isFault && countFinding(verdict.kind);
  if (visitor_ == nullptr) return;
  trailField_ = &field;
  reported_ = {&field, std::max(verdict.occurrence, 1)};
  const std::string name = nameOf(field);
  WalkedElement element = elementOf(verdict, name, field.begin);
  if (isFinding) {
    const Finding finding = findingOf(verdict, &field);
    element.finding = &finding;
    visitor_->element(element);
    visitor_->finding(finding);
  } else {
    visitor_->element(element);
  }
  trailField_ = nullptr;
}

WalkedElement FixWalk::elementOf(const Verdict& verdict, std::string_view name,
                                 std::size_t offset) const {
  const StdDictionaryInfo& dictionary = model_->dictionary();
  WalkedElement element;
  element.verdict = verdict;
  element.depth = depth();
  element.name = name;
  element.position = places_->at(offset);
  element.member = dictionary.typeMembers().find(verdict.memberIndex);
  element.tag = dictionary.tags().find(verdict.tagIndex);
  element.type = dictionary.types().find(verdict.typeIndex);
  element.trail = this;
  return element;
}

// --- Findings -----------------------------------------------------------------------------------

// `right` is what a wrong count or sum should be.
void FixWalk::reportValue(const FixField& field, Reason reason, std::int64_t right) {
  if (!countFinding(VerdictKind::Value)) return;
  const std::int32_t member = memberFor(field);
  Verdict verdict = member == kNone ? Verdict() : memberVerdict(member, 1);
  verdict.placement = Placement::Member;
  verdict.kind = VerdictKind::Value;
  verdict.reason = reason;
  verdict.tagIndex = field.row;
  trailField_ = &field;
  Finding finding = findingOf(verdict, &field);
  trailField_ = nullptr;
  finding.value = message_->value(field).substr(0, kMaxText);
  finding.atLeast = static_cast<std::int32_t>(right);
  if (reason == Reason::NotFixedValue) finding.values = {model_->beginString()};
  if (const FixValueSet* const set = model_->valueSet(field.row);
      set != nullptr && reason == Reason::NotInValueSet) {
    const auto& values = set->values();
    const std::size_t listed = std::min(values.size(), kMaxListed);
    finding.values.assign(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(listed));
  }
  visitor_->finding(finding);
}

// The member that a field with a wrong value stands for: of the innermost level that has it, or of
// a section that is over.
std::int32_t FixWalk::memberFor(const FixField& field) const {
  const std::size_t at = levelWith(field.row);
  if (at != levels_.size()) return model_->memberOf(levels_[at].typeIndex, field.row);
  for (std::size_t section = 0; section < kSectionCount; ++section) {
    const std::int32_t member = model_->memberOf(levels_[section].typeIndex, field.row);
    if (member != kNone) return member;
  }
  return kNone;
}

void FixWalk::reportIncomplete(std::vector<Expected> missing) {
  Verdict verdict;
  verdict.placement = Placement::Member;
  verdict.kind = VerdictKind::Incomplete;
  verdict.reason = Reason::NeverCame;
  Finding finding = findingOf(verdict, nullptr);
  finding.name = finding.path.back().name;
  finding.missing = std::move(missing);
  visitor_->finding(finding);
}

// About a field, or about the innermost level at the place that the walk has come to.
Finding FixWalk::findingOf(const Verdict& verdict, const FixField* field) {
  Finding finding;
  finding.verdict = verdict;
  finding.path = path();
  const FixField* const at = field == nullptr ? field_ : field;
  finding.position = places_->at(at == nullptr ? message_->text().size() : at->begin);
  if (field == nullptr) return finding;
  finding.name = nameOf(*field);
  switch (verdict.kind) {
    case VerdictKind::BeyondLimit: finding.atMost = 1; break;
    case VerdictKind::KnownElsewhere: listElsewhere(finding, field->row); break;
    case VerdictKind::Refused: finding.value = finding.name; break;
    default: break;
  }
  if (verdict.reason == Reason::SkipsRequired) {
    finding.missing.push_back(expectedNumber(skipped_));
    finding.expected = finding.missing;
  } else if (verdict.kind != VerdictKind::Value) {
    finding.expected = expectedAround();
  }
  return finding;
}

// The members of a level that did not come: those that are owed, or all.
std::vector<Expected> FixWalk::expected(const Level& level, bool isOwedOnly) const {
  std::vector<Expected> list;
  const std::int32_t first = model_->firstMember(level.typeIndex);
  for (std::int32_t i = 0; i < model_->memberCount(level.typeIndex); ++i) {
    const std::int32_t member = first + i;
    const bool isOwed = model_->isRequired(member);
    if (isSeen(level, member) || (isOwedOnly && !isOwed)) continue;
    const auto& row = model_->dictionary().typeMembers().row(member);
    if (row.ChildClass != TCField) continue;
    Expected& item = list.emplace_back();
    item.name = nameOfTag(row.toTagIndex);
    item.memberIndex = member;
    item.owed = isOwed ? 1 : 0;
    item.atMost = row.MaxOccurs < 0 ? kUnbounded : row.MaxOccurs;
  }
  return list;
}

// The rest is in any order: what is owed comes first, so that it is not cut off. Without what is
// owed in the sections to come the message may not end.
std::vector<Expected> FixWalk::expectedAround() const {
  std::vector<Expected> list = expected(levels_[current_], false);
  const auto isOwed = [](const Expected& one) { return one.owed > 0; };
  auto place = std::stable_partition(list.begin(), list.end(), isOwed);
  for (std::size_t section = section_ + 1; section < kSectionCount; ++section) {
    for (Expected& owed : expected(levels_[section], true)) {
      place = list.insert(place, std::move(owed)) + 1;
    }
  }
  if (list.size() > kMaxExpected) list.resize(kMaxExpected);
  return list;
}

Expected FixWalk::expectedNumber(std::int32_t number) const {
  Expected item;
  const std::int32_t row = model_->field(number).row;
  item.name = row == kNone ? std::to_string(number) : nameOfTag(row);
  item.owed = 1;
  return item;
}

void FixWalk::listElsewhere(Finding& finding, std::int32_t row) const {
  const StdDictionaryInfo& dictionary = model_->dictionary();
  const auto members = model_->membersWith(row);
  finding.elsewhereCount = static_cast<std::int64_t>(members.size());
  for (const std::int32_t member : members.first(std::min(members.size(), kMaxKnownPlaces))) {
    KnownPlace& place = finding.elsewhere.emplace_back();
    place.tagIndex = row;
    place.memberIndex = member;
    const std::int32_t id = dictionary.typeMembers().row(member).ParentTypeId;
    place.parentTypeIndex = dictionary.getTypeDefIndex(id);
    const SMD_TYPE_DEFINITION* const type = dictionary.types().find(place.parentTypeIndex);
    if (type != nullptr) place.parent = nameOfType(*type);
  }
}

}  // namespace cpi
