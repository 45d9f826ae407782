// Messages that are broken, or made to do harm: each is refused with a clear error, soon.
#include <gtest/gtest.h>

#include <string>

#include "tests/models/walk_support.h"
#include "tests/support/texts.h"

namespace cpi::test {
namespace {

const Model& anyModel() {
  static const Model model(
      rootOf("<xs:sequence><xs:any processContents='skip' minOccurs='0' maxOccurs='unbounded'/>"
             "</xs:sequence>"));
  return model;
}

std::string walked(const std::string& message) { return walkLine(*anyModel(), message); }

TEST(WalkHostile, NotWellFormed) {
  struct Case {
    const char* message;
    const char* error;
  };
  const Case cases[] = {
      {"", "message:1:1: the message ends before its first element"},
      {"<r xmlns='urn:t'>\n <a>", "message:2:5: the message ends inside an element"},
      {"<r xmlns='urn:t'>\n</s>", "message:2:5: Opening and ending tag mismatch: r line 1 and s"},
      {"<r xmlns='urn:t'><p:a/></r>", "message:1:22: Namespace prefix p on a is not defined"},
      {"<r xmlns='urn:t'>&e;</r>", "message:1:21: Entity 'e' not defined"},
      {"<?xml version='1.0' encoding='GB18030'?><r a='\xFF'/>",
       "message:1:47: bytes that are no text in the encoding of the message"},
      {"<r xmlns='urn:t'/><r/>", "message:1:19: Extra content at the end of the document"},
  };
  for (const Case& one : cases) EXPECT_EQ(walked(one.message), one.error) << one.message;
}

TEST(WalkHostile, CannotBeRead) {
  XmlWalker walker(*anyModel());
  for (const char* const path : {"/nowhere/message.xml", "/"}) {
    EXPECT_THROW(walker.walkFile(path), FileError) << path;
  }
}

TEST(WalkHostile, AWalkerGoesOnAfterAnError) {
  XmlWalker walker(*anyModel());
  EXPECT_THROW(walker.walkText("<r xmlns='urn:t'><a><b>", "m"), FileError);
  EXPECT_EQ(walker.walkText("<r xmlns='urn:t'><a/></r>", "m").elements, 2);
}

// What a visitor throws must come out, through the parser's C code.
TEST(WalkHostile, AVisitorMayThrow) {
  struct Thrower : WalkVisitor {
    void element(const WalkedElement& element) override {
      if (element.depth == 1) throw std::runtime_error("enough");
    }
  };
  XmlWalker walker(*anyModel());
  Thrower thrower;
  EXPECT_THROW(walker.walkText("<r xmlns='urn:t'><a/></r>", "m", &thrower), std::runtime_error);
}

TEST(WalkHostile, Depth) {
  const auto nested = [](int depth) {
    return "<r xmlns='urn:t'>" + repeated("<a>", depth) + repeated("</a>", depth) + "</r>";
  };
  EXPECT_EQ(walked(nested(kMaxXmlDepth - 1)).find("message:"), std::string::npos);
  EXPECT_EQ(walked(nested(kMaxXmlDepth)), "message:1:783: elements are nested too deeply");
  EXPECT_EQ(walked(nested(1'000'000)), "message:1:783: elements are nested too deeply");
}

TEST(WalkHostile, AttributesAndNamespacesOfOneTag) {
  std::string attributes;
  std::string declarations;
  std::string namespaces;
  for (int i = 0; i < 30'000; ++i) {
    attributes += " attri" + std::to_string(i) + "=''";
    declarations += " a" + std::to_string(i) + " CDATA ''";
    if (i < 10'000) namespaces += " xmlns:n" + std::to_string(i) + "='u'";
  }
  EXPECT_EQ(walked("<r xmlns='urn:t' x='>'" + attributes + "/>"),
            "message:1:1: a tag has too many attributes");
  EXPECT_EQ(walked("<!DOCTYPE r [<!ENTITY e \"&#60;a" + attributes + "/>\">]><r/>"),
            "message:1:14: a tag has too many attributes");
  EXPECT_NE(walked("<!DOCTYPE r [<!ATTLIST r" + declarations + ">]><r/>").find("are declared"),
            std::string::npos);
  EXPECT_EQ(walked("<r xmlns='urn:t'" + namespaces + "/>"),
            "message:1:1: too many namespaces are in scope");
}

TEST(WalkHostile, EntitiesOfTheMessageItselfAreExpanded) {
  EXPECT_EQ(walked("<!DOCTYPE r [<!ENTITY e '<a/><b>t</b>'>]><r xmlns='urn:t'>&e;<c/>&e;</r>"),
            "r(*a *b[2] *c[3] *a[4] *b[5])");
}

TEST(WalkHostile, EntityBombs) {
  for (const std::string& seed : {std::string("x"), std::string("<a/>"), std::string()}) {
    std::string bomb = "<!DOCTYPE r [<!ENTITY e0 \"" + seed + "\">";
    for (int i = 1; i <= 20; ++i) {
      const std::string inner = "&e" + std::to_string(i - 1) + ";";
      bomb += "<!ENTITY e" + std::to_string(i) + " \"" + repeated(inner, 10) + "\">";
    }
    EXPECT_NE(walked(bomb + "]><r xmlns='urn:t'>&e20;</r>").find("message:1:"), std::string::npos);
  }
  EXPECT_EQ(walked("<!DOCTYPE r [<!ENTITY e \"<a>" + std::string(100'000, 'x') + "</a>" +
                   "\">]><r xmlns='urn:t'>" + repeated("&e;", 1'000) + "</r>")
                .substr(0, 10),
            "message:1:");
  EXPECT_NE(
      walked("<!DOCTYPE r [<!ENTITY x '" + std::string(100'000, 'x') + "'><!ENTITY e '" +
             repeated("&x;", 10) + "'>]><r xmlns='urn:t'>" + repeated("<a b='&e;'/>", 20) + "</r>")
          .find("entities expand to too much"),
      std::string::npos);
}

// The file is there and readable: had it been fetched, it would have shown.
TEST(WalkHostile, NothingOutsideTheMessageIsFetched) {
  const TemporaryFile outside("outside.ent", "<stolen/>");
  const std::string at = "SYSTEM \"file://" + outside.path() + "\"";
  const std::string message = "<!DOCTYPE r " + at + " [<!ENTITY e " + at + "><!ENTITY % p " + at +
                              "> %p;]><r xmlns='urn:t'>&e;<a/>&e;</r>";
  XmlWalker walker(*anyModel());
  LineVisitor visitor;
  const WalkSummary summary = walker.walkText(message, "m", &visitor);
  EXPECT_EQ(visitor.line(), "r(*a)");
  EXPECT_EQ(summary.notFetched, 3);
}

TEST(WalkHostile, OtherCodes) {
  const std::u16string text =
      u"\xFEFF<?xml version='1.0' encoding='UTF-16'?><r xmlns='urn:t'><é/></r>";
  const std::string bytes(reinterpret_cast<const char*>(text.data()), text.size() * 2);
  EXPECT_EQ(walked(bytes), "r(*é)");
  EXPECT_EQ(walked("<?xml version='1.0' encoding='ISO-8859-1'?><r xmlns='urn:t'><\xE9/></r>"),
            "r(*é)");
}

}  // namespace
}  // namespace cpi::test
