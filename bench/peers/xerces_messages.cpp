// Xerces-C++: the SAX2 parse of a message in memory, bare and with its schema. The grammar is in a
// locked pool, and one reader serves all messages.
#include <xercesc/framework/MemBufInputSource.hpp>

#include "bench/peers/xerces_grammar.h"
#include "bench/support/kept.h"
#include "bench/support/messages.h"

namespace cpi::bench {
namespace {

xercesc::XMLGrammarPool& poolOf(const Model& model) {
  return *kept(&model, [&] {
    auto pool = emptyPool();
    loadGrammar(*pool, model.schemaPath());
    pool->lockPool();
    return pool;
  });
}

auto parserWith(xercesc::XMLGrammarPool* pool, const std::string& message) {
  const std::shared_ptr<xercesc::SAX2XMLReader> reader = xercesReader(pool);
  const auto source = std::make_shared<xercesc::MemBufInputSource>(
      reinterpret_cast<const XMLByte*>(message.data()), message.size(), "message");
  source->setCopyBufToStream(false);
  return [reader, source] {
    CountingHandler handler;
    reader->setContentHandler(&handler);
    reader->setErrorHandler(&handler);
    reader->parse(*source);
    return handler.elements;
  };
}

const bool kRegistered = registered([] {
  addMessages("xerces-sax",
              [](const Model& model) { return parserWith(nullptr, model.message()); });
  addMessages("xerces-schema",
              [](const Model& model) { return parserWith(&poolOf(model), model.message()); });
});

}  // namespace
}  // namespace cpi::bench
