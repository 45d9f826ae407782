#include "cpi/compile/xsdcompiler.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <set>
#include <stdexcept>
#include <system_error>
#include <tuple>
#include <utility>
#include <variant>
#include <xercesc/framework/psvi/XSNamedMap.hpp>

#include "cpi/compile/deepstack.h"
#include "cpi/compile/modelbuilder.h"
#include "cpi/compile/schemadocuments.h"
#include "cpi/compile/schemaprocessor.h"
#include "cpi/compile/xmltext.h"
#include "cpi/extract/modelconventions.h"
#include "cpi/extract/schemapattern.h"

namespace cpi {

namespace {

using xercesc::XSConstants;
using xercesc::XSElementDeclaration;

// Where each global element was declared. A document without target namespace may have been
// included into any.
class Declarations {
 public:
  struct Place {
    std::size_t order;  // grows through the documents
    const SchemaDocument* document;
    SchemaPlace place;
  };

  explicit Declarations(const SchemaDocuments& documents) {
    for (const SchemaDocument& document : documents.documents()) {
      for (const ComponentScan& scan : document.scan.components) {
        if (scan.name.kind != ComponentKind::Element) continue;
        places_.emplace(Key(document.scan.targetNamespace, scan.name.name),
                        Place{places_.size(), &document, scan.place});
      }
    }
  }

  // Null when it is not known.
  const Place* find(XSElementDeclaration& element) const {
    const std::u16string name(viewOf(element.getName()));
    auto found = places_.find(Key(viewOf(element.getNamespace()), name));
    if (found == places_.end()) found = places_.find(Key(std::u16string(), name));
    return found == places_.end() ? nullptr : &found->second;
  }
  std::size_t orderOf(XSElementDeclaration& element) const {
    const Place* const place = find(element);
    return place == nullptr ? places_.size() : place->order;
  }

 private:
  using Key = std::pair<std::u16string, std::u16string>;
  std::map<Key, Place> places_;
};

std::vector<XSElementDeclaration*> globalElements(xercesc::XSModel& model,
                                                  const Declarations& declarations) {
  // A look-up for each element, not for each comparison.
  using Placed =
      std::tuple<std::size_t, std::u16string_view, std::u16string_view, XSElementDeclaration*>;
  std::vector<Placed> placed;
  auto* const components = model.getComponents(XSConstants::ELEMENT_DECLARATION);
  for (XMLSize_t i = 0; components != nullptr && i < components->getLength(); ++i) {
    auto* const element = static_cast<XSElementDeclaration*>(components->item(i));
    placed.emplace_back(declarations.orderOf(*element), viewOf(element->getNamespace()),
                        viewOf(element->getName()), element);
  }
  std::ranges::sort(placed, {}, [](const Placed& of) {
    return std::tuple(std::get<0>(of), std::get<1>(of), std::get<2>(of));
  });
  std::vector<XSElementDeclaration*> elements;
  std::ranges::transform(placed, std::back_inserter(elements),
                         [](const Placed& of) { return std::get<XSElementDeclaration*>(of); });
  return elements;
}

// Counts one more of a notice's kind, whose place is the first that is known.
void count(Notice& notice, const SchemaDocument& document, const SchemaPlace& place,
           std::int32_t times = 1) {
  if (notice.count == 0) {
    notice.file = document.path;
    notice.line = place.line;
    notice.column = place.column;
  }
  notice.count += times;
}

void addCounted(XsdReport& report, Notice notice) {
  if (notice.count > 0) report.notices.push_back(std::move(notice));
}

void reportConstructs(const SchemaDocuments& documents, XsdReport& report) {
  for (std::size_t i = 0; i < constructTexts().size(); ++i) {
    Notice notice{std::string(constructTexts()[i]), {}, 0, 0, 0};
    for (const SchemaDocument& document : documents.documents()) {
      const auto entry = document.scan.constructs.find(i);
      if (entry == document.scan.constructs.end()) continue;
      count(notice, document, entry->second.first, entry->second.count);
    }
    addCounted(report, std::move(notice));
  }
}

void reportUnsatisfiable(const ModelBuilder& builder, const Declarations& declarations,
                         XsdReport& report) {
  Notice notice{
      "an abstract element for which none can stand is no member of the models that refer "
      "to it",
      {},
      0,
      0,
      0};
  for (XSElementDeclaration* const element : builder.unsatisfiable()) {
    if (const auto* const found = declarations.find(*element)) {
      count(notice, *found->document, found->place);
    }
  }
  addCounted(report, std::move(notice));
}

std::u16string nameOf(const TagRow& tag) {
  const std::u16string& text = *tag.TextIdentifier;
  return text.substr(text.find(kNameMark) + 1);
}

// The processor does not hand on the default of an element with mixed content. Which elements these
// are is told by their names: those that have mixed content and lack a value.
void reportLostConstants(const SchemaDocuments& documents, const DictionaryTables& tables,
                         XsdReport& report) {
  std::set<std::u16string> mixed;
  std::map<std::u16string, std::int32_t> missing;
  for (const TagRow& tag : tables.Tags) {
    if (tag.DVTableIndex != kNone) --missing[nameOf(tag)];
    else if (tag.Class == TCStructure && tag.MaxLength == kNone) mixed.insert(nameOf(tag));
  }
  for (const SchemaDocument& document : documents.documents()) {
    for (const ConstantScan& constant : document.scan.constants) ++missing[constant.element];
  }
  Notice notice{
      "default and fixed values of elements with mixed content are not represented", {}, 0, 0, 0};
  for (const SchemaDocument& document : documents.documents()) {
    for (const ConstantScan& constant : document.scan.constants) {
      if (!mixed.contains(constant.element) || missing[constant.element] <= 0) continue;
      count(notice, document, constant.place);
    }
  }
  addCounted(report, std::move(notice));
}

// Patterns that no value can be held against, each once.
void reportPatterns(const DictionaryTables& tables, XsdReport& report) {
  std::set<std::u16string_view> patterns;
  for (const NamedProperty& property : tables.namedProperties) {
    if (property.memberName != kFacetsProperty) continue;
    for (const auto& row : property.values) {
      const auto* const facets = row ? std::get_if<std::u16string>(&*row) : nullptr;
      if (facets == nullptr) continue;
      forEachFacet(*facets, [&](std::u16string_view name, std::u16string_view value) {
        if (name == kPatternFacet) patterns.insert(value);
      });
    }
  }
  std::erase_if(patterns, [](std::u16string_view one) { return SchemaPattern(one).isUsable(); });
  if (patterns.empty()) return;
  report.notices.push_back({"a pattern cannot be matched, and values are not held against it: " +
                                toUtf8(*patterns.begin()),
                            {},
                            0,
                            0,
                            static_cast<std::int32_t>(patterns.size())});
}

// The checking that the schema is not too large for.
SchemaChecking affordable(SchemaChecking wanted, const SchemaSize& size, XsdReport& report) {
  constexpr double kMostPositions = 2'000;
  constexpr double kMostInAll = 40'000;
  const bool isLarge = size.positions > kMostPositions || size.allPositions > kMostInAll;
  if (wanted != SchemaChecking::Standard || !isLarge) return wanted;
  Notice notice{
      "content models are too large to be checked for ambiguity and restrictions; the "
      "largest is here",
      {},
      0,
      0,
      0};
  count(notice, *size.document, size.place);
  report.notices.push_back(std::move(notice));
  return SchemaChecking::Basic;
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

DictionaryTables compile(const std::vector<std::string>& schemaFiles, const XsdOptions& options,
                         XsdReport& report) {
  const XmlCatalog catalog = options.catalog.empty() ? XmlCatalog() : XmlCatalog(options.catalog);
  const SchemaDocuments documents(schemaFiles, catalog, options.includeRoots);
  reportConstructs(documents, report);
  std::ranges::copy(documents.unresolved(), std::back_inserter(report.notices));

  const SchemaChecking checking = affordable(options.checking, documents.size(), report);
  DictionaryTables tables;
  runOnStack(documents.size().stackNeed, [&] {
    const SchemaProcessor processor(documents, distinctCount(schemaFiles), checking);
    std::ranges::copy(processor.doubts(), std::back_inserter(report.notices));
    const Declarations declarations(documents);
    TableDraft draft;
    const ModelBuilder builder(processor.model(), globalElements(processor.model(), declarations),
                               draft);
    reportUnsatisfiable(builder, declarations, report);
    tables = draft.finish(dictionaryName(options, schemaFiles.front()));
  });
  reportLostConstants(documents, tables, report);
  reportPatterns(tables, report);
  return tables;
}

}  // namespace

DictionaryTables compileXsd(const std::vector<std::string>& schemaFiles, const XsdOptions& options,
                            XsdReport& report) {
  if (schemaFiles.empty()) throw std::invalid_argument("compileXsd: no schema files");
  report.notices.clear();
  return withParser([&] { return compile(schemaFiles, options, report); });
}

}  // namespace cpi
