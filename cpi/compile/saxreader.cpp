#include "cpi/compile/saxreader.h"

#include <xercesc/sax2/XMLReaderFactory.hpp>
#include <xercesc/util/XMLUni.hpp>

namespace cpi {

std::unique_ptr<xercesc::SAX2XMLReader> makeSaxReader(xercesc::DefaultHandler& handler,
                                                      xercesc::SecurityManager& security) {
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

}  // namespace cpi
