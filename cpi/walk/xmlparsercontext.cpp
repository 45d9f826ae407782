#include "cpi/walk/xmlparsercontext.h"

#include <algorithm>
#include <new>

namespace cpi {
namespace {

// Each element's prefix is sought among the declarations in scope.
constexpr int kMaxNamespaces = 4'096;
// Names that the parser keeps for the next message, in bytes.
constexpr std::size_t kMaxKeptNames = std::size_t{1} << 20;

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

}  // namespace

void XmlEventParser::Context::parse(const std::string& name, const Read& read) {
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

bool XmlEventParser::Context::isWorthKeeping() const noexcept {
  return parser_ != nullptr && xmlDictGetUsage(parser_->dict) <= kMaxKeptNames && !mayHaveLongTag();
}

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

// Whether a tag in a text of markup may have too many attributes. An equals sign behind '<' is
// taken for one; that overrates a tag by what its values and the text behind it contain.
bool XmlEventParser::Context::hasLongTag(const xmlChar* begin, const xmlChar* end) noexcept {
  std::int64_t attributes = 0;
  return std::any_of(std::find(begin, end, '<'), end, [&attributes](xmlChar byte) {
    if (byte == '<') attributes = 0;
    return byte == '=' && ++attributes > kMaxAttributes;
  });
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

}  // namespace cpi
