#include "cpi/walk/xmleventparser.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <new>
#include <span>

#include "cpi/walk/xmlposition.h"
#include "cpi/walk/xmlreferences.h"

namespace cpi {
namespace {

// The parser compares each attribute of a tag with those before it.
constexpr int kMaxAttributes = 20'000;
// Each element's prefix is sought among the declarations in scope.
constexpr int kMaxNamespaces = 4'096;
// libxml2 limits what entities expand to only where it builds text of them; here each reference is
// parsed in place. Bytes of replacement text, with something for each reference itself.
constexpr std::int64_t kMaxExpansion = 10'000'000;
constexpr std::int64_t kReferenceCost = 32;
// Names that the parser keeps for the next message, in bytes.
constexpr std::size_t kMaxKeptNames = std::size_t{1} << 20;
const char* charsOf(const xmlChar* text) noexcept { return reinterpret_cast<const char*>(text); }
const xmlChar* bytesOf(const char* text) noexcept { return reinterpret_cast<const xmlChar*>(text); }

std::string withoutLineEnd(const char* message) {
  std::string text = message == nullptr ? "not well-formed" : message;
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

// Threads that use libxml2 for the first time at once would each initialise it.
void initialise() noexcept {
  static const bool isInitialised = (xmlInitParser(), true);
  static_cast<void>(isInitialised);
}

// Errors of input and encoding have no parser to be told to: libxml2 prints them unless the thread
// has a handler for errors.
class Silence {
 public:
  Silence() noexcept : handler_(xmlStructuredError), context_(xmlStructuredErrorContext) {
    xmlSetStructuredErrorFunc(nullptr, [](void*, xmlErrorPtr) {});
  }
  ~Silence() { xmlSetStructuredErrorFunc(context_, handler_); }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  const xmlStructuredErrorFunc handler_;
  void* const context_;
};

// Whether a tag in a text of markup may have too many attributes. An equals sign behind '<' is
// taken for one; that overrates a tag by what its values and the text behind it contain.
bool hasLongTag(const xmlChar* begin, const xmlChar* end) noexcept {
  std::int64_t attributes = 0;
  return std::any_of(std::find(begin, end, '<'), end, [&attributes](xmlChar byte) {
    if (byte == '<') attributes = 0;
    return byte == '=' && ++attributes > kMaxAttributes;
  });
}

}  // namespace

XmlEvents::~XmlEvents() = default;
void XmlEvents::text(std::string_view) {}

// The parser's C side. Callbacks get the parser context, of the message or of an entity inside
// it; `_private`, which entities inherit, leads here. No exception may pass through C: the first
// one is kept and thrown when the parser has returned.
class XmlEventParser::Context {
 public:
  Context(XmlEvents& events, bool hasText) : events_(events), hasText_(hasText) {}
  ~Context() { close(); }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  void parse(const std::string& name, const Read& read) {
    initialise();
    const Silence silence;
    try {
      begin(name, read);
      const xmlDocPtr document =
          xmlCtxtReadIO(parser_, onRead, nullptr, this, nullptr, nullptr, XML_PARSE_NONET);
      const bool isParsed = document != nullptr;
      xmlFreeDoc(document);
      if (pending_ != nullptr) std::rethrow_exception(pending_);
      if (lacksMemory()) throw std::bad_alloc();
      if (!isParsed) fail("not well-formed");
    } catch (...) {
      close();  // in whatever state it is
      throw;
    }
  }

  WalkPosition position() const noexcept {
    return parser_->input == nullptr ? WalkPosition() : tagPosition(*parser_->input);
  }
  WalkPosition textPosition(std::string_view part) const noexcept {
    return parser_->input == nullptr ? WalkPosition() : cpi::textPosition(*parser_->input, part);
  }
  std::int64_t notFetched() const noexcept { return notFetched_; }

 private:
  static Context& of(void* parser) noexcept {
    return *static_cast<Context*>(static_cast<xmlParserCtxtPtr>(parser)->_private);
  }
  void open();
  void close() noexcept;
  void begin(const std::string& name, const Read& read);
  bool isWorthKeeping() const noexcept {
    return parser_ != nullptr && xmlDictGetUsage(parser_->dict) <= kMaxKeptNames &&
           !mayHaveLongTag();
  }
  // The parser's room for attributes is at most doubled when it is too small.
  bool mayHaveLongTag() const noexcept {
    return parser_->maxatts > kPartsOfAttribute * kMaxAttributes / 2;
  }
  void checkTag() const;
  static xmlSAXHandler makeHandler();
  static int onRead(void* self, char* buffer, int size) noexcept;
  int read(std::span<char> buffer);
  static void onStart(void* parser, const xmlChar* local, const xmlChar* prefix, const xmlChar* uri,
                      int declarationCount, const xmlChar** declarations, int attributeCount,
                      int defaulted, const xmlChar** attributes);
  static void onEnd(void* parser, const xmlChar* local, const xmlChar* prefix, const xmlChar* uri);
  static void onText(void* parser, const xmlChar* text, int length);
  static void onEntity(void* parser, const xmlChar* name, int type, const xmlChar* publicId,
                       const xmlChar* systemId, xmlChar* content);
  static void onAttributeDeclaration(void* parser, const xmlChar* element, const xmlChar* name,
                                     int type, int defaulted, const xmlChar* value,
                                     xmlEnumerationPtr values);
  static xmlEntityPtr onReference(void* parser, const xmlChar* name);
  const xmlChar** replaced(void* parser, const xmlChar** attributes, int count);
  static void onExternalSubset(void* parser, const xmlChar* name, const xmlChar* publicId,
                               const xmlChar* systemId);
  static void onError(void* parser, xmlErrorPtr error);

  std::string messageOf(const xmlError& error) const;
  // Whether libxml2 has dropped something for want of memory, as it does with entities. It tells
  // so in the error of the thread alone.
  static bool lacksMemory() noexcept {
    const xmlError* const last = xmlGetLastError();
    return last != nullptr && last->code == XML_ERR_NO_MEMORY;
  }
  std::string_view typeAmong(const xmlChar** attributes, int count) const noexcept;
  // Runs an event and keeps what it throws; `parser` may be that of an entity.
  template <class Event>
  void guarded(void* parser, Event event) noexcept {
    if (pending_ != nullptr) return;
    try {
      event();
    } catch (...) {
      stopWith(parser, std::current_exception());
    }
  }
  void stopWith(void* parser, std::exception_ptr error) noexcept {
    if (pending_ == nullptr) pending_ = std::move(error);
    stop(static_cast<xmlParserCtxtPtr>(parser));
    stop(parser_);
  }
  static void stop(xmlParserCtxtPtr parser) noexcept {
    parser->wellFormed = 0;  // or else the parser would look an entity up by itself
    xmlStopParser(parser);
  }
  [[noreturn]] void fail(const std::string& message) const {
    const WalkPosition at = position();
    throw FileError(name_, {at.line, at.column}, message);
  }

  XmlEvents& events_;
  const bool hasText_;
  std::string name_;
  xmlParserCtxtPtr parser_ = nullptr;
  const xmlChar* type_ = nullptr;      // interned "type"
  const xmlChar* instance_ = nullptr;  // interned namespace of xsi:type
  const Read* read_ = nullptr;
  std::string_view unread_;  // of what it gave last
  XmlReferences references_;
  std::exception_ptr pending_;
  bool isAtEnd_ = false;
  bool hasRoot_ = false;
  std::int64_t depth_ = 0;
  std::int64_t declared_ = 0;  // attributes, in the document type
  std::int64_t expansion_ = 0;
  std::int64_t notFetched_ = 0;
};

void XmlEventParser::Context::open() {
  parser_ = xmlNewParserCtxt();
  if (parser_ == nullptr) throw std::bad_alloc();
  *parser_->sax = makeHandler();
  if (hasText_) {
    parser_->sax->characters = parser_->sax->ignorableWhitespace = parser_->sax->cdataBlock =
        onText;
  }
  parser_->_private = this;
  type_ = xmlDictLookup(parser_->dict, bytesOf("type"), -1);
  instance_ =
      xmlDictLookup(parser_->dict, bytesOf("http://www.w3.org/2001/XMLSchema-instance"), -1);
  if (type_ == nullptr || instance_ == nullptr) throw std::bad_alloc();
}

void XmlEventParser::Context::close() noexcept {
  if (parser_ == nullptr) return;
  if (parser_->myDoc != nullptr) xmlFreeDoc(parser_->myDoc);
  xmlFreeParserCtxt(parser_);
  parser_ = nullptr;
}

void XmlEventParser::Context::begin(const std::string& name, const Read& read) {
  xmlResetLastError();
  if (!isWorthKeeping()) {
    close();
    events_.forgetNames();
    open();
  }
  name_ = name;
  read_ = &read;
  unread_ = {};
  pending_ = nullptr;
  isAtEnd_ = hasRoot_ = false;
  depth_ = declared_ = expansion_ = notFetched_ = 0;
}

// The parser reads on while it is inside a tag, too: there is the chance to end the message before
// too many attributes are compared with one another. The parser must not be stopped here, which
// would take away the buffer that it reads into.
int XmlEventParser::Context::onRead(void* self, char* buffer, int size) noexcept {
  Context& context = *static_cast<Context*>(self);
  if (context.pending_ != nullptr) return -1;
  try {
    context.checkTag();
    return context.read({buffer, static_cast<std::size_t>(size)});
  } catch (...) {
    context.pending_ = std::current_exception();
    return -1;
  }
}

int XmlEventParser::Context::read(std::span<char> buffer) {
  if (unread_.empty()) unread_ = (*read_)();
  const std::size_t count = std::min(unread_.size(), buffer.size());
  std::copy_n(unread_.data(), count, buffer.data());
  unread_.remove_prefix(count);
  isAtEnd_ = count == 0;
  return static_cast<int>(count);
}

void XmlEventParser::Context::checkTag() const {
  const xmlParserInputPtr input = parser_->input;
  const bool hasNamespaces = parser_->nsNr / 2 > kMaxNamespaces;
  if (input == nullptr || input->buf == nullptr || !(hasNamespaces || mayHaveLongTag())) return;
  catchUp(*input);
  if (hasNamespaces) fail("too many namespaces are in scope");
  if (hasLongTag(tagStart(*input), input->cur)) fail("a tag has too many attributes");
}

// Starts from libxml2's own handler, which keeps the entities that the message declares, and
// takes off all that would build a tree or read anything else.
xmlSAXHandler XmlEventParser::Context::makeHandler() {
  xmlSAXHandler handler{};
  xmlSAXVersion(&handler, 2);
  handler.startElementNs = onStart;
  handler.endElementNs = onEnd;
  handler.entityDecl = onEntity;
  handler.attributeDecl = onAttributeDeclaration;
  handler.getEntity = onReference;
  handler.externalSubset = onExternalSubset;
  handler.serror = onError;
  handler.reference = nullptr;
  handler.characters = nullptr;
  handler.ignorableWhitespace = nullptr;
  handler.cdataBlock = nullptr;
  handler.comment = nullptr;
  handler.processingInstruction = nullptr;
  handler.resolveEntity = nullptr;
  handler.warning = nullptr;
  handler.error = nullptr;
  return handler;
}

void XmlEventParser::Context::onStart(void* parser, const xmlChar* local, const xmlChar*,
                                      const xmlChar* uri, int declarationCount,
                                      const xmlChar** declarations, int attributeCount, int,
                                      const xmlChar** attributes) {
  Context& self = of(parser);
  self.guarded(parser, [&] {
    self.hasRoot_ = true;
    if (++self.depth_ > kMaxXmlDepth) self.fail("elements are nested too deeply");
    if (attributeCount > kMaxAttributes) self.fail("a tag has too many attributes");
    if (self.parser_->nsNr / 2 > kMaxNamespaces) self.fail("too many namespaces are in scope");
    attributes = self.replaced(parser, attributes, attributeCount);
    self.events_.startElement({charsOf(local), charsOf(uri), declarations, declarationCount,
                               self.typeAmong(attributes, attributeCount), attributes,
                               attributeCount});
  });
}

void XmlEventParser::Context::onEnd(void* parser, const xmlChar*, const xmlChar*, const xmlChar*) {
  Context& self = of(parser);
  self.guarded(parser, [&] {
    --self.depth_;
    self.events_.endElement();
  });
}

void XmlEventParser::Context::onText(void* parser, const xmlChar* text, int length) {
  Context& self = of(parser);
  self.guarded(parser, [&] {
    self.events_.text({charsOf(text), static_cast<std::size_t>(length)});
  });
}

// An entity with a location outside becomes an empty one, so that no reference can lead there.
void XmlEventParser::Context::onEntity(void* parser, const xmlChar* name, int type,
                                       const xmlChar* publicId, const xmlChar* systemId,
                                       xmlChar* content) {
  xmlChar nothing[] = {0};
  if (content != nullptr && hasLongTag(content, content + xmlStrlen(content))) {
    Context& self = of(parser);
    self.guarded(parser, [&self] { self.fail("a tag has too many attributes"); });
    return;
  }
  if (type == XML_EXTERNAL_GENERAL_PARSED_ENTITY || type == XML_EXTERNAL_PARAMETER_ENTITY) {
    ++of(parser).notFetched_;
    const bool isGeneral = type == XML_EXTERNAL_GENERAL_PARSED_ENTITY;
    type = isGeneral ? XML_INTERNAL_GENERAL_ENTITY : XML_INTERNAL_PARAMETER_ENTITY;
    publicId = systemId = nullptr;
    content = nothing;
  }
  xmlSAX2EntityDecl(parser, name, type, publicId, systemId, content);
  const bool isGeneral = type != XML_INTERNAL_PARAMETER_ENTITY;
  const bool isKept = isGeneral ? xmlSAX2GetEntity(parser, name) != nullptr
                                : xmlSAX2GetParameterEntity(parser, name) != nullptr;
  // What is dropped for want of memory is dropped without a word.
  if (!isKept) of(parser).guarded(parser, [] { throw std::bad_alloc(); });
}

// The parser keeps the defaults itself. Those of one element count as attributes of its tags.
void XmlEventParser::Context::onAttributeDeclaration(void* parser, const xmlChar*, const xmlChar*,
                                                     int, int, const xmlChar*,
                                                     xmlEnumerationPtr values) {
  xmlFreeEnumeration(values);
  Context& self = of(parser);
  self.guarded(parser, [&self] {
    if (++self.declared_ > kMaxAttributes) self.fail("too many attributes are declared");
  });
}

xmlEntityPtr XmlEventParser::Context::onReference(void* parser, const xmlChar* name) {
  Context& self = of(parser);
  const xmlEntityPtr entity = xmlSAX2GetEntity(parser, name);
  self.guarded(parser, [&] {
    self.expansion_ += kReferenceCost + (entity == nullptr ? 0 : entity->length);
    if (self.expansion_ > kMaxExpansion) self.fail("entities expand to too much");
  });
  if (self.pending_ == nullptr) return entity;
  stop(static_cast<xmlParserCtxtPtr>(parser));  // it may be one between the first and the last
  return nullptr;
}

const xmlChar** XmlEventParser::Context::replaced(void* parser, const xmlChar** attributes,
                                                  int count) {
  return references_.replacedIn(attributes, count, [&](const std::string& name) {
    const xmlEntityPtr entity = onReference(parser, bytesOf(name.c_str()));
    if (pending_ != nullptr) std::rethrow_exception(pending_);
    if (entity == nullptr || entity->content == nullptr) return std::string_view();
    return std::string_view(charsOf(entity->content));
  });
}

void XmlEventParser::Context::onExternalSubset(void* parser, const xmlChar*, const xmlChar*,
                                               const xmlChar* systemId) {
  if (systemId != nullptr) ++of(parser).notFetched_;
}

// Names in undeclared namespaces are no fatal error to libxml2, but they name nothing.
void XmlEventParser::Context::onError(void* parser, xmlErrorPtr error) {
  const bool isOfNamespaces = error->domain == XML_FROM_NAMESPACE;
  if (error->level < (isOfNamespaces ? XML_ERR_ERROR : XML_ERR_FATAL)) return;
  // While it is made, a parser that lacks memory leads nowhere yet.
  if (static_cast<xmlParserCtxtPtr>(parser)->_private == nullptr) return;
  Context& self = of(parser);
  self.guarded(parser, [&] {
    if (error->code == XML_ERR_NO_MEMORY || lacksMemory()) throw std::bad_alloc();
    throw FileError(self.name_, {error->line, error->int2}, self.messageOf(*error));
  });
}

// For a message that ends too early libxml2 has as many words as there are places to end at. Where
// nothing is left to read, only a tag that closes another element is a fault of its own.
std::string XmlEventParser::Context::messageOf(const xmlError& error) const {
  const xmlParserInputPtr input = parser_->input;
  if (input != nullptr && input->buf != nullptr && input->buf->error != 0) {
    return "bytes that are no text in the encoding of the message";
  }
  const bool isShort = isAtEnd_ && input != nullptr && input->cur >= input->end &&
                       error.code != XML_ERR_TAG_NAME_MISMATCH;
  if (isShort && !hasRoot_) return "the message ends before its first element";
  if (isShort && depth_ > 0) return "the message ends inside an element";
  return withoutLineEnd(error.message);
}

std::string_view XmlEventParser::Context::typeAmong(const xmlChar** attributes,
                                                    int count) const noexcept {
  for (int i = 0; i < count; ++i, attributes += kPartsOfAttribute) {
    if (attributes[0] == type_ && attributes[2] == instance_) {
      return {charsOf(attributes[3]), static_cast<std::size_t>(attributes[4] - attributes[3])};
    }
  }
  return {};
}

XmlEventParser::XmlEventParser(XmlEvents& events, bool hasText)
    : context_(std::make_unique<Context>(events, hasText)) {}
XmlEventParser::~XmlEventParser() = default;

void XmlEventParser::parse(const std::string& name, const Read& read) {
  context_->parse(name, read);
}
WalkPosition XmlEventParser::position() const noexcept { return context_->position(); }
WalkPosition XmlEventParser::textPosition(std::string_view part) const noexcept {
  return context_->textPosition(part);
}
std::int64_t XmlEventParser::notFetched() const noexcept { return context_->notFetched(); }

}  // namespace cpi
