// One pass over one schema document: what it refers to, what it declares in which order, what it
// uses that the tables cannot carry, and whether it stays within the limits under which it is safe
// to give it to the schema processor, which works by recursion and by copying.
#ifndef CPI_COMPILE_SCHEMASCAN_H
#define CPI_COMPILE_SCHEMASCAN_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace cpi {

// A place in a document; both 1-based.
struct SchemaPlace {
  std::int32_t line = 0;
  std::int32_t column = 0;
};

// An include, import or redefine.
struct SchemaReference {
  std::optional<std::u16string> location;
  std::optional<std::u16string> importedNamespace;  // of an import
  bool isImport = false;
  bool isRedefine = false;
  SchemaPlace place;
};

// The kinds of global component that refer to one another.
enum class ComponentKind : std::uint8_t { Element, Type, Group, AttributeGroup, Attribute };

struct ComponentName {
  ComponentKind kind;
  std::u16string name;  // without prefix: documents are scanned before namespaces are joined

  friend auto operator<=>(const ComponentName&, const ComponentName&) = default;
};

struct ComponentUse {
  ComponentName name;
  // The user takes what is used upon itself: groups and base types are copied into it by the
  // processor, values of base types into the tables, and it becomes a substitute of each head
  // above.
  bool isCopied = false;
  double times = 1;  // how often, limits of occurrence multiplied out
};

// One global component and what it uses, in document order.
struct ComponentScan {
  ComponentName name;
  SchemaPlace place = {};
  std::vector<ComponentUse> uses = {};
  // Particles, attributes, enumerated values and patterns written inside it, references not
  // expanded; long ones count for several.
  std::size_t parts = 0;
  double positions = 0;     // the particles with limits of occurrence multiplied out
  std::size_t nesting = 0;  // of its elements
  // Of the elements declared inside it: in which list of the processor's table each will be.
  std::vector<std::uint8_t> elementLists = {};
};

// The processor keeps all elements of a namespace in as many lists, by a hash of their names.
inline constexpr std::size_t kElementLists = 109;

// An element that is declared with a default or fixed value.
struct ConstantScan {
  std::u16string element;
  SchemaPlace place;
};

struct PatternScan {
  std::uint64_t steps = 0;
  SchemaPlace place;
};

// How often a construct was met and where first.
struct ConstructCount {
  std::int32_t count = 0;
  SchemaPlace first;
};

struct SchemaScan {
  std::u16string targetNamespace;
  std::vector<SchemaReference> references;
  std::vector<ComponentScan> components;
  std::vector<ConstantScan> constants;
  std::vector<PatternScan> patterns;
  std::map<std::size_t, ConstructCount> constructs;  // by index in constructTexts()
};

// A fault that keeps a document from being compiled.
struct ScanError {
  std::string text;
  SchemaPlace place;
};

// What the tables cannot carry: the texts of notices, in the order in which they are reported.
const std::vector<std::string_view>& constructTexts();

// Scans `bytes`, the document `systemId`. Throws ScanError when it is not well-formed or beyond a
// limit.
SchemaScan scanSchema(const std::string& bytes, const std::u16string& systemId);

// The number of elementary steps that a pattern facet unfolds to, its repetitions multiplied out;
// saturates at kPatternLimit + 1, also for a nesting that is too deep. The limit is for all
// patterns of a schema together: the schema processor keeps up to 200 bytes for each step.
inline constexpr std::uint64_t kPatternLimit = 500'000;
std::uint64_t patternSize(std::u16string_view pattern);

}  // namespace cpi

#endif  // CPI_COMPILE_SCHEMASCAN_H
