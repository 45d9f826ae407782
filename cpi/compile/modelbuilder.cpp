#include "cpi/compile/modelbuilder.h"

#include <algorithm>
#include <limits>
#include <utility>
#include <xercesc/framework/psvi/XSModelGroup.hpp>
#include <xercesc/framework/psvi/XSNamedMap.hpp>
#include <xercesc/framework/psvi/XSParticle.hpp>
#include <xercesc/framework/psvi/XSSimpleTypeDefinition.hpp>

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

std::u16string digits(std::int32_t number) { return toUtf16(std::to_string(number)); }

std::int32_t clamped(XMLSize_t count) {
  constexpr XMLSize_t kMost = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(std::min(count, kMost));
}

XSComplexTypeDefinition* asComplex(XSTypeDefinition& type) {
  const bool isComplex = type.getTypeCategory() == XSTypeDefinition::COMPLEX_TYPE;
  return isComplex ? static_cast<XSComplexTypeDefinition*>(&type) : nullptr;
}

bool isMixed(XSTypeDefinition& type) {
  XSComplexTypeDefinition* const complex = asComplex(type);
  return complex != nullptr &&
         complex->getContentType() == XSComplexTypeDefinition::CONTENTTYPE_MIXED;
}

// The types at the root of all others, from which nothing is inherited.
bool isRootType(XSTypeDefinition& type) {
  return isBuiltIn(type) &&
         (viewOf(type.getName()) == u"anyType" || viewOf(type.getName()) == u"anySimpleType");
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

}  // namespace

ModelBuilder::ModelBuilder(xercesc::XSModel& model,
                           const std::vector<XSElementDeclaration*>& elements, TableDraft& draft)
    : model_(model), draft_(draft), substitutions_(elements) {
  for (XSElementDeclaration* const element : elements) tagOf(*element);
  fillPending();
  addOtherNamedTypes(false);
  fillPending();
  if (types_.contains(model.getTypeDefinition(u"anyType", kSchemaNamespace.data()))) {
    addOtherNamedTypes(true);
  }
  fillPending();
  addTypeTags();
}

// Tags.

std::int32_t ModelBuilder::tagOf(XSElementDeclaration& element) {
  if (const auto known = tags_.find(&element); known != tags_.end()) return known->second;
  const std::u16string name(viewOf(element.getName()));
  const bool isGlobal = element.getScope() == XSConstants::SCOPE_GLOBAL;
  TagDraft tag;
  tag.text = isGlobal ? name : u"l" + digits(++localCount_) + kNameMark + name;
  tag.namespaceIndex = draft_.namespaceIndex(viewOf(element.getNamespace()));
  tag.type = typeOf(element.getTypeDefinition(), name);
  tag.nullPermitted = element.getNillable();
  if (XSTypeDefinition* const type = element.getTypeDefinition()) addValueProperties(tag, *type);
  if (element.getConstraintType() != XSConstants::VALUE_CONSTRAINT_NONE) {
    tag.defaultValue = draft_.addValue(
        constantOf(viewOf(element.getConstraintValue()), draft_.type(tag.type).logicalType));
  }
  const std::int32_t index = draft_.addTag(std::move(tag));
  tags_.emplace(&element, index);
  return index;
}

void ModelBuilder::addValueProperties(TagDraft& tag, XSTypeDefinition& type) {
  xercesc::XSSimpleTypeDefinition* const valueType = valueTypeOf(type);
  if (valueType == nullptr) {
    if (!isMixed(type) && !isAnyType(type)) tag.maxLength = kNoText;
    return;
  }
  const LengthLimits limits = lengthLimitsOf(*valueType);
  tag.minLength = limits.least;
  tag.maxLength = limits.most;
  tag.valueSet = valueSetOf(*valueType);
}

std::int32_t ModelBuilder::valueSetOf(xercesc::XSSimpleTypeDefinition& type) {
  const auto [entry, isNew] = valueSets_.emplace(&type, kNone);
  if (!isNew) return entry->second;
  const std::vector<ValueRow> values = enumerationOf(type);
  if (!values.empty()) entry->second = draft_.addValueSet(values);
  return entry->second;
}

// Whether the element of another type may be nil is for that element's own tag to say.
void ModelBuilder::addTypeTags() {
  for (const NamedType& named : named_) {
    TagDraft tag;
    tag.namespaceIndex = draft_.type(named.index).namespaceIndex;
    tag.type = named.index;
    tag.nullPermitted = true;
    tag.isTypeContext = true;
    addValueProperties(tag, *named.definition);
    draft_.addTag(std::move(tag));
  }
}

// Types.

// The processor makes a second object for a named type that contains itself, and for some built-in
// ones: the one that the model lists counts.
XSTypeDefinition& ModelBuilder::canonical(XSTypeDefinition* definition) {
  if (definition == nullptr) {
    return *model_.getTypeDefinition(u"anyType", kSchemaNamespace.data());
  }
  if (definition->getAnonymous()) return *definition;
  XSTypeDefinition* const listed =
      model_.getTypeDefinition(definition->getName(), definition->getNamespace());
  return listed == nullptr ? *definition : *listed;
}

std::int32_t ModelBuilder::typeOf(XSTypeDefinition* definition, std::u16string_view element) {
  definition = &canonical(definition);
  if (const auto known = types_.find(definition); known != types_.end()) return known->second;
  TypeDraft type;
  const bool isNamed = !definition->getAnonymous();
  type.identifier = isNamed ? std::u16string(viewOf(definition->getName())) : numbered(element);
  if (isNamed) type.namespaceIndex = draft_.namespaceIndex(viewOf(definition->getNamespace()));
  type.logicalType = logicalTypeOf(*definition);
  const std::int32_t index = draft_.addType(std::move(type));
  types_.emplace(definition, index);
  pending_.push_back({index, definition});
  if (isNamed) named_.push_back({index, definition});
  return index;
}

// Named types that no element leads to are there for xsi:type. The model lists them by a hash, so
// they are taken by name. Of the built-in ones all may be named where anything may stand.
void ModelBuilder::addOtherNamedTypes(bool builtIn) {
  auto* const components = model_.getComponents(XSConstants::TYPE_DEFINITION);
  std::vector<XSTypeDefinition*> types;
  for (XMLSize_t i = 0; components != nullptr && i < components->getLength(); ++i) {
    auto* const type = static_cast<XSTypeDefinition*>(components->item(i));
    if (isBuiltIn(*type) == builtIn && !type->getAnonymous()) types.push_back(type);
  }
  std::ranges::sort(types, {}, [](XSTypeDefinition* type) {
    return std::pair(viewOf(type->getNamespace()), viewOf(type->getName()));
  });
  for (XSTypeDefinition* const type : types) typeOf(type, {});
}

void ModelBuilder::fillPending() {
  while (filled_ < pending_.size()) fill(pending_[filled_++]);
}

void ModelBuilder::fill(NamedType pending) {
  draft_.type(pending.index).base = baseOf(*pending.definition);
  XSComplexTypeDefinition* const complex = asComplex(*pending.definition);
  if (isAnyType(*pending.definition)) {
    addMembers(pending.index, {anyContent()});
  } else if (complex != nullptr && valueTypeOf(*complex) == nullptr) {
    fillContent(pending.index, *complex);
  }
}

// The nearest named base. One of another logical type is left out: the navigator reads the
// logical type of a derived type from its base.
std::int32_t ModelBuilder::baseOf(XSTypeDefinition& definition) {
  XSTypeDefinition* base = definition.getBaseType();
  while (base != nullptr && base->getAnonymous() && base != base->getBaseType()) {
    base = base->getBaseType();
  }
  if (base == nullptr || base == &definition || isRootType(*base)) return kNone;
  if (logicalTypeOf(*base) != logicalTypeOf(definition)) return kNone;
  return typeOf(base, {});
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
      particle.item = wildcardType(wildcardTextOf(*source.getWildcardTerm()));
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
    noteUnsatisfiable(element);
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

void ModelBuilder::noteUnsatisfiable(XSElementDeclaration& element) {
  std::string name = "{" + toUtf8(viewOf(element.getNamespace())) + "}";
  name += toUtf8(viewOf(element.getName()));
  if (!std::ranges::count(unsatisfiable_, name)) unsatisfiable_.push_back(std::move(name));
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
          .item = wildcardType(openWildcard())};
}

std::int32_t ModelBuilder::wildcardType(const WildcardText& text) {
  const auto known = wildcards_.find(text.identifier);
  if (known != wildcards_.end()) return known->second;
  TypeDraft type;
  type.identifier = text.identifier;
  type.logicalType = kFirstWildcardLogicalType + static_cast<std::int32_t>(wildcards_.size());
  const std::int32_t index = draft_.addType(std::move(type));
  wildcards_.emplace(text.identifier, index);
  wildcardOfType_.emplace(index, text);
  return index;
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
  const WildcardText& text = wildcardOfType_.at(wildcard);
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
  type.identifier = numbered(kindText(group));
  type.composition = compositionOf(group.kind);
  const std::int32_t index = draft_.addType(std::move(type));
  if (isShared) sharedGroups_.emplace(group.sharedKey, index);
  addMembers(index, group.children);
  return index;
}

std::u16string ModelBuilder::numbered(std::u16string_view kind) {
  return std::u16string(kind) + kNameMark + digits(++anonymousCount_);
}

}  // namespace cpi
