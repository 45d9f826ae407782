// Definitions by what a user types.
#include <algorithm>

#include "tools/stddict/definitions.h"
#include "tools/stddict/words.h"

namespace {

// Names and namespaces of a query, converted once.
class Names {
 public:
  Names(const cpi::StdDictionaryInfo& dictionary, const Query& query)
      : dictionary_(dictionary),
        name_(cpi::toUtf16(query.text)),
        hasNamespace_(query.namespaceUri) {
    if (hasNamespace_) uri_ = cpi::KelStringBase::fromUtf8(*query.namespaceUri);
  }
  bool isIn(std::int32_t namespaceIndex) const {
    return !hasNamespace_ || dictionary_.isInNamespace(namespaceIndex, uri_);
  }
  bool isWhole(const unsigned short* text) const {
    return text != nullptr && cpi::textView(text) == name_;
  }
  bool isCompared(const unsigned short* text) const {
    return isWhole(text) || (!name_.empty() && comparedName(text) == name_);
  }

 private:
  const cpi::StdDictionaryInfo& dictionary_;
  std::u16string name_;
  bool hasNamespace_;
  cpi::KelStringBase uri_;
};

using Rows = std::vector<std::int32_t>;

template <class Table, class Matches>
Rows rowsWhere(const Table& table, Matches matches) {
  Rows rows;
  for (std::int32_t row = 0; row < table.rowCount(); ++row) {
    if (matches(table.row(row))) rows.push_back(row);
  }
  return rows;
}

// Rows by id if the text is one, else by name.
template <class Table, class Id, class Matches>
Rows rowsOf(const Table& table, const Query& query, Id id, Matches matches) {
  std::int32_t number = 0;
  if (readId(query.text, number)) {
    Rows rows = rowsWhere(table, [&](const auto& row) { return row.*id == number; });
    if (!rows.empty()) return rows;
  }
  return rowsWhere(table, matches);
}

}  // namespace

std::vector<std::int32_t> findTags(const cpi::StdDictionaryInfo& dictionary, const Query& query) {
  const Names names(dictionary, query);
  using Tag = cpi::SMD_TAG_DEFINITION;
  return rowsOf(dictionary.tags(), query, &Tag::Id, [&](const Tag& tag) {
    return names.isCompared(tag.TextIdentifier) && names.isIn(tag.namespaceIndex);
  });
}

std::vector<std::int32_t> chooseTags(const cpi::StdDictionaryInfo& dictionary, const Query& query) {
  Rows rows = findTags(dictionary, query);
  const Names names(dictionary, query);
  Rows whole;
  std::ranges::copy_if(rows, std::back_inserter(whole), [&](std::int32_t row) {
    return names.isWhole(dictionary.tags().row(row).TextIdentifier);
  });
  return whole.empty() ? rows : whole;
}

std::vector<std::int32_t> findTypes(const cpi::StdDictionaryInfo& dictionary, const Query& query) {
  const Names names(dictionary, query);
  using Type = cpi::SMD_TYPE_DEFINITION;
  return rowsOf(dictionary.types(), query, &Type::TypeId, [&](const Type& type) {
    return names.isWhole(type.Identifier) && names.isIn(type.NamespaceIndex);
  });
}

// Members have no namespace of their own: they are in their tag's. Those that are named like their
// tag are told with it.
std::vector<std::int32_t> findMembers(const cpi::StdDictionaryInfo& dictionary,
                                      const Query& query) {
  const Names names(dictionary, query);
  using Member = cpi::SMD_STRUCTURE_ELEMENT_DEFINITION;
  return rowsOf(dictionary.typeMembers(), query, &Member::Id, [&](const Member& member) {
    if (!names.isWhole(member.PhysicalName)) return false;
    const auto* const tag = dictionary.tags().find(member.toTagIndex);
    if (tag == nullptr) return names.isIn(cpi::kNone);
    return names.isIn(tag->namespaceIndex) && !names.isCompared(tag->TextIdentifier);
  });
}
