// TableDraft: the tables of a dictionary while they are being made.
//
// Definitions refer to one another by draft index, in the order in which they were added; finish()
// gives ids and lays out members, so that every order and cross-reference that readers rely on is
// made in one place.
#ifndef CPI_COMPILE_TABLEDRAFT_H
#define CPI_COMPILE_TABLEDRAFT_H

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "cpi/extract/dictionarytables.h"

namespace cpi {

struct MemberDraft {
  std::int32_t tag = kNone;  // none: a group or a wildcard
  std::int32_t type = kNone;
  std::int32_t memberClass = TCStructure;
  std::int32_t minOccurs = 1;
  std::int32_t maxOccurs = 1;  // kNone: unbounded
  std::u16string name = {};    // empty: none
};

// What may not be done with an element or a type, beside its content.
struct ControlDraft {
  bool isAbstract = false;
  bool isFixed = false;
  bool blocksExtension = false;
  bool blocksRestriction = false;
  bool isOpen = false;
};

// How a schema type was made, and from which types; kNone: from a root type.
struct DerivationDraft {
  std::u16string_view method = {};  // empty: no schema type
  std::vector<std::int32_t> types = {};
};

struct TypeDraft {
  std::u16string identifier;
  std::int32_t namespaceIndex = kNone;
  std::int32_t composition = TYPE_ORDERED;
  std::int32_t base = kNone;
  std::int32_t logicalType = 0;
  std::vector<MemberDraft> members = {};
  DerivationDraft derivation = {};
  ControlDraft control = {};
  std::u16string facets = {};
};

// What a tag that is no element or attribute stands for; finish() gives it its text.
enum class TagContext : std::uint8_t { None, Type, Attributes };

struct TagDraft {
  std::u16string text;
  std::int32_t namespaceIndex = kNone;
  std::int32_t type = kNone;
  std::int32_t minLength = kNone;
  std::int32_t maxLength = kNone;
  bool nullPermitted = false;
  std::int32_t valueSet = kNone;
  std::int32_t defaultValue = kNone;
  ControlDraft control = {};
  TagContext context = TagContext::None;
  std::int32_t owner = kNone;  // of an attributes' context: their type; kNone: global ones
  // Above those of all tags before it; kNone: the next one.
  std::int32_t id = kNone;
};

// One value of a value set and its role.
struct ValueDraft {
  ValueRow value;
  std::int32_t role = 0;
};

class TableDraft {
 public:
  // Each returns the draft index of what was added.
  std::int32_t addType(TypeDraft type);
  std::int32_t addTag(TagDraft tag);
  std::int32_t addValue(ValueRow value);
  // `values` must not be empty.
  std::int32_t addValueSet(const std::vector<ValueRow>& values);
  std::int32_t addValueSet(const std::vector<ValueDraft>& values);

  // References stay valid until the next add of the same kind.
  TypeDraft& type(std::int32_t index) { return types_[static_cast<std::size_t>(index)]; }
  const TagDraft& tag(std::int32_t index) const { return tags_[static_cast<std::size_t>(index)]; }
  std::int32_t typeCount() const { return static_cast<std::int32_t>(types_.size()); }

  // The row of a namespace, which is added when it is new; kNone for the empty text.
  std::int32_t namespaceIndex(std::u16string_view uri);
  // The text of such a row; empty for kNone.
  std::u16string_view namespaceText(std::int32_t index) const;

  // The tables. Tags, types and members have ids of their own ranges, for a trace tries an id as
  // each of them. Leaves the draft empty.
  DictionaryTables finish(const std::u16string& name);

 private:
  std::int32_t tagId(std::int32_t index) const { return tags_[static_cast<std::size_t>(index)].id; }
  std::int32_t lastTagId() const { return tags_.empty() ? 0 : tags_.back().id; }
  std::int32_t typeId(std::int32_t index) const;
  void layOutTags(DictionaryTables& tables) const;
  void layOutTypes(DictionaryTables& tables) const;
  void layOutMembers(DictionaryTables& tables, std::int32_t typeIndex) const;
  void layOutProperties(DictionaryTables& tables) const;
  std::u16string textOf(const TagDraft& tag) const;
  std::u16string derivationText(const DerivationDraft& derivation) const;

  std::vector<TypeDraft> types_;
  std::vector<TagDraft> tags_;
  std::map<std::u16string, std::int32_t, std::less<>> namespaceRows_;
  DictionaryTables tables_;  // namespaces, values and value sets are final when added
};

}  // namespace cpi

#endif  // CPI_COMPILE_TABLEDRAFT_H
