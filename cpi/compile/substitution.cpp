#include "cpi/compile/substitution.h"

#include <algorithm>
#include <unordered_set>
#include <xercesc/framework/psvi/XSComplexTypeDefinition.hpp>
#include <xercesc/framework/psvi/XSConstants.hpp>

#include "cpi/compile/xmltext.h"

namespace cpi {

namespace {

using xercesc::XSComplexTypeDefinition;
using xercesc::XSConstants;
using xercesc::XSElementDeclaration;
using xercesc::XSTypeDefinition;

short derivationOf(XSTypeDefinition& type) {
  if (type.getTypeCategory() != XSTypeDefinition::COMPLEX_TYPE) {
    return XSConstants::DERIVATION_RESTRICTION;
  }
  return static_cast<short>(static_cast<XSComplexTypeDefinition&>(type).getDerivationMethod());
}

short prohibitedBy(XSTypeDefinition& type) {
  if (type.getTypeCategory() != XSTypeDefinition::COMPLEX_TYPE) return 0;
  return static_cast<XSComplexTypeDefinition&>(type).getProhibitedSubstitutions();
}

// The processor makes a second object for a named type that contains itself.
bool isSameType(XSTypeDefinition& a, XSTypeDefinition& b) {
  if (&a == &b || a.getAnonymous() || b.getAnonymous()) return &a == &b;
  return viewOf(a.getName()) == viewOf(b.getName()) &&
         viewOf(a.getNamespace()) == viewOf(b.getNamespace());
}

// The head and its type may forbid substitutes whose type was derived in certain ways.
bool isBlocked(XSElementDeclaration& head, XSElementDeclaration& member) {
  XSTypeDefinition* const target = head.getTypeDefinition();
  const int blocked = head.getDisallowedSubstitutions() | (target ? prohibitedBy(*target) : 0);
  XSTypeDefinition* type = member.getTypeDefinition();
  int methods = 0;
  while (type != nullptr && !(target && isSameType(*type, *target)) &&
         type->getBaseType() != type) {
    methods |= derivationOf(*type);
    type = type->getBaseType();
  }
  return (methods & blocked) != 0;
}

}  // namespace

SubstitutionGroups::SubstitutionGroups(const std::vector<Element*>& elements) {
  for (Element* const element : elements) {
    order_.emplace(element, order_.size());
    Element* const head = element->getSubstitutionGroupAffiliation();
    if (head != nullptr) direct_[head].push_back(element);
  }
}

std::vector<XSElementDeclaration*> SubstitutionGroups::membersOf(Element& head) const {
  std::vector<Element*> found{&head};
  std::unordered_set<const Element*> seen{&head};
  const bool isClosed =
      (head.getDisallowedSubstitutions() & XSConstants::DERIVATION_SUBSTITUTION) != 0;
  for (std::size_t i = 0; i < found.size() && !isClosed; ++i) {
    const auto direct = direct_.find(found[i]);
    if (direct == direct_.end()) continue;
    for (Element* const member : direct->second) {
      if (seen.insert(member).second) found.push_back(member);
    }
  }
  std::erase_if(found, [&head](Element* element) {
    return element->getAbstract() || (element != &head && isBlocked(head, *element));
  });
  const auto rank = [this](const Element* element) {
    const auto order = order_.find(element);
    return order == order_.end() ? order_.size() : order->second;
  };
  std::ranges::sort(found, {}, rank);
  return found;
}

}  // namespace cpi
