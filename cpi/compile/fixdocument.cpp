#include "cpi/compile/fixdocument.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLPScanToken.hpp>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "cpi/compile/saxreader.h"
#include "cpi/compile/sourcefile.h"
#include "cpi/compile/xmltext.h"

namespace cpi {

namespace {

using View = std::u16string_view;

constexpr View kRootName = u"fix";
constexpr std::size_t kDepthLimit = 200;
constexpr XMLSize_t kEntityLimit = 1000;
// The digits of the greatest number that a tag may bear, see kMaxFixTag.
constexpr std::size_t kNumberDigits = 9;

std::optional<std::int32_t> numberOf(View digits) {
  if (digits.empty() || digits.size() > kNumberDigits) return std::nullopt;
  std::int32_t number = 0;
  for (const char16_t digit : digits) {
    if (digit < u'0' || digit > u'9') return std::nullopt;
    number = number * 10 + (digit - u'0');
  }
  return number;
}

std::u16string capitals(View text) {
  std::u16string result(text);
  for (char16_t& unit : result) {
    if (unit >= u'a' && unit <= u'z') unit = static_cast<char16_t>(unit - u'a' + u'A');
  }
  return result;
}

class FixHandler : public xercesc::DefaultHandler {
 public:
  FixHandler(FixDocument& document, std::vector<Notice>& notices)
      : document_(document), notices_(notices) {}

  void setDocumentLocator(const xercesc::Locator* locator) override { locator_ = locator; }

  void startElement(const XMLCh*, const XMLCh* name, const XMLCh*,
                    const xercesc::Attributes& attributes) override {
    if (context_.size() > kDepthLimit) fail("elements are nested more than 200 deep");
    attributes_ = &attributes;
    const View element = viewOf(name);
    context_.push_back(contextOf(element));
    if (context_.back() == Context::Unknown) note(element);
  }
  void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override {
    if (context_.back() == Context::Items) itemLists_.pop_back();
    context_.pop_back();
  }

  // The parser stops by itself; an exception from here would make it leak.
  void fatalError(const xercesc::SAXParseException& error) override {
    if (fatal_) return;
    fatal_ = ScanError{toUtf8(viewOf(error.getMessage())),
                       {static_cast<std::int32_t>(error.getLineNumber()),
                        static_cast<std::int32_t>(error.getColumnNumber())}};
  }
  void throwIfFatal() const {
    if (fatal_) refuseFile(document_.path, fatal_->place, fatal_->text);
  }
  // Nothing outside the dictionary itself is read.
  xercesc::InputSource* resolveEntity(const XMLCh*, const XMLCh* systemId) override {
    static constexpr XMLByte kNothing[1] = {' '};
    return new xercesc::MemBufInputSource(kNothing, 0, systemId);
  }

 private:
  // What the children of an open element are.
  enum class Context : std::uint8_t {
    Root,        // the parts of the dictionary
    Messages,    // messages
    Components,  // component definitions
    Fields,      // field definitions
    Values,      // the values of the last field definition
    Items,       // fields, groups and components, of the innermost list
    Empty,       // nothing
    Unknown,     // whatever is in an element that is passed over
  };

  Context contextOf(View element) {
    if (context_.empty()) return root(element);
    switch (context_.back()) {
      case Context::Root: return part(element);
      case Context::Messages: return element == u"message" ? message() : Context::Unknown;
      case Context::Components: return element == u"component" ? component() : Context::Unknown;
      case Context::Fields: return element == u"field" ? field() : Context::Unknown;
      case Context::Values: return element == u"value" ? value() : Context::Unknown;
      case Context::Items: return item(element);
      default: return Context::Unknown;
    }
  }

  Context root(View element) {
    if (element != kRootName) fail("the document is no FIX data dictionary");
    document_.isTransport = attribute(u"type") == u"FIXT";
    document_.major = number(u"major");
    document_.minor = number(u"minor");
    return Context::Root;
  }

  Context part(View element) {
    if (element == u"header") return items(document_.header);
    if (element == u"trailer") return items(document_.trailer);
    if (element == u"messages") return Context::Messages;
    if (element == u"components") return Context::Components;
    return element == u"fields" ? Context::Fields : Context::Unknown;
  }

  Context items(std::vector<FixItem>& list) {
    itemLists_.push_back(&list);
    return Context::Items;
  }

  Context message() {
    document_.messages.push_back(
        {std::u16string(required(u"name")), std::u16string(required(u"msgtype")), here(), {}});
    return items(document_.messages.back().items);
  }

  Context component() {
    document_.components.push_back({std::u16string(required(u"name")), here(), {}});
    return items(document_.components.back().items);
  }

  Context field() {
    const std::int32_t tag = number(u"number");
    if (tag == 0) fail("the number of a field is not above 0");
    document_.fields.push_back({tag,
                                std::u16string(required(u"name")),
                                capitals(required(u"type")),
                                here(),
                                attribute(u"allowOtherValues") == u"true",
                                {}});
    return Context::Values;
  }

  Context value() {
    document_.fields.back().values.push_back(
        {std::u16string(required(u"enum")), std::u16string(attribute(u"description"))});
    return Context::Empty;
  }

  Context item(View element) {
    using Kind = FixItem::Kind;
    const bool isGroup = element == u"group";
    if (!isGroup && element != u"field" && element != u"component") return Context::Unknown;
    const Kind kind = isGroup ? Kind::Group : element == u"field" ? Kind::Field : Kind::Component;
    std::vector<FixItem>& list = *itemLists_.back();
    list.push_back({kind, std::u16string(required(u"name")), isRequired(), here(), {}});
    return isGroup ? items(list.back().children) : Context::Empty;
  }

  bool isRequired() const {
    const View text = attribute(u"required");
    if (text.empty() || text == u"N" || text == u"n") return false;
    if (text != u"Y" && text != u"y") fail("the attribute 'required' is neither Y nor N");
    return true;
  }

  View attribute(const char16_t* name) const {
    const XMLCh* const text = attributes_->getValue(xercesc::XMLUni::fgZeroLenString, name);
    return trimmed(viewOf(text));
  }
  View required(const char16_t* name) const {
    const View text = attribute(name);
    if (text.empty()) fail("the attribute '" + toUtf8(name) + "' is missing or empty");
    return text;
  }
  std::int32_t number(const char16_t* name) const {
    const View text = required(name);
    const auto value = numberOf(text);
    if (!value) fail("the attribute '" + toUtf8(name) + "' is no number: " + toUtf8(text));
    return *value;
  }

  // Once for the outermost of the elements that are passed over.
  void note(View element) {
    const bool isInside = context_.size() > 1 && context_[context_.size() - 2] == Context::Unknown;
    if (isInside) return;
    const std::string text =
        "elements '" + toUtf8(element) + "' have no meaning here and are passed over";
    const auto entry = std::ranges::find(notices_, text, &Notice::text);
    if (entry != notices_.end()) {
      ++entry->count;
    } else {
      notices_.push_back({text, document_.path, here().line, here().column});
    }
  }

  SchemaPlace here() const {
    return {static_cast<std::int32_t>(locator_->getLineNumber()),
            static_cast<std::int32_t>(locator_->getColumnNumber())};
  }
  [[noreturn]] void fail(const std::string& text) const {
    refuseFile(document_.path, here(), text);
  }

  FixDocument& document_;
  std::vector<Notice>& notices_;
  std::optional<ScanError> fatal_;
  const xercesc::Locator* locator_ = nullptr;
  const xercesc::Attributes* attributes_ = nullptr;
  std::vector<Context> context_;                  // of the open elements
  std::vector<std::vector<FixItem>*> itemLists_;  // of those whose children are items
};

// Remembers the root element.
class RootHandler : public xercesc::DefaultHandler {
 public:
  void startElement(const XMLCh*, const XMLCh* name, const XMLCh*,
                    const xercesc::Attributes&) override {
    if (!hasRoot) isFix = viewOf(name) == kRootName;
    hasRoot = true;
  }
  void fatalError(const xercesc::SAXParseException&) override { hasRoot = true; }
  xercesc::InputSource* resolveEntity(const XMLCh*, const XMLCh* systemId) override {
    static constexpr XMLByte kNothing[1] = {' '};
    return new xercesc::MemBufInputSource(kNothing, 0, systemId);
  }

  bool hasRoot = false;
  bool isFix = false;
};

}  // namespace

bool isFixDocument(const std::string& path) {
  startXmlParser();
  const std::string bytes = readSourceFile(path);
  RootHandler handler;
  xercesc::SecurityManager security;
  security.setEntityExpansionLimit(kEntityLimit);
  const auto reader = makeSaxReader(handler, security);
  const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(bytes.data()),
                                          bytes.size(), toUtf16(path).c_str());
  try {
    xercesc::XMLPScanToken token;
    bool isMore = reader->parseFirst(source, token);
    while (isMore && !handler.hasRoot) isMore = reader->parseNext(token);
    reader->parseReset(token);
  } catch (const xercesc::XMLException&) {
    return false;
  }
  return handler.isFix;
}

FixDocument readFixDocument(const std::string& path, std::vector<Notice>& notices) {
  startXmlParser();
  const std::string bytes = readSourceFile(path);
  FixDocument document;
  document.path = path;
  FixHandler handler(document, notices);
  xercesc::SecurityManager security;
  security.setEntityExpansionLimit(kEntityLimit);
  const auto reader = makeSaxReader(handler, security);
  const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(bytes.data()),
                                          bytes.size(), toUtf16(path).c_str());
  try {
    reader->parse(source);
  } catch (const xercesc::XMLException& error) {
    refuseFile(path, {}, toUtf8(viewOf(error.getMessage())));
  }
  handler.throwIfFatal();
  return document;
}

}  // namespace cpi
