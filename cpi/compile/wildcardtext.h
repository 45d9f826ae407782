// A wildcard as the text that stands for it in the tables; see modelconventions.h.
#ifndef CPI_COMPILE_WILDCARDTEXT_H
#define CPI_COMPILE_WILDCARDTEXT_H

#include <string>
#include <string_view>
#include <vector>
#include <xercesc/framework/psvi/XSWildcard.hpp>

namespace cpi {

struct WildcardText {
  std::u16string identifier;
  xercesc::XSWildcard::NAMESPACE_CONSTRAINT constraint;
  std::vector<std::u16string> namespaces;  // listed; empty text: no namespace

  bool admits(std::u16string_view namespaceUri) const;
};

WildcardText wildcardTextOf(xercesc::XSWildcard& wildcard);

// The wildcard that the content of xs:anyType consists of.
WildcardText openWildcard();

}  // namespace cpi

#endif  // CPI_COMPILE_WILDCARDTEXT_H
