#include "cpi/compile/schematypes.h"

#include <algorithm>
#include <tuple>
#include <utility>
#include <xercesc/framework/psvi/XSComplexTypeDefinition.hpp>
#include <xercesc/framework/psvi/XSNamedMap.hpp>

#include "cpi/compile/valuetypes.h"
#include "cpi/compile/xmltext.h"
#include "cpi/extract/modelconventions.h"

namespace cpi {

namespace {

using xercesc::XSComplexTypeDefinition;
using xercesc::XSConstants;
using xercesc::XSSimpleTypeDefinition;
using xercesc::XSTypeDefinition;

bool isMixed(XSTypeDefinition& type) {
  XSComplexTypeDefinition* const complex = asComplex(type);
  return complex != nullptr &&
         complex->getContentType() == XSComplexTypeDefinition::CONTENTTYPE_MIXED;
}

// The types at the root of all others, from which nothing is inherited.
bool isRootType(XSTypeDefinition& type) {
  return isAnyType(type) || (isBuiltIn(type) && viewOf(type.getName()) == u"anySimpleType");
}

ControlDraft controlOf(XSTypeDefinition& definition) {
  XSComplexTypeDefinition* const type = asComplex(definition);
  if (type == nullptr || isAnyType(definition)) return {};
  return {.isAbstract = type->getAbstract(),
          .blocksExtension = type->isProhibitedSubstitution(XSConstants::DERIVATION_EXTENSION),
          .blocksRestriction = type->isProhibitedSubstitution(XSConstants::DERIVATION_RESTRICTION)};
}

}  // namespace

// What a redefinition replaces is there still, under a name that the processor made up; what
// replaces it is derived from it.
bool SchemaTypes::isNamed(XSTypeDefinition& definition) {
  constexpr std::u16string_view kReplaced = u"_rdfn";
  if (definition.getAnonymous()) return false;
  std::u16string name(viewOf(definition.getName()));
  if (!name.ends_with(kReplaced)) return true;
  name.resize(name.size() - kReplaced.size());
  XSTypeDefinition* const successor =
      model_.getTypeDefinition(name.c_str(), definition.getNamespace());
  XSTypeDefinition* const base = successor == nullptr ? nullptr : successor->getBaseType();
  return base == nullptr || viewOf(base->getName()) != viewOf(definition.getName());
}

std::int32_t SchemaTypes::typeOf(XSTypeDefinition* definition, std::u16string_view owner) {
  definition = &canonical(definition);
  if (const auto known = types_.find(definition); known != types_.end()) return known->second;
  TypeDraft type;
  if (isNamed(*definition)) {
    type.identifier = viewOf(definition->getName());
    type.namespaceIndex = draft_.namespaceIndex(viewOf(definition->getNamespace()));
  } else {
    type.identifier = numbered(owner);
  }
  type.logicalType = logicalTypeOf(*definition);
  const std::int32_t index = draft_.addType(std::move(type));
  types_.emplace(definition, index);
  listed_.push_back({index, definition});
  return index;
}

// The processor makes a second object for a named type that contains itself, and for some built-in
// ones: the one that the model lists counts.
XSTypeDefinition& SchemaTypes::canonical(XSTypeDefinition* definition) {
  if (definition == nullptr) {
    return *model_.getTypeDefinition(u"anyType", kSchemaNamespace.data());
  }
  if (definition->getAnonymous()) return *definition;
  XSTypeDefinition* const listed =
      model_.getTypeDefinition(definition->getName(), definition->getNamespace());
  return listed == nullptr ? *definition : *listed;
}

// Named types that no element leads to are there for xsi:type. The model lists them by a hash, so
// they are taken by name.
void SchemaTypes::addNamed(bool builtIn) {
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

bool SchemaTypes::hasAnyType() const {
  return types_.contains(model_.getTypeDefinition(u"anyType", kSchemaNamespace.data()));
}

void SchemaTypes::describe(const SchemaType& type) {
  const std::int32_t base = baseOf(*type.definition);
  DerivationDraft derivation = derivationOf(*type.definition);
  TypeDraft& draft = draft_.type(type.index);
  draft.base = base;
  draft.derivation = std::move(derivation);
  draft.control = controlOf(*type.definition);
  if (XSSimpleTypeDefinition* const value = valueTypeOf(*type.definition)) {
    draft.facets = facetsOf(*value);
  }
}

// The nearest named base. One of another logical type is left out: the navigator reads the
// logical type of a derived type from its base.
std::int32_t SchemaTypes::baseOf(XSTypeDefinition& definition) {
  XSTypeDefinition* base = definition.getBaseType();
  while (base != nullptr && !isNamed(*base) && base != base->getBaseType()) {
    base = base->getBaseType();
  }
  if (base == nullptr || base == &definition || isRootType(*base)) return kNone;
  if (logicalTypeOf(*base) != logicalTypeOf(definition)) return kNone;
  return typeOf(base, {});
}

DerivationDraft SchemaTypes::derivationOf(XSTypeDefinition& definition) {
  constexpr std::u16string_view kOwner = u"base";
  XSComplexTypeDefinition* const complex = asComplex(definition);
  const bool extends =
      complex != nullptr && complex->getDerivationMethod() == XSConstants::DERIVATION_EXTENSION;
  XSTypeDefinition* const base = definition.getBaseType();
  if (base != nullptr && base != &definition && !isRootType(*base)) {
    return {extends ? kExtension : kRestriction, {typeOf(base, kOwner)}};
  }
  if (complex != nullptr) return {extends ? kExtension : kRestriction, {kNone}};
  auto& simple = static_cast<XSSimpleTypeDefinition&>(definition);
  if (simple.getVariety() == XSSimpleTypeDefinition::VARIETY_LIST) {
    return {kList, {typeOf(simple.getItemType(), kOwner)}};
  }
  if (simple.getVariety() != XSSimpleTypeDefinition::VARIETY_UNION) return {kRestriction, {kNone}};
  DerivationDraft result{kUnion, {}};
  auto* const members = simple.getMemberTypes();
  for (XMLSize_t i = 0; members != nullptr && i < members->size(); ++i) {
    result.types.push_back(typeOf(members->elementAt(i), kOwner));
  }
  return result;
}

void SchemaTypes::addValueProperties(TagDraft& tag, XSTypeDefinition& type) {
  XSSimpleTypeDefinition* const valueType = valueTypeOf(type);
  if (valueType == nullptr) {
    if (!isMixed(type) && !isAnyType(type)) tag.maxLength = kNoText;
    return;
  }
  const LengthLimits limits = lengthLimitsOf(*valueType);
  tag.minLength = limits.least;
  tag.maxLength = limits.most;
  tag.valueSet = valueSetOf(*valueType);
}

std::int32_t SchemaTypes::valueSetOf(XSSimpleTypeDefinition& type) {
  const auto [entry, isNew] = valueSets_.emplace(&type, kNone);
  if (!isNew) return entry->second;
  const std::vector<ValueRow> values = enumerationOf(type);
  if (!values.empty()) entry->second = draft_.addValueSet(values);
  return entry->second;
}

// Whether the element of another type may be nil is for that element's own tag to say.
void SchemaTypes::addTypeTags() {
  for (const SchemaType& type : listed_) {
    if (!isNamed(*type.definition)) continue;
    TagDraft tag;
    tag.namespaceIndex = draft_.type(type.index).namespaceIndex;
    tag.type = type.index;
    tag.nullPermitted = true;
    tag.context = TagContext::Type;
    addValueProperties(tag, *type.definition);
    draft_.addTag(std::move(tag));
  }
}

std::u16string SchemaTypes::numbered(std::u16string_view kind) {
  return std::u16string(kind) + kNameMark + decimalText(++numberedCount_);
}

}  // namespace cpi
