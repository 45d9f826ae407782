// libxml2: the bare SAX2 parse of a message in memory, and the same with its schema plugged in. The
// schema is compiled once and one validation context serves all messages.
#include <libxml/parser.h>

#include "bench/peers/libxml2_schema.h"
#include "bench/support/kept.h"
#include "bench/support/messages.h"

namespace cpi::bench {
namespace {

void countElement(void* count, const xmlChar*, const xmlChar*, const xmlChar*, int, const xmlChar**,
                  int, int, const xmlChar**) {
  ++*static_cast<std::int64_t*>(count);
}

xmlSAXHandler countingHandler() {
  xmlSAXHandler handler{};
  handler.initialized = XML_SAX2_MAGIC;
  handler.startElementNs = countElement;
  return handler;
}

auto bareParser(const Model& model) {
  return [&message = model.message(), handler = countingHandler()]() mutable {
    std::int64_t count = 0;
    if (xmlSAXUserParseMemory(&handler, &count, message.data(), static_cast<int>(message.size())) !=
        0) {
      throw std::runtime_error("libxml2 refuses the message");
    }
    return count;
  };
}

const XmlSchema& schemaOf(const Model& model) {
  return kept(&model, [&] { return parseXmlSchema(model.schemaPath()); });
}

auto validatingParser(const Model& model) {
  const std::shared_ptr<xmlSchemaValidCtxt> validator(xmlSchemaNewValidCtxt(schemaOf(model).get()),
                                                      xmlSchemaFreeValidCtxt);
  return [&message = model.message(), validator, handler = countingHandler()]() mutable {
    std::int64_t count = 0;
    xmlParserInputBuffer* const input = xmlParserInputBufferCreateMem(
        message.data(), static_cast<int>(message.size()), XML_CHAR_ENCODING_NONE);
    if (xmlSchemaValidateStream(validator.get(), input, XML_CHAR_ENCODING_NONE, &handler, &count) !=
        0) {
      throw std::runtime_error("libxml2 finds the message invalid");
    }
    return count;
  };
}

const bool kRegistered = registered([] {
  addMessages("libxml2-sax", bareParser);
  addMessages("libxml2-schema", validatingParser);
});

}  // namespace
}  // namespace cpi::bench
