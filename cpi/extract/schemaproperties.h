// SchemaProperties: what a dictionary that was made of a schema tells of its tags and types beside
// their columns. The conventions are in modelconventions.h.
//
//     const cpi::SchemaProperties properties(dictionary);
//     if (!properties.mayTake(tagIndex, typeIndex)) ...  // xsi:type names a type that may not
//     stand
//
// Thread rule: `const` means safe to share.
#ifndef CPI_EXTRACT_SCHEMAPROPERTIES_H
#define CPI_EXTRACT_SCHEMAPROPERTIES_H

#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

struct SchemaControl {
  bool isAbstract = false;
  bool isFixed = false;
  bool blocksExtension = false;
  bool blocksRestriction = false;
  bool isOpen = false;
};

// The methods on the way from one type to another of which it is derived.
struct DerivationMethods {
  bool hasExtension = false;
  bool hasRestriction = false;
};

// What the values of a list or a union consist of.
struct SchemaParts {
  bool isList = false;
  std::int32_t least = 0;           // items of a list
  std::int32_t most = kNone;        // the same; kNone: no limit
  std::vector<std::int32_t> types;  // Types rows: of a list's items, or of the members of a union
};

class SchemaProperties {
 public:
  // `dictionary` must be loaded and outlive this object. One that was not made of a schema has none
  // of the properties: nothing is abstract, fixed or blocked, and no type is derived from another.
  explicit SchemaProperties(const StdDictionaryInfo& dictionary);

  // Of a row; all false when there is no such row.
  SchemaControl controlOfTag(std::int32_t tagIndex) const noexcept;
  SchemaControl controlOfType(std::int32_t typeIndex) const noexcept;
  // The facets of a Types row, "<facet> <value>" one a line; empty when there are none.
  std::u16string_view facetsOf(std::int32_t typeIndex) const noexcept;
  // Of a type that is a list or union, or derived from one. Nothing for others, and when a part of
  // it is no row or it has more than 256.
  std::optional<SchemaParts> partsOf(std::int32_t typeIndex) const;
  // The name of the built-in type that the type in a row is, or is restricted from; empty: none.
  std::u16string_view builtInBaseOf(std::int32_t typeIndex) const;
  // Whether the dictionary tells how its types are derived at all.
  bool hasDerivations() const noexcept { return derivation_ != nullptr; }
  // How the type in one row is derived from that in another; nothing when it is not. A type is
  // derived from itself by no method.
  std::optional<DerivationMethods> derivation(std::int32_t typeIndex, std::int32_t fromIndex) const;
  // Whether an element of a Tags row may take the type of a Types row by xsi:type: the type is
  // derived from the declared one, by methods that neither of element and declared type blocks.
  // That it is abstract is another question.
  bool mayTake(std::int32_t tagIndex, std::int32_t typeIndex) const;

 private:
  struct Search {
    std::int32_t steps = 0;
    int unions = 0;  // entered
  };

  void readItemLimits(std::int32_t typeIndex, SchemaParts& parts) const noexcept;
  bool isRoot(std::int32_t typeIndex, std::u16string_view name) const noexcept;
  // A type without further base: from which of the root types it may be taken to be derived.
  bool isDerivedFromRoot(std::int32_t typeIndex, std::int32_t fromIndex) const noexcept;
  bool isMemberOf(Search& search, std::int32_t typeIndex, std::int32_t unionIndex) const;
  std::optional<DerivationMethods> find(Search& search, std::int32_t typeIndex,
                                        std::int32_t fromIndex) const;

  const StdDictionaryInfo* dictionary_;
  const StringTable* tagControl_;  // null: there is none
  const StringTable* typeControl_;
  const StringTable* derivation_;
  const StringTable* facets_;
};

}  // namespace cpi

#endif  // CPI_EXTRACT_SCHEMAPROPERTIES_H
