#include "cpi/compile/schemaprocessor.h"

#include <optional>
#include <string>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLGrammarPoolImpl.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/OutOfMemoryException.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLEntityResolver.hpp>
#include <xercesc/util/XMLResourceIdentifier.hpp>
#include <xercesc/validators/common/Grammar.hpp>

#include "cpi/compile/sourcefile.h"
#include "cpi/compile/xmltext.h"
#include "cpi/extract/modelconventions.h"

namespace cpi {

namespace {

using xercesc::InputSource;

constexpr std::size_t kErrorLimit = 20;  // more errors than this are only counted
constexpr XMLSize_t kEntityLimit = 1000;
// The document that imports the roots when there are several.
constexpr char16_t kDriverName[] = u"schemas";

// A source that cannot be opened: the processor goes on without the document.
class NoSource : public InputSource {
 public:
  explicit NoSource(const XMLCh* systemId) : InputSource(systemId) {
    setIssueFatalErrorIfNotFound(false);
  }
  xercesc::BinInputStream* makeStream() const override { return nullptr; }
};

InputSource* sourceOf(const std::string& bytes, const std::u16string& systemId) {
  return new xercesc::MemBufInputSource(reinterpret_cast<const XMLByte*>(bytes.data()),
                                        bytes.size(), systemId.c_str());
}

class Resolver : public xercesc::XMLEntityResolver {
 public:
  explicit Resolver(const SchemaDocuments& documents) : documents_(&documents) {}

  // Returns null only where there is no location: the parser would open one itself.
  InputSource* resolveEntity(xercesc::XMLResourceIdentifier* what) override {
    static const std::string kNothing = " ";
    if (what->getResourceIdentifierType() == xercesc::XMLResourceIdentifier::ExternalEntity) {
      return sourceOf(kNothing, std::u16string(viewOf(what->getSystemId())));
    }
    const XMLCh* const written = what->getSchemaLocation();
    std::optional<std::string> location;
    if (written != nullptr) location = toUtf8(viewOf(written));
    const SchemaDocument* const document = documents_->find(
        location, toUtf8(viewOf(what->getNameSpace())), toUtf8(viewOf(what->getBaseURI())));
    if (document != nullptr) return sourceOf(document->bytes, toUtf16(document->path));
    return written == nullptr ? nullptr : new NoSource(written);
  }

 private:
  const SchemaDocuments* documents_;
};

class ErrorList : public xercesc::ErrorHandler {
 public:
  void warning(const xercesc::SAXParseException&) override {}
  void error(const xercesc::SAXParseException& error) override { add(error); }
  void fatalError(const xercesc::SAXParseException& error) override { add(error); }
  void resetErrors() override {}

  // Throws FileError when there was an error. References that led nowhere are often the cause.
  void throwIfAny(const SchemaDocuments& documents) const {
    if (count_ == 0) return;
    std::string text = text_;
    for (const Notice& notice : documents.unresolved()) {
      text += "\n" + notice.file + ":" + std::to_string(notice.line) + ":" +
              std::to_string(notice.column) + ": " + notice.text;
    }
    if (count_ > kErrorLimit) {
      text += "\n... and " + std::to_string(count_ - kErrorLimit) + " more errors";
    }
    refuseFile(file_, place_, text);
  }

 private:
  void add(const xercesc::SAXParseException& error) {
    const std::string text = toUtf8(viewOf(error.getMessage()));
    const std::string file = toUtf8(viewOf(error.getSystemId()));
    const SchemaPlace place{static_cast<std::int32_t>(error.getLineNumber()),
                            static_cast<std::int32_t>(error.getColumnNumber())};
    if (count_++ == 0) {
      text_ = text;
      file_ = file;
      place_ = place;
    } else if (count_ <= kErrorLimit) {
      text_ += "\n" + file + ":" + std::to_string(place.line) + ":" + std::to_string(place.column) +
               ": " + text;
    }
  }

  std::size_t count_ = 0;
  std::string text_;  // of the first error, then a line for each further one
  std::string file_;
  SchemaPlace place_;
};

std::string attributeText(const std::string& text) {
  std::string result;
  for (const char unit : text) {
    if (unit == '&') result += "&amp;";
    else if (unit == '<') result += "&lt;";
    else if (unit == '"') result += "&quot;";
    else result += unit;
  }
  return result;
}

// Importing the roots into one schema joins them as a schema of many documents is joined.
std::string driverDocument(const SchemaDocuments& documents, std::size_t rootCount) {
  std::string text = "<schema xmlns=\"" + toUtf8(kSchemaNamespace) + "\" targetNamespace=\"^\">";
  for (std::size_t i = 0; i < rootCount; ++i) {
    const SchemaDocument& root = documents.documents()[i];
    text += "<import schemaLocation=\"" + attributeText(root.path) + "\"";
    const std::string target = attributeText(toUtf8(root.scan.targetNamespace));
    if (!target.empty()) text += " namespace=\"" + target + "\"";
    text += "/>";
  }
  return text + "</schema>";
}

void configure(xercesc::XercesDOMParser& parser, bool fullChecking) {
  parser.setDoNamespaces(true);
  parser.setDoSchema(true);
  parser.setHandleMultipleImports(true);
  parser.setValidationSchemaFullChecking(fullChecking);
  // The full checks belong to validation; a grammar that is loaded without misses them.
  if (fullChecking) parser.setValidationScheme(xercesc::AbstractDOMParser::Val_Always);
  parser.setLoadExternalDTD(false);
  parser.setDisableDefaultEntityResolution(true);
}

}  // namespace

SchemaProcessor::SchemaProcessor(const SchemaDocuments& documents, std::size_t rootCount,
                                 bool fullChecking) {
  startXmlParser();
  pool_ = std::make_unique<xercesc::XMLGrammarPoolImpl>();
  xercesc::XercesDOMParser parser(nullptr, xercesc::XMLPlatformUtils::fgMemoryManager, pool_.get());
  Resolver resolver(documents);
  ErrorList errors;
  xercesc::SecurityManager security;
  security.setEntityExpansionLimit(kEntityLimit);
  configure(parser, fullChecking);
  parser.setSecurityManager(&security);
  parser.setXMLEntityResolver(&resolver);
  parser.setErrorHandler(&errors);

  const bool isSingle = rootCount == 1;
  const SchemaDocument& root = documents.documents().front();
  const std::string driver = isSingle ? std::string() : driverDocument(documents, rootCount);
  const std::unique_ptr<InputSource> source(isSingle ? sourceOf(root.bytes, toUtf16(root.path))
                                                     : sourceOf(driver, kDriverName));
  try {
    parser.loadGrammar(*source, xercesc::Grammar::SchemaGrammarType, true);
  } catch (const xercesc::XMLException& error) {
    refuseFile(root.path, {}, toUtf8(viewOf(error.getMessage())));
  } catch (const xercesc::OutOfMemoryException&) {
    throw std::bad_alloc();
  }
  errors.throwIfAny(documents);
  bool hasChanged = false;
  model_ = pool_->getXSModel(hasChanged);
}

SchemaProcessor::~SchemaProcessor() = default;

}  // namespace cpi
