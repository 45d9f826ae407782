#include "cpi/compile/modelbuilder.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <xercesc/framework/psvi/XSModelGroup.hpp>
#include <xercesc/framework/psvi/XSParticle.hpp>

#include "cpi/compile/valuetypes.h"
#include "cpi/compile/xmltext.h"
#include "cpi/extract/modelconventions.h"

namespace cpi {

namespace {

using xercesc::XSComplexTypeDefinition;
using xercesc::XSConstants;
using xercesc::XSElementDeclaration;
using xercesc::XSModelGroup;
using xercesc::XSParticle;
using xercesc::XSTypeDefinition;

std::int32_t clamped(XMLSize_t count) {
  constexpr XMLSize_t kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(count, kMost));
}

ParticleKind kindOf(XSModelGroup::COMPOSITOR_TYPE compositor) {
  switch (compositor) {
    case XSModelGroup::COMPOSITOR_CHOICE: return ParticleKind::Choice;
    case XSModelGroup::COMPOSITOR_ALL: return ParticleKind::All;
    default: return ParticleKind::Sequence;
  }
}

std::u16string_view kindText(const Particle& group) {
  if (group.sharedKey != kNone) return u"substitution";
  switch (group.kind) {
    case ParticleKind::Choice: return u"choice";
    case ParticleKind::All: return u"all";
    default: return u"sequence";
  }
}

ControlDraft controlOf(XSElementDeclaration& element) {
  return {
      .isAbstract = element.getAbstract(),
      .isFixed = element.getConstraintType() == XSConstants::VALUE_CONSTRAINT_FIXED,
      .blocksExtension = element.isDisallowedSubstitution(XSConstants::DERIVATION_EXTENSION),
      .blocksRestriction = element.isDisallowedSubstitution(XSConstants::DERIVATION_RESTRICTION)};
}

}  // namespace

ModelBuilder::ModelBuilder(xercesc::XSModel& model,
                           const std::vector<XSElementDeclaration*>& elements, TableDraft& draft)
    : draft_(draft),
      types_(model, draft),
      wildcards_(draft),
      attributes_(types_, wildcards_, draft),
      substitutions_(elements) {
  for (XSElementDeclaration* const element : elements) tagOf(*element);
  fillListed();
  types_.addNamed(false);
  fillListed();
  fillAttributes(model);
  types_.addTypeTags();
}

// Tags.

std::int32_t ModelBuilder::tagOf(XSElementDeclaration& element) {
  if (const auto known = tags_.find(&element); known != tags_.end()) return known->second;
  const std::u16string name(viewOf(element.getName()));
  const bool isGlobal = element.getScope() == XSConstants::SCOPE_GLOBAL;
  TagDraft tag;
  tag.text = isGlobal ? name : u"l" + decimalText(++localCount_) + kNameMark + name;
  tag.namespaceIndex = draft_.namespaceIndex(viewOf(element.getNamespace()));
  tag.type = types_.typeOf(element.getTypeDefinition(), name);
  tag.nullPermitted = element.getNillable();
  tag.control = controlOf(element);
  if (XSTypeDefinition* const type = element.getTypeDefinition()) {
    types_.addValueProperties(tag, *type);
  }
  if (element.getConstraintType() != XSConstants::VALUE_CONSTRAINT_NONE) {
    tag.defaultValue = draft_.addValue(
        constantOf(viewOf(element.getConstraintValue()), draft_.type(tag.type).logicalType));
  }
  const std::int32_t index = draft_.addTag(std::move(tag));
  tags_.emplace(&element, index);
  return index;
}

// Types.

void ModelBuilder::fillListed() {
  for (; filled_ < types_.listed().size(); ++filled_) {
    const SchemaType type = types_.listed()[filled_];
    types_.describe(type);
    XSComplexTypeDefinition* const complex = asComplex(*type.definition);
    if (isAnyType(*type.definition)) {
      addMembers(type.index, {anyContent()});
    } else if (complex != nullptr && valueTypeOf(*complex) == nullptr) {
      fillContent(type.index, *complex);
    }
  }
}

// The types of attributes are simple: none that they add has attributes of its own. Where anything
// may stand any built-in type may be named.
void ModelBuilder::fillAttributes(xercesc::XSModel& model) {
  const std::vector<SchemaType> owners = types_.listed();
  for (const SchemaType& owner : owners) {
    if (auto* const complex = asComplex(*owner.definition)) attributes_.add(owner.index, *complex);
  }
  attributes_.addGlobal(model);
  if (types_.hasAnyType()) types_.addNamed(true);
  fillListed();
}

// Content models.

void ModelBuilder::fillContent(std::int32_t type, XSComplexTypeDefinition& definition) {
  std::vector<Particle> parts = contentOf(definition);
  if (parts.empty()) return;
  const bool isOneGroup = parts.size() == 1 && parts.front().isGroup() && parts.front().isOnce();
  Particle content{.kind = ParticleKind::Sequence};
  if (isOneGroup) {
    content = std::move(parts.front());
  } else {
    content.children = std::move(parts);
  }
  inlinePlainGroups(content);
  const bool isEnclosed = needsEnclosure(content);
  arrange(content, isEnclosed);
  if (isEnclosed) content = enclosed(std::move(content));
  draft_.type(type).composition = compositionOf(content.kind);
  addMembers(type, content.children);
}

// An extension of xs:anyType keeps that type's content in front; the processor leaves it out.
std::vector<Particle> ModelBuilder::contentOf(XSComplexTypeDefinition& definition) {
  std::vector<Particle> parts;
  XSTypeDefinition* const base = definition.getBaseType();
  const bool extendsAnyType = base != nullptr && isAnyType(*base) &&
                              definition.getDerivationMethod() == XSConstants::DERIVATION_EXTENSION;
  if (extendsAnyType) parts.push_back(anyContent());
  if (XSParticle* const particle = definition.getParticle()) appendParticle(parts, *particle);
  return parts;
}

void ModelBuilder::appendParticle(std::vector<Particle>& out, XSParticle& source) {
  Particle particle;
  particle.minOccurs = clamped(source.getMinOccurs());
  particle.maxOccurs = source.getMaxOccursUnbounded() ? kNone : clamped(source.getMaxOccurs());
  if (particle.maxOccurs == 0) return;
  switch (source.getTermType()) {
    case XSParticle::TERM_ELEMENT:
      return appendElement(out, *source.getElementTerm(), std::move(particle));
    case XSParticle::TERM_WILDCARD:
      particle.kind = ParticleKind::Wildcard;
      particle.item = wildcards_.typeOf(wildcardTextOf(*source.getWildcardTerm()));
      break;
    case XSParticle::TERM_MODELGROUP:
      fillGroup(particle, *source.getModelGroupTerm());
      if (particle.children.empty()) return;
      break;
    default: return;
  }
  out.push_back(std::move(particle));
}

// Rule 10: a choice of all concrete elements that may stand in the place of the one referred to.
void ModelBuilder::appendElement(std::vector<Particle>& out, XSElementDeclaration& element,
                                 Particle particle) {
  if (element.getScope() != XSConstants::SCOPE_GLOBAL) {
    particle.item = tagOf(element);
    out.push_back(std::move(particle));
    return;
  }
  const std::vector<XSElementDeclaration*> members = substitutions_.membersOf(element);
  if (members.empty()) {
    if (!std::ranges::count(unsatisfiable_, &element)) unsatisfiable_.push_back(&element);
    return;
  }
  if (members.size() == 1) {
    particle.item = tagOf(*members.front());
  } else {
    particle.kind = ParticleKind::Choice;
    particle.sharedKey = tagOf(element);
    for (XSElementDeclaration* const member : members) {
      particle.children.push_back({.item = tagOf(*member)});
    }
  }
  out.push_back(std::move(particle));
}

void ModelBuilder::fillGroup(Particle& group, XSModelGroup& source) {
  group.kind = kindOf(source.getCompositor());
  xercesc::XSParticleList* const particles = source.getParticles();
  for (XMLSize_t i = 0; particles != nullptr && i < particles->size(); ++i) {
    appendParticle(group.children, *particles->elementAt(i));
  }
}

Particle ModelBuilder::anyContent() {
  return {.kind = ParticleKind::Wildcard,
          .minOccurs = 0,
          .maxOccurs = kNone,
          .item = wildcards_.typeOf(openWildcard())};
}

// Rule 9: a required wildcard at the level of the element's own type does not stop the search, so
// an element that it should have taken would be found behind it.
bool ModelBuilder::needsEnclosure(const Particle& content) const {
  if (content.kind != ParticleKind::Sequence) return false;
  return std::ranges::any_of(content.children, [&](const Particle& child) {
    const bool isRequired = child.kind == ParticleKind::Wildcard && child.minOccurs > 0;
    return isRequired && admitsElementOf(child.item, content);
  });
}

bool ModelBuilder::admitsElementOf(std::int32_t wildcard, const Particle& content) const {
  const WildcardText& text = wildcards_.wildcard(wildcard);
  return std::ranges::any_of(content.children, [&](const Particle& child) {
    if (child.isGroup()) return admitsElementOf(wildcard, child);
    if (child.kind != ParticleKind::Element) return false;
    return text.admits(draft_.namespaceText(draft_.tag(child.item).namespaceIndex));
  });
}

// Members.

void ModelBuilder::addMembers(std::int32_t type, const std::vector<Particle>& particles) {
  std::vector<MemberDraft> members;
  for (const Particle& particle : particles) members.push_back(memberOf(particle));
  draft_.type(type).members = std::move(members);
}

MemberDraft ModelBuilder::memberOf(const Particle& particle) {
  MemberDraft member;
  member.minOccurs = particle.minOccurs;
  member.maxOccurs = particle.maxOccurs;
  if (particle.isGroup()) {
    member.type = groupType(particle);
  } else if (particle.kind == ParticleKind::Wildcard) {
    member.type = particle.item;
    member.memberClass = TCField;
  } else {
    const TagDraft& tag = draft_.tag(particle.item);
    member.tag = particle.item;
    member.type = tag.type;
    member.memberClass = draft_.type(tag.type).logicalType > 0 ? TCField : TCStructure;
    member.name = tag.text.substr(tag.text.find(kNameMark) + 1);
  }
  return member;
}

std::int32_t ModelBuilder::groupType(const Particle& group) {
  const bool isShared = group.sharedKey != kNone;
  if (const auto known = sharedGroups_.find(group.sharedKey);
      isShared && known != sharedGroups_.end()) {
    return known->second;
  }
  TypeDraft type;
  type.identifier = types_.numbered(kindText(group));
  type.composition = compositionOf(group.kind);
  const std::int32_t index = draft_.addType(std::move(type));
  if (isShared) sharedGroups_.emplace(group.sharedKey, index);
  addMembers(index, group.children);
  return index;
}

}  // namespace cpi
