#include "cpi/compile/attributetypes.h"

#include <algorithm>
#include <utility>
#include <xercesc/framework/psvi/XSAttributeDeclaration.hpp>
#include <xercesc/framework/psvi/XSNamedMap.hpp>

#include "cpi/compile/valuetypes.h"
#include "cpi/compile/xmltext.h"
#include "cpi/extract/modelconventions.h"

namespace cpi {

namespace {

using xercesc::XSAttributeDeclaration;
using xercesc::XSAttributeUse;
using xercesc::XSConstants;

auto nameOf(XSAttributeDeclaration& attribute) {
  return std::pair(viewOf(attribute.getNamespace()), viewOf(attribute.getName()));
}

}  // namespace

// By namespace and name: attributes have no order, and types that have the same are found so.
void AttributeTypes::add(std::int32_t type, xercesc::XSComplexTypeDefinition& definition) {
  std::vector<XSAttributeUse*> uses;
  auto* const list = definition.getAttributeUses();
  for (XMLSize_t i = 0; list != nullptr && i < list->size(); ++i) {
    uses.push_back(list->elementAt(i));
  }
  std::ranges::sort(uses, {},
                    [](XSAttributeUse* use) { return nameOf(*use->getAttrDeclaration()); });
  std::vector<MemberDraft> members;
  for (XSAttributeUse* const use : uses) {
    const Constraint constraint{use->getConstraintType(),
                                std::u16string(viewOf(use->getConstraintValue()))};
    members.push_back(memberOf(*use->getAttrDeclaration(), constraint));
    members.back().minOccurs = use->getRequired() ? 1 : 0;
  }
  if (auto* const wildcard = definition.getAttributeWildcard()) {
    members.push_back(wildcards_.memberOf(wildcardTextOf(*wildcard)));
  } else if (isAnyType(definition)) {
    members.push_back(wildcards_.memberOf(openWildcard()));
  }
  if (!members.empty()) addContext(type, std::move(members));
}

void AttributeTypes::addGlobal(xercesc::XSModel& model) {
  std::vector<XSAttributeDeclaration*> attributes;
  auto* const components = model.getComponents(XSConstants::ATTRIBUTE_DECLARATION);
  for (XMLSize_t i = 0; components != nullptr && i < components->getLength(); ++i) {
    attributes.push_back(static_cast<XSAttributeDeclaration*>(components->item(i)));
  }
  std::ranges::sort(attributes, {},
                    [](XSAttributeDeclaration* attribute) { return nameOf(*attribute); });
  std::vector<MemberDraft> members;
  for (XSAttributeDeclaration* const attribute : attributes) {
    const Constraint constraint{attribute->getConstraintType(),
                                std::u16string(viewOf(attribute->getConstraintValue()))};
    members.push_back(memberOf(*attribute, constraint));
  }
  if (!members.empty()) addContext(kNone, std::move(members));
}

MemberDraft AttributeTypes::memberOf(XSAttributeDeclaration& attribute,
                                     const Constraint& constraint) {
  MemberDraft member;
  member.tag = tagOf(attribute, constraint);
  member.type = draft_.tag(member.tag).type;
  member.memberClass = TCField;
  member.minOccurs = 0;
  member.name = viewOf(attribute.getName());
  return member;
}

std::int32_t AttributeTypes::tagOf(XSAttributeDeclaration& attribute,
                                   const Constraint& constraint) {
  const std::u16string name(viewOf(attribute.getName()));
  xercesc::XSSimpleTypeDefinition* const definition = attribute.getTypeDefinition();
  const std::int32_t type = types_.typeOf(definition, name);
  const auto [entry, isNew] =
      tags_.emplace(TagKey(name, viewOf(attribute.getNamespace()), type,
                           static_cast<std::int32_t>(constraint.kind), constraint.value),
                    kNone);
  if (!isNew) return entry->second;
  TagDraft tag;
  tag.text = u"a" + decimalText(static_cast<std::int32_t>(tags_.size())) + kNameMark + name;
  tag.namespaceIndex = draft_.namespaceIndex(viewOf(attribute.getNamespace()));
  tag.type = type;
  types_.addValueProperties(tag, *definition);
  if (constraint.kind != XSConstants::VALUE_CONSTRAINT_NONE) {
    tag.defaultValue = draft_.addValue(constantOf(constraint.value, draft_.type(type).logicalType));
    tag.control.isFixed = constraint.kind == XSConstants::VALUE_CONSTRAINT_FIXED;
  }
  return entry->second = draft_.addTag(std::move(tag));
}

void AttributeTypes::addContext(std::int32_t type, std::vector<MemberDraft> members) {
  TagDraft tag;
  tag.context = TagContext::Attributes;
  tag.owner = type;
  tag.maxLength = kNoText;
  tag.type = companionOf(std::move(members));
  draft_.addTag(std::move(tag));
}

std::int32_t AttributeTypes::companionOf(std::vector<MemberDraft> members) {
  std::vector<std::pair<std::int32_t, std::int32_t>> key;
  for (const MemberDraft& member : members) {
    key.emplace_back(member.tag == kNone ? -1 - member.type : member.tag, member.minOccurs);
  }
  const auto [entry, isNew] = companions_.emplace(std::move(key), kNone);
  if (!isNew) return entry->second;
  TypeDraft type;
  type.identifier = types_.numbered(u"attributes");
  type.composition = TYPE_ALL;
  type.members = std::move(members);
  return entry->second = draft_.addType(std::move(type));
}

}  // namespace cpi
