#include "cpi/compile/saxreader.h"

#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/XMLException.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "cpi/compile/sourcefile.h"
#include "cpi/compile/xmltext.h"

namespace cpi {

namespace {

constexpr XMLSize_t kEntityLimit = 1000;

// The parser's source of an error and its locator have the same functions.
template <class Place>
SchemaPlace placeOf(const Place& place) {
  return {static_cast<std::int32_t>(place.getLineNumber()),
          static_cast<std::int32_t>(place.getColumnNumber())};
}

}  // namespace

void SaxHandler::fatalError(const xercesc::SAXParseException& error) {
  if (!fatal_) fatal_ = ScanError{toUtf8(viewOf(error.getMessage())), placeOf(error)};
}

xercesc::InputSource* SaxHandler::resolveEntity(const XMLCh*, const XMLCh* systemId) {
  static constexpr XMLByte kNothing[1] = {' '};
  return new xercesc::MemBufInputSource(kNothing, 0, systemId);
}

SchemaPlace SaxHandler::here() const { return placeOf(*locator_); }

std::unique_ptr<xercesc::SAX2XMLReader> makeSaxReader(SaxHandler& handler,
                                                      xercesc::SecurityManager& security) {
  security.setEntityExpansionLimit(kEntityLimit);
  std::unique_ptr<xercesc::SAX2XMLReader> reader(xercesc::XMLReaderFactory::createXMLReader());
  reader->setFeature(xercesc::XMLUni::fgSAX2CoreValidation, false);
  reader->setFeature(xercesc::XMLUni::fgXercesSchema, false);
  reader->setFeature(xercesc::XMLUni::fgXercesLoadExternalDTD, false);
  reader->setProperty(xercesc::XMLUni::fgXercesSecurityManager, &security);
  reader->setContentHandler(&handler);
  reader->setErrorHandler(&handler);
  reader->setEntityResolver(&handler);
  return reader;
}

void readXml(const std::string& bytes, const std::u16string& systemId, SaxHandler& handler) {
  startXmlParser();
  xercesc::SecurityManager security;
  const auto reader = makeSaxReader(handler, security);
  const xercesc::MemBufInputSource source(reinterpret_cast<const XMLByte*>(bytes.data()),
                                          bytes.size(), systemId.c_str());
  try {
    reader->parse(source);
  } catch (const xercesc::XMLException& error) {
    throw ScanError{toUtf8(viewOf(error.getMessage())), {}};
  }
  if (handler.fatal()) throw *handler.fatal();
}

void readXmlFile(const std::string& path, SaxHandler& handler) {
  try {
    readXml(readSourceFile(path), toUtf16(path), handler);
  } catch (const ScanError& error) {
    refuseFile(path, error.place, error.text);
  }
}

}  // namespace cpi
