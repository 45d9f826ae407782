// A walk that has been as deep as the message goes, and has met its names, allocates nothing more.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>

#include "tests/models/walk_support.h"

namespace {
std::atomic<std::int64_t> allocations = 0;

void* counted(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  void* const block = std::malloc(size == 0 ? 1 : size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}
}  // namespace

// Of the whole program, so that what the libraries allocate counts too.
void* operator new(std::size_t size) { return counted(size); }
void* operator new[](std::size_t size) { return counted(size); }
// The form that does not throw must come from the same heap as the deletes below release to.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  allocations.fetch_add(1, std::memory_order_relaxed);
  return std::malloc(size == 0 ? 1 : size);
}
void operator delete(void* block) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t) noexcept { std::free(block); }

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
    std::int64_t first = -1;
    std::int64_t second = -1;
    void element(const WalkedElement& element) override {
      if (element.name == "half") (first < 0 ? first : second) = allocations.load();
    }
  };
  Watch watch;
  XmlWalker walker(*model);
  const WalkSummary summary = walker.walkText(message, "message", &watch);
  EXPECT_GT(summary.elements, 1000);
  EXPECT_GT(watch.first, 0);
  EXPECT_EQ(watch.second, watch.first);
}

}  // namespace
}  // namespace cpi::test
