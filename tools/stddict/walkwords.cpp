#include "tools/stddict/walkwords.h"

#include "cpi/runtime/kelstring.h"

std::string_view wordOf(cpi::Placement placement) noexcept {
  switch (placement) {
    case cpi::Placement::Root: return "root";
    case cpi::Placement::Member: return "member";
    case cpi::Placement::Wildcard: return "wildcard";
    case cpi::Placement::TagDefined: return "tag-defined";
    case cpi::Placement::SelfDefined: return "self-defined";
    case cpi::Placement::Refused: return "REFUSED";
    case cpi::Placement::Unjudged: return "unjudged";
  }
  return "";
}

std::string_view wordsOf(cpi::Reason reason) noexcept {
  switch (reason) {
    case cpi::Reason::None: return "";
    case cpi::Reason::UnknownRoot: return "the model has no global element of this name";
    case cpi::Reason::NotAllowed: return "the enclosing type has no place for it here";
    case cpi::Reason::InSimpleType: return "the enclosing element has a simple type";
    case cpi::Reason::NotDeclared:
      return "the wildcard here demands a global element, and the model has none of this name";
    default: return "";
  }
  return "";
}

// Types without a name of their own have texts with '^', which no name contains.
std::string typeNameOf(const cpi::WalkedElement& element) {
  if (element.type == nullptr) return {};
  const std::u16string_view name = cpi::textView(element.type->Identifier);
  return name.find(u'^') == name.npos ? cpi::toUtf8(name) : std::string();
}
