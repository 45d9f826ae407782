#include "cpi/compile/fixdocument.h"

#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLPScanToken.hpp>
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

class FixHandler : public SaxHandler {
 public:
  FixHandler(FixDocument& document, std::vector<Notice>& notices)
      : document_(document), notices_(notices) {}

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
    noteOnce(text, document_.path, here(), notices_);
  }

  [[noreturn]] void fail(const std::string& text) const {
    refuseFile(document_.path, here(), text);
  }

  FixDocument& document_;
  std::vector<Notice>& notices_;
  const xercesc::Attributes* attributes_ = nullptr;
  std::vector<Context> context_;                  // of the open elements
  std::vector<std::vector<FixItem>*> itemLists_;  // of those whose children are items
};

// Remembers the root element.
class RootHandler : public SaxHandler {
 public:
  void startElement(const XMLCh*, const XMLCh* name, const XMLCh*,
                    const xercesc::Attributes&) override {
    if (!hasRoot) isFix = viewOf(name) == kRootName;
    hasRoot = true;
  }
  void fatalError(const xercesc::SAXParseException&) override { hasRoot = true; }

  bool hasRoot = false;
  bool isFix = false;
};

}  // namespace

bool isFixDocument(const std::string& path) {
  startXmlParser();
  const std::string bytes = readSourceFile(path);
  RootHandler handler;
  xercesc::SecurityManager security;
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
  FixDocument document;
  document.path = path;
  FixHandler handler(document, notices);
  readXmlFile(path, handler);
  return document;
}

}  // namespace cpi
