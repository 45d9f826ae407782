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
//
// A dictionary of FIX messages is known by a wire format whose FormatName is "FIX"; FormatId is
// what stands in a message's first field. The reasons are in docs/fix-mapping.md.
//   a field               a tag of class 'F' whose Id is the field's number; its type bears the
//                         name of the value type ("PRICE", "UTCTIMESTAMP"). The role of a value
//                         in its value set is the Values row of its description, or -1.
//   a message             a tag behind all fields whose default value is the MsgType, with the
//                         plain name, or "<MsgType>^name" where a field has that name. Its type is
//                         a sequence: "StandardHeader", a group without tag of the body's fields in
//                         any order, "StandardTrailer".
//   a repeating group     the member of its count field and, in the row behind it, that of the tag
//                         "g<n>^<count field>.group", of which each instance is one occurrence.
//                         The first member of the tag's type begins an instance.
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

inline constexpr std::u16string_view kFixWireFormat = u"FIX";
inline constexpr std::u16string_view kFixHeader = u"StandardHeader";
inline constexpr std::u16string_view kFixTrailer = u"StandardTrailer";
inline constexpr std::u16string_view kFixBodyMark = u"^body";  // behind a message's name: its type

inline std::u16string numberedText(std::u16string_view prefix, std::int32_t number) {
  std::u16string text(prefix);
  for (const char digit : std::to_string(number)) text += static_cast<char16_t>(digit);
  return text + kNameMark;
}

// The text of the tag of a repeating group's instances.
inline std::u16string fixGroupText(std::int32_t number, const std::u16string& countField) {
  return numberedText(u"g", number) + countField + u".group";
}

// The text of the tag that stands for a named type.
inline std::u16string typeTagText(std::int32_t typeId) { return numberedText(u"type", typeId); }

}  // namespace cpi

#endif  // CPI_EXTRACT_MODELCONVENTIONS_H
