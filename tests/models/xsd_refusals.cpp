// What the compiler refuses and how it says so; where it looks for documents and where it does not.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "cpi/extract/fileerror.h"
#include "tests/models/xsd_support.h"
#include "tests/support/texts.h"

namespace cpi::test {
namespace {

using testing::HasSubstr;

std::string errorOf(const std::vector<std::string>& files, const XsdOptions& options = {}) {
  XsdReport report;
  return refusalOf<FileError>([&] { compileXsd(files, options, report); });
}

// `count` definitions from `piece`, in which # is the number and ## the next one.
std::string chain(const std::string& piece, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) {
    std::string link = piece;
    for (std::size_t at = 0; (at = link.find('#', at)) != std::string::npos;) {
      const bool isNext = link.compare(at, 2, "##") == 0;
      link.replace(at, isNext ? 2 : 1, std::to_string(i + (isNext ? 1 : 0)));
    }
    result += link;
  }
  return result;
}

std::string restricted(const std::string& name, const std::string& base,
                       const std::string& facets) {
  return "<xs:simpleType name='" + name + "'><xs:restriction base='" + base + "'>" + facets +
         "</xs:restriction></xs:simpleType>";
}

struct RefusalCase {
  const char* name;
  std::string document;
  const char* error;  // a part of it, behind the path
};

std::vector<RefusalCase> refusalCases() {
  const std::string pattern =
      "<xs:simpleType name='p'><xs:restriction base='xs:string'>"
      "<xs:pattern value='";
  const std::string patternEnd = "'/></xs:restriction></xs:simpleType>";
  const char* const tooLarge =
      "unfold to more than 400000 components, particles, attributes and values";
  const std::string group =
      "<xs:group name='g#'><xs:sequence><xs:group ref='g##'/>"
      "<xs:group ref='g##'/></xs:sequence></xs:group>";
  return {
      {"empty file", "", ":1:1: "},
      {"occurrences of more than 32 bits",
       schemaText("<xs:group name='g'><xs:sequence>"
                  "<xs:any maxOccurs='2147483648'/></xs:sequence></xs:group>"),
       "maxOccurs of 2147483648; expected at most 2147483647"},
      {"not well-formed", "<xs:schema\n xmlns:xs='x'", ":2:"},
      {"no schema", "<a/>", ":1:5: root element name of XML Schema document must be 'schema'"},
      {"unknown type", schemaText("\n<xs:element name='e' type='T'/>"),
       ":2:32: type 'urn:t:T' not found"},
      {"two errors in one message",
       schemaText("<xs:element name='e' type='T'/>\n<xs:element name='f' type='U'/>"),
       ":2:32: type 'urn:t:U' not found"},
      {"missing include and what it costs",
       schemaText("<xs:include schemaLocation='no.xsd'/><xs:element name='e' type='T'/>"),
       "schema document \"no.xsd\" is no local file, in no include root and not in the catalog"},
      {"nothing to redefine", schemaText("\n<xs:redefine schemaLocation='no.xsd'/>"),
       ":2:39: schema document \"no.xsd\" is no local file, in no include root and not in the "
       "catalog; it is to be redefined"},
      {"nesting", repeated("<a>", 201), "elements are nested more than 200 deep"},
      {"entities that unfold",
       "<!DOCTYPE a [<!ENTITY a 'aa'>" +
           chain("<!ENTITY a## '&a#;&a#;&a#;&a#;'>", 12).replace(0, 0, "<!ENTITY a0 'a'>") +
           "]><a>&a12;</a>",
       "entity expansions"},
      {"a pattern that unfolds", schemaText(pattern + "((a{1000}){1000}){1000}" + patternEnd),
       "the patterns of the schema unfold to more than 500000 steps"},
      {"a pattern that nests", schemaText(pattern + repeated("(", 5000) + patternEnd),
       "the patterns of the schema unfold to more than 500000 steps"},
      {"patterns that unfold together",
       schemaText(pattern + "a{300000}" + patternEnd + "\n" +
                  "<xs:simpleType name='q'><xs:list><xs:simpleType><xs:restriction "
                  "base='xs:string'><xs:pattern value='a{300000}'/></xs:restriction>"
                  "</xs:simpleType></xs:list></xs:simpleType>"),
       ":2:113: the patterns of the schema unfold to more than 500000 steps"},
      {"attributes of a group in many types",
       schemaText(
           "<xs:attributeGroup name='g'>" + chain("<xs:attribute name='a#'/>", 700) +
           "</xs:attributeGroup>" +
           chain("<xs:complexType name='t#'><xs:attributeGroup ref='g'/></xs:complexType>", 700)),
       tooLarge},
      {"values that many types inherit",
       schemaText(restricted("v", "xs:string", chain("<xs:enumeration value='#'/>", 700)) +
                  chain(restricted("t#", "v", ""), 700)),
       tooLarge},
      {"a long value that many types inherit",
       schemaText(
           restricted("v", "xs:string", "<xs:enumeration value='" + repeated("x", 64'000) + "'/>") +
           chain(restricted("t#", "v", ""), 500)),
       tooLarge},
      {"substitutes of substitutes",
       schemaText(chain("<xs:element name='e#' substitutionGroup='e##'/>", 1'000)), tooLarge},
      {"groups that unfold",
       schemaText(chain(group, 40) + "<xs:group name='g40'><xs:sequence><xs:any/></xs:sequence>"
                                     "</xs:group>"),
       tooLarge},
      {"a long chain",
       schemaText(chain("<xs:simpleType name='t#'><xs:union memberTypes='xs:int t##'/>"
                        "</xs:simpleType>",
                        20'001)),
       "components refer to one another in too long a chain"},
      {"elements of one name in many types",
       schemaText(
           chain("<xs:complexType name='t#'><xs:sequence><xs:element name='e' type='xs:int'/>"
                 "</xs:sequence></xs:complexType>",
                 50'000)),
       "too many elements of too few names"},
  };
}

TEST(XsdRefusals, EachNamesThePlaceAndTheFault) {
  for (const RefusalCase& refusal : refusalCases()) {
    SCOPED_TRACE(refusal.name);
    const TemporaryDirectory directory;
    const std::string file = directory.write("s.xsd", refusal.document);
    const std::string error = errorOf({file});
    EXPECT_EQ(error.substr(0, file.size()), file);
    EXPECT_THAT(error, HasSubstr(refusal.error));
  }
}

TEST(XsdRefusals, FilesThatAreNone) {
  const TemporaryDirectory directory;
  EXPECT_THAT(errorOf({directory.path() + "/none.xsd"}), HasSubstr("no such file"));
  EXPECT_THAT(errorOf({"/dev/zero"}), HasSubstr("regular file"));
  const std::string file = directory.write("s.xsd", schemaText(""));
  EXPECT_THAT(errorOf({file}, {.catalog = file}), HasSubstr("no XML catalog"));
  EXPECT_THAT(errorOf({file}, {.catalog = directory.path()}), HasSubstr("regular file"));
  XsdReport report;
  EXPECT_THROW(compileXsd({}, {}, report), std::invalid_argument);
}

// Pairs of a catalog entry and the location that it must resolve.
TEST(XsdDocuments, ComeFromTheCatalogOrBesideTheirReferrer) {
  const std::pair<const char*, const char*> cases[] = {
      {"<system systemId='http://h/x.xsd' uri='sub/x%20y.xsd'/>", "http://h/x.xsd"},
      {"<uri name='http://h/x.xsd' uri='sub/x y.xsd'/>", "http://h/x.xsd"},
      {"<uri name='urn:x' uri='sub/x y.xsd'/>", "http://elsewhere/x.xsd"},
      {"<group xml:base='sub/'><uri name='urn:x' uri='x y.xsd'/></group>", ""},
      {"<rewriteSystem systemIdStartString='http://h/' rewritePrefix='no/'/>"
       "<rewriteSystem systemIdStartString='http://h/d/' rewritePrefix='sub/'/>",
       "http://h/d/x y.xsd"},
      {"", "sub/../sub/x%20y.xsd"},
  };
  for (const auto& [entry, location] : cases) {
    SCOPED_TRACE(entry);
    const TemporaryDirectory directory;
    std::filesystem::create_directory(directory.path() + "/sub");
    directory.write("sub/x y.xsd",
                    "<schema xmlns='http://www.w3.org/2001/XMLSchema' "
                    "targetNamespace='urn:x'><element name='x'/></schema>");
    const std::string root = directory.write(
        "s.xsd", schemaText("<xs:import namespace='urn:x'" +
                            (*location ? " schemaLocation='" + std::string(location) + "'" : "") +
                            "/><xs:element name='e'><xs:complexType><xs:sequence><xs:element "
                            "xmlns:x='urn:x' ref='x:x'/></xs:sequence></xs:complexType>"
                            "</xs:element>"));
    const std::string catalog = directory.write(
        "catalog.xml", "<catalog xmlns='urn:oasis:names:tc:entity:xmlns:xml:catalog'>" +
                           std::string(entry) + "</catalog>");
    XsdReport report;
    const DictionaryTables tables = compileXsd({root}, {.catalog = catalog}, report);
    EXPECT_EQ(contentOfElement(tables, "e"), "6(x)");
    EXPECT_TRUE(report.notices.empty());
  }
}

// A location elsewhere is never opened: what does not need it compiles, with a notice.
TEST(XsdDocuments, ElsewhereAreLeftOutWithANotice) {
  const TemporaryDirectory directory;
  const std::string root = directory.write(
      "s.xsd", "<!DOCTYPE a SYSTEM 'http://h/a.dtd' [<!ENTITY e SYSTEM '/etc/hostname'>]>" +
                   schemaText("<xs:import namespace='urn:x' schemaLocation='http://h/x.xsd'/>\n"
                              "<xs:include schemaLocation='s.xsd'/><xs:annotation>"
                              "<xs:documentation>&e;</xs:documentation></xs:annotation>"
                              "<xs:element name='e' type='xs:int'/>"));
  XsdReport report;
  EXPECT_EQ(compileXsd({root}, {}, report).Types.size(), 4U);
  ASSERT_EQ(report.notices.size(), 1U);
  EXPECT_EQ(report.notices[0].line, 1);
  EXPECT_THAT(report.notices[0].text, HasSubstr("http://h/x.xsd"));
}

TEST(XsdDocuments, ComeFromIncludeRootsWhenTheyAreNotBesideTheirReferrer) {
  const TemporaryDirectory beside;
  const TemporaryDirectory first;
  const TemporaryDirectory second;
  const std::string root = beside.write(
      "s.xsd", schemaText("<xs:include schemaLocation='a.xsd'/><xs:include schemaLocation='b.xsd'/>"
                          "<xs:include schemaLocation='c.xsd'/>"));
  beside.write("a.xsd", schemaText("<xs:element name='beside'/>"));
  first.write("a.xsd", schemaText("<xs:element name='hidden'/>"));
  first.write("b.xsd", schemaText("<xs:element name='first'/>"));
  second.write("b.xsd", schemaText("<xs:element name='hidden'/>"));
  second.write("c.xsd", schemaText("<xs:element name='second'/>"));
  XsdReport report;
  const DictionaryTables tables =
      compileXsd({root}, {.includeRoots = {first.path(), second.path()}}, report);
  EXPECT_TRUE(report.notices.empty());
  for (const char* const name : {"beside", "first", "second"}) tagNamed(tables, name);
  EXPECT_THROW(tagNamed(tables, "hidden"), std::runtime_error);
}

// What the schema processor is sometimes wrong about is refused on request only.
TEST(XsdChecking, DoubtsAreReportedAndRefusedByFullChecking) {
  const TemporaryDirectory directory;
  const std::string file = directory.write(
      "s.xsd",
      schemaText(
          "<xs:complexType name='B'><xs:sequence><xs:element name='a'/><xs:element name='b'/>"
          "</xs:sequence></xs:complexType>\n<xs:complexType name='R'>"
          "<xs:complexContent><xs:restriction base='B'><xs:sequence><xs:element "
          "name='a'/></xs:sequence></xs:restriction></xs:complexContent>"
          "</xs:complexType>"));
  XsdReport report;
  compileXsd({file}, {}, report);
  ASSERT_EQ(report.notices.size(), 1U);
  EXPECT_EQ(report.notices[0].line, 2);
  EXPECT_THAT(report.notices[0].text, HasSubstr("may not be one"));
  EXPECT_THAT(errorOf({file}, {.checking = SchemaChecking::Full}), HasSubstr(":2:"));
  EXPECT_EQ(errorOf({file}, {.checking = SchemaChecking::Basic}), "accepted");
}

TEST(XsdChecking, AmbiguousTypesAreToldByTheirPlaces) {
  const TemporaryDirectory directory;
  const std::string content =
      "><xs:sequence><xs:element name='a' minOccurs='0'/><xs:element name='a'/></xs:sequence>"
      "</xs:complexType>";
  const std::string file = directory.write(
      "s.xsd", schemaText("\n<xs:complexType name='T'" + content +
                          "\n<xs:element name='e'><xs:complexType" + content + "</xs:element>"));
  XsdReport report;
  compileXsd({file}, {}, report);
  ASSERT_EQ(report.notices.size(), 2U);
  EXPECT_EQ(report.notices[0].line, 2);
  EXPECT_THAT(report.notices[0].text, HasSubstr("type 'T' is ambiguous"));
  EXPECT_EQ(report.notices[1].line, 3);
  EXPECT_THAT(report.notices[1].text, HasSubstr("a type without name"));
}

// Schemas that need a deep stack, and limits of occurrence that no automaton can unfold.
TEST(XsdChecking, LargeSchemasCompile) {
  const TemporaryDirectory directory;
  XsdReport report;
  const std::string deep = directory.write(
      "d.xsd", schemaText(chain("<xs:element name='e#'><xs:complexType><xs:sequence><xs:element "
                                "ref='e##'/></xs:sequence></xs:complexType></xs:element>",
                                10'000) +
                          "<xs:element name='e10000'/>"));
  EXPECT_EQ(contentOfElement(compileXsd({deep}, {}, report), "e9999"), "6(e10000)");
  const std::string wide = directory.write(
      "w.xsd", schemaText("\n<xs:element name='e'><xs:complexType><xs:choice maxOccurs='3000'>"
                          "<xs:element name='a' maxOccurs='3000'/><xs:element name='b'/>"
                          "</xs:choice></xs:complexType></xs:element>"));
  compileXsd({wide}, {}, report);
  ASSERT_EQ(report.notices.size(), 1U);
  EXPECT_EQ(report.notices[0].line, 2);
}

// Several roots make one dictionary, whether they share a namespace or have none.
TEST(XsdDocuments, SeveralRootsAreJoined) {
  const TemporaryDirectory directory;
  const std::string none = directory.write(
      "n.xsd", "<schema xmlns='http://www.w3.org/2001/XMLSchema'><element name='n'/></schema>");
  const std::string first = directory.write("a.xsd", schemaText("<xs:element name='a'/>"));
  const std::string second = directory.write(
      "b.xsd", schemaText("<xs:include schemaLocation='a.xsd'/><xs:element name='b'>"
                          "<xs:complexType><xs:sequence><xs:element ref='a'/></xs:sequence>"
                          "</xs:complexType></xs:element>"));
  XsdReport report;
  const DictionaryTables tables = compileXsd({first, second, none, first}, {}, report);
  EXPECT_EQ(text(tables.Identification->Name), "a");
  EXPECT_EQ(contentOfElement(tables, "b"), "6(a)");
  EXPECT_EQ(tagNamed(tables, "n").namespaceIndex, kNone);
  EXPECT_EQ(compilerFaultsOf(tables), std::vector<std::string>());
}

}  // namespace
}  // namespace cpi::test
