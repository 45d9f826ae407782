// What the tests of the schema compiler share: compiling a schema given as text, a one-line text
// form of content models, and a check that tables are consistent in themselves.
#ifndef TESTS_MODELS_XSD_SUPPORT_H
#define TESTS_MODELS_XSD_SUPPORT_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cpi/compile/xsdcompiler.h"
#include "cpi/extract/modelconventions.h"
#include "cpi/runtime/kelstring.h"

namespace xsdtest {

// A directory of its own for one test, removed with its files.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string pattern = (std::filesystem::temp_directory_path() / "xsdXXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no temporary directory");
    path_ = pattern;
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

  std::string write(const std::string& name, const std::string& text) const {
    const std::string file = path_ + "/" + name;
    std::ofstream(file, std::ios::binary) << text;
    return file;
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

// A schema document around `body`, with the target namespace urn:t and qualified local elements.
inline std::string schemaText(const std::string& body) {
  return "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' xmlns='urn:t' "
         "targetNamespace='urn:t' elementFormDefault='qualified'>" +
         body + "</xs:schema>";
}

inline cpi::DictionaryTables compileBody(const std::string& body, cpi::XsdReport& report) {
  const TemporaryDirectory directory;
  return cpi::compileXsd({directory.write("s.xsd", schemaText(body))}, {}, report);
}
inline cpi::DictionaryTables compileBody(const std::string& body) {
  cpi::XsdReport report;
  return compileBody(body, report);
}

inline std::string text(const cpi::Text& value) { return value ? cpi::toUtf8(*value) : ""; }

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
inline std::string contentOf(const cpi::DictionaryTables& tables, std::int32_t typeIndex) {
  const cpi::TypeRow& type = at(tables.Types, typeIndex);
  std::string result = std::to_string(type.Composition) + "(";
  for (std::size_t row = static_cast<std::size_t>(type.ToTypeMbrIndex);
       type.ToTypeMbrIndex >= 0 && row < tables.TypeMembers.size(); ++row) {
    const cpi::MemberRow& member = tables.TypeMembers[row];
    if (member.ParentTypeId != type.TypeId) break;
    const cpi::TypeRow& memberType = at(tables.Types, member.toTypeIndex);
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
inline const cpi::TagRow& tagNamed(const cpi::DictionaryTables& tables, const std::string& name) {
  for (const cpi::TagRow& tag : tables.Tags) {
    if (text(tag.TextIdentifier) == name) return tag;
  }
  throw std::runtime_error("no tag " + name);
}

inline std::string contentOfElement(const cpi::DictionaryTables& tables, const std::string& name) {
  return contentOf(tables, tagNamed(tables, name).ToTypeIndexField);
}

// What is wrong with the orders and references that readers of the tables rely on.
std::vector<std::string> faultsOf(const cpi::DictionaryTables& tables);

}  // namespace xsdtest

#endif  // TESTS_MODELS_XSD_SUPPORT_H
