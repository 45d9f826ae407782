#include "bench/peers/xerces_grammar.h"

#include <stdexcept>

#include "cpi/runtime/kelstring.h"

#include <xercesc/framework/XMLGrammarPoolImpl.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/PlatformUtils.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace cpi::bench {

namespace {

[[noreturn]] void refuse(const xercesc::SAXParseException& fault) {
  const XMLCh* const text = fault.getMessage();
  throw std::runtime_error("Xerces-C++: " + toUtf8({text, xercesc::XMLString::stringLen(text)}));
}

}  // namespace

void CountingHandler::startElement(const XMLCh*, const XMLCh*, const XMLCh*,
                                   const xercesc::Attributes&) {
  ++elements;
}
void CountingHandler::error(const xercesc::SAXParseException& fault) { refuse(fault); }
void CountingHandler::fatalError(const xercesc::SAXParseException& fault) { refuse(fault); }

void useXerces() {
  static const bool isReady = [] {
    xercesc::XMLPlatformUtils::Initialize();
    return true;
  }();
  static_cast<void>(isReady);
}

std::unique_ptr<xercesc::XMLGrammarPool> emptyPool() {
  useXerces();
  return std::make_unique<xercesc::XMLGrammarPoolImpl>(xercesc::XMLPlatformUtils::fgMemoryManager);
}

std::unique_ptr<xercesc::SAX2XMLReader> xercesReader(xercesc::XMLGrammarPool* pool) {
  using xercesc::XMLUni;
  useXerces();
  const bool isValidating = pool != nullptr;
  std::unique_ptr<xercesc::SAX2XMLReader> reader(
      xercesc::XMLReaderFactory::createXMLReader(xercesc::XMLPlatformUtils::fgMemoryManager, pool));
  reader->setFeature(XMLUni::fgSAX2CoreNameSpaces, true);
  reader->setFeature(XMLUni::fgSAX2CoreValidation, isValidating);
  reader->setFeature(XMLUni::fgXercesDynamic, false);
  reader->setFeature(XMLUni::fgXercesSchema, isValidating);
  reader->setFeature(XMLUni::fgXercesSchemaFullChecking, false);
  reader->setFeature(XMLUni::fgXercesUseCachedGrammarInParse, isValidating);
  reader->setFeature(XMLUni::fgXercesLoadSchema, false);
  return reader;
}

void loadGrammar(xercesc::XMLGrammarPool& pool, const std::string& schemaPath) {
  const auto reader = xercesReader(&pool);
  CountingHandler handler;
  reader->setErrorHandler(&handler);
  if (reader->loadGrammar(schemaPath.c_str(), xercesc::Grammar::SchemaGrammarType, true) ==
      nullptr) {
    throw std::runtime_error("Xerces-C++ refuses " + schemaPath);
  }
}

}  // namespace cpi::bench
