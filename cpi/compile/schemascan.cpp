#include "cpi/compile/schemascan.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <xercesc/sax2/Attributes.hpp>
#include <xercesc/util/XMLString.hpp>
#include <xercesc/util/XMLUni.hpp>

#include "cpi/compile/saxreader.h"
#include "cpi/compile/xmltext.h"
#include "cpi/extract/modelconventions.h"

namespace cpi {

namespace {

using View = std::u16string_view;

// Deeper documents are refused: the schema processor recurses over their elements.
constexpr std::size_t kDepthLimit = 200;

// What is copied with its component beside particles, and the units of text that count for one.
constexpr View kCopied[] = {u"attribute", u"enumeration", u"pattern"};
constexpr std::size_t kUnitsOfPart = 64;

enum Construct : std::size_t { kIdentity, kNotations };

struct ConstructRow {
  View element;
  Construct construct;
};

// Constructs that are recognised by their element.
constexpr ConstructRow kConstructElements[] = {
    {u"key", kIdentity},
    {u"keyref", kIdentity},
    {u"unique", kIdentity},
    {u"notation", kNotations},
};

struct KindRow {
  View element;
  ComponentKind kind;
};
constexpr KindRow kGlobalKinds[] = {
    {u"element", ComponentKind::Element},
    {u"complexType", ComponentKind::Type},
    {u"simpleType", ComponentKind::Type},
    {u"group", ComponentKind::Group},
    {u"attributeGroup", ComponentKind::AttributeGroup},
    {u"attribute", ComponentKind::Attribute},
};

template <class Row, std::size_t N>
const Row* findRow(const Row (&rows)[N], View element) {
  const Row* const found = std::ranges::find(rows, element, &Row::element);
  return found == std::end(rows) ? nullptr : found;
}

View localPart(View qualifiedName) {
  const std::size_t colon = qualifiedName.find(u':');
  return colon == View::npos ? qualifiedName : qualifiedName.substr(colon + 1);
}

// Of a number of occurrences the schema processor keeps 32 bits, in which -1 is unbounded.
bool isMisread(const std::string& text) {
  const long long number = std::strtoll(text.c_str(), nullptr, 10);
  return number > std::numeric_limits<std::int32_t>::max() &&
         static_cast<std::int32_t>(number) != -1;
}

class ScanHandler : public SaxHandler {
 public:
  SchemaScan scan;

  void startElement(const XMLCh* uri, const XMLCh* name, const XMLCh*,
                    const xercesc::Attributes& attributes) override {
    if (++depth_ > kDepthLimit) fail("elements are nested more than 200 deep");
    if (viewOf(uri) != kSchemaNamespace) return;
    attributes_ = &attributes;
    const View element = viewOf(name);
    if (depth_ == 1) scan.targetNamespace = value(u"targetNamespace").value_or(View());
    noteReference(element);
    noteComponent(element);
    noteConstructs(element);
  }
  void endElement(const XMLCh*, const XMLCh*, const XMLCh*) override { --depth_; }

 private:
  [[noreturn]] void fail(std::string text) const { throw ScanError{std::move(text), here()}; }

  std::optional<View> value(const char16_t* name) const {
    const XMLCh* const text = attributes_->getValue(xercesc::XMLUni::fgZeroLenString, name);
    if (text == nullptr) return std::nullopt;
    return trimmed(viewOf(text));
  }

  void note(Construct construct) {
    ConstructCount& entry = scan.constructs[construct];
    if (entry.count++ == 0) entry.first = here();
  }

  void noteReference(View element) {
    const bool isImport = element == u"import";
    if (!isImport && element != u"include" && element != u"redefine") return;
    SchemaReference reference{std::nullopt, std::nullopt, isImport, element == u"redefine", here()};
    if (const auto location = value(u"schemaLocation")) reference.location = *location;
    if (const auto imported = value(u"namespace")) reference.importedNamespace = *imported;
    scan.references.push_back(std::move(reference));
  }

  // The children of xs:schema and of xs:redefine are global; what stands below belongs to the last.
  void noteComponent(View element) {
    const KindRow* const row = findRow(kGlobalKinds, element);
    if (const auto name = value(u"name"); row != nullptr && name && isGlobal()) {
      scan.components.push_back({{row->kind, std::u16string(*name)}, here()});
    }
    if (element == u"redefine") redefineDepth_ = depth_;
    if (scan.components.empty()) return;
    ComponentScan& component = scan.components.back();
    component.nesting = std::max(component.nesting, depth_ - 1);
    const double times = noteTimes();
    if (row != nullptr) noteUse(row->kind, u"ref", isGroup(row->kind), times);
    noteUse(ComponentKind::Type, u"type");
    noteUse(ComponentKind::Type, u"base", true);
    noteUse(ComponentKind::Type, u"itemType");
    noteMemberTypes();
    noteUse(ComponentKind::Element, u"substitutionGroup", true);
    const bool isParticle = element == u"element" || element == u"any" || element == u"group";
    if (isParticle) component.positions += times;
    if (isParticle || std::ranges::find(kCopied, element) != std::end(kCopied)) {
      component.parts += 1 + textUnits() / kUnitsOfPart;
    }
    if (element == u"element") noteElement(component);
  }

  // Of all attributes of the element: they are copied with it.
  std::size_t textUnits() const {
    std::size_t units = 0;
    for (XMLSize_t i = 0; i < attributes_->getLength(); ++i) {
      units += viewOf(attributes_->getValue(i)).size();
    }
    return units;
  }

  static bool isGroup(ComponentKind kind) {
    return kind == ComponentKind::Group || kind == ComponentKind::AttributeGroup;
  }

  void noteElement(ComponentScan& component) {
    const auto name = value(u"name");
    if (!name) return;
    const std::u16string text(*name);
    component.elementLists.push_back(
        static_cast<std::uint8_t>(xercesc::XMLString::hash(text.c_str(), kElementLists)));
    if (value(u"default") || value(u"fixed")) scan.constants.push_back({text, here()});
  }

  // How often the element that begins occurs at most within its component, the limits of all around
  // it multiplied; an unbounded one counts as its least number.
  double noteTimes() {
    const auto limit = [this](const char16_t* name) {
      const std::string text = toUtf8(value(name).value_or(View()));
      if (isMisread(text)) fail(toUtf8(name) + " of " + text + "; expected at most 2147483647");
      return std::max(1.0, std::strtod(text.c_str(), nullptr));
    };
    times_.resize(depth_ - 1, 1);  // those around it
    const double around = times_.empty() ? 1 : times_.back();
    times_.push_back(around * std::max(limit(u"minOccurs"), limit(u"maxOccurs")));
    return times_.back();
  }

  bool isGlobal() const { return depth_ == 2 || (depth_ == 3 && redefineDepth_ == 2); }

  void noteUse(ComponentKind kind, const char16_t* attribute, bool isCopied = false,
               double times = 1) {
    if (const auto name = value(attribute)) addUse(kind, *name, isCopied, times);
  }

  void addUse(ComponentKind kind, View name, bool isCopied, double times) {
    const ComponentName used{kind, std::u16string(localPart(name))};
    scan.components.back().uses.push_back({used, isCopied, times});
  }

  void noteMemberTypes() {
    View rest = value(u"memberTypes").value_or(View());
    while (!rest.empty()) {
      const View name = rest.substr(0, rest.find_first_of(u" \t\r\n"));
      addUse(ComponentKind::Type, name, false, 1);
      rest = trimmed(rest.substr(name.size()));
    }
  }

  void noteConstructs(View element) {
    if (const ConstructRow* row = findRow(kConstructElements, element)) {
      note(row->construct);
    }
    if (element != u"pattern") return;
    scan.patterns.push_back({patternSize(value(u"value").value_or(View())), here()});
  }

  const xercesc::Attributes* attributes_ = nullptr;
  std::size_t depth_ = 0;
  std::size_t redefineDepth_ = 0;
  std::vector<double> times_;  // by depth: of the open elements, see noteTimes
};

// The number that a quantifier at `at` repeats its atom, 1 without one. Moves `at` behind it.
std::uint64_t repetitions(View pattern, std::size_t& at) {
  if (at >= pattern.size() || pattern[at] != u'{') return 1;
  std::uint64_t number = 0;
  std::uint64_t greatest = 0;
  for (++at; at < pattern.size() && pattern[at] != u'}'; ++at) {
    const bool isDigit = pattern[at] >= u'0' && pattern[at] <= u'9';
    number = isDigit ? std::min(kPatternLimit, number * 10 + (pattern[at] - u'0')) : 0;
    greatest = std::max(greatest, number);
  }
  ++at;
  return std::max<std::uint64_t>(greatest, 1);
}

}  // namespace

const std::vector<std::string_view>& constructTexts() {
  static const std::vector<std::string_view> texts = {
      "identity constraints (key, keyref, unique) are not represented",
      "notations are kept as text",
  };
  return texts;
}

std::uint64_t patternSize(View pattern) {
  struct Level {
    std::uint64_t sum = 0;   // of the finished atoms
    std::uint64_t last = 0;  // the atom that a quantifier would repeat
  };
  std::vector<Level> levels(1);
  for (std::size_t at = 0; at < pattern.size();) {
    const char16_t unit = pattern[at++];
    if (unit == u'\\' && at < pattern.size()) ++at;
    if (unit == u'(' || unit == u'[') {
      if (levels.size() > kDepthLimit) return kPatternLimit + 1;
      levels.emplace_back();
      continue;
    }
    std::uint64_t atom = 1;
    if ((unit == u')' || unit == u']') && levels.size() > 1) {
      atom = levels.back().sum + levels.back().last;
      levels.pop_back();
    }
    Level& level = levels.back();
    level.sum += level.last;
    level.last = std::min(kPatternLimit + 1, atom * repetitions(pattern, at));
    if (level.sum + level.last > kPatternLimit) return kPatternLimit + 1;
  }
  return levels.back().sum + levels.back().last;
}

SchemaScan scanSchema(const std::string& bytes, const std::u16string& systemId) {
  ScanHandler handler;
  readXml(bytes, systemId, handler);
  return std::move(handler.scan);
}

}  // namespace cpi
