#include "cpi/walk/modelwalk.h"

#include <algorithm>
#include <cassert>
#include <utility>

#include "cpi/walk/elementplaces.h"

namespace cpi {
namespace {

bool hasUnorderedType(const StdDictionaryInfo& dictionary) {
  for (std::int32_t row = 0; row < dictionary.types().rowCount(); ++row) {
    if (isInAnyOrder(dictionary.types().row(row))) return true;
  }
  return false;
}

VerdictKind kindOfRepeat(const SMD_STRUCTURE_ELEMENT_DEFINITION& member, std::int32_t repeatIndex) {
  const bool isBeyondLimit = member.MaxOccurs >= 0 && repeatIndex >= member.MaxOccurs;
  return isBeyondLimit ? VerdictKind::BeyondLimit : VerdictKind::Placed;
}

VerdictKind kindOf(Placement placement) {
  if (placement == Placement::Refused) return VerdictKind::Refused;
  return placement == Placement::Unjudged ? VerdictKind::Unjudged : VerdictKind::Placed;
}

// Whether the type around an element that is no member of it admits it all the same. The moves
// place such an element in any case, so this has to be asked of the type.
bool admitsNonMember(const StdDictionaryIterator& at, EWhereDefined where) {
  const SMD_TYPE_DEFINITION* const type =
      at.getDictionaryInfo()->types().find(at.getParentTypeIndex());
  if (type == nullptr) return true;
  if (type->Content == CONTENT_CLOSED) return false;
  return type->Content != CONTENT_DEFINED || where == WDTag;
}

}  // namespace

ModelWalk::ModelWalk(const WalkModel& model, bool isChecking)
    : model_(&model),
      isChecking_(isChecking),
      hasUnordered_(hasUnorderedType(model.dictionary())),
      counter_(hasUnordered_ ? model.dictionary().typeMembers().rowCount() : 0),
      structure_(model, counter_) {}
ModelWalk::~ModelWalk() = default;

void ModelWalk::restart() noexcept {
  open_.clear();
  levelCount_ = 0;
  counter_.forget(0);
  structure_.restart();
  elements_ = 0;
  faults_ = 0;
}

Verdict ModelWalk::enter(const ElementName& name, std::int32_t key, std::u16string_view typeKey) {
  const Name asked{name, key};
  if (open_.empty()) return enterRoot(asked, typeKey);
  switch (open_.back().judge) {
    case Judge::Model:
      return isChecking_ ? enterChecked(asked, typeKey) : enterChild(asked, typeKey);
    case Judge::Skipped:
      return enterUnmodelled(Placement::SelfDefined, Judge::Skipped, Reason::None);
    case Judge::Nobody: break;
  }
  return enterUnmodelled(Placement::Unjudged, Judge::Nobody, Reason::None);
}

std::vector<GroupStep> ModelWalk::groups() const {
  if (open_.empty() || open_.back().judge != Judge::Model) return {};
  ContentPath path;
  for (const MbrPathItem& step : levels_[levelCount_ - 1].at->getPartialMemberPath()) {
    path.push_back({step.memberIndex, step.repeatIndex});
  }
  path.push_back({});  // the element's own
  return groupsOf(model_->content(), path);
}

// The iterator moves to the parent only from a child. When there was none it still stands on the
// element itself, ready for the next sibling.
void ModelWalk::leave() {
  assert(!open_.empty());
  const OpenElement& element = open_.back();
  if (isChecking_) structure_.close(scopeOf(element));
  counter_.forget(element.countsMark);
  if (element.hasLevel) {
    --levelCount_;
  } else if (element.hadChild) {
    cursor().moveToParent();
  }
  open_.pop_back();
}

Verdict ModelWalk::enterRoot(const Name& name, std::u16string_view typeKey) {
  levelCount_ = 0;
  const std::int32_t tag = model_->globalTag(name.local, name.namespaceURI);
  if (tag == 0) return enterRefused(structure_.judgeRoot(name), 0);
  pushLevel(tag);
  Verdict verdict = verdictAt(cursor());
  verdict.placement = Placement::Root;
  verdict.kind = VerdictKind::Placed;
  verdict.reason = Reason::None;
  if (const std::int32_t hiddenTag = model_->hiddenTag(typeKey); hiddenTag != 0) {
    cursor().setContextFromTag(hiddenTag);
    takeContext(verdict);
  }
  open(Judge::Model, true, verdict.typeIndex);
  return verdict;
}

Verdict ModelWalk::enterChild(const Name& name, std::u16string_view typeKey) {
  OpenElement& parent = open_.back();
  if (typeKey.empty() && isMember(parent, name)) return enterMember(parent);
  const std::int32_t parentType = parent.typeIndex;
  ProcessContents contents{};
  const Move move = place(parent, name, contents);
  Verdict verdict;
  if (move == Move::Failed) {
    verdict = enterUnmodelled(Placement::Refused, Judge::Nobody, refusalUnder(parent));
  } else {
    verdict = enterPlaced(name, move, model_->hiddenTag(typeKey), contents);
  }
  if (verdict.reason == Reason::NotAllowed) classify(verdict, parentType, name);
  return verdict;
}

// The common case, in which the index alone tells where the child belongs.
inline bool ModelWalk::isMember(const OpenElement& parent, const Name& name) {
  return !hasWildcardFor(parent, name) && goTo(cursor(), parent, name);
}

inline Verdict ModelWalk::enterMember(OpenElement& parent) {
  parent.hadChild = true;
  Verdict verdict;
  readMember(cursor(), verdict);
  countUnordered(cursor(), parent, verdict);
  open(Judge::Model, false, verdict.typeIndex);
  return verdict;
}

// Where the iterator stands.
Verdict ModelWalk::enterPlaced(const Name& name, Move move, std::int32_t hiddenTag,
                               ProcessContents contents) {
  OpenElement& parent = open_.back();
  parent.hadChild = true;
  if (move == Move::ByWildcard) return enterWildcard(name, hiddenTag, contents);
  Verdict verdict = verdictAt(cursor());
  if (verdict.placement == Placement::Member) countUnordered(cursor(), parent, verdict);
  openByModel(verdict, hiddenTag);
  return verdict;
}

bool ModelWalk::isAccepted(const OpenElement& parent) {
  const DictionaryPosition& position = cursor().position();
  if (position.memberIndex < 0) return admitsNonMember(cursor(), position.whereDefined());
  cursor().readPath(parent.height, path_);
  return structure_.accept(scopeOf(parent), path_);
}

// Its content is judged by the type that it asks for or by what else is known of it.
Verdict ModelWalk::enterRefused(const StructureCheck::Outcome& outcome, std::int32_t hiddenTag) {
  Verdict verdict;
  verdict.placement = Placement::Refused;
  verdict.kind = outcome.kind;
  verdict.reason = outcome.reason;
  verdict.isConsequence = outcome.isConsequence;
  verdict.memberIndex = outcome.leaf;
  verdict.tagIndex = outcome.content;
  if (outcome.kind == VerdictKind::BeyondLimit) {
    verdict.placement = Placement::Member;
    verdict.occurrence = fault().atMost + 1;
  }
  const SMD_TAG_DEFINITION* const tag = model_->dictionary().tags().find(outcome.content);
  const std::int32_t contextTag = hiddenTag != 0 || tag == nullptr ? hiddenTag : tag->Id;
  if (contextTag <= 0) {
    open(Judge::Nobody, false, kNone);
    return verdict;
  }
  pushLevel(contextTag);
  takeContext(verdict);
  open(Judge::Model, true, verdict.typeIndex);
  // Elements in one that has a simple value elsewhere only show that another is meant.
  open_.back().isTold = outcome.kind == VerdictKind::KnownElsewhere;
  return verdict;
}

// The content is judged by the tag that the innermost level starts from.
void ModelWalk::takeContext(Verdict& verdict) {
  const DictionaryPosition& context = cursor().position();
  verdict.typeIndex = context.typeIndex;
  verdict.contentTagIndex = context.tagIndex;
}

Verdict ModelWalk::enterWildcard(const Name& name, std::int32_t hiddenTag,
                                 ProcessContents contents) {
  const std::int32_t globalTag = model_->globalTag(name.local, name.namespaceURI);
  const std::int32_t contextTag = hiddenTag != 0 ? hiddenTag : globalTag;
  if (contextTag == 0 && contents == ProcessContents::Strict) {
    return enterUnmodelled(Placement::Refused, Judge::Nobody, Reason::NotDeclared);
  }
  Verdict verdict = verdictAt(cursor());
  verdict.placement = Placement::Wildcard;
  verdict.typeIndex = kNone;
  if (contents == ProcessContents::Skip) {
    open(Judge::Skipped, false, kNone);
    return verdict;
  }
  verdict.tagIndex = globalTag == 0 ? kNone : model_->dictionary().getTagDefIndex(globalTag);
  pushLevel(contextTag);
  takeContext(verdict);
  open(Judge::Model, true, verdict.typeIndex);
  return verdict;
}

Verdict ModelWalk::enterUnmodelled(Placement placement, Judge judge, Reason reason) {
  open(judge, false, kNone);
  Verdict verdict;
  verdict.placement = placement;
  verdict.kind = kindOf(placement);
  verdict.reason = reason;
  return verdict;
}

inline void ModelWalk::open(Judge judge, bool hasLevel, std::int32_t typeIndex) {
  OpenElement& element = open_.emplace_back();
  element.judge = judge;
  element.hasLevel = hasLevel;
  element.typeIndex = typeIndex;
  element.number = ++elements_;
  element.countsMark = counter_.mark();
  if (!isChecking_) return;
  element.height = judge == Judge::Model ? cursor().height() : 0;
  element.pathBegin = structure_.open();
}

// An element that takes another type than the declared one is walked on a level of its own.
void ModelWalk::openByModel(Verdict& verdict, std::int32_t hiddenTag) {
  if (hiddenTag != 0) {
    pushLevel(hiddenTag);
    takeContext(verdict);
  }
  const bool isUnknown = verdict.placement == Placement::Refused && verdict.tagIndex < 0;
  const Judge judge = isUnknown && hiddenTag == 0 ? Judge::Nobody : Judge::Model;
  open(judge, hiddenTag != 0, verdict.typeIndex);
}

void ModelWalk::pushLevel(std::int32_t contextTag) {
  if (levelCount_ == levels_.size()) {
    const StdDictionaryInfo& dictionary = model_->dictionary();
    levels_.push_back({std::make_unique<Cursor>(dictionary), std::make_unique<Cursor>(dictionary)});
  }
  levels_[levelCount_].at->setContextFromTag(contextTag);
  ++levelCount_;
}

// A name that a wildcard admits may also fit a member further on, or one that has occurred often
// enough already: the member wins unless it is beyond its limit. When neither fits, the outcome
// of the search by name stays, which tells more than none.
ModelWalk::Move ModelWalk::place(const OpenElement& parent, const Name& name,
                                 ProcessContents& contents) {
  Level& level = levels_[levelCount_ - 1];
  const bool hasWildcard = hasWildcardFor(parent, name);
  if (hasWildcard) *level.spare = *level.at;
  const bool isPlaced = placeByName(*level.at, parent, name);
  const Move byName = isPlaced ? Move::ByName : Move::Failed;
  if (!hasWildcard || (isPlaced && level.at->isMemberWithinLimit())) return byName;
  std::swap(level.at, level.spare);
  if (placeByWildcard(*level.at, parent, name, contents)) return Move::ByWildcard;
  std::swap(level.at, level.spare);
  return byName;
}

bool ModelWalk::placeByName(Cursor& at, const OpenElement& parent, const Name& name) const {
  if (goTo(at, parent, name)) return true;
  return parent.hadChild ? at.moveToNextSiblingTagName(name.local, name.namespaceURI, true, true)
                         : at.moveToFirstChildTagName(name.local, name.namespaceURI, true, true);
}

bool ModelWalk::placeByWildcard(Cursor& at, const OpenElement& parent, const Name& name,
                                ProcessContents& contents) const {
  for (const std::int32_t number : model_->wildcardsOf(parent.typeIndex)) {
    const Wildcard& wildcard = model_->wildcard(number);
    if (!wildcard.admits(name.namespaceURI.view())) continue;
    const auto code = static_cast<ELogicalType>(wildcard.logicalType);
    const bool isPlaced = parent.hadChild ? at.moveToNextSiblingSimpleType(code, false, true)
                                          : at.moveToFirstChildSimpleType(code, false, true);
    if (!isPlaced) continue;
    contents = wildcard.processContents;
    return true;
  }
  return false;
}

inline bool ModelWalk::hasWildcardFor(const OpenElement& parent, const Name& name) const noexcept {
  const std::span<const std::int32_t> numbers = model_->wildcardsOf(parent.typeIndex);
  if (numbers.empty()) return false;  // nearly always
  return std::any_of(numbers.begin(), numbers.end(), [&](std::int32_t number) {
    return model_->wildcard(number).admits(name.namespaceURI.view());
  });
}

Reason ModelWalk::refusalUnder(const OpenElement& parent) const {
  const SMD_TYPE_DEFINITION* const type = model_->dictionary().types().find(parent.typeIndex);
  return type != nullptr && type->LogicalType > 0 ? Reason::InSimpleType : Reason::NotAllowed;
}

inline void ModelWalk::countUnordered(const Cursor& at, const OpenElement& parent,
                                      Verdict& verdict) {
  const std::int32_t member = hasUnordered_ ? at.unorderedMember() : kNone;
  if (member < 0) return;
  verdict.occurrence = counter_.count(parent.number, member);
  verdict.kind =
      kindOfRepeat(model_->dictionary().typeMembers().row(member), verdict.occurrence - 1);
}

// False when the iterator stands on no member.
inline bool ModelWalk::readMember(const Cursor& at, Verdict& verdict) const {
  const DictionaryPosition& position = at.position();
  const auto& members = model_->dictionary().typeMembers();
  if (!members.contains(position.memberIndex)) return false;
  verdict.placement = Placement::Member;
  verdict.kind = kindOfRepeat(members.records()[position.memberIndex], position.repeatIndex);
  verdict.occurrence = position.repeatIndex + 1;
  verdict.memberIndex = position.memberIndex;
  verdict.tagIndex = verdict.contentTagIndex = position.tagIndex;
  verdict.typeIndex = position.typeIndex;
  return true;
}

Verdict ModelWalk::verdictAt(const Cursor& at) const {
  Verdict verdict;
  if (readMember(at, verdict)) return verdict;
  const DictionaryPosition& position = at.position();
  verdict.tagIndex = verdict.contentTagIndex = position.tagIndex;
  verdict.typeIndex = position.typeIndex;
  const EWhereDefined where = position.whereDefined();
  if (!admitsNonMember(at, where)) {
    verdict.placement = Placement::Refused;
    verdict.kind = VerdictKind::Refused;
    verdict.reason = Reason::NotAllowed;
  } else {
    verdict.placement = where == WDTag ? Placement::TagDefined : Placement::SelfDefined;
    verdict.kind = VerdictKind::Placed;
  }
  return verdict;
}

}  // namespace cpi
