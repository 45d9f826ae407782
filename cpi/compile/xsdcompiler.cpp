#include "cpi/compile/xsdcompiler.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <stdexcept>
#include <system_error>
#include <tuple>
#include <utility>
#include <xercesc/framework/psvi/XSNamedMap.hpp>

#include "cpi/compile/modelbuilder.h"
#include "cpi/compile/schemadocuments.h"
#include "cpi/compile/schemaprocessor.h"
#include "cpi/compile/xmltext.h"

namespace cpi {

namespace {

using xercesc::XSConstants;
using xercesc::XSElementDeclaration;

// Where each global element was declared, as a number that grows through the documents. A document
// without target namespace may have been included into any.
class DeclarationOrder {
 public:
  explicit DeclarationOrder(const SchemaDocuments& documents) {
    for (const SchemaDocument& document : documents.documents()) {
      for (const ComponentScan& scan : document.scan.components) {
        if (scan.name.kind != ComponentKind::Element) continue;
        order_.emplace(Key(document.scan.targetNamespace, scan.name.name), order_.size());
      }
    }
  }

  std::size_t of(XSElementDeclaration& element) const {
    const std::u16string name(viewOf(element.getName()));
    auto found = order_.find(Key(viewOf(element.getNamespace()), name));
    if (found == order_.end()) found = order_.find(Key(std::u16string(), name));
    return found == order_.end() ? order_.size() : found->second;
  }

 private:
  using Key = std::pair<std::u16string, std::u16string>;
  std::map<Key, std::size_t> order_;
};

std::vector<XSElementDeclaration*> globalElements(xercesc::XSModel& model,
                                                  const SchemaDocuments& documents) {
  std::vector<XSElementDeclaration*> elements;
  auto* const components = model.getComponents(XSConstants::ELEMENT_DECLARATION);
  for (XMLSize_t i = 0; components != nullptr && i < components->getLength(); ++i) {
    elements.push_back(static_cast<XSElementDeclaration*>(components->item(i)));
  }
  const DeclarationOrder order(documents);
  std::ranges::sort(elements, {}, [&order](XSElementDeclaration* element) {
    return std::tuple(order.of(*element), viewOf(element->getNamespace()),
                      viewOf(element->getName()));
  });
  return elements;
}

void reportConstructs(const SchemaDocuments& documents, XsdReport& report) {
  for (std::size_t i = 0; i < constructTexts().size(); ++i) {
    Notice notice{std::string(constructTexts()[i]), {}, 0, 0, 0};
    for (const SchemaDocument& document : documents.documents()) {
      const auto entry = document.scan.constructs.find(i);
      if (entry == document.scan.constructs.end()) continue;
      if (notice.count == 0) {
        notice.file = document.path;
        notice.line = entry->second.first.line;
        notice.column = entry->second.first.column;
      }
      notice.count += entry->second.count;
    }
    if (notice.count > 0) report.notices.push_back(std::move(notice));
  }
}

void reportUnsatisfiable(const ModelBuilder& builder, XsdReport& report) {
  const std::vector<std::string>& names = builder.unsatisfiable();
  if (names.empty()) return;
  report.notices.push_back(
      {"references to an abstract element for which none can stand have no "
       "member; the first is to " +
           names.front(),
       {},
       0,
       0,
       static_cast<std::int32_t>(names.size())});
}

std::u16string dictionaryName(const XsdOptions& options, const std::string& firstFile) {
  constexpr std::size_t kMost = kFixedTextUnits - 1;
  const std::string stem = std::filesystem::path(firstFile).stem().string();
  return toUtf16(options.name.empty() ? stem : options.name).substr(0, kMost);
}

std::size_t distinctCount(const std::vector<std::string>& files) {
  std::vector<std::string> paths;
  for (const std::string& file : files) {
    std::error_code error;
    paths.push_back(std::filesystem::weakly_canonical(file, error).string());
  }
  std::ranges::sort(paths);
  return static_cast<std::size_t>(std::unique(paths.begin(), paths.end()) - paths.begin());
}

}  // namespace

DictionaryTables compileXsd(const std::vector<std::string>& schemaFiles, const XsdOptions& options,
                            XsdReport& report) {
  if (schemaFiles.empty()) throw std::invalid_argument("compileXsd: no schema files");
  report.notices.clear();
  const XmlCatalog catalog = options.catalog.empty() ? XmlCatalog() : XmlCatalog(options.catalog);
  const SchemaDocuments documents(schemaFiles, catalog);
  reportConstructs(documents, report);
  std::ranges::copy(documents.unresolved(), std::back_inserter(report.notices));

  const SchemaProcessor processor(documents, distinctCount(schemaFiles), options.fullChecking);
  const auto elements = globalElements(processor.model(), documents);
  TableDraft draft;
  const ModelBuilder builder(processor.model(), elements, draft);
  reportUnsatisfiable(builder, report);
  return draft.finish(dictionaryName(options, schemaFiles.front()));
}

}  // namespace cpi
