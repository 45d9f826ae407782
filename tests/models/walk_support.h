// Small schemas and messages, and a walk as one line of text.
#ifndef TESTS_MODELS_WALK_SUPPORT_H
#define TESTS_MODELS_WALK_SUPPORT_H

#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>

#include "cpi/compile/xsdcompiler.h"
#include "cpi/walk/xmlwalker.h"

namespace cpi::test {

// A file that lives as long as this object.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::string& contents, const std::string& suffix = ".xsd") {
    static std::int64_t count = 0;
    const std::string name =
        "walk-" + std::to_string(::getpid()) + "-" + std::to_string(++count) + suffix;
    path_ = std::filesystem::temp_directory_path() / name;
    std::ofstream(path_, std::ios::binary) << contents;
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { std::filesystem::remove(path_); }

  std::string path() const { return path_; }

 private:
  std::filesystem::path path_;
};

// A schema for namespace urn:t (prefix t) around the declarations given, compiled and ready.
class Model {
 public:
  explicit Model(const std::string& declarations) {
    const TemporaryFile file(
        "<xs:schema xmlns:xs='http://www.w3.org/2001/XMLSchema' xmlns:t='urn:t' "
        "targetNamespace='urn:t' elementFormDefault='qualified'>" +
        declarations + "</xs:schema>");
    XsdReport report;
    feed(compileXsd({file.path()}, {}, report), dictionary_);
    model_ = std::make_unique<WalkModel>(dictionary_);
  }

  const WalkModel& operator*() const { return *model_; }

 private:
  StdDictionaryInfo dictionary_{0};
  std::unique_ptr<WalkModel> model_;
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
