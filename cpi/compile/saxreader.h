// The one way in which the compilers read XML that is not a schema's own processing: events alone,
// with no validation and nothing loaded from outside.
#ifndef CPI_COMPILE_SAXREADER_H
#define CPI_COMPILE_SAXREADER_H

#include <memory>
#include <optional>
#include <string>
#include <xercesc/sax/Locator.hpp>
#include <xercesc/sax2/DefaultHandler.hpp>
#include <xercesc/sax2/SAX2XMLReader.hpp>
#include <xercesc/util/SecurityManager.hpp>

#include "cpi/compile/schemascan.h"

namespace cpi {

// The content of one document. What the functions of a subclass throw leaves the reader.
class SaxHandler : public xercesc::DefaultHandler {
 public:
  void setDocumentLocator(const xercesc::Locator* locator) override { locator_ = locator; }
  // The parser stops by itself; an exception from here would make it leak.
  void fatalError(const xercesc::SAXParseException& error) override;
  // Nothing outside the document itself is read.
  xercesc::InputSource* resolveEntity(const XMLCh* publicId, const XMLCh* systemId) override;

  const std::optional<ScanError>& fatal() const noexcept { return fatal_; }

 protected:
  // The place of the tag that is reported.
  SchemaPlace here() const;

 private:
  const xercesc::Locator* locator_ = nullptr;
  std::optional<ScanError> fatal_;
};

// A reader that reports content, errors and entities to `handler`, within the limits of `security`,
// which it sets. Both must outlive it. startXmlParser() must have been called.
std::unique_ptr<xercesc::SAX2XMLReader> makeSaxReader(SaxHandler& handler,
                                                      xercesc::SecurityManager& security);

// Reports a document. Throws ScanError, and what the handler throws.
void readXml(const std::string& bytes, const std::u16string& systemId, SaxHandler& handler);
// The same of a file. Throws FileError, and what the handler throws.
void readXmlFile(const std::string& path, SaxHandler& handler);

}  // namespace cpi

#endif  // CPI_COMPILE_SAXREADER_H
