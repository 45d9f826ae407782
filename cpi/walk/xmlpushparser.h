// XmlPushParser: libxml2's push parser behind an interface of two events, with the doors shut.
//
// Of a message's markup only the elements come through. The parser reads nothing but the bytes
// that it is fed: entities and document types with a location outside are declared as empty and
// counted. Entities of the message itself are expanded within libxml2's limits; nesting, the
// attributes of one tag and the namespaces in scope have limits of our own, for their cost grows
// with the square of their number.
#ifndef CPI_WALK_XMLPUSHPARSER_H
#define CPI_WALK_XMLPUSHPARSER_H

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "cpi/walk/xmlwalker.h"

namespace cpi {

// The start of an element. Names are interned: equal ones have one address while the parser lives.
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
  // What these throw ends the parse and leaves feed() or finish().
  virtual void startElement(const XmlStartTag& tag) = 0;
  virtual void endElement() = 0;
  // A piece of text; only when the parser was told to report it. Does nothing by default.
  virtual void text(std::string_view piece);
};

class XmlPushParser {
 public:
  // `events` is not owned. Throws std::bad_alloc.
  XmlPushParser(XmlEvents& events, std::string fileName, bool hasText = false);
  ~XmlPushParser();
  XmlPushParser(const XmlPushParser&) = delete;
  XmlPushParser& operator=(const XmlPushParser&) = delete;

  // The next bytes of the message, in pieces of any size. Throws FileError at the first error of
  // form, and what the events throw; the parser is then of no further use.
  void feed(std::string_view bytes);
  // The end of the message. Throws as feed().
  void finish();

  // The place of the tag that is being reported.
  WalkPosition position() const noexcept;
  // The place of the end of the piece of text that is being reported, or of a part that ends with
  // it: where that begins.
  WalkPosition textPosition(std::string_view part) const noexcept;
  std::int64_t notFetched() const noexcept;

 private:
  class Context;
  std::unique_ptr<Context> context_;
};

}  // namespace cpi

#endif  // CPI_WALK_XMLPUSHPARSER_H
