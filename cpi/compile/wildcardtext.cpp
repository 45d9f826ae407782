#include "cpi/compile/wildcardtext.h"

#include <algorithm>

#include "cpi/compile/xmltext.h"
#include "cpi/extract/modelconventions.h"

namespace cpi {

namespace {

using xercesc::XSWildcard;

std::u16string_view processContentsText(XSWildcard::PROCESS_CONTENTS contents) {
  switch (contents) {
    case XSWildcard::PC_LAX: return kLax;
    case XSWildcard::PC_SKIP: return kSkip;
    default: return kStrict;
  }
}

std::vector<std::u16string> listedNamespaces(XSWildcard& wildcard) {
  std::vector<std::u16string> namespaces;
  xercesc::StringList* const list = wildcard.getNsConstraintList();
  for (XMLSize_t i = 0; list != nullptr && i < list->size(); ++i) {
    std::u16string uri(viewOf(list->elementAt(i)));
    if (!std::ranges::count(namespaces, uri)) namespaces.push_back(std::move(uri));
  }
  return namespaces;
}

std::u16string constraintText(const WildcardText& wildcard) {
  if (wildcard.constraint == XSWildcard::NSCONSTRAINT_ANY) return std::u16string(kAnyNamespace);
  const bool isOther = wildcard.constraint == XSWildcard::NSCONSTRAINT_NOT;
  std::u16string text(isOther ? kOtherNamespace : std::u16string_view());
  for (const std::u16string& uri : wildcard.namespaces) {
    if (isOther && uri.empty()) continue;  // no element without namespace is admitted anyhow
    if (!text.empty()) text += u' ';
    text += uri.empty() ? std::u16string(kNoNamespace) : uri;
  }
  return text;
}

WildcardText textOf(XSWildcard::PROCESS_CONTENTS contents,
                    XSWildcard::NAMESPACE_CONSTRAINT constraint,
                    std::vector<std::u16string> namespaces) {
  WildcardText text{{}, constraint, std::move(namespaces)};
  text.identifier.append(kWildcardPrefix).append(processContentsText(contents));
  text.identifier.append(u" ").append(constraintText(text));
  return text;
}

}  // namespace

bool WildcardText::admits(std::u16string_view namespaceUri) const {
  if (constraint == XSWildcard::NSCONSTRAINT_ANY) return true;
  const bool isListed = std::ranges::find(namespaces, namespaceUri) != namespaces.end();
  if (constraint == XSWildcard::NSCONSTRAINT_NOT) return !namespaceUri.empty() && !isListed;
  return isListed;
}

WildcardText wildcardTextOf(XSWildcard& wildcard) {
  return textOf(wildcard.getProcessContents(), wildcard.getConstraintType(),
                listedNamespaces(wildcard));
}

WildcardText openWildcard() { return textOf(XSWildcard::PC_LAX, XSWildcard::NSCONSTRAINT_ANY, {}); }

}  // namespace cpi
