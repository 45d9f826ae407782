// XmlReferences: puts what they stand for in the place of references in the values of attributes.
//
// libxml2 leaves references to entities in these values, and writes '&' as "&#38;", unless it is
// told to substitute entities; told so, it would parse those between elements twice.
//
// Thread rule: one thread at a time.
#ifndef CPI_WALK_XMLREFERENCES_H
#define CPI_WALK_XMLREFERENCES_H

#include <deque>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace cpi {

// Of an attribute as libxml2 tells it: local name, prefix, URI, value, its end.
inline constexpr int kPartsOfAttribute = 5;

class XmlReferences {
 public:
  // The replacement text of an entity that is no predefined one; empty for none. Called for each
  // reference, so that it can count what they expand to. What it throws leaves replacedIn().
  using Lookup = std::function<std::string_view(const std::string& name)>;

  // The attributes of a tag, five parts each (see XmlStartTag), with references replaced: those
  // given, if there are none, or a copy that is valid until the next call.
  const unsigned char** replacedIn(const unsigned char** attributes, int count,
                                   const Lookup& lookup);

 private:
  std::vector<const unsigned char*> parts_;
  std::deque<std::string> values_;  // that parts_ point into
};

}  // namespace cpi

#endif  // CPI_WALK_XMLREFERENCES_H
