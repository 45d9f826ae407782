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
//   an attribute          "a<n>^name", namespaceIndex as for a local element; class 'F'. Its
//                         lengths, value set and default are those of its values.
//   a type's attributes   "attributes^<TypeId>": the context in which the attributes of an element
//                         of that type are looked up, as first children. Its type is unordered
//                         (composition 4) and has a member for each attribute, with MinOccurs 1
//                         when it is required, and one for an attribute wildcard, with MinOccurs 0.
//                         An element of a type without this tag has no attributes but those of
//                         the schema-instance namespace.
//   global attributes     "attributes^0": all of them, for what a wildcard admits
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
// Properties: named properties of tables, tableMemberName "Schema". A row of which there is nothing
// to tell has no value.
//   Tags, "Control"       words, separated by spaces: "abstract" (the element may not stand in a
//                         message), "fixed" (its value is always the default), "block-extension"
//                         and "block-restriction" (xsi:type may name no type that is derived so)
//   Types, "Control"      "abstract", "block-extension", "block-restriction", as above
//   Types, "Derivation"   "extension <TypeId>" or "restriction <TypeId>" of the type from which
//                         this one is derived, 0 for xs:anyType and xs:anySimpleType;
//                         "list <TypeId>" of its items; "union <TypeId> <TypeId> ..." of its
//                         members. Every row of a
//                         schema type has it. BaseTypeId is narrower: the nearest named base with
//                         values of the same kind.
//   Types, "Facets"       of a type with values: what else restricts them, the inherited facets
//                         included; "<facet> <value>", one a line (U+000A), each facet once but
//                         "pattern", all of which hold. Those of a length count the items of a
//                         list; of other types they are in the tag. Text without a "whiteSpace"
//                         line is taken as it stands; values that are no text have white space
//                         collapsed.
//
// Members
//   a group               no tag (ChildTagId 0, toTagIndex -1), class 'S', a type of LogicalType 0
//   a wildcard            no tag, class 'F', the wildcard's type
//
// A dictionary of FIX messages is known by a wire format whose FormatName is "FIX"; FormatId is
// what stands in a message's first field. The reasons are in docs/fix-mapping.md.
//   a field               a tag of class 'F' whose Id is the field's number; its type bears the
//                         name of the value type ("PRICE", "UTCTIMESTAMP"). The role of a value
//                         in its value set is the Values row of its description, or -1. Where it
//                         has the "Control" word "open" it may have other values than those, too.
//   a message             a tag behind all fields whose default value is the MsgType, with the
//                         plain name, or "<MsgType>^name" where a field has that name. Its type is
//                         a sequence: "StandardHeader", a group without tag of the body's fields in
//                         any order, "StandardTrailer".
//   a repeating group     the member of its count field and, in the row behind it, that of the tag
//                         "g<n>^<count field>.group", of which each instance is one occurrence.
//                         The first member of the tag's type begins an instance.
#ifndef CPI_EXTRACT_MODELCONVENTIONS_H
#define CPI_EXTRACT_MODELCONVENTIONS_H

#include <algorithm>
#include <cstddef>
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

inline constexpr std::u16string_view kFixGroupEnd = u".group";  // behind a count field's name

inline constexpr std::u16string_view kAttributesPrefix = u"attributes^";

// The named properties.
inline constexpr std::u16string_view kSchemaProperties = u"Schema";
inline constexpr std::u16string_view kControlProperty = u"Control";
inline constexpr std::u16string_view kDerivationProperty = u"Derivation";
inline constexpr std::u16string_view kFacetsProperty = u"Facets";

inline constexpr std::u16string_view kAbstract = u"abstract";
inline constexpr std::u16string_view kFixed = u"fixed";
inline constexpr std::u16string_view kOpen = u"open";
inline constexpr std::u16string_view kBlockExtension = u"block-extension";
inline constexpr std::u16string_view kBlockRestriction = u"block-restriction";
inline constexpr std::u16string_view kExtension = u"extension";
inline constexpr std::u16string_view kRestriction = u"restriction";
inline constexpr std::u16string_view kList = u"list";
inline constexpr std::u16string_view kUnion = u"union";

inline constexpr std::u16string_view kPatternFacet = u"pattern";
inline constexpr std::u16string_view kWhiteSpaceFacet = u"whiteSpace";

// Takes the text up to the next space off `rest`.
inline std::u16string_view takeWord(std::u16string_view& rest) noexcept {
  const std::size_t end = std::min(rest.find(u' '), rest.size());
  const std::u16string_view word = rest.substr(0, end);
  rest.remove_prefix(std::min(end + 1, rest.size()));
  return word;
}

// Calls `visit` with the name and the value of each facet in a text of the Facets property.
template <class Visit>
void forEachFacet(std::u16string_view lines, Visit visit) {
  while (!lines.empty()) {
    const std::u16string_view line = lines.substr(0, lines.find(u'\n'));
    lines.remove_prefix(line.size() < lines.size() ? line.size() + 1 : line.size());
    const std::u16string_view name = line.substr(0, line.find(u' '));
    visit(name, line.size() > name.size() ? line.substr(name.size() + 1) : std::u16string_view());
  }
}

inline std::u16string decimalText(std::int32_t number) {
  const std::string digits = std::to_string(number);
  return {digits.begin(), digits.end()};
}

// The text of the tag that stands for a named type.
inline std::u16string typeTagText(std::int32_t typeId) {
  return u"type" + decimalText(typeId) + kNameMark;
}

// The text of the tag in whose context the attributes of a type are looked up; 0: global ones.
inline std::u16string attributesTagText(std::int32_t typeId) {
  return std::u16string(kAttributesPrefix) + decimalText(typeId);
}

// The text of the tag of a repeating group's instances.
inline std::u16string fixGroupText(std::int32_t number, const std::u16string& countField) {
  return u"g" + decimalText(number) + kNameMark + countField + std::u16string(kFixGroupEnd);
}

}  // namespace cpi

#endif  // CPI_EXTRACT_MODELCONVENTIONS_H
