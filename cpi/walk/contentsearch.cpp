#include "cpi/walk/contentsearch.h"

#include <algorithm>
#include <utility>

namespace cpi {
namespace {

// Groups that contain one another without an element between them are not followed further.
constexpr std::size_t kMaxGroups = 64;
// Members that one search looks at. Groups that share groups unfold to more members than any model
// has rows; a search that goes on so long ends as if nothing further could come.
constexpr std::int32_t kMaxVisits = 200'000;

bool isWithinLimit(const SMD_STRUCTURE_ELEMENT_DEFINITION& member, std::int32_t repeat) {
  return member.MaxOccurs < 0 || repeat < member.MaxOccurs;
}

std::int32_t owedOf(const SMD_STRUCTURE_ELEMENT_DEFINITION& member, std::int32_t count) {
  return std::max(member.MinOccurs - count, 0);
}

}  // namespace

// Goes through members in model order and hands out their leaves.
class ContentSearch::Lister {
 public:
  enum class Mode : std::uint8_t {
    Legal,     // what may come next: up to the first that must
    All,       // all leaves
    Required,  // only those that must come
  };

  Lister(const ContentSearch& search, Mode mode, const LeafVisitor& visit)
      : search_(search), model_(search.model_), mode_(mode), visit_(visit) {}

  // The functions below return true when nothing further may be listed: the visitor said so, or
  // (Legal) something that must come stands in the way.

  // What comes behind the last step of `path` within the type that this step belongs to.
  bool behind(Path path) {
    const std::size_t level = path.size() - 1;
    const std::int32_t type = search_.typeAt(path, level);
    path_.assign(path.begin(), path.end() - 1);
    if (model_.orderOf(type) == Order::Any) return anyOf(type, search_.isCounted(path, level));
    if (repeats(level)) return true;
    return model_.orderOf(type) == Order::Sequence &&
           sequence(path.back().memberIndex + 1, model_.membersOf(type).end);
  }

  // What a type has in the place that `path` leads to.
  bool contentOf(std::int32_t type, Path path) {
    path_.assign(path.begin(), path.end());
    return within(type);
  }

  // The members of a sequence from `begin` to `end`, in the place that `path` leads to, after the
  // repeats of the last child's step there that are owed, if `isBehindLast`.
  bool between(Path path, bool isBehindLast, std::int32_t begin, std::int32_t end) {
    path_.assign(path.begin(), path.end());
    return (isBehindLast && repeats(path.size())) || sequence(begin, end);
  }

 private:
  bool endsAt(bool isOwed) const { return isStopped_ || (mode_ == Mode::Legal && isOwed); }

  bool repeats(std::size_t level) {
    const ContentStep& last = search_.last_[level];
    const std::int32_t owed = search_.owedAt(level);
    visitMember({last.memberIndex, last.repeat + 1}, owed);
    return endsAt(owed > 0);
  }

  bool sequence(std::int32_t begin, std::int32_t end) {
    for (std::int32_t row = begin; row < end; ++row) {
      const std::int32_t owed = owedFromStart(row);
      visitMember({row, 0}, owed);
      if (endsAt(owed > 0)) return true;
    }
    return isStopped_;
  }

  bool within(std::int32_t type) {
    switch (model_.orderOf(type)) {
      case Order::Any: return anyOf(type, false);
      case Order::Choice: return choice(type);
      default: {
        const MemberRange members = model_.membersOf(type);
        return sequence(members.begin, members.end);
      }
    }
  }

  // Where a choice must be made each alternative counts as owed, and is told by what may begin it.
  bool choice(std::int32_t type) {
    const MemberRange members = model_.membersOf(type);
    const bool isOwed = !model_.canBeEmpty(type);
    if (mode_ == Mode::Required && !isOwed) return false;
    const Mode mode = std::exchange(mode_, mode_ == Mode::Required ? Mode::Legal : mode_);
    const std::int32_t outer = choice_;
    if (choice_ == 0 && members.end - members.begin > 1) choice_ = ++choices_;
    for (std::int32_t row = members.begin; row < members.end && !isStopped_; ++row) {
      visitMember({row, 0}, owedFromStart(row));
    }
    mode_ = mode;
    choice_ = outer;
    return endsAt(isOwed);
  }

  bool anyOf(std::int32_t type, bool isCounted) {
    const MemberRange members = model_.membersOf(type);
    bool isOwed = false;
    for (std::int32_t row = members.begin; row < members.end && !isStopped_; ++row) {
      const std::int32_t count = isCounted ? search_.countOf(row) : 0;
      const std::int32_t owed = model_.isRequired(row) ? owedOf(model_.member(row), count) : 0;
      isOwed = isOwed || owed > 0;
      visitMember({row, count}, owed);
    }
    return endsAt(isOwed);
  }

  std::int32_t owedFromStart(std::int32_t row) const {
    return model_.isRequired(row) ? model_.member(row).MinOccurs : 0;
  }

  // One member, from the repeat on that `step` tells.
  void visitMember(const ContentStep& step, std::int32_t owed) {
    const auto& member = model_.member(step.memberIndex);
    if (mode_ == Mode::Required && owed == 0) return;
    if (search_.searched_ != nullptr) ++*search_.searched_;
    isStopped_ = isStopped_ || ++visits_ > kMaxVisits;
    if (isStopped_ || !isWithinLimit(member, step.repeat) || path_.size() >= kMaxGroups) return;
    path_.push_back(step);
    if (model_.isGroup(step.memberIndex)) {
      const bool isOptional = std::exchange(isOptional_, isOptional_ || owed == 0);
      within(member.toTypeIndex);
      isOptional_ = isOptional;
    } else {
      const std::int32_t atMost = member.MaxOccurs < 0 ? kNone : member.MaxOccurs - step.repeat;
      isStopped_ = visit_({path_, isOptional_ ? 0 : owed, atMost, choice_});
    }
    path_.pop_back();
  }

  const ContentSearch& search_;
  const ContentModel& model_;
  Mode mode_;
  const LeafVisitor& visit_;
  ContentPath path_;
  std::int32_t choice_ = 0;
  std::int32_t choices_ = 0;
  bool isOptional_ = false;  // inside a group that need not come
  std::int32_t visits_ = 0;
  bool isStopped_ = false;  // by the visitor, or because there were too many visits
};

// The occurrences of an unordered type's members are counted for the whole element, so the type
// must not repeat in it.
bool ContentSearch::isCounted(Path path, std::size_t level) const {
  return level == 0 || (level == 1 && model_.member(path[0].memberIndex).MaxOccurs == 1);
}

std::size_t ContentSearch::divergence(Path next) const noexcept {
  const auto found = std::mismatch(last_.begin(), last_.end(), next.begin(), next.end());
  return static_cast<std::size_t>(found.first - last_.begin());
}

bool ContentSearch::passes(Path next) const {
  std::size_t level = 0;
  if (!last_.empty()) {
    const std::size_t at = divergence(next);
    if (at == last_.size() || at == next.size()) return false;
    for (std::size_t closing = at + 1; closing < last_.size(); ++closing) {
      if (!closes(closing)) return false;
    }
    if (!turns(at, next[at])) return false;
    level = at + 1;
  }
  for (; level < next.size(); ++level) {
    if (!opens(next, level)) return false;
  }
  return true;
}

bool ContentSearch::completes() const {
  if (last_.empty()) return model_.canBeEmpty(typeIndex_);
  for (std::size_t level = 0; level < last_.size(); ++level) {
    if (!closes(level)) return false;
  }
  return true;
}

// Whether the type at `level` is complete when the last child is the last in it.
bool ContentSearch::closes(std::size_t level) const {
  const std::int32_t type = typeAt(last_, level);
  const Order order = model_.orderOf(type);
  if (order == Order::Any) return !isCounted(last_, level) || hasAllOf(type);
  const ContentStep& step = last_[level];
  return owedAt(level) == 0 &&
         (order == Order::Choice ||
          !model_.isAnyRequired(step.memberIndex + 1, model_.membersOf(type).end));
}

// Whether the last child's step at `level` may be followed by `next`.
bool ContentSearch::turns(std::size_t level, const ContentStep& next) const {
  const auto& member = model_.member(next.memberIndex);
  const Order order = model_.orderOf(typeAt(last_, level));
  if (order == Order::Any) {
    return !isCounted(last_, level) || isWithinLimit(member, countOf(next.memberIndex));
  }
  if (!isWithinLimit(member, next.repeat)) return false;
  const ContentStep& last = last_[level];
  if (next.memberIndex == last.memberIndex) return next.repeat == last.repeat + 1;
  return order == Order::Sequence && next.memberIndex > last.memberIndex && next.repeat == 0 &&
         owedAt(level) == 0 && !model_.isAnyRequired(last.memberIndex + 1, next.memberIndex);
}

bool ContentSearch::opens(Path next, std::size_t level) const {
  const ContentStep& step = next[level];
  if (step.repeat != 0 || !isWithinLimit(model_.member(step.memberIndex), 0)) return false;
  const std::int32_t type = typeAt(next, level);
  return model_.orderOf(type) != Order::Sequence ||
         !model_.isAnyRequired(model_.membersOf(type).begin, step.memberIndex);
}

std::int32_t ContentSearch::owedAt(std::size_t level) const {
  const ContentStep& step = last_[level];
  const std::int32_t owed = model_.isRequired(step.memberIndex)
                                ? owedOf(model_.member(step.memberIndex), step.repeat + 1)
                                : 0;
  if (owed == 0 || divides(level) || (level > 0 && divides(level - 1))) return 0;
  return owed;
}

// Whether the repeats of the one member of the group at `level` can be divided among as many
// repeats of the group as there must be. The walk fills one repeat of the group before the next.
bool ContentSearch::divides(std::size_t level) const {
  if (level + 1 >= last_.size()) return false;
  const auto& group = model_.member(last_[level].memberIndex);
  const MemberRange members = model_.membersOf(group.toTypeIndex);
  if (members.end - members.begin != 1 || model_.orderOf(group.toTypeIndex) == Order::Any) {
    return false;
  }
  const auto& member = model_.member(members.begin);
  const std::int64_t full = std::max(member.MaxOccurs, 1);
  const std::int64_t count = last_[level].repeat * full + last_[level + 1].repeat + 1;
  const std::int64_t least = member.MaxOccurs < 0 ? 1 : (count + full - 1) / full;
  const std::int64_t most = member.MinOccurs > 0 ? count / member.MinOccurs : count;
  return std::max<std::int64_t>(least, group.MinOccurs) <= most &&
         (group.MaxOccurs < 0 || least <= group.MaxOccurs);
}

bool ContentSearch::hasAllOf(std::int32_t typeIndex) const {
  const MemberRange members = model_.membersOf(typeIndex);
  for (std::int32_t row = members.begin; row < members.end; ++row) {
    if (model_.isRequired(row) && countOf(row) < model_.member(row).MinOccurs) return false;
  }
  return true;
}

bool ContentSearch::isOtherAlternative(Path path) const {
  std::size_t level = 0;
  const std::size_t both = std::min(path.size(), last_.size());
  while (level < both && path[level].memberIndex == last_[level].memberIndex) ++level;
  return level < both && model_.orderOf(typeAt(path, level)) == Order::Choice;
}

void ContentSearch::forEachNext(bool isLenient, const LeafVisitor& visit) const {
  Lister lister(*this, isLenient ? Lister::Mode::All : Lister::Mode::Legal, visit);
  if (last_.empty()) {
    lister.contentOf(typeIndex_, {});
    return;
  }
  for (std::size_t size = last_.size(); size > 0; --size) {
    if (lister.behind(last_.first(size))) return;
  }
}

void ContentSearch::forEachLeaf(const LeafVisitor& visit) const {
  Lister(*this, Lister::Mode::All, visit).contentOf(typeIndex_, {});
}

void ContentSearch::forEachMissing(Path next, const LeafVisitor& visit) const {
  Lister lister(*this, Lister::Mode::Required, visit);
  if (last_.empty() && next.empty()) {
    lister.contentOf(typeIndex_, {});
    return;
  }
  std::size_t opening = 0;
  if (!last_.empty()) {
    const std::size_t at = divergence(next);
    const std::size_t closed = next.empty() ? 0 : at + 1;
    for (std::size_t size = last_.size(); size > closed; --size) {
      if (lister.behind(last_.first(size))) return;
    }
    if (next.empty() || at >= std::min(last_.size(), next.size())) return;
    const bool isOnward = next[at].memberIndex > last_[at].memberIndex &&
                          model_.orderOf(typeAt(last_, at)) == Order::Sequence;
    if (isOnward &&
        lister.between(next.first(at), true, last_[at].memberIndex + 1, next[at].memberIndex)) {
      return;
    }
    opening = at + 1;
  }
  for (; opening < next.size(); ++opening) {
    const std::int32_t type = typeAt(next, opening);
    if (model_.orderOf(type) != Order::Sequence) continue;
    if (lister.between(next.first(opening), false, model_.membersOf(type).begin,
                       next[opening].memberIndex)) {
      return;
    }
  }
}

}  // namespace cpi
