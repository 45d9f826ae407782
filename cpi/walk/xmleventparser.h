// XmlEventParser: libxml2's SAX parser behind an interface of a few events, with the doors shut.
//
// Of a message's markup only the elements come through. The parser reads nothing but the bytes of
// the message: entities and document types with a location outside are declared as empty and
// counted. Entities of the message itself are expanded within libxml2's limits; nesting, the
// attributes of one tag and the namespaces in scope have limits of our own, for their cost grows
// with the square of their number.
//
// It fetches the bytes itself. A parser to which they are pushed has to see first whether the next
// tag is there as a whole, which makes each element a fifth dearer.
#ifndef CPI_WALK_XMLEVENTPARSER_H
#define CPI_WALK_XMLEVENTPARSER_H

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "cpi/walk/xmlwalker.h"

namespace cpi {

// The start of an element. Names are interned: equal ones have one address until forgetNames().
struct XmlStartTag {
  const char* local;
  const char* uri;                     // null: none
  const unsigned char** declarations;  // pairs of prefix (null: default namespace) and URI
  int declarationCount;
  std::string_view type;             // the value of xsi:type, or empty
  const unsigned char** attributes;  // five each: local name, prefix, URI, value, end of the value
  int attributeCount;
};

class XmlEvents {
 public:
  virtual ~XmlEvents();
  // What these throw ends the parse and leaves it.
  virtual void startElement(const XmlStartTag& tag) = 0;
  virtual void endElement() = 0;
  // A piece of text; only when the parser was told to report it. Does nothing by default.
  virtual void text(std::string_view piece);
  // The addresses of names may stand for others from now on. Told before a message begins.
  virtual void forgetNames() = 0;
};

class XmlEventParser {
 public:
  // The next bytes of a message, in pieces of any size; none at its end. They stay valid until the
  // next call. What it throws ends the parse and leaves it.
  using Read = std::function<std::string_view()>;

  // `events` is not owned.
  explicit XmlEventParser(XmlEvents& events, bool hasText = false);
  ~XmlEventParser();
  XmlEventParser(const XmlEventParser&) = delete;
  XmlEventParser& operator=(const XmlEventParser&) = delete;

  // Parses a whole message, which errors call `name`. Throws FileError at the first error of form,
  // std::bad_alloc, and what the events and `read` throw. Another message may follow.
  void parse(const std::string& name, const Read& read);

  // Ends the parse from inside an event: throws FileError at the tag that is being reported.
  [[noreturn]] void fail(const std::string& message) const;
  // The place of the tag that is being reported.
  WalkPosition position() const noexcept;
  // The place of the end of the piece of text that is being reported, or of a part that ends with
  // it: where that begins.
  WalkPosition textPosition(std::string_view part) const noexcept;
  // Entities and document types of the message that are outside.
  std::int64_t notFetched() const noexcept;

 private:
  class Context;
  std::unique_ptr<Context> context_;
};

}  // namespace cpi

#endif  // CPI_WALK_XMLEVENTPARSER_H
