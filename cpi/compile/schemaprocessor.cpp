#include "cpi/compile/schemaprocessor.h"

#include <algorithm>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <xercesc/framework/MemBufInputSource.hpp>
#include <xercesc/framework/XMLGrammarPoolImpl.hpp>
#include <xercesc/framework/XMLValidityCodes.hpp>
#include <xercesc/parsers/XercesDOMParser.hpp>
#include <xercesc/sax/ErrorHandler.hpp>
#include <xercesc/sax/SAXParseException.hpp>
#include <xercesc/util/SecurityManager.hpp>
#include <xercesc/util/XMLEntityResolver.hpp>
#include <xercesc/util/XMLExceptMsgs.hpp>
#include <xercesc/util/XMLResourceIdentifier.hpp>
#include <xercesc/util/XMLUni.hpp>
#include <xercesc/validators/common/Grammar.hpp>
#include <xercesc/validators/schema/ComplexTypeInfo.hpp>
#include <xercesc/validators/schema/SchemaGrammar.hpp>
#include <xercesc/validators/schema/XSDLocator.hpp>

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
  // `root` is where errors are whose place is not known.
  explicit ErrorList(const std::string& root) : root_(root) {}

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
    std::string file = toUtf8(viewOf(error.getSystemId()));
    if (file.empty()) file = root_;
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

  std::string root_;
  std::size_t count_ = 0;
  std::string text_;  // of the first error, then a line for each further one
  std::string file_;
  SchemaPlace place_;
};

// An ambiguous content model can be walked all the same: who walks it looks further than one
// element.
bool isAmbiguity(unsigned int code, std::u16string_view domain) {
  return domain == viewOf(xercesc::XMLUni::fgValidityDomain) &&
         code == xercesc::XMLValid::UniqueParticleAttributionFail;
}

// What the processor finds about a restriction that it cannot map to its base is an error, mostly:
// it errs about unions, particles that may not occur and groups that say nothing.
bool isDoubtful(unsigned int code, std::u16string_view domain) {
  using xercesc::XMLExcepts;
  if (domain != viewOf(xercesc::XMLUni::fgExceptDomain)) return false;
  return code == XMLExcepts::PD_EmptyBase || code == XMLExcepts::PD_Recurse2 ||
         (code >= XMLExcepts::PD_ForbiddenRes1 && code <= XMLExcepts::PD_ForbiddenRes4);
}

// What the processor names the types without a name, with a number behind.
constexpr std::u16string_view kUnnamed = u"__Anon";

// The text between the next quotes; empty when there are none.
std::string takeQuoted(std::string_view& text) {
  const std::size_t begin = std::min(text.find('\''), text.size() - 1) + 1;
  const std::size_t end = std::min(text.find('\'', begin), text.size());
  const std::string quoted(text.substr(begin, end - begin));
  text.remove_prefix(std::min(end + 1, text.size()));
  return quoted;
}

// The doubts in the order met.
class DoubtList {
 public:
  explicit DoubtList(std::vector<Notice>& notices) : notices_(notices) {}

  void add(Notice notice) { notices_.push_back(std::move(notice)); }
  // One notice for all pairs of particles of one type. `text` quotes the type and the pair; their
  // place it does not tell.
  void addAmbiguity(std::string_view text) {
    const std::string type = takeQuoted(text);
    const auto [entry, isNew] = ambiguities_.emplace(toUtf16(type), notices_.size());
    if (!isNew) {
      ++notices_[entry->second].count;
      return;
    }
    const bool isUnnamed = entry->first.starts_with(kUnnamed);
    const std::string whose = isUnnamed ? "a type without name" : "type '" + type + "'";
    const std::string one = takeQuoted(text);
    add({"the content model of " + whose + " is ambiguous: an element may be taken for '" + one +
             "' and for '" + takeQuoted(text) + "'",
         {}});
  }

  // Once the types are known, the places of those that are ambiguous. Of several with the same
  // name the processor does not tell which it meant.
  void placeAmbiguities(xercesc::XMLGrammarPool& pool) {
    auto grammars = pool.getGrammarEnumerator();
    while (grammars.hasMoreElements() && !ambiguities_.empty()) {
      auto& grammar = static_cast<xercesc::SchemaGrammar&>(grammars.nextElement());
      xercesc::RefHashTableOfEnumerator<xercesc::ComplexTypeInfo> types(
          grammar.getComplexTypeRegistry());
      while (types.hasMoreElements()) place(types.nextElement());
    }
  }

 private:
  void place(const xercesc::ComplexTypeInfo& type) {
    const auto found = ambiguities_.find(std::u16string(viewOf(type.getTypeLocalName())));
    const xercesc::XSDLocator* const place = type.getLocator();
    if (found == ambiguities_.end() || place == nullptr) return;
    Notice& notice = notices_[found->second];
    const bool isSecond = notice.line != 0;
    notice.file = isSecond ? std::string() : toUtf8(viewOf(place->getSystemId()));
    notice.line = isSecond ? 0 : static_cast<std::int32_t>(place->getLineNumber());
    notice.column = isSecond ? 0 : static_cast<std::int32_t>(place->getColumnNumber());
    if (isSecond) ambiguities_.erase(found);
  }

  std::vector<Notice>& notices_;
  std::map<std::u16string, std::size_t> ambiguities_;  // notices, by type
};

class Parser : public xercesc::XercesDOMParser {
 public:
  // `doubts` takes what is doubtful; null: it is an error.
  Parser(xercesc::XMLGrammarPool* pool, DoubtList* doubts)
      : XercesDOMParser(nullptr, xercesc::XMLPlatformUtils::fgMemoryManager, pool),
        doubts_(doubts) {}

  void error(unsigned int code, const XMLCh* domain, ErrTypes type, const XMLCh* text,
             const XMLCh* file, const XMLCh* publicId, XMLFileLoc line,
             XMLFileLoc column) override {
    if (doubts_ != nullptr && isAmbiguity(code, viewOf(domain))) {
      return doubts_->addAmbiguity(toUtf8(viewOf(text)));
    }
    if (doubts_ == nullptr || !isDoubtful(code, viewOf(domain))) {
      return XercesDOMParser::error(code, domain, type, text, file, publicId, line, column);
    }
    doubts_->add({"the restriction may not be one: " + toUtf8(viewOf(text)), toUtf8(viewOf(file)),
                  static_cast<std::int32_t>(line), static_cast<std::int32_t>(column), 1});
  }

 private:
  DoubtList* doubts_;
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

void configure(Parser& parser, bool fullChecking) {
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
                                 SchemaChecking checking) {
  startXmlParser();
  pool_ = std::make_unique<xercesc::XMLGrammarPoolImpl>();
  DoubtList doubts(doubts_);
  Parser parser(pool_.get(), checking == SchemaChecking::Full ? nullptr : &doubts);
  Resolver resolver(documents);
  ErrorList errors(documents.documents().front().path);
  xercesc::SecurityManager security;
  security.setEntityExpansionLimit(kEntityLimit);
  configure(parser, checking != SchemaChecking::Basic);
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
  }
  errors.throwIfAny(documents);
  doubts.placeAmbiguities(*pool_);
  bool hasChanged = false;
  model_ = pool_->getXSModel(hasChanged);
}

SchemaProcessor::~SchemaProcessor() = default;

}  // namespace cpi
