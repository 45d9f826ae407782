// Each mapping rule with the model that shows its need, and the models that it must leave alone.
#include <gtest/gtest.h>

#include "tests/models/xsd_support.h"

namespace cpi::test {
namespace {

struct RuleCase {
  const char* name;
  const char* model;  // the content of the element r
  const char* content;
};

// In the models e(a) is a local element a, and so on.
std::string withElements(std::string model) {
  for (std::size_t i = 0; (i = model.find("e(", i)) != std::string::npos;) {
    const std::size_t end = model.find(')', i);
    const std::string inner = model.substr(i + 2, end - i - 2);
    model.replace(i, end - i + 1, "<xs:element type='xs:string' name='" + inner + "'/>");
  }
  for (std::size_t i = 0; (i = model.find("'a?'", i)) != std::string::npos;) {
    model.replace(i, 4, "'a' minOccurs='0'");
  }
  return model;
}

const RuleCase kRuleCases[] = {
    {"compositors 6", "<xs:sequence>e(a)e(b)</xs:sequence>", "6(a,b)"},
    {"compositors 2", "<xs:choice>e(a)e(b)</xs:choice>", "2(a,b)"},
    {"compositors 4", "<xs:all>e(a?)e(b)</xs:all>", "4(a?,b)"},
    {"occurrence bounds",
     "<xs:sequence><xs:element name='a' minOccurs='2' maxOccurs='7'/>"
     "<xs:element name='b' maxOccurs='unbounded'/><xs:element name='c' minOccurs='3' "
     "maxOccurs='unbounded'/><xs:element name='d' minOccurs='0' maxOccurs='0'/></xs:sequence>",
     "6(a{2,7},b+,c{3,})"},
    {"3: a repeated group is the one member", "<xs:choice maxOccurs='5'>e(a)e(b)</xs:choice>",
     "6(2(a,b){1,5})"},
    {"3: an optional xs:all keeps its own group", "<xs:all minOccurs='0'>e(a)</xs:all>",
     "6(4(a)?)"},
    {"3: 1..1 groups of one kind are inlined",
     "<xs:sequence>e(a)<xs:sequence><xs:sequence>e(b)</xs:sequence></xs:sequence>"
     "<xs:choice>e(c)<xs:choice>e(d)</xs:choice></xs:choice></xs:sequence>",
     "6(a,b,2(c,d))"},
    {"3: others are not",
     "<xs:sequence><xs:sequence minOccurs='0'>e(a)</xs:sequence>"
     "<xs:choice>e(b)<xs:sequence>e(c)e(d)</xs:sequence></xs:choice></xs:sequence>",
     "6(6(a)?,2(b,6(c,d)))"},
    {"4: ((a,b)*|c)",
     "<xs:choice><xs:sequence minOccurs='0' maxOccurs='unbounded'>e(a)e(b)</xs:sequence>e(c)"
     "</xs:choice>",
     "2(6(6(a,b)*)?,c)"},
    {"4: the group in front is required when its content is",
     "<xs:choice><xs:sequence maxOccurs='unbounded'>e(a)e(b)</xs:sequence>e(c)</xs:choice>",
     "2(6(6(a,b)+),c)"},
    {"4: not for a group that does not repeat",
     "<xs:choice><xs:sequence minOccurs='0'>e(a)e(b)</xs:sequence>e(c)</xs:choice>",
     "2(6(a,b)?,c)"},
    {"5: ((a?),e)*",
     "<xs:sequence minOccurs='0' maxOccurs='unbounded'><xs:choice>e(a?)</xs:choice>e(e)"
     "</xs:sequence>",
     "6(6(2(a?)?,6(e))*)"},
    {"5: what holds only groups that can be empty can be empty",
     "<xs:sequence>e(x)<xs:choice><xs:sequence minOccurs='0'>e(b)</xs:sequence>e(c)</xs:choice>"
     "</xs:sequence>",
     "6(x,2(6(b)?,c)?)"},
    {"7: (((a,b)?,c,d)|(d,e))",
     "<xs:choice><xs:sequence><xs:sequence minOccurs='0'>e(a)e(b)</xs:sequence>e(c)e(d)"
     "</xs:sequence><xs:sequence>e(d)e(e)</xs:sequence></xs:choice>",
     "2(6(6(a,b)?,6(c),6(d)),6(d,e))"},
    {"7: not in front of the first group, nor at the element's own level",
     "<xs:sequence><xs:choice>e(a)e(b)</xs:choice>e(c)<xs:sequence minOccurs='0'>e(d)<xs:choice>"
     "e(a)e(b)</xs:choice><xs:element name='g' minOccurs='0'/></xs:sequence></xs:sequence>",
     "6(2(a,b),c,6(d,2(a,b),g?)?)"},
    {"7: a group inlined at the element's own level is not nested",
     "<xs:sequence><xs:sequence><xs:choice>e(a)e(b)</xs:choice>e(c)</xs:sequence></xs:sequence>",
     "6(2(a,b),c)"},
    {"8: wildcards are members",
     "<xs:sequence><xs:any namespace='##other' processContents='lax' minOccurs='0' maxOccurs='3'/>"
     "<xs:choice minOccurs='0'><xs:any namespace='##local urn:x' processContents='skip'/>"
     "</xs:choice></xs:sequence>",
     "6(<lax ##other urn:t>{0,3},2(<skip ##local urn:x>)?)"},
    {"9: (ANY,a)", "<xs:sequence><xs:any/>e(a)</xs:sequence>", "6(6(<strict ##any>,a))"},
    {"9: a neighbour in a group counts",
     "<xs:sequence><xs:any/><xs:choice minOccurs='0'>e(a)e(b)</xs:choice></xs:sequence>",
     "6(6(<strict ##any>,2(a,b)?))"},
    {"9: not when the neighbours are not admitted",
     "<xs:sequence><xs:any namespace='##other'/>e(a)</xs:sequence>", "6(<strict ##other urn:t>,a)"},
    {"9: not for an optional wildcard",
     "<xs:sequence>e(a)<xs:any namespace='##targetNamespace' minOccurs='0'/></xs:sequence>",
     "6(a,<strict urn:t>?)"},
    {"10: a substitution group",
     "<xs:sequence><xs:element ref='head' maxOccurs='2'/>e(c)</xs:sequence>", "6(2(s1,s2){1,2},c)"},
    {"10: repeated in a choice it gets a group around it",
     "<xs:choice><xs:element ref='head' maxOccurs='2'/>e(c)</xs:choice>", "2(6(2(s1,s2){1,2}),c)"},
    {"10: one that is left is a plain member, none is no member",
     "<xs:choice><xs:element ref='single'/><xs:element ref='none'/>"
     "<xs:element ref='closed'/></xs:choice>",
     "2(s3,closed)"},
    {"empty", "", "6()"},
    {"an empty group", "<xs:sequence><xs:choice minOccurs='0'/></xs:sequence>", "6()"},
};

constexpr const char* kGlobals =
    "<xs:element name='s1' type='xs:int' substitutionGroup='head'/>"
    "<xs:element name='head' abstract='true'/>"
    "<xs:element name='s2' type='xs:int' substitutionGroup='s1'/>"
    "<xs:element name='single' abstract='true'/>"
    "<xs:element name='s3' substitutionGroup='single'/>"
    "<xs:element name='none' abstract='true'/>"
    "<xs:element name='closed' block='substitution'/>"
    "<xs:element name='s4' substitutionGroup='closed'/>";

TEST(XsdRules, EachModelIsLaidDownAsTheNavigatorNeedsIt) {
  for (const RuleCase& rule : kRuleCases) {
    SCOPED_TRACE(rule.name);
    const DictionaryTables tables =
        compileBody("<xs:element name='r'><xs:complexType>" + withElements(rule.model) +
                    "</xs:complexType></xs:element>" + kGlobals);
    EXPECT_EQ(contentOfElement(tables, "r"), rule.content);
    EXPECT_EQ(compilerFaultsOf(tables), std::vector<std::string>());
  }
}

// Derivation, redefinition and groups are resolved; declarations that types share keep one tag.
TEST(XsdRules, TypesAreResolvedAndDeclarationsShared) {
  const DictionaryTables tables = compileBody(
      "<xs:group name='g'><xs:sequence><xs:element name='x' type='xs:int'/></xs:sequence>"
      "</xs:group>"
      "<xs:complexType name='Base'><xs:sequence><xs:group ref='g'/><xs:element name='y' "
      "type='Base' minOccurs='0'/></xs:sequence></xs:complexType>"
      "<xs:complexType name='More'><xs:complexContent><xs:extension base='Base'><xs:choice "
      "maxOccurs='2'><xs:group ref='g'/></xs:choice></xs:extension></xs:complexContent>"
      "</xs:complexType>"
      "<xs:complexType name='Open'><xs:complexContent><xs:extension base='xs:anyType'/>"
      "</xs:complexContent></xs:complexType>"
      "<xs:element name='b' type='Base'/><xs:element name='m' type='More'/>"
      "<xs:element name='o' type='Open'/><xs:element name='u'/>");
  EXPECT_EQ(contentOfElement(tables, "b"), "6(x,y?)");
  EXPECT_EQ(contentOfElement(tables, "m"), "6(x,y?,2(6(x)){1,2})");
  EXPECT_EQ(contentOfElement(tables, "o"), "6(<lax ##any>*)");
  EXPECT_EQ(contentOfElement(tables, "u"), "6(<lax ##any>*)");
  std::size_t locals = 0;
  for (const TagRow& tag : tables.Tags) {
    locals += text(tag.TextIdentifier).starts_with('l') ? 1 : 0;
  }
  EXPECT_EQ(locals, 2U) << "x and y";
  EXPECT_EQ(compilerFaultsOf(tables), std::vector<std::string>());
}

}  // namespace
}  // namespace cpi::test
