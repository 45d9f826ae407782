// What the tests of the schema compiler share: compiling a schema given as text, a one-line text
// form of content models, and what is wrong with tables.
#ifndef TESTS_MODELS_XSD_SUPPORT_H
#define TESTS_MODELS_XSD_SUPPORT_H

#include <string>
#include <vector>

#include "cpi/compile/xsdcompiler.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/extract/modelconventions.h"
#include "cpi/runtime/kelstring.h"
#include "tests/support/temporary.h"

namespace cpi::test {

// A schema document around `body`, with the target namespace urn:t and qualified local elements.
inline std::string schemaText(const std::string& body) {
  return "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' xmlns='urn:t' "
         "xmlns:t='urn:t' targetNamespace='urn:t' elementFormDefault='qualified'>" +
         body + "</xs:schema>";
}

inline DictionaryTables compileBody(const std::string& body) {
  const TemporaryFile schema("s.xsd", schemaText(body));
  XsdReport report;
  return compileXsd({schema.path()}, {}, report);
}

inline std::string text(const Text& value) { return value ? toUtf8(*value) : ""; }

template <class Rows>
auto& at(Rows& rows, std::int32_t index) {
  return rows.at(static_cast<std::size_t>(index));
}

inline std::string occurrence(std::int32_t least, std::int32_t most) {
  if (least == 1 && most == 1) return "";
  if (least == 0 && most == 1) return "?";
  if (most < 0 && least < 2) return least == 0 ? "*" : "+";
  return "{" + std::to_string(least) + "," + (most < 0 ? "" : std::to_string(most)) + "}";
}

// The content of a type: its composition, then its members; groups in full, elements by name,
// wildcards by their text. "6(a,2(b,c)*,<lax ##any>)" is the sequence of a, any number of b and c,
// and a wildcard.
inline std::string contentOf(const DictionaryTables& tables, std::int32_t typeIndex) {
  const TypeRow& type = at(tables.Types, typeIndex);
  std::string result = std::to_string(type.Composition) + "(";
  for (std::size_t row = static_cast<std::size_t>(type.ToTypeMbrIndex);
       type.ToTypeMbrIndex >= 0 && row < tables.TypeMembers.size(); ++row) {
    const MemberRow& member = tables.TypeMembers[row];
    if (member.ParentTypeId != type.TypeId) break;
    const TypeRow& memberType = at(tables.Types, member.toTypeIndex);
    if (result.back() != '(') result += ",";
    if (member.toTagIndex >= 0) result += text(member.PhysicalName);
    else if (memberType.LogicalType > 0)
      result += "<" + text(memberType.Identifier).substr(4) + ">";
    else result += contentOf(tables, member.toTypeIndex);
    result += occurrence(member.MinOccurs, member.MaxOccurs);
  }
  return result + ")";
}

// The row of the global element or, with its prefix, any other tag; throws when there is none.
inline const TagRow& tagNamed(const DictionaryTables& tables, const std::string& name) {
  for (const TagRow& tag : tables.Tags) {
    if (text(tag.TextIdentifier) == name) return tag;
  }
  throw std::runtime_error("no tag " + name);
}

inline std::string contentOfElement(const DictionaryTables& tables, const std::string& name) {
  return contentOf(tables, tagNamed(tables, name).ToTypeIndexField);
}

// The faults that a check of a dictionary finds, a line each.
std::vector<std::string> faultsOf(const StdDictionaryInfo& dictionary);
std::vector<std::string> faultsOf(const DictionaryTables& tables);
// The same, and what else is not as it is in tables that a schema became.
std::vector<std::string> compilerFaultsOf(const DictionaryTables& tables);

}  // namespace cpi::test

#endif  // TESTS_MODELS_XSD_SUPPORT_H
