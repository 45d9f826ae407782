// The conventions by which a schema is laid down in the tables: what the schema compiler writes
// and the XML walker reads back. The reasons for the mapping as a whole are in docs/xsd-mapping.md.
//
// Tags
//   a global element      "name", namespaceIndex of its namespace (-1: none)
//   a local element       "l<n>^name", namespaceIndex of the namespace that the element has in
//                         messages: none when it is unqualified. A look-up by name takes the whole
//                         text and so finds global elements only, which is what a wildcard may
//                         admit; members match on the part after '^'.
//   a named type          "type<TypeId>^": the context from which an element with xsi:type is
//                         walked. Nothing stands after '^', so that it never matches an element.
//   Text                  A structured tag with MaxLength 0 has element-only or empty content: no
//                         text but white space may stand in it. Mixed content has MaxLength -1.
//
// Types
//   a named schema type   its plain name in Identifier and its namespace in NamespaceIndex, so that
//                         a look-up by the value of xsi:type finds it
//   every other row       an Identifier with a '^' that no name can equal
//   a wildcard            "any^<processContents> <constraint>", LogicalType 100 and up, one row and
//                         one code per distinct text, BaseTypeId 0. The constraint is "##any",
//                         "##other" (any namespace, but not none), "##other <uri>" (neither that
//                         namespace nor none) or namespaces separated by spaces, in which "##local"
//                         stands for none.
//
// Members
//   a group               no tag (ChildTagId 0, toTagIndex -1), class 'S', a type of LogicalType 0
//   a wildcard            no tag, class 'F', the wildcard's type
#ifndef CPI_EXTRACT_MODELCONVENTIONS_H
#define CPI_EXTRACT_MODELCONVENTIONS_H

#include <cstdint>
#include <string>
#include <string_view>

namespace cpi {

// Divides what makes a text unique from what an element name is compared with. No XML name can
// contain it.
inline constexpr char16_t kNameMark = u'^';

// Wildcards bear the logical types from here on; types of values have smaller ones.
inline constexpr std::int32_t kFirstWildcardLogicalType = 100;

inline constexpr std::u16string_view kWildcardPrefix = u"any^";
inline constexpr std::u16string_view kStrict = u"strict";
inline constexpr std::u16string_view kLax = u"lax";
inline constexpr std::u16string_view kSkip = u"skip";
inline constexpr std::u16string_view kAnyNamespace = u"##any";
inline constexpr std::u16string_view kOtherNamespace = u"##other";
inline constexpr std::u16string_view kNoNamespace = u"##local";

// MaxLength of a structured tag in which no text may stand.
inline constexpr std::int32_t kNoText = 0;

inline constexpr std::u16string_view kSchemaNamespace = u"http://www.w3.org/2001/XMLSchema";

// The text of the tag that stands for a named type.
inline std::u16string typeTagText(std::int32_t typeId) {
  std::u16string text = u"type";
  for (const char digit : std::to_string(typeId)) text += static_cast<char16_t>(digit);
  return text + kNameMark;
}

}  // namespace cpi

#endif  // CPI_EXTRACT_MODELCONVENTIONS_H
