#include "fuzz/support/randomdictionary.h"

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi::fuzz {

namespace {

struct Sizes {
  std::int32_t tags;
  std::int32_t types;
  std::int32_t members;
  std::int32_t others;  // of each other table
};

// The id that a sane dictionary has in a row.
std::int32_t idOfRow(std::int32_t row) { return row < 100 ? row + 1 : row; }

// Ids are mostly what a sane dictionary has: one more than the row.
std::int32_t idOf(ByteReader& bytes, std::size_t row) {
  return bytes.below(8) == 7 ? bytes.index(20) : static_cast<std::int32_t>(row) + 1;
}

std::int32_t classOf(ByteReader& bytes) { return "SFMECT"[bytes.below(6)]; }

void addTags(ByteReader& bytes, const Sizes& sizes, DictionaryTables& tables) {
  for (std::int32_t row = 0; row < sizes.tags; ++row) {
    TagRow& tag = tables.Tags.emplace_back();
    tag.Id = idOf(bytes, tables.Tags.size() - 1);
    if (bytes.below(16) != 15) tag.TextIdentifier = bytes.name();
    tag.Class = classOf(bytes);
    tag.ToTypeIndexField = bytes.index(sizes.types);
    tag.Type = idOfRow(bytes.index(sizes.types));
    tag.namespaceIndex = bytes.index(sizes.others);
    tag.ValueSetTableIndex = bytes.index(sizes.others);
    tag.DVTableIndex = bytes.index(sizes.others);
    tag.PathBaseInfoTableIndex = bytes.index(sizes.others);
  }
}

void addTypes(ByteReader& bytes, const Sizes& sizes, DictionaryTables& tables) {
  for (std::int32_t row = 0; row < sizes.types; ++row) {
    TypeRow& type = tables.Types.emplace_back();
    type.TypeId = idOf(bytes, tables.Types.size() - 1);
    if (bytes.flag()) type.Identifier = bytes.name();
    type.Composition = bytes.below(9);
    type.Content = bytes.below(4);
    type.BaseTypeId = idOfRow(bytes.index(sizes.types));
    const std::int32_t kind = bytes.below(24);
    type.LogicalType = kind < 12 ? 0 : kind == 23 ? bytes.integer() : kind - 12;
    type.ToTypeMbrIndex = bytes.index(sizes.members);
    type.NamespaceIndex = bytes.index(sizes.others);
  }
}

std::int32_t occurs(ByteReader& bytes) {
  const std::int32_t choice = bytes.below(8);
  return choice == 7 ? bytes.integer() : choice == 6 ? kNone : choice % 4;
}

void addMembers(ByteReader& bytes, const Sizes& sizes, DictionaryTables& tables) {
  for (std::int32_t row = 0; row < sizes.members; ++row) {
    MemberRow& member = tables.TypeMembers.emplace_back();
    member.Id = idOf(bytes, tables.TypeMembers.size() - 1);
    member.ParentTypeId = 1 + row * sizes.types / sizes.members;
    if (bytes.below(8) == 7) member.ParentTypeId = bytes.index(sizes.types);
    member.toTagIndex = bytes.index(sizes.tags);
    member.ChildTagId = bytes.below(8) == 7 ? bytes.index(sizes.tags) : idOfRow(member.toTagIndex);
    member.ChildClass = classOf(bytes);
    member.toTypeIndex = bytes.index(sizes.types);
    member.ChildTypeId = member.toTypeIndex;
    member.MinOccurs = occurs(bytes);
    member.MaxOccurs = occurs(bytes);
    const std::int32_t id = bytes.below(8) == 7 ? bytes.index(sizes.members) : member.Id;
    tables.MemberIdIndex.push_back({id, bytes.below(8) == 7 ? bytes.index(sizes.members) : row});
  }
}

ValueRow randomValue(ByteReader& bytes) {
  switch (bytes.below(5)) {
    case 0: return {LTString, Text(bytes.name())};
    case 1: return {LTInteger, std::int64_t{bytes.integer()}};
    case 2: return {LTFloat, static_cast<double>(bytes.integer())};
    case 3: return {LTBoolean, bytes.flag()};
    default: return {LTDecimal, Text(bytes.name())};
  }
}

void addOthers(ByteReader& bytes, const Sizes& sizes, DictionaryTables& tables) {
  for (std::int32_t row = 0; row < sizes.others; ++row) {
    tables.Namespaces.push_back({bytes.flag() ? Text(bytes.name()) : Text()});
    tables.Values.push_back(randomValue(bytes));
    tables.ValueSet.push_back({bytes.index(sizes.others), bytes.below(4)});
    tables.MemberPath.push_back({bytes.index(sizes.members)});
    PathBasedRow& path = tables.PathBasedInfo.emplace_back();
    path.MsgId = bytes.index(sizes.tags);
    path.EndFieldId = bytes.index(sizes.tags);
    path.MemberPathIndex = bytes.index(sizes.others);
    path.ValueSetIndex = bytes.index(sizes.others);
    path.DVIndex = bytes.index(sizes.others);
  }
}

}  // namespace

DictionaryTables randomTables(ByteReader& bytes) {
  DictionaryTables tables;
  tables.Identification.emplace().Name = u"fuzz";
  const Sizes sizes{bytes.below(9), bytes.below(9), bytes.below(17), bytes.below(4)};
  addTags(bytes, sizes, tables);
  addTypes(bytes, sizes, tables);
  addMembers(bytes, sizes, tables);
  addOthers(bytes, sizes, tables);
  return tables;
}

}  // namespace cpi::fuzz
