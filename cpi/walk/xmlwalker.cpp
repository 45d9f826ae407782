#include "cpi/walk/xmlwalker.h"

#include <optional>
#include <utility>
#include <vector>

#include "cpi/walk/messagefile.h"
#include "cpi/walk/xmlcheck.h"
#include "cpi/walk/xmleventparser.h"
#include "cpi/walk/xmlnames.h"
#include "cpi/walk/xmltrail.h"

namespace cpi {
namespace {

constexpr std::size_t kReadSize = std::size_t{1} << 16;

}  // namespace

// One message at a time; what it has allocated serves the next message too.
class XmlWalker::Walk : public XmlEvents, public FindingSink {
 public:
  Walk(const WalkModel& model, const WalkOptions& options)
      : model_(&model),
        maxSearch_(options.maxSearch),
        walk_(model, options.isChecking),
        trail_(walk_),
        parser_(*this, options.isChecking) {
    if (options.isChecking) check_.emplace(model, walk_, trail_, *this);
  }

  void begin(WalkVisitor* visitor) {
    walk_.restart();
    scope_.clear();
    trail_.clear();
    summary_ = {};
    visitor_ = visitor;
  }

  WalkSummary file(const std::string& path);
  WalkSummary text(std::string_view text, const std::string& name);

  void startElement(const XmlStartTag& tag) override;
  void text(std::string_view piece) override { check_->text(piece, parser_); }
  void endElement() override;
  void forgetNames() override { names_.clear(); }

 private:
  WalkSummary parse(const std::string& name, const XmlEventParser::Read& read) {
    parser_.parse(name, read);
    summary_.notFetched = parser_.notFetched();
    return summary_;
  }
  void count(const Verdict& verdict) noexcept {
    ++summary_.elements;
    ++summary_.placed[static_cast<std::size_t>(verdict.placement)];
    summary_.beyondLimit += verdict.isBeyondLimit() ? 1 : 0;
  }
  // Whether the way to each element is kept.
  bool isFollowed() const noexcept { return visitor_ != nullptr || check_.has_value(); }
  // Whether further findings are counted only.
  bool isFull() const noexcept { return summary_.findings() >= kMaxFindings; }
  void follow(const Verdict& verdict, const XmlName& name, const XmlStartTag& tag,
              std::u16string_view typeKey);
  void report(const Verdict& verdict, const XmlStartTag& tag, const Finding* finding) const;
  Finding structureFinding(const Verdict& verdict);
  void complete(Finding& finding, const WalkPosition* position) const;
  void add(Finding finding, const WalkPosition* position) override;
  void deliver(const Finding& finding);

  const WalkModel* model_;
  const std::int64_t maxSearch_;
  ModelWalk walk_;
  XmlTrail trail_;
  std::optional<XmlCheck> check_;
  XmlNames names_;
  XmlNamespaces scope_;
  XmlTypeKeys typeKeys_;
  WalkSummary summary_;
  WalkVisitor* visitor_ = nullptr;
  XmlEventParser parser_;
  std::vector<char> buffer_;
};

WalkSummary XmlWalker::Walk::file(const std::string& path) {
  MessageFile file(path);
  buffer_.resize(kReadSize);
  return parse(path, [&] { return std::string_view(buffer_.data(), file.read(buffer_)); });
}

WalkSummary XmlWalker::Walk::text(std::string_view text, const std::string& name) {
  return parse(name, [&text] { return std::exchange(text, {}); });
}

void XmlWalker::Walk::startElement(const XmlStartTag& tag) {
  scope_.enter(tag.declarations, tag.declarationCount);
  XmlName& name = names_.find(tag.local, tag.uri);
  const std::u16string_view typeKey =
      tag.type.empty() ? std::u16string_view() : typeKeys_.find(tag.type, scope_);
  if (name.key == XmlName::kUnresolved) {
    name.key = walk_.keyOf(name.text, name.namespaceURI);
  }
  const Verdict verdict = walk_.enter({name.text, name.namespaceURI}, name.key, typeKey);
  count(verdict);
  if (walk_.searched() > maxSearch_ + kSearchOfElement * summary_.elements) {
    parser_.fail("the model takes too long to search for the elements of this message");
  }
  if (isFollowed()) follow(verdict, name, tag, typeKey);
}

void XmlWalker::Walk::follow(const Verdict& verdict, const XmlName& name, const XmlStartTag& tag,
                             std::u16string_view typeKey) {
  XmlFrame& frame = trail_.enter(name, names_.size());
  frame.local = tag.local;
  frame.uri = tag.uri;
  frame.verdict = verdict;
  const bool isGood =
      verdict.isGood() || verdict.isConsequence || verdict.kind == VerdictKind::Unjudged;
  if (isGood) {
    report(verdict, tag, nullptr);
  } else if (isFull()) {
    report(verdict, tag, nullptr);
    ++summary_.found[static_cast<std::size_t>(verdict.kind)];
  } else {
    Finding finding = structureFinding(verdict);
    complete(finding, nullptr);
    report(verdict, tag, &finding);
    deliver(finding);
  }
  if (check_) check_->start(tag, typeKey);
}

void XmlWalker::Walk::endElement() {
  if (check_) {
    check_->end();
    if (walk_.isIncomplete()) {
      Verdict verdict = trail_.top().verdict;
      verdict.kind = VerdictKind::Incomplete;
      verdict.reason = Reason::NeverCame;
      add(structureFinding(verdict), nullptr);
    }
  }
  if (isFollowed()) trail_.leave();
  scope_.leave();
  walk_.leave();
}

// Of the last structural fault of the walk.
Finding XmlWalker::Walk::structureFinding(const Verdict& verdict) {
  StructureFault& fault = walk_.fault();
  Finding finding;
  finding.verdict = verdict;
  finding.missing = std::move(fault.missing);
  finding.expected = std::move(fault.expected);
  finding.groups = std::move(fault.groups);
  finding.elsewhere = std::move(fault.elsewhere);
  finding.elsewhereCount = fault.elsewhereCount;
  finding.atMost = fault.atMost;
  const auto* const member = model_->dictionary().typeMembers().find(verdict.memberIndex);
  if (verdict.isBeyondLimit() && finding.atMost < 0 && member != nullptr) {
    finding.atMost = member->MaxOccurs;
  }
  fault = {};
  return finding;
}

void XmlWalker::Walk::complete(Finding& finding, const WalkPosition* position) const {
  finding.path = trail_.path();
  finding.position = position == nullptr ? parser_.position() : *position;
  if (finding.name.empty()) {
    finding.name = finding.path.back().name;
    finding.namespaceURI = finding.path.back().namespaceURI;
  }
}

void XmlWalker::Walk::add(Finding finding, const WalkPosition* position) {
  if (!isFull()) complete(finding, position);
  deliver(finding);
}

void XmlWalker::Walk::deliver(const Finding& finding) {
  if (visitor_ != nullptr && !isFull()) visitor_->finding(finding);
  ++summary_.found[static_cast<std::size_t>(finding.verdict.kind)];
}

void XmlWalker::Walk::report(const Verdict& verdict, const XmlStartTag& tag,
                             const Finding* finding) const {
  if (visitor_ == nullptr) return;
  const StdDictionaryInfo& dictionary = model_->dictionary();
  WalkedElement element;
  element.verdict = verdict;
  element.depth = static_cast<std::int32_t>(walk_.depth()) - 1;
  element.name = tag.local;
  if (tag.uri != nullptr) element.namespaceURI = tag.uri;
  element.position = parser_.position();
  element.member = dictionary.typeMembers().find(verdict.memberIndex);
  element.tag = dictionary.tags().find(verdict.tagIndex);
  element.type = dictionary.types().find(verdict.typeIndex);
  element.finding = finding;
  element.trail = &trail_;
  visitor_->element(element);
}

XmlWalker::XmlWalker(const WalkModel& model, WalkOptions options)
    : walk_(std::make_unique<Walk>(model, options)) {}
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
