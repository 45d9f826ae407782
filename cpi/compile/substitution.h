// SubstitutionGroups: which elements may stand in the place of a global element.
#ifndef CPI_COMPILE_SUBSTITUTION_H
#define CPI_COMPILE_SUBSTITUTION_H

#include <unordered_map>
#include <vector>
#include <xercesc/framework/psvi/XSElementDeclaration.hpp>

namespace cpi {

class SubstitutionGroups {
 public:
  // `elements`: all global elements, in the order in which members are to be listed.
  explicit SubstitutionGroups(const std::vector<xercesc::XSElementDeclaration*>& elements);

  // The elements that a reference to `head` admits: itself and, directly or not, its substitutes,
  // in order; abstract ones and those that the head blocks left out. Most often just `head`.
  std::vector<xercesc::XSElementDeclaration*> membersOf(xercesc::XSElementDeclaration& head) const;

 private:
  using Element = xercesc::XSElementDeclaration;

  std::unordered_map<const Element*, std::size_t> order_;
  std::unordered_map<const Element*, std::vector<Element*>> direct_;  // substitutes, by head
};

}  // namespace cpi

#endif  // CPI_COMPILE_SUBSTITUTION_H
