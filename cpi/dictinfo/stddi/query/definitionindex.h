// DefinitionIndex: runs of members, tags of wide types, logical types and override rows without a
// scan.
//
// Thread rule: `const` means safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_DEFINITIONINDEX_H
#define CPI_DICTINFO_STDDI_QUERY_DEFINITIONINDEX_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cpi/dictinfo/stddi/query/idindex.h"
#include "cpi/dictinfo/stddi/tablereference.h"

namespace cpi {

using MemberTable = TableReference<SMD_STRUCTURE_ELEMENT_DEFINITION>;
using TypeTable = TableReference<SMD_TYPE_DEFINITION>;
using OverrideTable = TableReference<SMD_PATH_BASED_DEFINITION>;

// Runs up to this length are told faster by looking at their members.
inline constexpr std::int32_t kNarrowRun = 32;

class DefinitionIndex {
 public:
  // Throws std::bad_alloc. The tables are shared by whoever shares the index.
  DefinitionIndex(const MemberTable& members, const TypeTable& types,
                  const OverrideTable& overrides);
  // Without the arrays that visitArrays visits and adopt takes into use.
  struct WithoutArrays {};
  DefinitionIndex(const MemberTable& members, const OverrideTable& overrides, WithoutArrays)
      : members_(members), overrides_(overrides) {}
  DefinitionIndex(const DefinitionIndex&) = delete;
  DefinitionIndex& operator=(const DefinitionIndex&) = delete;

  // The first row behind the members that stand together with that of `row`, a row of the table,
  // and share its parent type.
  std::int32_t runEnd(std::int32_t row) const noexcept;
  // Whether firstOfTag answers for the members from `first` on, which are more than kNarrowRun.
  bool isIndexedRun(std::int32_t first) const noexcept;
  // The first member of the run from `first` on that carries the tag, or -1.
  std::int32_t firstOfTag(std::int32_t first, std::int32_t tagId) const noexcept;
  // The first Types row of a logical type, or -1.
  std::int32_t firstOfLogicalType(std::int32_t logicalType) const noexcept;

  // As KeyIndex has them.
  template <class Self, class Visit>
  static void visitArrays(Self& self, Visit&& visit) {
    visit(self.wideRuns_);
    visit(self.logicalTypes_);
    KeyIndex::visitArrays(self.tagsOfRuns_, visit);
    KeyIndex::visitArrays(self.overrideKeys_, visit);
    visit(self.overrideCounts_);
  }
  bool adopt(const TypeTable& types) noexcept;

  struct Overrides {
    std::int32_t first = kNone;
    std::int32_t count = 0;
  };
  // Whether overridesOf answers.
  bool hasOverrides() const noexcept { return overrideKeys_.isBuilt(); }
  Overrides overridesOf(std::int32_t msgId, std::int32_t endFieldId) const noexcept;

  // What the index occupies beside the tables.
  std::size_t bytes() const noexcept;

 private:
  std::vector<std::int32_t> findWideRuns() const;
  void indexWideRuns();
  void indexLogicalTypes(const TypeTable& types);
  void indexOverrides();

  MemberTable members_;
  OverrideTable overrides_;
  // Ascending: where runs of more than kNarrowRun members start and end.
  IndexArray<std::int32_t> wideRuns_;
  KeyIndex tagsOfRuns_;  // start of a wide run, and tag id
  struct LogicalType {
    std::int32_t code;
    std::int32_t row;  // the first
  };
  IndexArray<LogicalType> logicalTypes_;  // ascending
  KeyIndex overrideKeys_;
  IndexArray<std::int32_t> overrideCounts_;  // at the first row of each key
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_DEFINITIONINDEX_H
