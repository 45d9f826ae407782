// A walk that has been as deep as the message goes, and has met its names, allocates nothing more.
#include <gtest/gtest.h>

#include <string>

#include "tests/models/walk_support.h"
#include "tests/support/allocations.h"

namespace cpi::test {
namespace {

TEST(WalkAllocation, NoneOnceWarm) {
  const Model model(
      "<xs:element name='r'><xs:complexType><xs:choice maxOccurs='unbounded'>"
      "<xs:element name='a' type='t:A'/>"
      "<xs:any namespace='##other' processContents='lax'/>"
      "<xs:element name='half' type='xs:string'/></xs:choice></xs:complexType></xs:element>"
      "<xs:complexType name='A'><xs:sequence>"
      "<xs:element name='a' type='t:A' minOccurs='0' maxOccurs='2'/>"
      "<xs:sequence minOccurs='0' maxOccurs='9'><xs:element name='b' type='xs:string'/>"
      "<xs:element name='c' type='t:All'/></xs:sequence></xs:sequence></xs:complexType>"
      "<xs:complexType name='B'><xs:complexContent><xs:extension base='t:A'/></xs:complexContent>"
      "</xs:complexType>"
      "<xs:complexType name='All'><xs:all><xs:element name='d' type='xs:string'/>"
      "<xs:element name='e' type='t:All' minOccurs='0'/></xs:all></xs:complexType>");
  const std::string part =
      "<a><a><b/><c><e><d/></e><d/></c></a><b>text</b><c><d/><d/></c><b/></a>"
      "<a xsi:type='B'><b/><wrong><x/></wrong></a>"
      "<o:x><a/><o:y><a/></o:y></o:x>";
  std::string half;
  for (int i = 0; i < 50; ++i) half += part;
  const std::string message =
      "<r xmlns='urn:t' xmlns:o='urn:o' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'>" +
      half + "<half/>" + half + "<half/></r>";
  struct Watch : WalkVisitor {
    std::size_t first = 0;
    std::size_t second = 0;
    void element(const WalkedElement& element) override {
      if (element.name == "half") (first == 0 ? first : second) = allocationCount();
    }
  };
  Watch watch;
  XmlWalker walker(*model);
  const WalkSummary summary = walker.walkText(message, "message", &watch);
  EXPECT_GT(summary.elements, 1000);
  EXPECT_GT(watch.first, 0U);
  EXPECT_EQ(watch.second, watch.first);
}

}  // namespace
}  // namespace cpi::test
