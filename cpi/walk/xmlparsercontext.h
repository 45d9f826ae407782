// The C side of XmlEventParser: libxml2's parser and its callbacks. What a document type declares
// and what refers to it is in xmlparserentities.cpp.
#ifndef CPI_WALK_XMLPARSERCONTEXT_H
#define CPI_WALK_XMLPARSERCONTEXT_H

#include <libxml/SAX2.h>
#include <libxml/parser.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "cpi/walk/xmleventparser.h"
#include "cpi/walk/xmlposition.h"
#include "cpi/walk/xmlreferences.h"

namespace cpi {

// Callbacks get the parser context, of the message or of an entity inside it; `_private`, which
// entities inherit, leads here. No exception may pass through C: the first one is kept and thrown
// when the parser has returned.
class XmlEventParser::Context {
 public:
  Context(XmlEvents& events, bool hasText) : events_(events), hasText_(hasText) {}
  ~Context() { close(); }
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  void parse(const std::string& name, const Read& read);

  WalkPosition position() const noexcept {
    return parser_->input == nullptr ? WalkPosition() : tagPosition(*parser_->input);
  }
  WalkPosition textPosition(std::string_view part) const noexcept {
    return parser_->input == nullptr ? WalkPosition() : cpi::textPosition(*parser_->input, part);
  }
  std::int64_t notFetched() const noexcept { return notFetched_; }

 private:
  // The parser compares each attribute of a tag with those before it.
  static constexpr int kMaxAttributes = 20'000;

  static const char* charsOf(const xmlChar* text) noexcept {
    return reinterpret_cast<const char*>(text);
  }
  static const xmlChar* bytesOf(const char* text) noexcept {
    return reinterpret_cast<const xmlChar*>(text);
  }
  static Context& of(void* parser) noexcept {
    return *static_cast<Context*>(static_cast<xmlParserCtxtPtr>(parser)->_private);
  }
  void open();
  void close() noexcept;
  void begin(const std::string& name, const Read& read);
  bool isWorthKeeping() const noexcept;
  // The parser's room for attributes is at most doubled when it is too small.
  bool mayHaveLongTag() const noexcept {
    return parser_->maxatts > kPartsOfAttribute * kMaxAttributes / 2;
  }
  void checkTag() const;
  static bool hasLongTag(const xmlChar* begin, const xmlChar* end) noexcept;
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

}  // namespace cpi

#endif  // CPI_WALK_XMLPARSERCONTEXT_H
