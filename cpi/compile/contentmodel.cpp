#include "cpi/compile/contentmodel.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace cpi {

namespace {

bool canBeAbsent(const Particle& particle) {
  return particle.minOccurs == 0 || (particle.isGroup() && particle.isContentOptional);
}

bool isContentOptional(const Particle& group) {
  if (group.kind == ParticleKind::Choice) return std::ranges::any_of(group.children, canBeAbsent);
  return std::ranges::all_of(group.children, canBeAbsent);
}

// Rule 7: behind a group, a required element stops the search only from within a group.
void encloseRequiredBehindGroups(Particle& sequence) {
  bool isBehindGroup = false;
  for (Particle& child : sequence.children) {
    const bool isRequired = !child.isGroup() && child.minOccurs > 0;
    if (isBehindGroup && isRequired) child = enclosed(std::move(child));
    isBehindGroup = isBehindGroup || child.isGroup();
  }
}

// Rule 4: a repeating group that was entered in vain must not count as the alternative taken.
void encloseRepeatingGroups(Particle& group) {
  for (Particle& child : group.children) {
    if (child.isGroup() && child.canRepeat()) child = enclosed(std::move(child));
  }
}

// Rule 5: a required group that may be empty must not end the search.
void makeEmptiableOptional(Particle& group) {
  for (Particle& child : group.children) {
    if (child.isGroup() && child.isContentOptional) child.minOccurs = 0;
  }
}

// What is inlined is arranged as a part of the group that it is in at last.
void arrangeInlined(Particle& group, bool isNested) {
  for (Particle& child : group.children) {
    if (child.isGroup()) arrangeInlined(child, true);
  }
  group.isContentOptional = isContentOptional(group);
  if (group.kind != ParticleKind::Sequence) {
    encloseRepeatingGroups(group);
  } else if (isNested) {
    encloseRequiredBehindGroups(group);
  }
  makeEmptiableOptional(group);
}

}  // namespace

Particle enclosed(Particle inner) {
  Particle group{.kind = ParticleKind::Sequence};
  if (inner.isGroup() && inner.isContentOptional) inner.minOccurs = 0;  // rule 5
  group.isContentOptional = canBeAbsent(inner);
  group.children.push_back(std::move(inner));
  return group;
}

// A 1..1 sequence in a sequence and a 1..1 choice in a choice say nothing of their own.
// A shared group stays: its type is there once for all its uses.
void inlinePlainGroups(Particle& group) {
  std::vector<Particle> flat;
  flat.reserve(group.children.size());
  for (Particle& child : group.children) {
    inlinePlainGroups(child);
    const bool isPlain = child.kind == group.kind && child.kind != ParticleKind::All &&
                         child.isOnce() && child.sharedKey == kNone;
    if (isPlain) {
      std::ranges::move(child.children, std::back_inserter(flat));
    } else {
      flat.push_back(std::move(child));
    }
  }
  group.children = std::move(flat);
}

void arrange(Particle& group, bool isNested) {
  inlinePlainGroups(group);
  arrangeInlined(group, isNested);
}

std::int32_t compositionOf(ParticleKind kind) {
  switch (kind) {
    case ParticleKind::Choice: return TYPE_CHOICE;
    case ParticleKind::All: return TYPE_ALL;
    default: return TYPE_ORDERED;
  }
}

}  // namespace cpi
