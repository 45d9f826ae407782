// The vocabulary of the dictionary, once: every section of the stream and every column of it.
//
// The loader stores by these rows, the text extract reads and writes names by them, the dump takes
// its legends from them. A new column is one new row here and one new field in its record.
#ifndef CPI_DICTINFO_STDDI_SCHEMA_H
#define CPI_DICTINFO_STDDI_SCHEMA_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

#include "cpi/dictinfo/stddi/records.h"
#include "cpi/runtime/export.h"

namespace cpi {

// The tables, by their slot in the dictionary's storage.
enum class TableSlot : std::uint8_t {
  Identification,
  Project,
  Dependency,
  WireFormat,
  Tags,
  TypeMembers,
  Types,
  PathBasedInfo,
  MemberPath,
  ValueSet,
  Values,
  MemberIdIndex,
  Namespaces,
};
inline constexpr int kTableCount = 13;

// Section ids.
enum SectionId : std::int32_t {
  kNoSection = -1,
  kProjectSection = 1,
  kTagsSection = 2,
  kTypeMembersSection = 4,
  kMemberIdIndexSection = 20,
  kTypesSection = 21,
  kPathBasedInfoSection = 22,
  kMemberPathSection = 23,
  kValueSetSection = 24,
  kValuesSection = 25,
  kNamespacesSection = 26,
  kIdentificationSection = 1000,
  kNamedPropertySection = 1001,
  kOldHeaderStart = 2018,  // an old-style header opens with this structure ...
  kOldHeaderEnd = 2019,    // ... and closes with the end of this one
};

// Column ids that the code has to name.
enum ColumnId : std::int32_t {
  kNoColumn = -1,
  kNameColumn = 100002,
  kFormatLevelColumn = 100008,
  kCompatibilityLevelColumn = 100009,
  kDependencyColumn = 100010,
  kFormatNameColumn = 100020,
  kFormatIdColumn = 100021,
  kTagIdColumn = 201,
  kParentTypeIdColumn = 401,
  kPropertyTableMemberNameColumn = 100101,
  kPropertyMemberNameColumn = 100102,
  kPropertyTextColumn = 100104,
  kPropertyIntegerColumn = 100105,
  kNumRowsColumn = 2000,
};

// What a column's items carry and where they go.
enum class ColumnKind : std::uint8_t {
  Ignored,    // part of the stream, kept nowhere
  NumRows,    // a count that sizes the table
  Key,        // an integer that is collected; the collected list sizes the table
  Integer,    // a 32-bit field of the record
  Flag,       // a bool field, given as 0 or 1
  ClassCode,  // a 32-bit field, given as a text of which the first unit counts
  FixedText,  // a text of up to 255 units inside the record
  Text,       // the row's text, kept in the table's string table
  List,       // a text that the loader collects for another table
  Value,      // one value of the Values table, of the logical type given
};

struct Column {
  std::int32_t id;
  std::string_view name;
  ColumnKind kind;
  std::uint16_t offset = 0;              // of the field in the record
  ELogicalType valueType = LTUndefined;  // of a Value column
};

struct Section {
  std::int32_t id;
  std::string_view name;       // as the stream's text form writes it
  std::string_view tableName;  // as the dump prints it
  TableSlot slot;
  std::uint32_t recordSize;
  bool hasText;                     // the table has a text column
  std::span<const Column> columns;  // in ascending order of id
};

// All sections that fill a table, in stream order: 1000, 1, 2, 4, 20 to 26.
CPI_API std::span<const Section> allSections() noexcept;
// Null when there is none. Never throw.
CPI_API const Section* findSection(std::int32_t id) noexcept;
CPI_API const Section* findSection(std::string_view name) noexcept;
CPI_API const Column* findColumn(const Section& section, std::int32_t id) noexcept;
CPI_API const Column* findColumn(const Section& section, std::string_view name) noexcept;
// The columns of the named-property section.
CPI_API std::span<const Column> namedPropertyColumns() noexcept;
// The name of a table for messages and listings.
CPI_API std::string_view tableName(TableSlot slot) noexcept;

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_SCHEMA_H
