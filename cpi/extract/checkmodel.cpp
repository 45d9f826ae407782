// The part of the dictionary check that follows types into their members. Models are as deep as
// they like, so nothing here recurses; each run of members is gone through once, however many types
// claim it.
#include <algorithm>

#include "cpi/extract/checkcontext.h"

namespace cpi {

namespace {

using Member = SMD_STRUCTURE_ELEMENT_DEFINITION;

// Marks what tags lead to. Follows ids as well as indexes: where the two differ that is a fault of
// its own, and not one of everything below.
class Reach {
 public:
  explicit Reach(const CheckContext& context)
      : context_(context),
        isType_(static_cast<std::size_t>(context.dictionary.types().rowCount())),
        isRun_(static_cast<std::size_t>(context.dictionary.typeMembers().rowCount())) {
    const auto& tags = context_.dictionary.tags();
    for (std::int32_t row = 0; row < tags.rowCount(); ++row) {
      addType(tags.row(row).ToTypeIndexField);
      addType(context_.typeRows.find(tags.row(row).Type));
    }
    while (!pending_.empty()) {
      const std::int32_t begin = pending_.back();
      pending_.pop_back();
      addMembers(begin);
    }
  }

  bool isRunReached(std::int32_t begin) const { return isRun_[static_cast<std::size_t>(begin)]; }

 private:
  void addType(std::int32_t typeIndex) {
    const auto* const type = context_.dictionary.types().find(typeIndex);
    if (type == nullptr || isType_[static_cast<std::size_t>(typeIndex)]) return;
    isType_[static_cast<std::size_t>(typeIndex)] = true;
    addRun(context_.runs.beginOf(type->ToTypeMbrIndex));
    for (const std::int32_t begin : context_.runs.ofParent(type->TypeId)) addRun(begin);
  }
  void addRun(std::int32_t begin) {
    if (begin < 0 || isRunReached(begin)) return;
    isRun_[static_cast<std::size_t>(begin)] = true;
    pending_.push_back(begin);
  }
  // The tags of members were begun with.
  void addMembers(std::int32_t begin) {
    const std::int32_t end = context_.runs.endOf(begin);
    for (std::int32_t row = begin; row < end; ++row) {
      const Member& member = context_.dictionary.typeMembers().row(row);
      addType(member.toTypeIndex);
      addType(context_.typeRows.find(member.ChildTypeId));
    }
  }

  const CheckContext& context_;
  std::vector<bool> isType_;
  std::vector<bool> isRun_;  // by first row
  std::vector<std::int32_t> pending_;
};

// Goes from each run into the groups in it, depth first.
class GroupSearch {
 public:
  explicit GroupSearch(CheckContext& context)
      : context_(context),
        states_(static_cast<std::size_t>(context.dictionary.typeMembers().rowCount()), State::New) {
  }

  void searchFrom(std::int32_t begin) {
    if (stateOf(begin) != State::New) return;
    open(begin);
    while (!path_.empty()) {
      Frame& frame = path_.back();
      if (frame.row == frame.end) {
        stateOf(frame.begin) = State::Done;
        path_.pop_back();
      } else {
        visit(frame.row++);
      }
    }
  }

 private:
  enum class State : unsigned char { New, Open, Done };
  struct Frame {
    std::int32_t begin;
    std::int32_t row;
    std::int32_t end;
  };

  State& stateOf(std::int32_t begin) { return states_[static_cast<std::size_t>(begin)]; }

  void open(std::int32_t begin) {
    stateOf(begin) = State::Open;
    path_.push_back({begin, begin, context_.runs.endOf(begin)});
  }

  void visit(std::int32_t row) {
    const Member& member = context_.dictionary.typeMembers().row(row);
    const auto* const type = context_.dictionary.types().find(member.toTypeIndex);
    const bool isGroup = member.toTagIndex == kNone && type != nullptr && type->LogicalType == 0;
    const std::int32_t inner = isGroup ? context_.runs.beginOf(type->ToTypeMbrIndex) : kNone;
    if (inner < 0) return;
    const State state = stateOf(inner);
    if (state == State::New) open(inner);
    if (state == State::Open) {
      context_.fault(TableSlot::TypeMembers, row, "toTypeIndex", member.toTypeIndex,
                     "a group that does not contain itself");
    }
  }

  CheckContext& context_;
  std::vector<State> states_;  // by first row of a run
  std::vector<Frame> path_;
};

}  // namespace

MemberRuns::MemberRuns(const StdDictionaryInfo& dictionary) {
  const auto& members = dictionary.typeMembers();
  begins_.reserve(static_cast<std::size_t>(members.rowCount()));
  for (std::int32_t row = 0; row < members.rowCount(); ++row) {
    const std::int32_t parent = members.row(row).ParentTypeId;
    if (row == 0 || members.row(row - 1).ParentTypeId != parent) {
      runs_.push_back(row);
      ofParent_[parent].push_back(row);
    }
    begins_.push_back(runs_.back());
  }
}

std::int32_t MemberRuns::endOf(std::int32_t row) const noexcept {
  const auto next = std::ranges::upper_bound(runs_, row);
  return next == runs_.end() ? static_cast<std::int32_t>(begins_.size()) : *next;
}

const std::vector<std::int32_t>& MemberRuns::ofParent(std::int32_t typeId) const {
  static const std::vector<std::int32_t> kNoRuns;
  const auto found = ofParent_.find(typeId);
  return found == ofParent_.end() ? kNoRuns : found->second;
}

void checkReach(CheckContext& context) {
  const Reach reach(context);
  for (const std::int32_t begin : context.runs.begins()) {
    const std::int32_t parent = context.dictionary.typeMembers().row(begin).ParentTypeId;
    if (reach.isRunReached(begin) || context.typeRows.find(parent) < 0) continue;
    context.fault(TableSlot::TypeMembers, begin, "ParentTypeId", parent,
                  "a type that some tag leads to");
  }
}

void checkGroups(CheckContext& context) {
  GroupSearch search(context);
  for (const std::int32_t begin : context.runs.begins()) search.searchFrom(begin);
}

}  // namespace cpi
