#include "cpi/walk/xmlpushparser.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <functional>
#include <new>

namespace cpi {
namespace {

// The parser compares each attribute of a tag with those before it.
constexpr std::int64_t kMaxAttributes = 20'000;
// Each element's prefix is sought among the declarations in scope.
constexpr std::int64_t kMaxNamespaces = 4'096;
// libxml2 limits what entities expand to only where it builds text of them; here each reference is
// parsed in place. Bytes of replacement text, with something for each reference itself.
constexpr std::int64_t kMaxExpansion = 10'000'000;
constexpr std::int64_t kReferenceCost = 32;
// The parser takes sizes as int.
constexpr std::size_t kPiece = std::size_t{1} << 20;
// How far back the start of a line is sought for the column of a tag of several lines.
constexpr std::ptrdiff_t kMaxLookBack = 4'096;

const char* charsOf(const xmlChar* text) noexcept { return reinterpret_cast<const char*>(text); }
const xmlChar* bytesOf(const char* text) noexcept { return reinterpret_cast<const xmlChar*>(text); }

bool startsCharacter(xmlChar byte) noexcept { return (byte & 0xC0) != 0x80; }

std::string withoutLineEnd(const char* message) {
  std::string text = message == nullptr ? "not well-formed" : message;
  while (!text.empty() && text.back() == '\n') text.pop_back();
  return text;
}

// Counts the attributes of a tag before the parser sees them. An equals sign between '<' and '>'
// is taken for one; that overrates a tag by what its values contain, for which there is room.
class AttributeGuard {
 public:
  bool isWithinLimit(std::string_view bytes) noexcept {
    for (const char byte : bytes) {
      if (state_ == State::Open && (byte == '!' || byte == '?')) state_ = State::Outside;
      if (state_ == State::Open) state_ = State::Inside;
      if (byte == '<') {
        state_ = State::Open;
        attributes_ = 0;
      } else if (byte == '>') {
        state_ = State::Outside;
      } else if (byte == '=' && state_ == State::Inside && ++attributes_ > kMaxAttributes) {
        return false;
      }
    }
    return true;
  }

 private:
  enum class State : std::uint8_t { Outside, Open, Inside };

  State state_ = State::Outside;
  std::int64_t attributes_ = 0;
};

}  // namespace

XmlEvents::~XmlEvents() = default;
void XmlEvents::text(std::string_view) {}

// The parser's C side. Callbacks get the parser context, of the message or of an entity inside
// it; `_private`, which entities inherit, leads here. No exception may pass through C: the first
// one is kept and thrown when the parser has returned.
class XmlPushParser::Context {
 public:
  Context(XmlEvents& events, std::string fileName, bool hasText)
      : events_(events), fileName_(std::move(fileName)) {
    // Parsers made in several threads at once would each initialise the library.
    static const bool isInitialised = (xmlInitParser(), true);
    static_cast<void>(isInitialised);
    xmlResetLastError();
    xmlSAXHandler handler = makeHandler();
    if (hasText) handler.characters = handler.ignorableWhitespace = handler.cdataBlock = onText;
    parser_ = xmlCreatePushParserCtxt(&handler, nullptr, nullptr, 0, fileName_.c_str());
    if (parser_ == nullptr) throw std::bad_alloc();
    parser_->_private = this;
    xmlCtxtUseOptions(parser_, XML_PARSE_NONET);
    type_ = xmlDictLookup(parser_->dict, bytesOf("type"), -1);
    instance_ =
        xmlDictLookup(parser_->dict, bytesOf("http://www.w3.org/2001/XMLSchema-instance"), -1);
    if (type_ != nullptr && instance_ != nullptr) return;
    xmlFreeParserCtxt(parser_);
    throw std::bad_alloc();
  }
  ~Context() {
    if (parser_->myDoc != nullptr) xmlFreeDoc(parser_->myDoc);
    xmlFreeParserCtxt(parser_);
  }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  void feed(std::string_view bytes) {
    while (!bytes.empty()) {
      const std::string_view piece = bytes.substr(0, kPiece);
      bytes.remove_prefix(piece.size());
      if (!guard_.isWithinLimit(piece)) fail("a tag has too many attributes");
      xmlParseChunk(parser_, piece.data(), static_cast<int>(piece.size()), 0);
      throwPending();
    }
  }

  void finish() {
    isAtEnd_ = true;
    xmlParseChunk(parser_, nullptr, 0, 1);
    throwPending();
    if (lacksMemory()) throw std::bad_alloc();
    if (parser_->wellFormed == 0) fail("not well-formed");
  }

  WalkPosition position() const noexcept;
  WalkPosition textPosition(std::string_view part) const noexcept;
  std::int64_t notFetched() const noexcept { return notFetched_; }

 private:
  static Context& of(void* parser) noexcept {
    return *static_cast<Context*>(static_cast<xmlParserCtxtPtr>(parser)->_private);
  }
  static xmlSAXHandler makeHandler();
  static WalkPosition positionOf(const xmlParserInput& input, const xmlChar* at,
                                 const xmlChar* end) noexcept;
  static void onStart(void* parser, const xmlChar* local, const xmlChar* prefix, const xmlChar* uri,
                      int declarationCount, const xmlChar** declarations, int attributeCount,
                      int defaulted, const xmlChar** attributes);
  static void onEnd(void* parser, const xmlChar* local, const xmlChar* prefix, const xmlChar* uri);
  static void onText(void* parser, const xmlChar* text, int length);
  static void onEntity(void* parser, const xmlChar* name, int type, const xmlChar* publicId,
                       const xmlChar* systemId, xmlChar* content);
  static xmlEntityPtr onReference(void* parser, const xmlChar* name);
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
  void throwPending() {
    if (pending_ != nullptr) std::rethrow_exception(pending_);
  }
  [[noreturn]] void fail(const std::string& message) const {
    const WalkPosition at = position();
    throw FileError(fileName_, {at.line, at.column}, message);
  }

  XmlEvents& events_;
  std::string fileName_;
  xmlParserCtxtPtr parser_ = nullptr;
  const xmlChar* type_ = nullptr;      // interned "type"
  const xmlChar* instance_ = nullptr;  // interned namespace of xsi:type
  AttributeGuard guard_;
  std::exception_ptr pending_;
  bool isAtEnd_ = false;
  bool hasRoot_ = false;
  std::int64_t depth_ = 0;
  std::int64_t expansion_ = 0;
  std::int64_t notFetched_ = 0;
};

// Starts from libxml2's own handler, which keeps the entities that the message declares, and
// takes off all that would build a tree or read anything else.
xmlSAXHandler XmlPushParser::Context::makeHandler() {
  xmlSAXHandler handler{};
  xmlSAXVersion(&handler, 2);
  handler.startElementNs = onStart;
  handler.endElementNs = onEnd;
  handler.entityDecl = onEntity;
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

void XmlPushParser::Context::onStart(void* parser, const xmlChar* local, const xmlChar*,
                                     const xmlChar* uri, int declarationCount,
                                     const xmlChar** declarations, int attributeCount, int,
                                     const xmlChar** attributes) {
  Context& self = of(parser);
  self.guarded(parser, [&] {
    self.hasRoot_ = true;
    if (++self.depth_ > kMaxXmlDepth) self.fail("elements are nested too deeply");
    if (self.parser_->nsNr / 2 > kMaxNamespaces) self.fail("too many namespaces are in scope");
    self.events_.startElement({charsOf(local), charsOf(uri), declarations, declarationCount,
                               self.typeAmong(attributes, attributeCount), attributes,
                               attributeCount});
  });
}

void XmlPushParser::Context::onEnd(void* parser, const xmlChar*, const xmlChar*, const xmlChar*) {
  Context& self = of(parser);
  self.guarded(parser, [&] {
    --self.depth_;
    self.events_.endElement();
  });
}

void XmlPushParser::Context::onText(void* parser, const xmlChar* text, int length) {
  Context& self = of(parser);
  self.guarded(parser, [&] {
    self.events_.text({charsOf(text), static_cast<std::size_t>(length)});
  });
}

// An entity with a location outside becomes an empty one, so that no reference can lead there.
void XmlPushParser::Context::onEntity(void* parser, const xmlChar* name, int type,
                                      const xmlChar* publicId, const xmlChar* systemId,
                                      xmlChar* content) {
  xmlChar nothing[] = {0};
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

xmlEntityPtr XmlPushParser::Context::onReference(void* parser, const xmlChar* name) {
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

void XmlPushParser::Context::onExternalSubset(void* parser, const xmlChar*, const xmlChar*,
                                              const xmlChar* systemId) {
  if (systemId != nullptr) ++of(parser).notFetched_;
}

// Names in undeclared namespaces are no fatal error to libxml2, but they name nothing.
void XmlPushParser::Context::onError(void* parser, xmlErrorPtr error) {
  const bool isOfNamespaces = error->domain == XML_FROM_NAMESPACE;
  if (error->level < (isOfNamespaces ? XML_ERR_ERROR : XML_ERR_FATAL)) return;
  // While it is made, a parser that lacks memory leads nowhere yet.
  if (static_cast<xmlParserCtxtPtr>(parser)->_private == nullptr) return;
  Context& self = of(parser);
  self.guarded(parser, [&] {
    if (error->code == XML_ERR_NO_MEMORY || lacksMemory()) throw std::bad_alloc();
    throw FileError(self.fileName_, {error->line, error->int2}, self.messageOf(*error));
  });
}

// For a message that ends too early libxml2 has no words of its own.
std::string XmlPushParser::Context::messageOf(const xmlError& error) const {
  const bool isShort = isAtEnd_ && error.code == XML_ERR_DOCUMENT_END;
  if (isShort && !hasRoot_) return "the message ends before its first element";
  if (isShort && depth_ > 0) return "the message ends inside an element";
  return withoutLineEnd(error.message);
}

std::string_view XmlPushParser::Context::typeAmong(const xmlChar** attributes,
                                                   int count) const noexcept {
  for (int i = 0; i < count; ++i, attributes += 5) {  // local name, prefix, URI, value, its end
    if (attributes[0] == type_ && attributes[2] == instance_) {
      return {charsOf(attributes[3]), static_cast<std::size_t>(attributes[4] - attributes[3])};
    }
  }
  return {};
}

// The parser stands at the end of the tag. No value may contain '<', so the last one in front of
// it begins the tag.
WalkPosition XmlPushParser::Context::position() const noexcept {
  const xmlParserInputPtr input = parser_->input;
  if (input == nullptr) return {};
  const xmlChar* tag = input->cur;
  while (tag > input->base && *tag != '<') --tag;
  return positionOf(*input, tag, input->cur);
}

// The parser's line is that of the end of the text. It hands out the text in its input, from where
// it stands on, or a copy of what is in front of there. Text that comes out of an entity, or was
// converted, is neither: it has the place where the parser stands.
WalkPosition XmlPushParser::Context::textPosition(std::string_view part) const noexcept {
  const xmlParserInputPtr input = parser_->input;
  if (input == nullptr) return {};
  const xmlChar* begin = bytesOf(part.data());
  const bool isInside = std::less_equal<>()(input->base, begin) && std::less<>()(begin, input->end);
  if (!isInside) {
    const auto size = static_cast<std::ptrdiff_t>(part.size());
    const bool isInFront =
        input->cur - input->base >= size && std::equal(begin, begin + size, input->cur - size);
    if (!isInFront) return positionOf(*input, input->cur, input->cur);
    begin = input->cur - size;
  }
  return positionOf(*input, begin, begin + part.size());
}

// The place of `at`, when the parser's line and column are those of `end`, behind it.
WalkPosition XmlPushParser::Context::positionOf(const xmlParserInput& input, const xmlChar* at,
                                                const xmlChar* end) noexcept {
  WalkPosition place;
  const bool isConverted = input.buf != nullptr && input.buf->encoder != nullptr;
  if (!isConverted) place.offset = static_cast<std::int64_t>(input.consumed) + (at - input.base);
  const std::int64_t lineEnds = std::count(at, end, xmlChar{'\n'});
  place.line = input.line - lineEnds;
  if (lineEnds == 0) {
    place.column = input.col - std::count_if(at, end, startsCharacter);
    return place;
  }
  const xmlChar* const limit = at - std::min(at - input.base, kMaxLookBack);
  const xmlChar* line = at;
  while (line > limit && line[-1] != '\n') --line;
  const bool isLineStart = line > input.base ? line[-1] == '\n' : input.consumed == 0;
  if (isLineStart) place.column = std::count_if(line, at, startsCharacter) + 1;
  return place;
}

XmlPushParser::XmlPushParser(XmlEvents& events, std::string fileName, bool hasText)
    : context_(std::make_unique<Context>(events, std::move(fileName), hasText)) {}
XmlPushParser::~XmlPushParser() = default;

void XmlPushParser::feed(std::string_view bytes) { context_->feed(bytes); }
void XmlPushParser::finish() { context_->finish(); }
WalkPosition XmlPushParser::position() const noexcept { return context_->position(); }
WalkPosition XmlPushParser::textPosition(std::string_view part) const noexcept {
  return context_->textPosition(part);
}
std::int64_t XmlPushParser::notFetched() const noexcept { return context_->notFetched(); }

}  // namespace cpi
