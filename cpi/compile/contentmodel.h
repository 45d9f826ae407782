// Content models, brought into the form in which the navigator finds each element at its place.
//
// The navigator steps through members by fixed rules that know nothing of schemas. A content model
// that is laid down as it was written would lead it astray in a few shapes; arrange() changes those
// shapes and nothing about what they admit. The rules, each with the model that shows its need, are
// in docs/xsd-mapping.md; their numbers are used in the comments here.
#ifndef CPI_COMPILE_CONTENTMODEL_H
#define CPI_COMPILE_CONTENTMODEL_H

#include <cstdint>
#include <vector>

#include "cpi/dictinfo/stddi/records.h"

namespace cpi {

enum class ParticleKind : std::uint8_t { Element, Wildcard, Sequence, Choice, All };

struct Particle {
  ParticleKind kind = ParticleKind::Element;
  std::int32_t minOccurs = 1;
  std::int32_t maxOccurs = 1;      // kNone: unbounded
  std::int32_t item = kNone;       // an element's tag, a wildcard's type
  std::int32_t sharedKey = kNone;  // groups of one key have one type: a substitution group's head
  std::vector<Particle> children = {};  // of a group
  bool isContentOptional = false;       // of a group: may its content be empty? arrange() finds out

  bool isGroup() const { return kind != ParticleKind::Element && kind != ParticleKind::Wildcard; }
  bool isOnce() const { return minOccurs == 1 && maxOccurs == 1; }
  bool canRepeat() const { return maxOccurs != 0 && maxOccurs != 1; }
};

// A 1..1 sequence around one particle.
Particle enclosed(Particle inner);

// Rule 3: takes out groups that say nothing of their own, at every depth.
void inlinePlainGroups(Particle& group);

// Arranges the children of a group, and theirs. `isNested` says that the group will be an
// anonymous member; a group whose children become the members of an element's type is not.
void arrange(Particle& group, bool isNested);

std::int32_t compositionOf(ParticleKind kind);

}  // namespace cpi

#endif  // CPI_COMPILE_CONTENTMODEL_H
