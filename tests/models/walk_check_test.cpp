// What a check says of small messages: each fault once, where it is and what should have been.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "cpi/extract/schemapattern.h"
#include "tests/models/walk_support.h"

namespace cpi::test {
namespace {

constexpr const char* kKinds[kVerdictKindCount] = {
    "placed",   "too-many",   "order", "elsewhere", "unknown",   "namespace", "refused",
    "unjudged", "incomplete", "text",  "value",     "attribute", "type",      "nil"};

std::string namesOf(const std::vector<Expected>& list) {
  std::string text;
  for (const Expected& one : list) {
    text += (text.empty() ? "" : one.choice > 0 ? "|" : " ") + one.name;
    if (one.owed > 1) text += "*" + std::to_string(one.owed);
  }
  return text;
}

// "order /r/b -a" for b before a; "=..." is what was expected.
std::string textOf(const Finding& finding) {
  std::string text = kKinds[static_cast<std::size_t>(finding.verdict.kind)];
  text += " " + toText(finding.path);
  if (finding.verdict.kind == VerdictKind::Attribute) text += "@" + finding.name;
  if (!finding.missing.empty()) text += " -" + namesOf(finding.missing);
  if (!finding.expected.empty()) text += " =" + namesOf(finding.expected);
  if (!finding.value.empty()) text += " '" + finding.value + "'";
  if (finding.atMost >= 0) text += " max " + std::to_string(finding.atMost);
  if (!finding.elsewhere.empty()) text += " in " + finding.elsewhere[0].parent;
  return text;
}

// The findings of a check, each as `tell` tells it, divided by "; ".
template <class Tell>
std::string check(const Model& model, const std::string& message, Tell tell) {
  FindingList list;
  XmlWalker(*model, {.isChecking = true}).walkText(message, "message", &list);
  std::string all;
  for (const Finding& finding : list.findings) all += (all.empty() ? "" : "; ") + tell(finding);
  return all;
}

struct CheckCase {
  std::string message;   // what is inside <r xmlns='urn:t'>
  const char* findings;  // empty: accepted
};

void expectFindings(const std::string& declarations, const std::vector<CheckCase>& cases) {
  const Model model(declarations);
  for (const CheckCase& one : cases) {
    EXPECT_EQ(check(model, messageOf(one.message), textOf), one.findings) << one.message;
  }
}

std::string element(const std::string& name, const std::string& more = "") {
  return "<xs:element name='" + name + "' type='xs:string' " + more + "/>";
}

TEST(WalkCheck, SequenceTellsEachFaultOnce) {
  expectFindings(
      rootOf("<xs:sequence>" + element("a") + element("b") + element("c", "minOccurs='0'") +
             element("d", "minOccurs='2' maxOccurs='3'") + element("e", "minOccurs='0'") +
             "</xs:sequence>"),
      {{"<a/><b/><d/><d/>", ""},
       {"", "incomplete /r -a b d*2 =a"},
       {"<a/><d/><d/>", "order /r/d -b =b"},
       {"<a/><b/><d/>", "incomplete /r -d =d"},
       {"<a/><b/><d/><e/>", "order /r/e -d =d"},
       {"<a/><a/><b/><d/><d/>", "too-many /r/a[2] =b max 1"},
       {"<a/><b/><d/><d/><d/><d/>", "too-many /r/d[4] =e max 3"},
       {"<b/><a/><d/><d/>", "order /r/b -a =a"},
       {"<d/><d/><a/><b/><c/>", "order /r/d -a b =a"},
       {"<a/><e/><b/><c/><d/><d/>", "order /r/e -b d*2 =b"},
       {"<a/><b/><d/><d/><c/>", "order /r/c =d e"},
       {"<a/><bb/><d/><d/>", "unknown /r/bb =b"},
       {"<a/><bb/>", "unknown /r/bb =b; incomplete /r -b d*2 =b"},
       {"<a/><o:b/><d/><d/>", "namespace /r/b =b in r"},
       {"<a/><b/><x/><y/><d/><d/>", "unknown /r/x =c d*2; unknown /r/y =c d*2"},
       {"<a/>text<b/><d/>more<d/>", "text /r 'text'"},
       {"<a/><b><x/><x/></b><d/><d/>", "refused /r/b/x"},
       {"<a/><b/><dd/><d/>", "unknown /r/dd =c d*2"}});
}

TEST(WalkCheck, GroupsChoicesAndTheirRepeats) {
  expectFindings(rootOf("<xs:sequence><xs:choice>" + element("a") + "<xs:sequence>" + element("b") +
                        element("c") + "</xs:sequence></xs:choice>" +
                        "<xs:sequence minOccurs='2' maxOccurs='3'>" + element("k") + element("v") +
                        "</xs:sequence></xs:sequence>"),
                 {{"<a/><k/><v/><k/><v/>", ""},
                  {"<b/><c/><k/><v/><k/><v/><k/><v/>", ""},
                  {"<k/><v/><k/><v/>", "order /r/k -a|b =a|b"},
                  {"<a/><k/><v/>", "incomplete /r -k v =k"},
                  {"<a/><k/><v/><k/>", "incomplete /r -v =v"},
                  {"<a/><k/><k/><v/>", "order /r/k[2] -v =v"},
                  {"<b/><k/><v/><k/><v/>", "order /r/k -c =c"},
                  {"<a/><b/><c/><k/><v/><k/><v/>", "refused /r/b =k"},
                  {"<a/><k/><v/><k/><v/><k/><v/><k/><v/>", "too-many /r/k[4] max 3"}});
  expectFindings(rootOf("<xs:choice><xs:sequence>" + element("a") + element("k") + element("z") +
                        "</xs:sequence><xs:sequence>" + element("b", "minOccurs='0'") +
                        element("k") + element("z") + "</xs:sequence><xs:sequence>" + element("c") +
                        "<xs:element ref='t:h' " + "maxOccurs='2'/><xs:sequence maxOccurs='2'>" +
                        element("v") + element("w", "minOccurs='0'") +
                        "</xs:sequence></xs:sequence></xs:choice>") +
                     element("h") + element("i", "substitutionGroup='t:h'"),
                 {{"<z/><k/>", "order /r/z -k =a|b|k|c"},
                  {"<c/><i/><h/><i/><v/>", "too-many /r/i[2] =v max 2"},
                  {"<c/><h/><v/><w/><v/><w/><v/><w/>", "too-many /r/v[3] max 2"},
                  {"<c/><h/><v/><v/><v/><w/>", "too-many /r/v[3] =w max 2"}});
}

TEST(WalkCheck, SwappedElementsAreOneFault) {
  expectFindings(rootOf("<xs:sequence>" + element("a") + "<xs:choice>" + element("b") +
                        element("c") + "</xs:choice>" + element("d") + "</xs:sequence>"),
                 {{"<b/><a/><d/>", "order /r/b -a =a"},
                  {"<b/><d/><a/>", "order /r/b -a =a"},
                  {"<b/><a/><a/><d/>", "order /r/b -a =a; too-many /r/a[2] =b|c max 1"},
                  {"<d/><a/>", "order /r/d -a|b|c =a"}});
  expectFindings(rootOf("<xs:sequence maxOccurs='9'>" + element("a") + element("b") +
                        element("c", "minOccurs='0'") + "</xs:sequence>"),
                 {{"<a/><a/><b/><b/>", "order /r/a[2] -b =b"},
                  {"<a/><a/><b/><a/><b/>", "order /r/a[2] -b =b"},
                  {"<a/><b/><b/>", "too-many /r/b[2] =c a max 1"}});
}

TEST(WalkCheck, GroupsAreToldByTheirMembers) {
  const Model model(rootOf(
      "<xs:sequence><xs:choice><xs:sequence maxOccurs='2'><xs:sequence maxOccurs='2'>" +
      element("a") + element("b") + "</xs:sequence></xs:sequence><xs:sequence>" + element("k") +
      element("v") + "</xs:sequence></xs:choice>" + element("z") + "</xs:sequence>"));
  const auto groups = [](const Finding& finding) {
    std::string text;
    for (const GroupStep& group : finding.groups) text += group.text + " ";
    return text;
  };
  EXPECT_EQ(check(model, messageOf("<a/>"), groups), "((a ...) | (k ...)) (a, b) (a, b) (a, b) ");
}

// Which repeat of the group an element belongs to is for the counts to say.
TEST(WalkCheck, RepeatsThatCanBeDivided) {
  expectFindings(
      rootOf("<xs:sequence><xs:sequence minOccurs='2' maxOccurs='5'>" +
             element("a", "maxOccurs='unbounded'") +
             "</xs:sequence><xs:sequence minOccurs='0' maxOccurs='2'>" +
             element("b", "minOccurs='2' maxOccurs='3'") + "</xs:sequence></xs:sequence>"),
      {{"<a/><a/>", ""},
       {"<a/><a/><a/><a/><a/><a/><b/><b/><b/><b/>", ""},
       {"<a/>", "incomplete /r -a =a a"},
       {"<a/><b/><b/>", "order /r/b -a =a a"},
       {"<a/><a/><b/>", "incomplete /r -b =b"},
       {"<a/><a/><x/>", "unknown /r/x =a a b"},
       {"<a/><a/><b/><b/><b/><b/><b/><b/><b/>", "too-many /r/b[7] max 3"}});
}

TEST(WalkCheck, UnorderedContent) {
  expectFindings(rootOf("<xs:all>" + element("a") + element("b") + element("c", "minOccurs='0'") +
                        "</xs:all>"),
                 {{"<b/><c/><a/>", ""},
                  {"<c/><b/>", "incomplete /r -a =a"},
                  {"<b/><a/><b/>", "too-many /r/b[2] =c max 1"}});
  expectFindings(rootOf("<xs:all>" + element("a") + "<xs:element ref='t:k'/>" +
                        "<xs:element ref='t:h' minOccurs='0'/></xs:all>") +
                     element("k") + element("l", "substitutionGroup='t:k'") + element("h") +
                     element("i", "substitutionGroup='t:h'"),
                 {{"<a/><l/>", ""},
                  {"<i/><k/><a/>", ""},
                  {"<a/><h/>", "incomplete /r -k|l =k|l"},
                  {"<h/><i/><a/><k/>", "too-many /r/i =a|k|l max 1"},
                  {"<l/><i/><a/><k/>", "too-many /r/k max 1"},
                  {"<h/><a/><h/><k/>", "too-many /r/h[2] =k|l max 1"}});
}

// The second is what a search by name alone gets wrong: it takes the second a for a new repeat.
TEST(WalkCheck, WildcardsAreResolvedExactly) {
  expectFindings(rootOf("<xs:sequence>" + element("a") +
                        "<xs:any namespace='##other' processContents='strict' minOccurs='0'/>" +
                        element("b") + "</xs:sequence>"),
                 {{"<a/><o:x/><b/>", "refused /r/x"},
                  {"<o:x/><b/>", "order /r/x -a =a"},
                  {"<a/><o:x/><o:x/><b/>", "refused /r/x; too-many /r/x[2] =b max 1"}});
  expectFindings(rootOf("<xs:sequence maxOccurs='2'>" + element("a") +
                        "<xs:any processContents='lax'/></xs:sequence>"),
                 {{"<a/><a/>", ""},
                  {"<a/><a/><a/><o:x/>", ""},
                  {"<a/><a/><a/>", "incomplete /r -##any =##any"}});
  expectFindings(rootOf("<xs:sequence>" + element("a") + element("b") +
                        "<xs:any processContents='lax'/>" + element("c") + "</xs:sequence>") +
                     element("g"),
                 {{"<a/><bb/><g/><c/>", "unknown /r/bb =b"},
                  {"<a/><o:b/><g/><c/>", "namespace /r/b =b in r"},
                  {"<a/><g/><c/>", "order /r/g -b =b"},
                  {"<a/><b/><g/><x/><c/>", "unknown /r/x =c"},
                  {"<a/><b/><g/><o:c/>", "namespace /r/c =c in r"}});
}

TEST(WalkCheck, ElementsOfOtherPlacesKeepTheirContent) {
  expectFindings(
      rootOf("<xs:sequence><xs:element name='list' minOccurs='0'><xs:complexType><xs:sequence>"
             "<xs:element name='item' type='t:Item' maxOccurs='unbounded'/></xs:sequence>"
             "</xs:complexType></xs:element></xs:sequence>") +
          "<xs:complexType name='Pair'><xs:sequence>" + element("v") + element("u") +
          "</xs:sequence></xs:complexType><xs:complexType name='Item'><xs:sequence>" +
          element("k") + element("v") + "</xs:sequence></xs:complexType>",
      {{"<list><item><k/><v/></item></list>", ""},
       {"<item><k/></item>", "elsewhere /r/item =list in list; incomplete /r/item -v =v"},
       {"<list><k/><v/></list>", "elsewhere /r/list/k =item in Item"},
       {"<list><v/><u/></list>", "elsewhere /r/list/v =item in Item"}});
}

TEST(WalkCheck, Values) {
  const auto type = [](const std::string& name, const std::string& base,
                       const std::string& facets) {
    return "<xs:simpleType name='" + name + "'><xs:restriction base='xs:" + base + "'>" + facets +
           "</xs:restriction></xs:simpleType>";
  };
  expectFindings(
      rootOf("<xs:choice maxOccurs='unbounded'><xs:element name='s' type='t:S'/>"
             "<xs:element name='n' type='t:N'/><xs:element name='d' type='t:D'/>"
             "<xs:element name='l' type='t:L'/><xs:element name='h' type='t:H'/>"
             "<xs:element name='i' type='xs:int'/><xs:element name='t' type='xs:boolean'/>"
             "<xs:element name='m' type='xs:NMTOKENS'/><xs:element name='u' type='t:U'/>"
             "</xs:choice>") +
          type("S", "token", "<xs:enumeration value='red hat'/><xs:enumeration value='blue'/>") +
          type("N", "int", "<xs:enumeration value='7'/><xs:enumeration value='10'/>") +
          type("D", "decimal", "<xs:enumeration value='1.50'/>") +
          type("L", "string", "<xs:minLength value='2'/><xs:maxLength value='3'/>") +
          type("H", "hexBinary", "<xs:length value='2'/>") +
          "<xs:simpleType name='U'><xs:union memberTypes='t:S t:N'/></xs:simpleType>",
      {{"<s> red\n hat </s><n>+07</n><d>01.5</d><l>\xC3\xA9\xC3\xA9\xC3\xA9</l><h>0aFF</h>", ""},
       {"<i> -12 </i><t>1</t><t>false</t><m>a b c</m><u>blue</u><s><![CDATA[blue]]></s>", ""},
       {"<s>red</s>", "value /r/s 'red'"},
       {"<n>8</n>", "value /r/n '8'"},
       {"<d>1.51</d>", "value /r/d '1.51'"},
       {"<l>a</l><l>abcd</l>", "value /r/l 'a'; value /r/l[2] 'abcd' max 3"},
       {"<h>0aFF0a</h>", "value /r/h '0aFF0a' max 2"},
       {"<i>1.5</i><i/><t>yes</t>", "value /r/i '1.5'; value /r/i[2]; value /r/t 'yes'"}});
}

// An element of a simple type of its own.
std::string restricted(const std::string& name, const std::string& base,
                       const std::string& facets) {
  return "<xs:element name='" + name + "'><xs:simpleType><xs:restriction base='xs:" + base + "'>" +
         facets + "</xs:restriction></xs:simpleType></xs:element>";
}

// Equal values may be written in several ways, and not all texts are values.
TEST(WalkCheck, FormsOfValues) {
  const auto set = [](const std::string& name, const std::string& base,
                      const std::vector<std::string>& values) {
    std::string facets;
    for (const std::string& value : values) facets += "<xs:enumeration value='" + value + "'/>";
    return restricted(name, base, facets);
  };
  expectFindings(
      rootOf("<xs:choice maxOccurs='unbounded'>" + set("h", "hexBinary", {"0aFF"}) +
             set("b", "base64Binary", {"AAAA BBBB"}) + set("q", "QName", {"xs:a", "xs:b"}) +
             set("f", "float", {"INF", "NaN", "0.1"}) + set("d", "double", {"1"}) +
             "<xs:element name='x' type='xs:hexBinary'/><xs:element name='y' "
             "type='xs:base64Binary'/></xs:choice>"),
      {{"<h> 0Aff </h><b>AA AABB\nBB</b><q>o:a</q><f>INF</f><f>NaN</f><f>0.10000000001</f>", ""},
       {"<x/><x>0g</x><x>012</x>", "value /r/x[2] '0g'; value /r/x[3] '012'"},
       {"<y/><y>AA==</y><y>AAA</y><y>AB==</y>", "value /r/y[3] 'AAA'; value /r/y[4] 'AB=='"},
       {"<h>0aFE</h><b>AAAA</b>", "value /r/h '0aFE'; value /r/b 'AAAA'"},
       {"<f>2</f><d>1.00000000001</d>", "value /r/f '2'; value /r/d '1.00000000001'"}});
}

TEST(WalkCheck, Facets) {
  expectFindings(
      rootOf(
          "<xs:choice maxOccurs='unbounded'>" +
          restricted("i", "int", "<xs:minInclusive value='-5'/><xs:maxExclusive value='10'/>") +
          restricted("d", "decimal",
                     "<xs:maxInclusive value='9.95'/><xs:totalDigits value='4'/>"
                     "<xs:fractionDigits value='2'/>") +
          restricted("f", "double", "<xs:minExclusive value='0'/>") + "<xs:element name='b' " +
          "type='xs:byte'/>" +
          restricted("p", "token", "<xs:pattern value='[A-Z-[DF]]{2}'/><xs:pattern value='\\d'/>") +
          restricted("q", "string", "<xs:pattern value='(x+x+)+y'/>") +
          restricted("e", "string", "<xs:pattern value='a||b|\\|'/>") +
          restricted("s", "float", "<xs:maxInclusive value='1'/>") + "</xs:choice>"),
      {{"<i> +9 </i><i>-05</i><d>09.950</d><d>-12.34</d><f>INF</f><f>1e-9</f><b>-128</b>", ""},
       {"<p> AZ </p><p>7</p><q>xxy</q><e/><e>|</e><s>1.00000000001</s>", ""},
       {"<e>ab</e><s>1e39</s>", "value /r/e 'ab'; value /r/s '1e39'"},
       {"<i>-6</i><i>10</i>", "value /r/i '-6'; value /r/i[2] '10'"},
       {"<d>9.951</d><d>-1234.5</d><d>10</d>",
        "value /r/d '9.951'; value /r/d[2] '-1234.5'; value /r/d[3] '10'"},
       {"<f>-0.0</f><b>128</b><b>99999999999999999999</b>",
        "value /r/f '-0.0'; value /r/b '128'; value /r/b[2] '99999999999999999999'"},
       {"<p>AD</p><p>77</p><p>AB7</p>", "value /r/p 'AD'; value /r/p[2] '77'; value /r/p[3] 'AB7'"},
       // Takes longer than anyone would wait: it counts as matched.
       {"<q>" + std::string(60, 'x') + "</q>", ""}});
}

TEST(WalkCheck, PatternsOfTheSchemaLanguage) {
  struct Case {
    const char16_t* pattern;
    const char16_t* good;  // empty: the pattern is of no use
    const char16_t* bad;
  };
  const Case cases[] = {{u"a.c", u"abc", u"a\nc"},
                        {u"^a$", u"^a$", u"a"},
                        {u"[^a-z-[x]]", u"A", u"x"},
                        {u"[&&a\\-\\]]{2}", u"&]", u"b-"},
                        {u"[-+a-c]+", u"-a+", u"d"},
                        {u"\\i\\c*", u"_a-1", u"1a"},
                        {u"[\\i-[:]][\\c-[:]]*", u"a.b", u"a:b"},
                        {u"\\w\\W\\s\\S", u"a! b", u"!a b"},
                        {u"\\p{IsBasicLatin}\\P{Lu}", u"Aa", u"\u00e9A"},
                        {u"a{2}|b", u"aa", u"ab"},
                        {u"\\I", u"", u""},
                        {u"(?=a)", u"", u""},
                        {u"a*+", u"", u""},
                        {u"\\p{IsNowhere}", u"", u""},
                        {u"[a-z-[", u"", u""}};
  for (const Case& one : cases) {
    SchemaPattern pattern(one.pattern);
    EXPECT_EQ(pattern.isUsable(), *one.good != 0) << toUtf8(one.pattern);
    EXPECT_TRUE(pattern.admits(one.good)) << toUtf8(one.pattern);
    EXPECT_EQ(pattern.admits(one.bad), !pattern.isUsable()) << toUtf8(one.pattern);
  }
}

TEST(WalkCheck, ListsAndUnions) {
  expectFindings(
      rootOf("<xs:choice maxOccurs='unbounded'><xs:element name='l' type='t:L'/>"
             "<xs:element name='u' type='t:U'/><xs:element name='w' type='t:W'/><xs:element "
             "name='v'><xs:simpleType>"
             "<xs:list itemType='t:U'/></xs:simpleType></xs:element>"
             "<xs:element name='a'><xs:complexType><xs:simpleContent><xs:extension base='t:Ns'>"
             "<xs:attribute name='x' type='t:L'/></xs:extension></xs:simpleContent>"
             "</xs:complexType></xs:element></xs:choice>") +
          "<xs:simpleType name='E'><xs:restriction base='xs:token'><xs:enumeration value='red'/>"
          "<xs:enumeration value='b lue'/></xs:restriction></xs:simpleType>"
          "<xs:simpleType name='Es'><xs:list itemType='t:E'/></xs:simpleType>"
          "<xs:simpleType name='L'><xs:restriction base='t:Es'><xs:minLength value='1'/>"
          "<xs:maxLength value='2'/></xs:restriction></xs:simpleType>"
          "<xs:simpleType name='Ns'><xs:list><xs:simpleType><xs:restriction base='xs:int'/>"
          "</xs:simpleType></xs:list></xs:simpleType>"
          "<xs:simpleType name='U'><xs:union memberTypes='t:E xs:decimal'/></xs:simpleType>"
          "<xs:simpleType name='W'><xs:restriction base='t:U'><xs:enumeration value='1'/>"
          "</xs:restriction></xs:simpleType>",
      {{"<l>red</l><l> red\n red </l><u> b  lue</u><u>1.5</u><v/><v>1 red 2</v>", ""},
       {"<a/><a x='red'>1 -2</a><w>01.0</w>", ""},
       {"<l> </l><l>red red red</l>", "value /r/l ' '; value /r/l[2] 'red red red' max 2"},
       {"<l>red b lue</l>", "value /r/l 'red b lue'"},
       {"<u>lue</u><v>1 x</v>", "value /r/u 'lue'; value /r/v '1 x'"},
       {"<a x='blue'>1 1.5</a>", "attribute /r/a@x 'blue'; value /r/a '1 1.5'"}});
}

TEST(WalkCheck, AttributesAndFixedValues) {
  expectFindings(
      rootOf("<xs:choice maxOccurs='unbounded'><xs:element name='a'><xs:complexType>"
             "<xs:attribute name='q' type='xs:int' use='required'/>"
             "<xs:attribute name='e'><xs:simpleType><xs:restriction base='xs:token'>"
             "<xs:enumeration value='x'/><xs:enumeration value='R&amp;D'/></xs:restriction>"
             "</xs:simpleType></xs:attribute>"
             "<xs:attribute name='f' type='xs:string' fixed='1'/></xs:complexType></xs:element>"
             "<xs:element name='w'><xs:complexType>"
             "<xs:anyAttribute namespace='##other' processContents='lax'/></xs:complexType>"
             "</xs:element><xs:element name='v' type='xs:string' fixed='yes'/></xs:choice>"),
      {{"<a q='1' e=' x ' f='1'/><w o:z='1'/><v>yes</v><v/>", ""},
       {"<a q='1' e='R&amp;D'/><a q='1' e='R&#38;D'/>", ""},
       {"<a q='1' e='&lt;&amp;amp;'/>", "attribute /r/a@e '<&amp;'"},
       {"<a/>", "attribute /r/a@q"},
       {"<a q='one'/>", "attribute /r/a@q 'one'"},
       {"<a q='1' e='y' f='2'/>", "attribute /r/a@e 'y'; attribute /r/a@f '2'"},
       {"<a q='1' o:q='1' Q='1'/>", "attribute /r/a@q '1'; attribute /r/a@Q '1'"},
       {"<w z='1'/><v>no</v><v x='1'/>",
        "attribute /r/w@z '1'; value /r/v 'no'; attribute /r/v[2]@x '1'"}});
  expectFindings(rootOf("<xs:sequence>" + element("a") + "</xs:sequence>"),
                 {{"<a x='1'/>", "attribute /r/a@x '1'"}});
}

TEST(WalkCheck, TypesAndNil) {
  expectFindings(
      rootOf("<xs:choice maxOccurs='unbounded'><xs:element name='a' type='t:A'/>"
             "<xs:element name='n' type='t:A' nillable='true'/><xs:element ref='t:h'/><xs:element "
             "name='f' type='xs:string' nillable='true' fixed='x'/></xs:choice>") +
          "<xs:element name='h' type='t:A' abstract='true'/>"
          "<xs:element name='i' substitutionGroup='t:h'/>"
          "<xs:complexType name='A'><xs:sequence>" +
          element("x") +
          "</xs:sequence></xs:complexType>"
          "<xs:complexType name='B'><xs:complexContent><xs:extension base='t:A'><xs:sequence>" +
          element("y") +
          "</xs:sequence></xs:extension></xs:complexContent></xs:complexType>"
          "<xs:complexType name='C'><xs:sequence>" +
          element("x") + "</xs:sequence></xs:complexType>",
      {{"<a xsi:type='B'><x/><y/></a><n xsi:nil='true'/>", ""},
       {"<a xsi:type='B'><x/></a>", "incomplete /r/a -y =y"},
       {"<a xsi:type='Z' q='1'><zz/></a>", "type /r/a 'Z'"},
       {"<a xsi:type='C'>text</a>", "type /r/a 'C'"},
       {"<a xsi:type='xs:int'><x/></a>", "type /r/a 'xs:int'"},
       {"<a xsi:nil='true'/>", "nil /r/a"},
       {"<f xsi:nil='true'/><i><x/></i>", "nil /r/f"},
       {"<h><x/></h>", "refused /r/h =a|n|i|f"},
       {"<a xsi:nil='0'><x/></a>", "nil /r/a"},
       {"<n xsi:nil='maybe'><x/></n>", "nil /r/n 'maybe'"},
       {"<n xsi:foo='1' q='1'><x/></n>", "attribute /r/n@foo '1'; attribute /r/n@q '1'"},
       {"<a>text</a>", "text /r/a 'text'"},
       {"<n xsi:nil='1'>t<x/></n>", "nil /r/n 't'"},
       {"<n xsi:nil='1'><x/><x/> </n>", "refused /r/n/x"}});
}

TEST(WalkCheck, TypesThatMayBeTaken) {
  expectFindings(
      rootOf(
          "<xs:choice maxOccurs='unbounded'><xs:element name='u' type='t:U'/>"
          "<xs:element name='e' type='t:E' block='restriction'/><xs:element name='c' type='t:C'/>"
          "<xs:element name='any'/></xs:choice>") +
          "<xs:simpleType name='E'><xs:restriction base='xs:int'/></xs:simpleType>"
          "<xs:simpleType name='F'><xs:restriction base='t:E'/></xs:simpleType>"
          "<xs:simpleType name='L'><xs:list itemType='t:E'/></xs:simpleType>"
          "<xs:simpleType name='U'><xs:union memberTypes='t:E t:L'/></xs:simpleType>"
          "<xs:complexType name='C' block='extension'><xs:sequence/></xs:complexType>"
          "<xs:complexType name='D'><xs:complexContent><xs:extension base='t:C'/>"
          "</xs:complexContent></xs:complexType>",
      {{"<u xsi:type='F'>1</u><u xsi:type='L'>1 2</u><e xsi:type='E'>1</e>", ""},
       {"<any xsi:type='D'/><any xsi:type='xs:date'/>", ""},
       {"<e xsi:type='xs:byte'>1</e>", "type /r/e 'xs:byte'"},
       {"<e xsi:type='F'>1</e>", "type /r/e 'F'"},
       {"<e xsi:type='L'>1</e>", "type /r/e 'L'"},
       {"<u xsi:type='D'/>", "type /r/u 'D'"},
       {"<c xsi:type='D'/>", "type /r/c 'D'"}});
}

TEST(WalkCheck, FaultsBeyondTheLimitAreNotExplained) {
  const Model model(rootOf("<xs:sequence>" + element("a") + "</xs:sequence>"));
  std::string message = "<r xmlns='urn:t'>";
  for (int i = 0; i < 2 * kMaxExplainedFaults; ++i) message += "<x/>";
  XmlWalker walker(*model, {.isChecking = true});
  const WalkSummary summary = walker.walkText(message + "</r>", "message");
  EXPECT_EQ(summary.count(VerdictKind::UnknownName), kMaxExplainedFaults);
  EXPECT_EQ(summary.count(Placement::Unjudged), kMaxExplainedFaults);
}

std::string positionOf(const Finding& finding) {
  const WalkPosition& at = finding.position;
  return std::to_string(at.line) + ":" + std::to_string(at.column) + "@" +
         std::to_string(at.offset);
}

TEST(WalkCheck, PositionsOfTextAndOfEnds) {
  const Model model(rootOf("<xs:sequence>" + element("a") + element("b") + "</xs:sequence>"));
  EXPECT_EQ(check(model, "<r xmlns='urn:t'>\n <a/>\n \xC3\xA9\n \n</r>", positionOf),
            "3:2@25; 5:1@30");
  EXPECT_EQ(check(model, "<r xmlns='urn:t'>\n <a/>\n <![CDATA[\r\n x]]>\n \n</r>", positionOf),
            "4:2@37; 6:1@44");
}

// An end is where its tag begins, whatever follows; what an entity holds is where it is named.
TEST(WalkCheck, PositionsOfEndsInFrontOfOtherTags) {
  const Model model(
      rootOf("<xs:sequence><xs:element name='p' maxOccurs='9'><xs:complexType>"
             "<xs:sequence>" +
             element("q") + "</xs:sequence></xs:complexType></xs:element></xs:sequence>"));
  EXPECT_EQ(check(model, "<r xmlns='urn:t'><p></p><p></p >\n</r>", positionOf), "1:21@20; 1:28@27");
  EXPECT_EQ(
      check(model, "<!DOCTYPE r [<!ENTITY e '<p></p>'>]><r xmlns='urn:t'>&e;&e;</r>", positionOf),
      "1:54@53; 1:57@56");
}

}  // namespace
}  // namespace cpi::test
