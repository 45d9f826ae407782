#include "cpi/dictinfo/stddi/schema.h"

#include <algorithm>

namespace cpi {

namespace {

// Rows of the tables below; `field` is the record's field, which bears the column's name.
#define CPI_FIELD(kind, id, record, field) \
  { id, #field, ColumnKind::kind, static_cast<std::uint16_t>(offsetof(record, field)) }
#define CPI_INTEGER(id, record, field) CPI_FIELD(Integer, id, record, field)

constexpr Column kNumRows{kNumRowsColumn, "NumRows", ColumnKind::NumRows};

constexpr Column identification[] = {
    {100001, "IdentityStr", ColumnKind::Text},
    CPI_FIELD(FixedText, 100002, DICTIONARY_IDENTIFICATION, Name),
    CPI_INTEGER(100003, DICTIONARY_IDENTIFICATION, MsgSetLevel),
    CPI_INTEGER(100004, DICTIONARY_IDENTIFICATION, ModelLevelMajor),
    CPI_INTEGER(100005, DICTIONARY_IDENTIFICATION, ModelLevelMinor),
    CPI_FIELD(FixedText, 100006, DICTIONARY_IDENTIFICATION, FreezeTimestamp),
    CPI_INTEGER(100007, DICTIONARY_IDENTIFICATION, DescriptorType),
    CPI_INTEGER(100008, DICTIONARY_IDENTIFICATION, FormatLevel),
    CPI_INTEGER(100009, DICTIONARY_IDENTIFICATION, CompatibilityLevel),
    {100010, "Dependency", ColumnKind::List},
    {100020, "FormatName", ColumnKind::List},
    {100021, "FormatId", ColumnKind::List},
};

constexpr Column project[] = {
    CPI_FIELD(FixedText, 105, MSGSET_DEFINITION, DefaultWireFormat),
    {106, "MessageTypePrefix", ColumnKind::Text},
    CPI_INTEGER(107, MSGSET_DEFINITION, UseNamespaces),
};

constexpr Column tags[] = {
    CPI_FIELD(Key, 201, SMD_TAG_DEFINITION, Id),
    {202, "TextIdentifier", ColumnKind::Text},
    CPI_INTEGER(203, SMD_TAG_DEFINITION, Type),
    CPI_FIELD(ClassCode, 204, SMD_TAG_DEFINITION, Class),
    CPI_INTEGER(205, SMD_TAG_DEFINITION, MinLength),
    CPI_INTEGER(206, SMD_TAG_DEFINITION, MaxLength),
    CPI_FIELD(Flag, 207, SMD_TAG_DEFINITION, NullPermitted),
    CPI_INTEGER(208, SMD_TAG_DEFINITION, ValueSetTableIndex),
    CPI_INTEGER(209, SMD_TAG_DEFINITION, DVTableIndex),
    CPI_INTEGER(210, SMD_TAG_DEFINITION, PathBaseInfoTableIndex),
    CPI_INTEGER(211, SMD_TAG_DEFINITION, ToTypeIndexField),
    CPI_INTEGER(212, SMD_TAG_DEFINITION, namespaceIndex),
};

constexpr Column typeMembers[] = {
    CPI_FIELD(Key, 401, SMD_STRUCTURE_ELEMENT_DEFINITION, ParentTypeId),
    CPI_INTEGER(402, SMD_STRUCTURE_ELEMENT_DEFINITION, ChildTagId),
    CPI_INTEGER(403, SMD_STRUCTURE_ELEMENT_DEFINITION, ChildTypeId),
    CPI_FIELD(ClassCode, 404, SMD_STRUCTURE_ELEMENT_DEFINITION, ChildClass),
    {405, "PhysicalName", ColumnKind::Text},
    CPI_INTEGER(406, SMD_STRUCTURE_ELEMENT_DEFINITION, SeqNbr),
    CPI_INTEGER(407, SMD_STRUCTURE_ELEMENT_DEFINITION, MinOccurs),
    CPI_INTEGER(409, SMD_STRUCTURE_ELEMENT_DEFINITION, RepIndicator),
    CPI_INTEGER(410, SMD_STRUCTURE_ELEMENT_DEFINITION, Id),
    CPI_INTEGER(411, SMD_STRUCTURE_ELEMENT_DEFINITION, MaxOccurs),
    CPI_INTEGER(412, SMD_STRUCTURE_ELEMENT_DEFINITION, toTagIndex),
    CPI_INTEGER(413, SMD_STRUCTURE_ELEMENT_DEFINITION, toTypeIndex),
};

constexpr Column memberIdIndex[] = {
    kNumRows,
    CPI_INTEGER(2001, MemberIdRow, MbrIDToTypeMbrIndexId),
    CPI_INTEGER(2002, MemberIdRow, MbrIDToTypeMbrIndexIndex),
};

constexpr Column types[] = {
    kNumRows,
    CPI_INTEGER(2101, SMD_TYPE_DEFINITION, TypeId),
    {2102, "Identifier", ColumnKind::Text},
    CPI_INTEGER(2103, SMD_TYPE_DEFINITION, Composition),
    CPI_INTEGER(2104, SMD_TYPE_DEFINITION, Content),
    CPI_INTEGER(2105, SMD_TYPE_DEFINITION, BaseTypeId),
    CPI_INTEGER(2106, SMD_TYPE_DEFINITION, LogicalType),
    CPI_INTEGER(2107, SMD_TYPE_DEFINITION, ToTypeMbrIndex),
    CPI_INTEGER(2108, SMD_TYPE_DEFINITION, NamespaceIndex),
};

constexpr Column pathBasedInfo[] = {
    kNumRows,
    CPI_INTEGER(2201, SMD_PATH_BASED_DEFINITION, MsgId),
    CPI_INTEGER(2202, SMD_PATH_BASED_DEFINITION, EndFieldId),
    {2203, "PathId", ColumnKind::Ignored},
    CPI_INTEGER(2204, SMD_PATH_BASED_DEFINITION, MemberPathIndex),
    CPI_INTEGER(2205, SMD_PATH_BASED_DEFINITION, ValueSetIndex),
    CPI_INTEGER(2206, SMD_PATH_BASED_DEFINITION, DVIndex),
    CPI_INTEGER(2207, SMD_PATH_BASED_DEFINITION, MinOccurs),
    CPI_INTEGER(2208, SMD_PATH_BASED_DEFINITION, MaxOccurs),
    CPI_INTEGER(2209, SMD_PATH_BASED_DEFINITION, MinLength),
    CPI_INTEGER(2210, SMD_PATH_BASED_DEFINITION, MaxLength),
    CPI_INTEGER(2211, SMD_PATH_BASED_DEFINITION, NullPermitted),
};

constexpr Column memberPath[] = {
    kNumRows,
    CPI_INTEGER(2301, MemberPathRow, MemberPathMemberId),
};

constexpr Column valueSet[] = {
    kNumRows,
    CPI_INTEGER(2401, SMD_VALUE_SET_DEFINITION, ValueSetValueIndex),
    CPI_INTEGER(2402, SMD_VALUE_SET_DEFINITION, ValueSetValueRole),
};

constexpr Column values[] = {
    kNumRows,
    {2501, "StringValue", ColumnKind::Value, 0, LTString},
    {2502, "IntegerValue", ColumnKind::Value, 0, LTInteger},
    {2503, "FloatValue", ColumnKind::Value, 0, LTFloat},
    {2505, "BooleanValue", ColumnKind::Value, 0, LTBoolean},
    {2506, "DateTimeValue", ColumnKind::Value, 0, LTDateTime},
    {2507, "DecimalValue", ColumnKind::Value, 0, LTDecimal},
    {2508, "IntervalValue", ColumnKind::Value, 0, LTInterval},
};

constexpr Column namespaces[] = {
    kNumRows,
    {2601, "Space", ColumnKind::Text},
};

constexpr Column namedProperty[] = {
    {kPropertyTableMemberNameColumn, "TableMemberName", ColumnKind::List},
    {kPropertyMemberNameColumn, "MemberName", ColumnKind::List},
    {kPropertyTextColumn, "TextValue", ColumnKind::Text},
    {kPropertyIntegerColumn, "IntegerValue", ColumnKind::Integer},
};

#undef CPI_INTEGER
#undef CPI_FIELD

constexpr Section sections[] = {
    {kIdentificationSection, "Identification", "Identification", TableSlot::Identification,
     sizeof(DICTIONARY_IDENTIFICATION), true, identification},
    {kProjectSection, "Project", "Project", TableSlot::Project, sizeof(MSGSET_DEFINITION), true,
     project},
    {kTagsSection, "Tags", "Tags", TableSlot::Tags, sizeof(SMD_TAG_DEFINITION), true, tags},
    {kTypeMembersSection, "TypeMembers", "Type Members", TableSlot::TypeMembers,
     sizeof(SMD_STRUCTURE_ELEMENT_DEFINITION), true, typeMembers},
    {kMemberIdIndexSection, "MemberIdIndex", "Member ID to Type Member Index",
     TableSlot::MemberIdIndex, sizeof(MemberIdRow), false, memberIdIndex},
    {kTypesSection, "Types", "Types", TableSlot::Types, sizeof(SMD_TYPE_DEFINITION), true, types},
    {kPathBasedInfoSection, "PathBasedInfo", "Path Based Info", TableSlot::PathBasedInfo,
     sizeof(SMD_PATH_BASED_DEFINITION), false, pathBasedInfo},
    {kMemberPathSection, "MemberPath", "Member Path Table", TableSlot::MemberPath,
     sizeof(MemberPathRow), false, memberPath},
    {kValueSetSection, "ValueSet", "Value Set Table", TableSlot::ValueSet,
     sizeof(SMD_VALUE_SET_DEFINITION), false, valueSet},
    {kValuesSection, "Values", "Values", TableSlot::Values, sizeof(SMD_VALUE_DEFINITION), true,
     values},
    {kNamespacesSection, "Namespaces", "Namespaces", TableSlot::Namespaces, sizeof(NamespaceRow),
     true, namespaces},
};

template <class Rows, class Key, class Projection>
auto findRow(const Rows& rows, const Key& key, Projection projection) noexcept {
  const auto found = std::ranges::find(rows, key, projection);
  return found == std::ranges::end(rows) ? nullptr : &*found;
}

}  // namespace

std::span<const Section> allSections() noexcept { return sections; }

const Section* findSection(std::int32_t id) noexcept { return findRow(sections, id, &Section::id); }

const Section* findSection(std::string_view name) noexcept {
  return findRow(sections, name, &Section::name);
}

const Column* findColumn(const Section& section, std::int32_t id) noexcept {
  return findRow(section.columns, id, &Column::id);
}

const Column* findColumn(const Section& section, std::string_view name) noexcept {
  return findRow(section.columns, name, &Column::name);
}

std::span<const Column> namedPropertyColumns() noexcept { return namedProperty; }

std::string_view tableName(TableSlot slot) noexcept {
  if (slot == TableSlot::Dependency) return "Dependency table";
  if (slot == TableSlot::WireFormat) return "Wire Format table";
  const Section* const section = findRow(sections, slot, &Section::slot);
  return section->tableName;
}

}  // namespace cpi
