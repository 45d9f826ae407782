// The one way in which the compilers read XML that is not a schema's own processing: events alone,
// with no validation and nothing loaded from outside.
#ifndef CPI_COMPILE_SAXREADER_H
#define CPI_COMPILE_SAXREADER_H

#include <memory>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/util/SecurityManager.hpp>

namespace cpi {

// A reader that reports content, errors and entities to `handler`, within the limits of `security`.
// Both must outlive it. startXmlParser() must have been called.
std::unique_ptr<xercesc::SAX2XMLReader> makeSaxReader(xercesc::DefaultHandler& handler,
                                                      xercesc::SecurityManager& security);

}  // namespace cpi

#endif  // CPI_COMPILE_SAXREADER_H
