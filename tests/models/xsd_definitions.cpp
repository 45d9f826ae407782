// Tags, types, values and namespaces that a schema becomes, as one line of text each.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/models/xsd_support.h"

namespace cpi::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

std::string namespaceText(const DictionaryTables& tables, std::int32_t index) {
  return index < 0 ? "" : "{" + text(at(tables.Namespaces, index).Space) + "}";
}

std::string typeName(const DictionaryTables& tables, std::int32_t index) {
  const TypeRow& type = at(tables.Types, index);
  return namespaceText(tables, type.NamespaceIndex) + text(type.Identifier) + ":" +
         std::to_string(type.LogicalType);
}

std::string valueText(const ValueRow& value) {
  std::string result = std::to_string(value.Type) + ":";
  if (const auto* number = std::get_if<std::int64_t>(&value.Value)) {
    return result + std::to_string(*number);
  }
  if (const auto* string = std::get_if<Text>(&value.Value)) return result + text(*string);
  if (const auto* flag = std::get_if<bool>(&value.Value)) return result + (*flag ? "yes" : "no");
  if (const auto* number = std::get_if<double>(&value.Value)) {
    return result + std::to_string(*number);
  }
  if (const auto* time = std::get_if<PWFDateTime>(&value.Value)) {
    return result + std::to_string(time->year) + "/" + std::to_string(time->zoneMinutes);
  }
  if (const auto* span = std::get_if<PWFInterval>(&value.Value)) {
    return result + std::to_string(span->days) + "d";
  }
  return result;
}

// "F {ns}type:logicalType", then what is not at its default.
std::string tagText(const DictionaryTables& tables, const std::string& name) {
  const TagRow& tag = tagNamed(tables, name);
  std::string result = namespaceText(tables, tag.namespaceIndex);
  result += static_cast<char>(tag.Class);
  result += " " + typeName(tables, tag.ToTypeIndexField);
  if (tag.MinLength >= 0) result += " min" + std::to_string(tag.MinLength);
  if (tag.MaxLength >= 0) result += " max" + std::to_string(tag.MaxLength);
  if (tag.NullPermitted) result += " nil";
  if (tag.DVTableIndex >= 0) result += " =" + valueText(at(tables.Values, tag.DVTableIndex));
  if (tag.ValueSetTableIndex < 0) return result;
  for (std::int32_t row = tag.ValueSetTableIndex;; ++row) {
    const std::int32_t value = at(tables.ValueSet, row).ValueSetValueIndex;
    if (value < 0) return result;
    result += " |" + valueText(at(tables.Values, value));
  }
}

struct TagCase {
  const char* element;  // attributes and content of the element e
  const char* tag;
};

// The namespace of built-in types is left out for brevity.
const TagCase kTagCases[] = {
    {"type='xs:string'>", "F string:2"},
    {"type='xs:unsignedLong' nillable='true'>", "F unsignedLong:4 nil"},
    {"type='xs:double' default='2.5'>", "F double:6 =6:2.500000"},
    {"type='xs:boolean' default='1'>", "F boolean:12 =12:yes"},
    {"type='xs:duration' default='P3D'>", "F duration:14 =14:3d"},
    {"type='xs:dateTime' default='2020-01-02T03:04:05+01:00'>", "F dateTime:15 =15:2020/0"},
    {"type='xs:date' default='2021-01-02'>", "F date:15 =15:2021/0"},
    {"type='xs:decimal' fixed=' 1.50 '>", "F decimal:16 =16:1.5"},
    {"type='xs:integer' default='99999999999999999999'>", "F integer:4 =16:99999999999999999999"},
    {"type='xs:gYear'>", "F gYear:2"},
    {"type='xs:anyURI' default='urn:x'>", "F anyURI:2 =2:urn:x"},
    {"type='xs:hexBinary'>", "F hexBinary:2"},
    {"type='Code'>", "F {urn:t}Code:2 max3 |2:a |2: b "},
    {"type='Number'>", "F {urn:t}Number:4 |4:1 |4:-7"},
    {"type='Text'>", "F {urn:t}Text:2 min2 max2"},
    {"type='List'>", "F {urn:t}List:2"},
    {"type='Either'>", "F {urn:t}Either:2"},
    {"type='Simple'>", "F {urn:t}Simple:2 max3 |2:a |2: b "},
    {"type='Mixed'>", "S {urn:t}Mixed:0"},
    {"type='Plain'>", "S {urn:t}Plain:0 max0"},
    {"type='Empty'>", "S {urn:t}Empty:0 max0"},
    {">", "S anyType:0"},
    {"><xs:simpleType><xs:restriction base='Number'/></xs:simpleType>", "F e^1:4 |4:1 |4:-7"},
    {"><xs:complexType/>", "S e^1:0 max0"},
};

constexpr const char* kTypes =
    "<xs:simpleType name='Code'><xs:restriction base='xs:string'><xs:maxLength value='3'/>"
    "<xs:enumeration value='a'/><xs:enumeration value=' b '/></xs:restriction></xs:simpleType>"
    "<xs:simpleType name='Number'><xs:restriction base='xs:short'><xs:enumeration value='1'/>"
    "<xs:enumeration value='-7'/></xs:restriction></xs:simpleType>"
    "<xs:simpleType name='Text'><xs:restriction base='xs:token'><xs:length value='2'/>"
    "<xs:pattern value='a.'/></xs:restriction></xs:simpleType>"
    "<xs:simpleType name='List'><xs:restriction><xs:simpleType><xs:list itemType='xs:int'/>"
    "</xs:simpleType><xs:maxLength value='5'/></xs:restriction></xs:simpleType>"
    "<xs:simpleType name='Either'><xs:union memberTypes='xs:int Code'/></xs:simpleType>"
    "<xs:complexType name='Simple'><xs:simpleContent><xs:extension base='Code'><xs:attribute "
    "name='x'/></xs:extension></xs:simpleContent></xs:complexType>"
    "<xs:complexType name='Mixed' mixed='true'><xs:sequence><xs:element name='i' minOccurs='0'/>"
    "</xs:sequence></xs:complexType>"
    "<xs:complexType name='Plain'><xs:sequence><xs:element name='i'/></xs:sequence>"
    "</xs:complexType><xs:complexType name='Empty'/>";

TEST(XsdDefinitions, ElementsBecomeTags) {
  for (const TagCase& tag : kTagCases) {
    SCOPED_TRACE(tag.element);
    const DictionaryTables tables =
        compileBody(std::string("<xs:element name='e' ") + tag.element + "</xs:element>" + kTypes);
    std::string found = tagText(tables, "e");
    const std::string builtIn = "{" + toUtf8(kSchemaNamespace) + "}";
    if (const std::size_t i = found.find(builtIn); i != std::string::npos) {
      found.erase(i, builtIn.size());
    }
    EXPECT_EQ(found, std::string("{urn:t}") + tag.tag);
    EXPECT_EQ(compilerFaultsOf(tables), std::vector<std::string>());
  }
}

// A derived type whose values are of another kind than its base's has no base: readers take the
// kind of a derived type's values from the base.
TEST(XsdDefinitions, BasesAreOfTheSameLogicalType) {
  const DictionaryTables tables = compileBody(
      "<xs:simpleType name='S'><xs:restriction base='xs:int'/></xs:simpleType>"
      "<xs:complexType name='C'><xs:simpleContent><xs:extension base='S'/></xs:simpleContent>"
      "</xs:complexType>"
      "<xs:complexType name='D'><xs:complexContent><xs:extension base='E'/></xs:complexContent>"
      "</xs:complexType><xs:complexType name='E'/>");
  std::vector<std::string> chain;
  for (const TypeRow& type : tables.Types) {
    std::string base = "-";
    for (const TypeRow& other : tables.Types) {
      if (other.TypeId == type.BaseTypeId) base = text(other.Identifier);
    }
    chain.push_back(text(type.Identifier) + "<" + base);
  }
  EXPECT_THAT(chain, ElementsAre("C<S", "D<E", "E<-", "S<int", "int<long", "long<integer",
                                 "integer<-", "decimal<-"));
}

// Each named type has a tag from whose text its id can be told and which no name can match.
TEST(XsdDefinitions, NamedTypesHaveTagsAndOthersCannotBeNamed) {
  const DictionaryTables tables = compileBody(
      std::string("<xs:element name='e'><xs:complexType><xs:sequence><xs:choice minOccurs='0'>"
                  "<xs:any/></xs:choice></xs:sequence></xs:complexType></xs:element>") +
      kTypes);
  std::size_t named = 0;
  for (const TypeRow& type : tables.Types) {
    if (text(type.Identifier).find('^') != std::string::npos) continue;
    ++named;
    const TagRow& tag = tagNamed(tables, toUtf8(typeTagText(type.TypeId)));
    EXPECT_EQ(tag.Type, type.TypeId);
    EXPECT_TRUE(text(tag.TextIdentifier).ends_with('^'));
  }
  EXPECT_GT(named, 9U);
  EXPECT_LT(named, tables.Types.size());
}

TEST(XsdDefinitions, LocalElementsHaveTheNamespaceThatTheyHaveInMessages) {
  const DictionaryTables tables = compileBody(
      "<xs:element name='e'><xs:complexType><xs:sequence><xs:element name='q' type='xs:int'/>"
      "<xs:element name='u' form='unqualified' type='xs:int'/></xs:sequence></xs:complexType>"
      "</xs:element>");
  EXPECT_THAT(tagText(tables, "l1^q"), HasSubstr("{urn:t}F "));
  EXPECT_EQ(tagNamed(tables, "l2^u").namespaceIndex, kNone);
}

TEST(XsdDefinitions, WhatIsNotCarriedIsReportedOncePerKindWithItsFirstPlace) {
  const TemporaryFile schema(
      "s.xsd",
      schemaText(
          "\n<xs:complexType name='T'>\n<xs:attribute "
          "name='a'/>\n<xs:anyAttribute/></xs:complexType>"
          "<xs:element name='h' abstract='true'/>\n"
          "<xs:element name='r'><xs:complexType><xs:choice><xs:element ref='h'/></xs:choice>"
          "</xs:complexType><xs:unique name='u'><xs:selector xpath='h'/><xs:field xpath='@a'/>"
          "</xs:unique></xs:element>\n<xs:complexType name='M' mixed='true'/><xs:element name='m'"
          " type='M' fixed='x'/><xs:element name='k' type='xs:int' default='1'/>"));
  XsdReport report;
  compileXsd({schema.path()}, {}, report);
  std::vector<std::string> notices;
  for (const Notice& notice : report.notices) {
    notices.push_back(std::to_string(notice.line) + " x" + std::to_string(notice.count) + " " +
                      notice.text.substr(0, notice.text.find(' ')));
  }
  EXPECT_THAT(notices, ElementsAre("5 x1 identity", "4 x1 an", "6 x1 default"));
}

}  // namespace
}  // namespace cpi::test
