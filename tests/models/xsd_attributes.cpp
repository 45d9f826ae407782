// Attributes, and what the tables tell of types and elements beside their content.
#include <gtest/gtest.h>

#include <set>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "cpi/extract/schemaproperties.h"
#include "tests/models/xsd_support.h"

namespace cpi::test {
namespace {

std::string propertyOf(const DictionaryTables& tables, TableSlot slot, std::u16string_view name,
                       std::size_t row) {
  for (const NamedProperty& property : tables.namedProperties) {
    const bool isIt = property.table == slot && property.memberName == name &&
                      property.tableMemberName == kSchemaProperties;
    if (!isIt || !property.values.at(row)) continue;
    return toUtf8(std::get<std::u16string>(*property.values[row]));
  }
  return "";
}

std::size_t typeRow(const DictionaryTables& tables, const std::string& name) {
  for (std::size_t row = 0; row < tables.Types.size(); ++row) {
    if (text(tables.Types[row].Identifier) == name) return row;
  }
  throw std::runtime_error("no type " + name);
}

std::string control(const DictionaryTables& tables, const TagRow& tag) {
  return propertyOf(tables, TableSlot::Tags, kControlProperty,
                    static_cast<std::size_t>(&tag - tables.Tags.data()));
}

// A derivation with the names of types in the place of ids.
std::string derivation(const DictionaryTables& tables, std::size_t row) {
  std::string result = propertyOf(tables, TableSlot::Types, kDerivationProperty, row);
  for (const TypeRow& type : tables.Types) {
    const std::string id = " " + std::to_string(type.TypeId);
    if (const std::size_t i = result.find(id); i != std::string::npos) {
      result.replace(i, id.size(), " " + text(type.Identifier));
    }
  }
  return result;
}

// "name:type", "!" when required, "=" and the constraint; wildcards by their text.
std::string attributesOf(const DictionaryTables& tables, std::int32_t typeId) {
  const std::string name = toUtf8(attributesTagText(typeId));
  const TagRow& tag = tagNamed(tables, name);
  const TypeRow& companion = at(tables.Types, tag.ToTypeIndexField);
  EXPECT_EQ(companion.Composition, TYPE_ALL);
  std::string result;
  for (const MemberRow& member : tables.TypeMembers) {
    if (member.ParentTypeId != companion.TypeId) continue;
    if (!result.empty()) result += ' ';
    result +=
        text(member.PhysicalName) + ":" + text(at(tables.Types, member.toTypeIndex).Identifier);
    if (member.MinOccurs == 1) result += '!';
    if (member.toTagIndex < 0) continue;
    const TagRow& attribute = at(tables.Tags, member.toTagIndex);
    if (attribute.namespaceIndex >= 0) result += "@ns";
    if (attribute.DVTableIndex >= 0) result += "=" + control(tables, attribute);
  }
  return result;
}

constexpr const char* kSchema = R"(
<xs:attribute name="g" type="xs:int" default="7"/>
<xs:attributeGroup name="ag"><xs:attribute name="id" type="xs:ID" use="required"/>
 <xs:attribute ref="g"/><xs:attribute name="p" use="prohibited"/></xs:attributeGroup>
<xs:complexType name="Base" abstract="true" block="extension"><xs:attributeGroup ref="ag"/>
 <xs:anyAttribute namespace="##other" processContents="lax"/></xs:complexType>
<xs:complexType name="More"><xs:complexContent><xs:extension base="Base">
 <xs:attribute name="u" type="Text" fixed="q"/></xs:extension></xs:complexContent></xs:complexType>
<xs:complexType name="Less"><xs:complexContent><xs:restriction base="Base">
 <xs:attribute ref="g" use="prohibited"/></xs:restriction></xs:complexContent></xs:complexType>
<xs:complexType name="Valued"><xs:simpleContent><xs:extension base="Number">
 <xs:attributeGroup ref="ag"/></xs:extension></xs:simpleContent></xs:complexType>
<xs:complexType name="Open"><xs:complexContent><xs:extension base="xs:anyType"/>
 </xs:complexContent></xs:complexType>
<xs:simpleType name="Text"><xs:restriction base="xs:token"><xs:pattern value="a.*"/>
 <xs:pattern value="q|\||"/></xs:restriction></xs:simpleType>
<xs:simpleType name="Short"><xs:restriction base="Text"><xs:pattern value=".?"/>
 <xs:maxLength value="1"/></xs:restriction></xs:simpleType>
<xs:simpleType name="Number"><xs:restriction base="xs:decimal"><xs:minExclusive value="1.50"/>
 <xs:fractionDigits value="2"/></xs:restriction></xs:simpleType>
<xs:simpleType name="List"><xs:list itemType="Number"/></xs:simpleType>
<xs:simpleType name="Few"><xs:restriction base="List"><xs:maxLength value="3"/></xs:restriction>
 </xs:simpleType>
<xs:simpleType name="Either"><xs:union memberTypes="Number Text"/></xs:simpleType>
<xs:element name="a" type="More" abstract="true"/>
<xs:element name="f" type="Number" fixed="3" block="restriction extension"/>
<xs:element name="plain" type="xs:string"/>
)";

struct TypeCase {
  const char* name;
  const char* derivation;
  const char* control;
  const char* facets;
  const char* attributes;  // null: no attributes
};
const TypeCase kTypeCases[] = {
    {"Base", "restriction 0", "abstract block-extension", "",
     "id:ID! g:int@ns= :any^lax ##other urn:t"},
    {"More", "extension Base", "", "", "id:ID! u:Text=fixed g:int@ns= :any^lax ##other urn:t"},
    {"Less", "restriction Base", "", "", "id:ID!"},
    {"Valued", "extension Number", "", "minExclusive 1.50\nfractionDigits 2", "id:ID! g:int@ns="},
    {"Open", "extension 0", "", "", ":any^lax ##any"},
    {"Text", "restriction token", "", "whiteSpace collapse\npattern a.*|q|\\||", nullptr},
    {"Short", "restriction Text", "", "whiteSpace collapse\npattern .?\npattern a.*|q|\\||",
     nullptr},
    {"Number", "restriction decimal", "", "minExclusive 1.50\nfractionDigits 2", nullptr},
    {"List", "list Number", "", "whiteSpace collapse", nullptr},
    {"Few", "restriction List", "", "maxLength 3\nwhiteSpace collapse", nullptr},
    {"Either", "union Number Text", "", "whiteSpace collapse", nullptr},
    {"string", "restriction 0", "", "", nullptr},
};

TEST(XsdAttributes, AndWhatElseTypesTell) {
  const DictionaryTables tables = compileBody(kSchema);
  EXPECT_EQ(compilerFaultsOf(tables), std::vector<std::string>());
  for (const TypeCase& type : kTypeCases) {
    SCOPED_TRACE(type.name);
    const std::size_t row = typeRow(tables, type.name);
    EXPECT_EQ(derivation(tables, row), type.derivation);
    EXPECT_EQ(propertyOf(tables, TableSlot::Types, kControlProperty, row), type.control);
    EXPECT_EQ(propertyOf(tables, TableSlot::Types, kFacetsProperty, row), type.facets);
    const std::int32_t id = tables.Types[row].TypeId;
    if (type.attributes != nullptr) EXPECT_EQ(attributesOf(tables, id), type.attributes);
    else EXPECT_THROW(attributesOf(tables, id), std::runtime_error);
  }
  EXPECT_EQ(attributesOf(tables, 0), "g:int@ns=");
  EXPECT_EQ(control(tables, tagNamed(tables, "a")), "abstract");
  EXPECT_EQ(control(tables, tagNamed(tables, "f")), "fixed block-extension block-restriction");
  EXPECT_EQ(control(tables, tagNamed(tables, "plain")), "");
}

// The attributes of an element are found from their own context and from no other.
TEST(XsdAttributes, AreFoundBesideTheElements) {
  StdDictionaryInfo dictionary(0);
  feed(compileBody("<xs:element name='e' type='T'/><xs:complexType name='T'><xs:sequence>"
                   "<xs:element name='x' type='xs:int'/></xs:sequence>"
                   "<xs:attribute name='x' type='xs:date'/><xs:attribute name='y'/>"
                   "</xs:complexType>"),
       dictionary);
  const auto idOf = [&](const std::u16string& tag, const char16_t* uri) {
    std::int32_t id = 0;
    dictionary.getTagIdForTagText(asUnits(tag.c_str()), KelStringBase(uri), id, false);
    return id;
  };
  const std::int32_t element = idOf(u"e", u"urn:t");
  const TagRow tag = tablesOf(dictionary).Tags.front();
  StdDictionaryIterator at(nullptr, &dictionary, element);
  EXPECT_FALSE(at.moveToFirstChildTagName(u"y", KelStringBase(), true, true) &&
               at.getMemberDef() != nullptr);
  StdDictionaryIterator attributes(nullptr, &dictionary, idOf(attributesTagText(tag.Type), u""));
  for (const char16_t* const name : {u"x", u"y"}) {
    StdDictionaryIterator found(attributes);
    ASSERT_TRUE(found.moveToFirstChildTagName(name, KelStringBase(), true, true));
    ASSERT_NE(found.getMemberDef(), nullptr);
  }
}

struct TakeCase {
  const char16_t* element;
  const char* type;
  bool may;
};
const TakeCase kTakeCases[] = {
    {u"valued", "Valued", true},   {u"valued", "Number", true},
    {u"valued", "decimal", false}, {u"f", "Number", true},
    {u"f", "Valued", false},  // blocked by the element
    {u"base", "Base", true},       {u"base", "Less", true},
    {u"base", "More", false},  // blocked by the type
    {u"either", "Short", true},    {u"either", "Valued", true},
    {u"either", "List", false},    {u"any", "Few", true},
    {u"any", "More", true},        {u"simple", "Either", true},
    {u"simple", "Base", false},
};

TEST(XsdAttributes, DerivationTellsWhichTypesAnElementMayTake) {
  const DictionaryTables tables =
      compileBody(std::string(kSchema) +
                  "<xs:element name='base' type='Base'/><xs:element name='valued' type='Number'/>"
                  "<xs:element name='either' type='Either'/><xs:element name='any'/>"
                  "<xs:element name='simple' type='xs:anySimpleType'/>");
  StdDictionaryInfo dictionary(0);
  feed(tables, dictionary);
  const SchemaProperties properties(dictionary);
  for (const TakeCase& take : kTakeCases) {
    const TagRow& tag = tagNamed(tables, toUtf8(take.element));
    const auto tagIndex = static_cast<std::int32_t>(&tag - tables.Tags.data());
    const auto typeIndex = static_cast<std::int32_t>(typeRow(tables, take.type));
    EXPECT_EQ(properties.mayTake(tagIndex, typeIndex), take.may)
        << toUtf8(take.element) << " as " << take.type;
  }
  EXPECT_TRUE(properties.controlOfTag(0).isAbstract);
  EXPECT_FALSE(properties.controlOfTag(-1).isAbstract);
  EXPECT_FALSE(properties.mayTake(0, 9999));
}

// What a redefinition replaced is a base still, but it cannot be named.
TEST(XsdAttributes, RedefinitionsReplaceTypes) {
  const TemporaryDirectory directory;
  directory.write("base.xsd", schemaText("<xs:complexType name='T'><xs:sequence><xs:element "
                                         "name='a' type='xs:int'/></xs:sequence>"
                                         "<xs:attribute name='x'/></xs:complexType>"
                                         "<xs:element name='t' type='T'/>"));
  const std::string file = directory.write(
      "s.xsd", schemaText("<xs:redefine schemaLocation='base.xsd'><xs:complexType name='T'>"
                          "<xs:complexContent><xs:extension base='T'><xs:sequence>"
                          "<xs:element name='b' type='xs:int'/></xs:sequence>"
                          "<xs:attribute name='y'/></xs:extension></xs:complexContent>"
                          "</xs:complexType></xs:redefine>"));
  XsdReport report;
  const DictionaryTables tables = compileXsd({file}, {}, report);
  EXPECT_EQ(contentOfElement(tables, "t"), "6(a,b)");
  const std::size_t row = typeRow(tables, "T");
  EXPECT_EQ(attributesOf(tables, tables.Types[row].TypeId), "x:anySimpleType y:anySimpleType");
  EXPECT_EQ(derivation(tables, row), "extension base^1");
}

// Most types of a schema have the attributes of others: one companion serves them, one tag each
// attribute.
TEST(XsdAttributes, AreShared) {
  const DictionaryTables tables = compileBody(
      "<xs:attributeGroup name='g'><xs:attribute name='x' type='xs:int'/></xs:attributeGroup>"
      "<xs:complexType name='A'><xs:attributeGroup ref='g'/></xs:complexType>"
      "<xs:complexType name='B'><xs:attributeGroup ref='g'/></xs:complexType>"
      "<xs:complexType name='C'><xs:attribute name='x' type='xs:int' use='required'/>"
      "</xs:complexType>");
  std::set<std::int32_t> companions;
  std::size_t attributes = 0;
  for (const TagRow& tag : tables.Tags) {
    if (text(tag.TextIdentifier).starts_with("attributes^")) companions.insert(tag.Type);
    if (text(tag.TextIdentifier).ends_with("^x")) ++attributes;
  }
  EXPECT_EQ(companions.size(), 2U);
  EXPECT_EQ(attributes, 1U);
}

}  // namespace
}  // namespace cpi::test
