// What libxml2 and Xerces-C++ need to make a schema ready, and, of the latter, a grammar pool that
// was saved; and the memory that both hold for it.
#include <xercesc/internal/BinMemOutputStream.hpp>
#include <xercesc/util/BinMemInputStream.hpp>

#include "bench/peers/libxml2_schema.h"
#include "bench/peers/xerces_grammar.h"
#include "bench/support/loads.h"

namespace cpi::bench {
namespace {

auto schemaMaker(const Model& model) {
  return [&path = model.schemaPath()] { return parseXmlSchema(path); };
}

auto grammarMaker(const Model& model) {
  return [&path = model.schemaPath()] {
    auto pool = emptyPool();
    loadGrammar(*pool, path);
    return pool;
  };
}

auto poolOpener(const Model& model) {
  const auto saved = std::make_shared<xercesc::BinMemOutputStream>();
  grammarMaker(model)()->serializeGrammars(saved.get());
  return [saved] {
    xercesc::BinMemInputStream stream(saved->getRawBuffer(),
                                      static_cast<XMLSize_t>(saved->curPos()),
                                      xercesc::BinMemInputStream::BufOpt_Reference);
    const auto pool = emptyPool();
    pool->deserializeGrammars(&stream);
  };
}

const bool kRegistered = registered([] {
  addLoads("libxml2", schemaMaker);
  addLoads("xerces", grammarMaker);
  addLoads("xerces-pool", poolOpener);
  addMemory("libxml2", schemaMaker);
  addMemory("xerces", grammarMaker);
});

}  // namespace
}  // namespace cpi::bench
