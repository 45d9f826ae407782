// Which field of a row struct is which column: the one list that feeding and reading back share.
#ifndef CPI_EXTRACT_TABLEBINDINGS_H
#define CPI_EXTRACT_TABLEBINDINGS_H

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "cpi/extract/dictionarytables.h"

namespace cpi {

template <class Row>
struct Binding {
  std::string_view column;  // its name in the schema
  std::variant<std::int32_t Row::*, bool Row::*, std::u16string Row::*, Text Row::*> field;
};

// The section of a row struct and its bindings, one for each column that the table keeps.
template <class Row>
struct Bindings;

#define CPI_BIND(row, name) \
  { #name, &row::name }

template <>
struct Bindings<IdentificationRow> {
  static constexpr SectionId section = kIdentificationSection;
  static constexpr Binding<IdentificationRow> columns[] = {
      CPI_BIND(IdentificationRow, IdentityStr),       CPI_BIND(IdentificationRow, Name),
      CPI_BIND(IdentificationRow, MsgSetLevel),       CPI_BIND(IdentificationRow, ModelLevelMajor),
      CPI_BIND(IdentificationRow, ModelLevelMinor),   CPI_BIND(IdentificationRow, FreezeTimestamp),
      CPI_BIND(IdentificationRow, DescriptorType),    CPI_BIND(IdentificationRow, FormatLevel),
      CPI_BIND(IdentificationRow, CompatibilityLevel)};
};

template <>
struct Bindings<ProjectRow> {
  static constexpr SectionId section = kProjectSection;
  static constexpr Binding<ProjectRow> columns[] = {CPI_BIND(ProjectRow, DefaultWireFormat),
                                                    CPI_BIND(ProjectRow, MessageTypePrefix),
                                                    CPI_BIND(ProjectRow, UseNamespaces)};
};

template <>
struct Bindings<TagRow> {
  static constexpr SectionId section = kTagsSection;
  static constexpr Binding<TagRow> columns[] = {CPI_BIND(TagRow, Id),
                                                CPI_BIND(TagRow, TextIdentifier),
                                                CPI_BIND(TagRow, Type),
                                                CPI_BIND(TagRow, Class),
                                                CPI_BIND(TagRow, MinLength),
                                                CPI_BIND(TagRow, MaxLength),
                                                CPI_BIND(TagRow, NullPermitted),
                                                CPI_BIND(TagRow, ValueSetTableIndex),
                                                CPI_BIND(TagRow, DVTableIndex),
                                                CPI_BIND(TagRow, PathBaseInfoTableIndex),
                                                CPI_BIND(TagRow, ToTypeIndexField),
                                                CPI_BIND(TagRow, namespaceIndex)};
};

template <>
struct Bindings<MemberRow> {
  static constexpr SectionId section = kTypeMembersSection;
  static constexpr Binding<MemberRow> columns[] = {
      CPI_BIND(MemberRow, ParentTypeId), CPI_BIND(MemberRow, ChildTagId),
      CPI_BIND(MemberRow, ChildTypeId),  CPI_BIND(MemberRow, ChildClass),
      CPI_BIND(MemberRow, PhysicalName), CPI_BIND(MemberRow, SeqNbr),
      CPI_BIND(MemberRow, MinOccurs),    CPI_BIND(MemberRow, RepIndicator),
      CPI_BIND(MemberRow, Id),           CPI_BIND(MemberRow, MaxOccurs),
      CPI_BIND(MemberRow, toTagIndex),   CPI_BIND(MemberRow, toTypeIndex)};
};

template <>
struct Bindings<MemberIdEntry> {
  static constexpr SectionId section = kMemberIdIndexSection;
  static constexpr Binding<MemberIdEntry> columns[] = {
      CPI_BIND(MemberIdEntry, MbrIDToTypeMbrIndexId),
      CPI_BIND(MemberIdEntry, MbrIDToTypeMbrIndexIndex)};
};

template <>
struct Bindings<TypeRow> {
  static constexpr SectionId section = kTypesSection;
  static constexpr Binding<TypeRow> columns[] = {
      CPI_BIND(TypeRow, TypeId),         CPI_BIND(TypeRow, Identifier),
      CPI_BIND(TypeRow, Composition),    CPI_BIND(TypeRow, Content),
      CPI_BIND(TypeRow, BaseTypeId),     CPI_BIND(TypeRow, LogicalType),
      CPI_BIND(TypeRow, ToTypeMbrIndex), CPI_BIND(TypeRow, NamespaceIndex)};
};

template <>
struct Bindings<PathBasedRow> {
  static constexpr SectionId section = kPathBasedInfoSection;
  static constexpr Binding<PathBasedRow> columns[] = {
      CPI_BIND(PathBasedRow, MsgId),           CPI_BIND(PathBasedRow, EndFieldId),
      CPI_BIND(PathBasedRow, MemberPathIndex), CPI_BIND(PathBasedRow, ValueSetIndex),
      CPI_BIND(PathBasedRow, DVIndex),         CPI_BIND(PathBasedRow, MinOccurs),
      CPI_BIND(PathBasedRow, MaxOccurs),       CPI_BIND(PathBasedRow, MinLength),
      CPI_BIND(PathBasedRow, MaxLength),       CPI_BIND(PathBasedRow, NullPermitted)};
};

template <>
struct Bindings<MemberPathStep> {
  static constexpr SectionId section = kMemberPathSection;
  static constexpr Binding<MemberPathStep> columns[] = {
      CPI_BIND(MemberPathStep, MemberPathMemberId)};
};

template <>
struct Bindings<ValueSetRow> {
  static constexpr SectionId section = kValueSetSection;
  static constexpr Binding<ValueSetRow> columns[] = {CPI_BIND(ValueSetRow, ValueSetValueIndex),
                                                     CPI_BIND(ValueSetRow, ValueSetValueRole)};
};

template <>
struct Bindings<NamespaceText> {
  static constexpr SectionId section = kNamespacesSection;
  static constexpr Binding<NamespaceText> columns[] = {CPI_BIND(NamespaceText, Space)};
};

#undef CPI_BIND

}  // namespace cpi

#endif  // CPI_EXTRACT_TABLEBINDINGS_H
