#include "cpi/compile/tabledraft.h"

#include <cassert>
#include <utility>

#include "cpi/extract/modelconventions.h"

namespace cpi {

namespace {

template <class Rows>
std::int32_t countOf(const Rows& rows) {
  return static_cast<std::int32_t>(rows.size());
}

template <class Rows, class Row>
std::int32_t append(Rows& rows, Row row) {
  rows.push_back(std::move(row));
  return countOf(rows) - 1;
}

std::u16string wordsOf(const ControlDraft& control) {
  const std::pair<bool, std::u16string_view> words[] = {
      {control.isAbstract, kAbstract},
      {control.isFixed, kFixed},
      {control.isOpen, kOpen},
      {control.blocksExtension, kBlockExtension},
      {control.blocksRestriction, kBlockRestriction},
  };
  std::u16string text;
  for (const auto& [holds, word] : words) {
    if (!holds) continue;
    if (!text.empty()) text += u' ';
    text += word;
  }
  return text;
}

// A property with one value a row; rows whose text is empty have none. A property without values
// is left out.
template <class Rows, class TextOf>
void addProperty(DictionaryTables& tables, TableSlot slot, std::u16string_view name,
                 const Rows& rows, const TextOf& textOf) {
  NamedProperty property{.table = slot,
                         .tableMemberName = std::u16string(kSchemaProperties),
                         .memberName = std::u16string(name)};
  bool hasValues = false;
  for (const auto& row : rows) {
    std::u16string text = textOf(row);
    hasValues = hasValues || !text.empty();
    auto& value = property.values.emplace_back();
    if (!text.empty()) value = std::move(text);
  }
  if (hasValues) tables.namedProperties.push_back(std::move(property));
}

}  // namespace

std::int32_t TableDraft::addType(TypeDraft type) { return append(types_, std::move(type)); }

std::int32_t TableDraft::addTag(TagDraft tag) {
  if (tag.id == kNone) tag.id = lastTagId() + 1;
  assert(tag.id > lastTagId());
  return append(tags_, std::move(tag));
}

std::int32_t TableDraft::addValue(ValueRow value) {
  return append(tables_.Values, std::move(value));
}

std::int32_t TableDraft::addValueSet(const std::vector<ValueRow>& values) {
  std::vector<ValueDraft> drafts;
  for (const ValueRow& value : values) drafts.push_back({value});
  return addValueSet(drafts);
}

std::int32_t TableDraft::addValueSet(const std::vector<ValueDraft>& values) {
  const std::int32_t first = countOf(tables_.ValueSet);
  for (const ValueDraft& draft : values) {
    tables_.ValueSet.push_back({addValue(draft.value), draft.role});
  }
  tables_.ValueSet.push_back({kNone, 0});
  return first;
}

std::int32_t TableDraft::namespaceIndex(std::u16string_view uri) {
  if (uri.empty()) return kNone;
  if (const auto row = namespaceRows_.find(uri); row != namespaceRows_.end()) return row->second;
  const std::int32_t index = append(tables_.Namespaces, NamespaceText{Text(uri)});
  namespaceRows_.emplace(uri, index);
  return index;
}

std::u16string_view TableDraft::namespaceText(std::int32_t index) const {
  if (index < 0) return {};
  return *tables_.Namespaces[static_cast<std::size_t>(index)].Space;
}

std::int32_t TableDraft::typeId(std::int32_t index) const {
  return index < 0 ? 0 : 1 + lastTagId() + index;
}

DictionaryTables TableDraft::finish(const std::u16string& name) {
  DictionaryTables tables = std::move(tables_);
  tables.Identification.emplace().Name = name;
  tables.Project.emplace().UseNamespaces = tables.Namespaces.empty() ? 0 : 1;
  layOutTags(tables);
  layOutTypes(tables);
  layOutProperties(tables);
  *this = TableDraft();
  return tables;
}

void TableDraft::layOutTags(DictionaryTables& tables) const {
  for (std::int32_t i = 0; i < countOf(tags_); ++i) {
    const TagDraft& tag = tags_[static_cast<std::size_t>(i)];
    const bool isSimple = types_[static_cast<std::size_t>(tag.type)].logicalType > 0;
    tables.Tags.push_back({.Id = tagId(i),
                           .TextIdentifier = textOf(tag),
                           .Class = isSimple ? TCField : TCStructure,
                           .Type = typeId(tag.type),
                           .MinLength = tag.minLength,
                           .MaxLength = tag.maxLength,
                           .NullPermitted = tag.nullPermitted,
                           .ValueSetTableIndex = tag.valueSet,
                           .DVTableIndex = tag.defaultValue,
                           .ToTypeIndexField = tag.type,
                           .namespaceIndex = tag.namespaceIndex});
  }
}

std::u16string TableDraft::textOf(const TagDraft& tag) const {
  if (tag.context == TagContext::Type) return typeTagText(typeId(tag.type));
  if (tag.context == TagContext::Attributes) return attributesTagText(typeId(tag.owner));
  return tag.text;
}

void TableDraft::layOutTypes(DictionaryTables& tables) const {
  for (std::int32_t i = 0; i < countOf(types_); ++i) {
    const TypeDraft& type = types_[static_cast<std::size_t>(i)];
    tables.Types.push_back(
        {.TypeId = typeId(i),
         .Identifier = type.identifier,
         .Content = CONTENT_CLOSED,
         .Composition = type.composition,
         .BaseTypeId = typeId(type.base),
         .LogicalType = type.logicalType,
         .ToTypeMbrIndex = type.members.empty() ? kNone : countOf(tables.TypeMembers),
         .NamespaceIndex = type.namespaceIndex});
    layOutMembers(tables, i);
  }
}

void TableDraft::layOutMembers(DictionaryTables& tables, std::int32_t typeIndex) const {
  const std::int32_t firstId = 1 + lastTagId() + countOf(types_);
  std::int32_t number = 0;
  for (const MemberDraft& member : types_[static_cast<std::size_t>(typeIndex)].members) {
    const std::int32_t row = countOf(tables.TypeMembers);
    tables.MemberIdIndex.push_back({firstId + row, row});
    tables.TypeMembers.push_back({.Id = firstId + row,
                                  .ParentTypeId = typeId(typeIndex),
                                  .ChildTagId = member.tag == kNone ? 0 : tagId(member.tag),
                                  .ChildTypeId = typeId(member.type),
                                  .ChildClass = member.memberClass,
                                  .PhysicalName = member.name.empty() ? Text() : member.name,
                                  .SeqNbr = ++number,
                                  .MinOccurs = member.minOccurs,
                                  .MaxOccurs = member.maxOccurs,
                                  .toTagIndex = member.tag,
                                  .toTypeIndex = member.type});
  }
}

// In the order in which a dictionary gives them back: by name within a table.
void TableDraft::layOutProperties(DictionaryTables& tables) const {
  addProperty(tables, TableSlot::Tags, kControlProperty, tags_,
              [](const TagDraft& tag) { return wordsOf(tag.control); });
  addProperty(tables, TableSlot::Types, kControlProperty, types_,
              [](const TypeDraft& type) { return wordsOf(type.control); });
  addProperty(tables, TableSlot::Types, kDerivationProperty, types_,
              [this](const TypeDraft& type) { return derivationText(type.derivation); });
  addProperty(tables, TableSlot::Types, kFacetsProperty, types_,
              [](const TypeDraft& type) { return type.facets; });
}

std::u16string TableDraft::derivationText(const DerivationDraft& derivation) const {
  std::u16string text(derivation.method);
  for (const std::int32_t type : derivation.types) text += u" " + decimalText(typeId(type));
  return text;
}

}  // namespace cpi
