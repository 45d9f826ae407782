// A walk that has been as deep as the message goes, and has met its names, allocates nothing more
// as long as nothing is wrong, with a check or without.
#include <gtest/gtest.h>

#include <string>

#include "tests/models/walk_support.h"
#include "tests/support/allocations.h"

namespace cpi::test {
namespace {

TEST(WalkAllocation, NoneOnceWarm) {
  const Model model(
      "<xs:simpleType name='N'><xs:restriction base='xs:int'><xs:enumeration value='7'/>"
      "</xs:restriction></xs:simpleType>"
      "<xs:element name='r'><xs:complexType><xs:choice maxOccurs='unbounded'>"
      "<xs:element name='a' type='t:A'/>"
      "<xs:any namespace='##other' processContents='lax'/>"
      "<xs:element name='half' type='xs:string'/><xs:element name='n' "
      "type='t:N'/></xs:choice></xs:complexType></xs:element>"
      "<xs:complexType name='A'><xs:sequence>"
      "<xs:element name='a' type='t:A' minOccurs='0' maxOccurs='2'/>"
      "<xs:sequence minOccurs='0' maxOccurs='9'><xs:element name='b' type='xs:string'/>"
      "<xs:element name='c' type='t:All'/></xs:sequence></xs:sequence></xs:complexType>"
      "<xs:complexType name='B'><xs:complexContent><xs:extension base='t:A'/></xs:complexContent>"
      "</xs:complexType>"
      "<xs:complexType name='All'><xs:all><xs:element name='d' type='xs:string'/>"
      "<xs:element name='e' type='t:All' minOccurs='0'/></xs:all></xs:complexType>");
  const std::string part =
      "<a><a><b/><c><e><d/></e><d/></c></a><b>text</b><c><d/></c></a>"
      "<a xsi:type='B'><b/><c><d/></c></a><n>7</n>"
      "<o:x><a/><o:y><a/></o:y></o:x>";
  std::string half;
  for (int i = 0; i < 50; ++i) half += part;
  const std::string message =
      "<r xmlns='urn:t' xmlns:o='urn:o' "
      "xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'><half/>" +
      half + "<half/>" + half + "<half/></r>";
  struct Watch : WalkVisitor {
    std::size_t before = 0;
    std::size_t after = 0;
    void element(const WalkedElement& element) override {
      if (element.name != "half") return;
      before = after;
      after = allocationCount();
    }
  };
  for (const bool isChecking : {false, true}) {
    Watch watch;
    XmlWalker walker(*model, {.isChecking = isChecking});
    const WalkSummary summary = walker.walkText(message, "message", &watch);
    EXPECT_GT(summary.elements, 1000);
    EXPECT_EQ(summary.findings(), 0);
    EXPECT_GT(watch.before, 0U);
    EXPECT_EQ(watch.after, watch.before) << isChecking;
  }
}

}  // namespace
}  // namespace cpi::test
