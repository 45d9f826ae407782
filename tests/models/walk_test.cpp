// Where the elements of small messages are placed. Walks are compared as lines, see
// walk_support.h.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/models/walk_support.h"

namespace cpi::test {
namespace {

struct WalkCase {
  const char* message;  // what is inside <r xmlns='urn:t'>
  const char* walk;     // what is inside r(...); empty: r alone
};

void expectWalks(const std::string& declarations, const std::vector<WalkCase>& cases) {
  const Model model(declarations);
  for (const WalkCase& one : cases) {
    const std::string inside = one.walk;
    EXPECT_EQ(walkLine(*model, messageOf(one.message)), inside.empty() ? "r" : "r(" + inside + ")")
        << one.message;
  }
}

TEST(Walk, Sequence) {
  expectWalks(rootOf("<xs:sequence><xs:element name='a' type='xs:string'/>"
                     "<xs:element name='b' type='xs:string' minOccurs='0' maxOccurs='2'/>"
                     "<xs:element name='c' minOccurs='0' maxOccurs='unbounded'><xs:complexType>"
                     "<xs:sequence><xs:element name='a' type='xs:int'/></xs:sequence>"
                     "</xs:complexType></xs:element></xs:sequence>"),
              {{"", ""},
               {"<a/><b/><b/><c/><c/><c/>", "a b b[2] c c[2] c[3]"},
               {"<a/><c><a/></c><c><a/></c>", "a c(a) c[2](a)"},
               {"<a/><a/>", "a !a"},
               {"<a/><b/><b/><b/><c/>", "a b b[2] >b[3] c"},
               {"<a/><x/><b/>", "a !x b"},
               {"<a/><x><y/><a/></x><c/>", "a !x(?y ?a) c"},
               {"<a><y><z/></y><y/></a><b/>", "a(!y(?z) !y) b"},
               {"<a xmlns=''/><a/>", "!a a"},
               {"text <a/> <!-- <b/> --> <?b?> <![CDATA[<b/>]]> <b/>", "a b"}});
}

TEST(Walk, GroupsAndChoices) {
  expectWalks(rootOf("<xs:sequence><xs:choice><xs:element name='a' type='xs:string'/>"
                     "<xs:sequence maxOccurs='3'><xs:element name='b' type='xs:string'/>"
                     "<xs:element name='c' type='xs:string' minOccurs='0' maxOccurs='2'/>"
                     "</xs:sequence></xs:choice>"
                     "<xs:element name='d' type='xs:string'/></xs:sequence>"),
              {{"<a/><d/>", "a d"},
               {"<b/><d/>", "b d"},
               {"<b/><c/><b/><c/><c/><b/><d/>", "b c b c c[2] b d"},
               {"<a/><b/><d/>", "a !b d"}});
}

TEST(Walk, UnorderedMembersAreCountedWhereverTheyStand) {
  expectWalks(
      "<xs:element name='r' type='t:R'/><xs:complexType name='R'><xs:all>"
      "<xs:element name='a' type='xs:string'/>"
      "<xs:element name='b' type='xs:string' minOccurs='0'/>"
      "<xs:element name='n' type='t:R' minOccurs='0'/></xs:all></xs:complexType>",
      {{"<b/><a/>", "b a"},
       {"<a/><b/><a/>", "a b >a[2]"},
       {"<a/><n><b/><a/><n><a/></n></n><b/>", "a n(b a n(a)) b"},
       {"<a/><n><a/><b/><a/></n><b/><a/>", "a n(a b >a[2]) b >a[2]"}});
}

TEST(Walk, Recursion) {
  expectWalks(
      "<xs:element name='r' type='t:R'/><xs:complexType name='R'><xs:sequence>"
      "<xs:element name='n' type='t:R' minOccurs='0' maxOccurs='2'/>"
      "<xs:element name='e' type='xs:string' minOccurs='0'/></xs:sequence></xs:complexType>",
      {{"<n><n><e/></n><n/><e/></n><n/><e/>", "n(n(e) n[2] e) n[2] e"},
       {"<n><e/><n/></n>", "n(e !n)"}});
}

constexpr const char* kWildcards =
    "<xs:element name='g'><xs:complexType><xs:sequence>"
    "<xs:element name='h' type='xs:string' minOccurs='0'/></xs:sequence></xs:complexType>"
    "</xs:element>";

TEST(Walk, LaxWildcardJudgesWhatTheModelDeclares) {
  expectWalks(std::string(kWildcards) +
                  rootOf("<xs:sequence><xs:element name='a' type='xs:string' minOccurs='0'/>"
                         "<xs:any processContents='lax' maxOccurs='3'/>"
                         "<xs:element name='b' type='xs:string'/></xs:sequence>"),
              {{"<a/><g><h/></g><b/>", "a *g(h) b"},
               {"<g><x/></g><b/>", "*g(!x) b"},
               {"<o:x><g><h/><h/></g><o:y/></o:x><b/>", "*x(+g(h >h[2]) ~y) b"},
               {"<a/><o:x/><o:x/><o:y/><b/>", "a *x *x[2] *y[3] b"},
               {"<a/><a/><b/>", "a *a b"}});
}

TEST(Walk, OtherNamespacesStrictAndSkip) {
  expectWalks(std::string(kWildcards) +
                  rootOf("<xs:sequence><xs:any namespace='##other' processContents='skip'/>"
                         "<xs:element name='a' type='xs:string'/>"
                         "<xs:any namespace='##targetNamespace' minOccurs='0'/></xs:sequence>"),
              {{"<o:x><g><z/></g></o:x><a/><g/>", "*x(~g(~z)) a *g"},
               {"<o:x/><a/><g><h/></g>", "*x a *g(h)"},
               {"<o:x/><a/><k><h/></k>", "*x a !k(?h)"},
               {"<x xmlns=''/><a/>", "!x a"},
               {"<g/><a/>", "*g !a"}});
}

TEST(Walk, TypesThatTheMessageAsksFor) {
  expectWalks(rootOf("<xs:sequence><xs:element name='a' type='t:A' maxOccurs='2'/>"
                     "<xs:any processContents='lax' minOccurs='0' namespace='##other'/>"
                     "</xs:sequence>") +
                  "<xs:complexType name='A'><xs:sequence><xs:element name='x' type='xs:string'/>"
                  "</xs:sequence></xs:complexType>"
                  "<xs:complexType name='B'><xs:complexContent><xs:extension base='t:A'>"
                  "<xs:sequence><xs:element name='y' type='xs:string'/></xs:sequence>"
                  "</xs:extension></xs:complexContent></xs:complexType>",
              {{"<a><x/><y/></a>", "a(x !y)"},
               {"<a xsi:type='B'><x/><y/></a><a><x/></a>", "a(x y) a[2](x)"},
               {"<a xmlns:p='urn:t' xsi:type=' p:B '><x/><y/><y/></a>", "a(x y >y[2])"},
               {"<a xsi:type='o:B'><x/><y/></a>", "a(x !y)"},
               {"<a xsi:type='xs:string'/><a xsi:type=''/>", "a a[2]"},
               {"<a/><o:b xsi:type='B'><x/><y/></o:b>", "a *b(x y)"}});
}

TEST(Walk, RootIsAGlobalElement) {
  const Model model(rootOf("<xs:sequence><xs:element name='a' type='xs:string'/></xs:sequence>"));
  EXPECT_EQ(walkLine(*model, "<q xmlns='urn:t'><a/><r><a/></r></q>"), "!q(?a ?r(?a))");
  EXPECT_EQ(walkLine(*model, "<r><a/></r>"), "!r(?a)");
  EXPECT_EQ(walkLine(*model, "<a xmlns='urn:t'/>"), "!a");
}

TEST(Walk, ReportsPositionDefinitionsAndReasons) {
  struct Check : WalkVisitor {
    std::string text;
    void element(const WalkedElement& element) override {
      text += std::to_string(element.position.line) + ":" +
              std::to_string(element.position.column) + "@" +
              std::to_string(element.position.offset) + " " + std::to_string(element.depth) + " {" +
              std::string(element.namespaceURI) + "}" + std::string(element.name);
      if (element.member != nullptr) text += " max " + std::to_string(element.member->MaxOccurs);
      if (element.type != nullptr) text += " " + toUtf8(textView(element.type->Identifier));
      text += " " + std::to_string(static_cast<int>(element.verdict.reason)) + "\n";
    }
  };
  const Model model(
      "<xs:element name='r' type='t:R'/><xs:complexType name='R'><xs:sequence>"
      "<xs:element name='a' type='xs:string' maxOccurs='7'/></xs:sequence></xs:complexType>");
  XmlWalker walker(*model);
  Check check;
  const WalkSummary summary = walker.walkText(
      "<!-- é -->\n<t:r xmlns:t='urn:t'>é<t:a\n  b='>'\n/> <t:a><b/></t:a></t:r>", "m", &check);
  EXPECT_EQ(check.text,
            "2:1@12 0 {urn:t}r R 0\n"
            "2:23@35 1 {urn:t}a max 7 string 0\n"
            "4:4@51 1 {urn:t}a max 7 string 0\n"
            "4:9@56 2 {}b 3\n");
  EXPECT_EQ(summary.elements, 4);
  EXPECT_EQ(summary.count(Placement::Member), 2);
  EXPECT_EQ(summary.count(Placement::Refused), 1);
  EXPECT_FALSE(summary.isAllPlaced());
}

}  // namespace
}  // namespace cpi::test
