#include "cpi/walk/xmlwalker.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "cpi/walk/xmlnames.h"
#include "cpi/walk/xmlpushparser.h"

namespace cpi {
namespace {

constexpr std::size_t kReadSize = std::size_t{1} << 16;

struct CloseFile {
  void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using File = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void refuse(const std::string& path, const char* what) {
  throw FileError(path, {}, std::string(what) + " (" + std::strerror(errno) + ")");
}

}  // namespace

// One message at a time; what it has allocated serves the next message too.
class XmlWalker::Walk : public XmlEvents {
 public:
  explicit Walk(const WalkModel& model) : model_(&model), walk_(model) {}

  void begin(WalkVisitor* visitor) {
    walk_.restart();
    names_.clear();
    scope_.clear();
    summary_ = {};
    visitor_ = visitor;
  }

  WalkSummary file(const std::string& path);
  WalkSummary text(std::string_view text, const std::string& name);

  void startElement(const XmlStartTag& tag) override;
  void endElement() override {
    scope_.leave();
    walk_.leave();
  }

 private:
  WalkSummary finish(XmlPushParser& parser) {
    parser.finish();
    parser_ = nullptr;
    summary_.notFetched = parser.notFetched();
    return summary_;
  }
  void count(const Verdict& verdict) noexcept {
    ++summary_.elements;
    ++summary_.placed[static_cast<std::size_t>(verdict.placement)];
    summary_.beyondLimit += verdict.isBeyondLimit() ? 1 : 0;
  }
  void report(const Verdict& verdict, const XmlStartTag& tag) const;

  const WalkModel* model_;
  ModelWalk walk_;
  XmlNames names_;
  XmlNamespaces scope_;
  XmlTypeKeys typeKeys_;
  WalkSummary summary_;
  WalkVisitor* visitor_ = nullptr;
  const XmlPushParser* parser_ = nullptr;
  std::vector<char> buffer_;
};

WalkSummary XmlWalker::Walk::file(const std::string& path) {
  const File file(std::fopen(path.c_str(), "rb"));
  if (file == nullptr) refuse(path, "cannot be opened");
  XmlPushParser parser(*this, path);
  parser_ = &parser;
  buffer_.resize(kReadSize);
  while (const std::size_t size = std::fread(buffer_.data(), 1, buffer_.size(), file.get())) {
    parser.feed({buffer_.data(), size});
  }
  if (std::ferror(file.get()) != 0) refuse(path, "cannot be read");
  return finish(parser);
}

WalkSummary XmlWalker::Walk::text(std::string_view text, const std::string& name) {
  XmlPushParser parser(*this, name);
  parser_ = &parser;
  parser.feed(text);
  return finish(parser);
}

void XmlWalker::Walk::startElement(const XmlStartTag& tag) {
  scope_.enter(tag.declarations, tag.declarationCount);
  const XmlName& name = names_.find(tag.local, tag.uri);
  const std::u16string_view typeKey =
      tag.type.empty() ? std::u16string_view() : typeKeys_.find(tag.type, scope_);
  const Verdict verdict = walk_.enter(name.local.getText(), name.namespaceURI, typeKey);
  count(verdict);
  if (visitor_ != nullptr) report(verdict, tag);
}

void XmlWalker::Walk::report(const Verdict& verdict, const XmlStartTag& tag) const {
  const StdDictionaryInfo& dictionary = model_->dictionary();
  WalkedElement element;
  element.verdict = verdict;
  element.depth = static_cast<std::int32_t>(walk_.depth()) - 1;
  element.name = tag.local;
  if (tag.uri != nullptr) element.namespaceURI = tag.uri;
  element.position = parser_->position();
  element.member = dictionary.typeMembers().find(verdict.memberIndex);
  element.tag = dictionary.tags().find(verdict.tagIndex);
  element.type = dictionary.types().find(verdict.typeIndex);
  visitor_->element(element);
}

XmlWalker::XmlWalker(const WalkModel& model) : walk_(std::make_unique<Walk>(model)) {}
XmlWalker::~XmlWalker() = default;
XmlWalker::XmlWalker(XmlWalker&&) noexcept = default;

WalkSummary XmlWalker::walkFile(const std::string& path, WalkVisitor* visitor) {
  walk_->begin(visitor);
  return walk_->file(path);
}

WalkSummary XmlWalker::walkText(std::string_view text, const std::string& name,
                                WalkVisitor* visitor) {
  walk_->begin(visitor);
  return walk_->text(text, name);
}

}  // namespace cpi
