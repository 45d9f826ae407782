// Small schemas and messages, and a walk as one line of text.
#ifndef TESTS_MODELS_WALK_SUPPORT_H
#define TESTS_MODELS_WALK_SUPPORT_H

#include <cstdint>
#include <memory>
#include <string>

#include "cpi/walk/xmlwalker.h"
#include "tests/models/xsd_support.h"

namespace cpi::test {

// The schema of these declarations, compiled and ready.
class Model {
 public:
  explicit Model(const std::string& declarations) {
    feed(compileBody(declarations), dictionary_);
    model_ = std::make_unique<WalkModel>(dictionary_);
  }

  const WalkModel& operator*() const { return *model_; }

 private:
  StdDictionaryInfo dictionary_{0};
  std::unique_ptr<WalkModel> model_;
};

// The declaration of the element r, of this content.
inline std::string rootOf(const std::string& particle) {
  return "<xs:element name='r'><xs:complexType>" + particle + "</xs:complexType></xs:element>";
}

// A message r of this content; prefix o is another namespace.
inline std::string messageOf(const std::string& content) {
  return "<r xmlns='urn:t' xmlns:o='urn:o' xmlns:xs='http://www.w3.org/2001/XMLSchema' "
         "xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'>" +
         content + "</r>";
}

// Keeps the findings of a walk.
struct FindingList : WalkVisitor {
  std::vector<Finding> findings;

  void element(const WalkedElement&) override {}
  void finding(const Finding& finding) override { findings.push_back(finding); }
};

// Writes "r(a b[2] *w(~x +g) !bad)": names with their occurrence from the second on, their
// children in parentheses, and in front of the name what is no root or plain member: '*' wildcard,
// '+' tag-defined, '~' self-defined, '!' refused, '?' unjudged, '>' beyond its limit.
class LineVisitor : public WalkVisitor {
 public:
  void element(const WalkedElement& element) override {
    constexpr const char* kMarks[kPlacementCount] = {"", "", "*", "+", "~", "!", "?"};
    for (; depth_ > element.depth; --depth_) line_ += ')';
    if (!line_.empty()) line_ += depth_ < element.depth ? '(' : ' ';
    depth_ = element.depth;
    line_ += kMarks[static_cast<std::size_t>(element.verdict.placement)];
    if (element.verdict.isBeyondLimit()) line_ += '>';
    line_ += element.name;
    if (element.verdict.occurrence > 1) {
      line_ += "[" + std::to_string(element.verdict.occurrence) + "]";
    }
  }

  std::string line() const { return line_ + std::string(static_cast<std::size_t>(depth_), ')'); }

 private:
  std::string line_;
  std::int32_t depth_ = 0;
};

// The walk of a message as a line; a message that is refused as a whole gives its error.
inline std::string walkLine(const WalkModel& model, const std::string& message) {
  XmlWalker walker(model);
  LineVisitor visitor;
  try {
    walker.walkText(message, "message", &visitor);
  } catch (const FileError& error) {
    return error.what();
  }
  return visitor.line();
}

}  // namespace cpi::test

#endif  // TESTS_MODELS_WALK_SUPPORT_H
