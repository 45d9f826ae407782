// DictionaryTables: the contents of a whole dictionary as plain values, to build, compare and edit.
//
// A compiler of message models fills one and feeds it to a dictionary:
//
//     cpi::DictionaryTables tables;
//     tables.Identification.emplace().Name = u"orders";
//     tables.Tags.push_back({.Id = 1, .TextIdentifier = u"Order", .Class = cpi::TCMessage});
//     cpi::StdDictionaryInfo dictionary(0);
//     cpi::feed(tables, dictionary);
//
// Fields bear the names of the columns and have the defaults of the dictionary's records; see
// records.h for the sentinels and codes. Thread rule: one thread at a time.
#ifndef CPI_EXTRACT_DICTIONARYTABLES_H
#define CPI_EXTRACT_DICTIONARYTABLES_H

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "cpi/dictinfo/stddi/schema.h"
#include "cpi/dictinfo/stringtable.h"
#include "cpi/runtime/fihandler.h"
#include "cpi/runtime/pwfdata.h"

namespace cpi {

class StdDictionaryInfo;

// A text column's field: any code units but U+0000, or no text.
using Text = std::optional<std::u16string>;

struct IdentificationRow {
  Text IdentityStr = {};
  std::u16string Name = {};  // up to 255 units
  std::int32_t MsgSetLevel = kNone;
  std::int32_t ModelLevelMajor = kNone;
  std::int32_t ModelLevelMinor = kNone;
  std::u16string FreezeTimestamp = {};  // up to 255 units
  std::int32_t DescriptorType = 1;
  std::int32_t FormatLevel = 1000;
  std::int32_t CompatibilityLevel = kNone;

  friend bool operator==(const IdentificationRow&, const IdentificationRow&) = default;
};

struct ProjectRow {
  std::u16string DefaultWireFormat = {};  // up to 255 units
  Text MessageTypePrefix = {};
  std::int32_t UseNamespaces = 0;

  friend bool operator==(const ProjectRow&, const ProjectRow&) = default;
};

struct DependencyText {
  Text Dependency = {};  // loaded as the empty text when there is none

  friend bool operator==(const DependencyText&, const DependencyText&) = default;
};

struct WireFormatRow {
  std::u16string FormatName = {};  // up to 255 units
  Text FormatId = {};              // loaded as the empty text when a later row has one

  friend bool operator==(const WireFormatRow&, const WireFormatRow&) = default;
};

struct TagRow {
  std::int32_t Id = kNotSupplied;
  Text TextIdentifier = {};
  std::int32_t Class = kNotSupplied;  // a class letter; kNotSupplied: not given
  std::int32_t Type = kNotSupplied;
  std::int32_t MinLength = kNone;
  std::int32_t MaxLength = kNone;
  bool NullPermitted = true;
  std::int32_t ValueSetTableIndex = kNone;
  std::int32_t DVTableIndex = kNone;
  std::int32_t PathBaseInfoTableIndex = kNone;
  std::int32_t ToTypeIndexField = kNotSupplied;
  std::int32_t namespaceIndex = kNone;

  friend bool operator==(const TagRow&, const TagRow&) = default;
};

struct MemberRow {
  std::int32_t Id = kNotSupplied;
  std::int32_t ParentTypeId = kNotSupplied;
  std::int32_t ChildTagId = 0;
  std::int32_t ChildTypeId = kNotSupplied;
  std::int32_t ChildClass = TCStructure;  // a class letter
  Text PhysicalName = {};
  std::int32_t SeqNbr = kNotSupplied;
  std::int32_t MinOccurs = kNone;
  std::int32_t MaxOccurs = kNone;  // negative: unbounded
  std::int32_t RepIndicator = 0;
  std::int32_t toTagIndex = kNotSupplied;
  std::int32_t toTypeIndex = kNotSupplied;

  friend bool operator==(const MemberRow&, const MemberRow&) = default;
};

struct TypeRow {
  std::int32_t TypeId = kNotSupplied;
  Text Identifier = {};
  std::int32_t Content = kNone;
  std::int32_t Composition = kNone;
  std::int32_t BaseTypeId = 0;
  std::int32_t LogicalType = kNotSupplied;
  std::int32_t ToTypeMbrIndex = kNotSupplied;
  std::int32_t NamespaceIndex = kNone;

  friend bool operator==(const TypeRow&, const TypeRow&) = default;
};

struct PathBasedRow {
  std::int32_t MsgId = 0;
  std::int32_t EndFieldId = 0;
  std::int32_t MemberPathIndex = 0;
  std::int32_t ValueSetIndex = 0;
  std::int32_t DVIndex = 0;
  std::int32_t MinOccurs = 0;
  std::int32_t MaxOccurs = 0;
  std::int32_t MinLength = 0;
  std::int32_t MaxLength = 0;
  std::int32_t NullPermitted = 0;

  friend bool operator==(const PathBasedRow&, const PathBasedRow&) = default;
};

struct MemberPathStep {
  std::int32_t MemberPathMemberId = 0;

  friend bool operator==(const MemberPathStep&, const MemberPathStep&) = default;
};

struct ValueSetRow {
  std::int32_t ValueSetValueIndex = 0;
  std::int32_t ValueSetValueRole = 0;

  friend bool operator==(const ValueSetRow&, const ValueSetRow&) = default;
};

// One typed constant. `Type` says which alternative `Value` holds; texts and decimals are a Text.
struct ValueRow {
  using Constant =
      std::variant<std::monostate, Text, std::int64_t, double, bool, PWFDateTime, PWFInterval>;

  std::int32_t Type = LTUndefined;
  Constant Value = {};

  // Doubles are compared bit by bit, so that a row with NaN equals itself.
  friend bool operator==(const ValueRow& a, const ValueRow& b) noexcept;
};

struct MemberIdEntry {
  std::int32_t MbrIDToTypeMbrIndexId = 0;
  std::int32_t MbrIDToTypeMbrIndexIndex = 0;

  friend bool operator==(const MemberIdEntry&, const MemberIdEntry&) = default;
};

struct NamespaceText {
  Text Space = {};

  friend bool operator==(const NamespaceText&, const NamespaceText&) = default;
};

// A property that is attached to a table beside its columns: PTText or PTInteger, a value a row.
struct NamedProperty {
  using Value = std::variant<std::int64_t, std::u16string>;

  TableSlot table = TableSlot::Tags;  // any but Dependency and WireFormat
  std::u16string tableMemberName = {};
  std::u16string memberName = {};
  std::int32_t type = PTText;
  std::vector<std::optional<Value>> values = {};  // row 0 of an integer property has a value

  friend bool operator==(const NamedProperty&, const NamedProperty&) = default;
};

struct DictionaryTables {
  std::optional<IdentificationRow> Identification = {};
  std::optional<ProjectRow> Project = {};
  std::vector<DependencyText> Dependencies = {};
  std::vector<WireFormatRow> WireFormats = {};
  std::vector<TagRow> Tags = {};
  std::vector<MemberRow> TypeMembers = {};
  std::vector<TypeRow> Types = {};
  std::vector<PathBasedRow> PathBasedInfo = {};
  std::vector<MemberPathStep> MemberPath = {};
  std::vector<ValueSetRow> ValueSet = {};
  std::vector<ValueRow> Values = {};  // rows without value (LTUndefined) only at the end
  std::vector<MemberIdEntry> MemberIdIndex = {};
  std::vector<NamespaceText> Namespaces = {};
  std::vector<NamedProperty> namedProperties = {};  // of one table, in order of creation

  friend bool operator==(const DictionaryTables&, const DictionaryTables&) = default;
};

// Sends the tables to `handler`, from startMessage to endMessage, as a stream that a dictionary
// loads: sections in stream order, each column by column. Left out are tables without rows,
// columns that hold nothing but defaults where the table is created without them, null texts and
// class letters that were not given. Throws std::invalid_argument for contents that no stream can
// carry (U+0000 in a text, a value row of unknown kind or whose alternative is another one, ...),
// naming table, column and row, and whatever the handler throws.
void feed(const DictionaryTables& tables, FIHandler& handler);

// The tables of a loaded dictionary. Named properties come in ascending order of memberName.
// Throws std::bad_alloc.
DictionaryTables tablesOf(const StdDictionaryInfo& dictionary);

}  // namespace cpi

#endif  // CPI_EXTRACT_DICTIONARYTABLES_H
