// Xerces-C++ as the peers use it: initialised for the whole program, grammars in a pool.
#ifndef BENCH_PEERS_XERCES_GRAMMAR_H
#define BENCH_PEERS_XERCES_GRAMMAR_H

#include <memory>
#include <string>

#include <xercesc/framework/XMLGrammarPool.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>

namespace cpi::bench {

// Counts the elements of a parse and refuses what is not valid.
class CountingHandler : public xercesc::DefaultHandler {
 public:
  void startElement(const XMLCh* uri, const XMLCh* local, const XMLCh* qualified,
                    const xercesc::Attributes& attributes) override;
  void error(const xercesc::SAXParseException& fault) override;
  void fatalError(const xercesc::SAXParseException& fault) override;

  std::int64_t elements = 0;
};

// Keeps Xerces-C++ initialised; the first call does it.
void useXerces();

std::unique_ptr<xercesc::XMLGrammarPool> emptyPool();
// A reader that validates by the schemas of `pool` alone, or, where that is null, does not
// validate.
std::unique_ptr<xercesc::SAX2XMLReader> xercesReader(xercesc::XMLGrammarPool* pool);
// Compiles a schema into the pool.
void loadGrammar(xercesc::XMLGrammarPool& pool, const std::string& schemaPath);

}  // namespace cpi::bench

#endif  // BENCH_PEERS_XERCES_GRAMMAR_H
