// LookupIndex: what a dictionary derives from its finished tables to answer faster.
//
// Everything here gives exactly the rows of the plain algorithm, which a dictionary without an
// index still runs. Thread rule: `const` means safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_LOOKUPINDEX_H
#define CPI_DICTINFO_STDDI_QUERY_LOOKUPINDEX_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "cpi/dictinfo/stddi/query/definitionindex.h"
#include "cpi/dictinfo/stddi/query/elementnames.h"
#include "cpi/dictinfo/stddi/query/idindex.h"
#include "cpi/dictinfo/stddi/query/memberindex.h"
#include "cpi/dictinfo/stddi/query/nameindex.h"
#include "cpi/dictinfo/stddi/query/namespacetexts.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

// A name as look-ups compare it: without its trailing spaces.
inline std::u16string_view trimmedName(std::u16string_view text) noexcept {
  const std::size_t last = text.find_last_not_of(u' ');
  return text.substr(0, last == std::u16string_view::npos ? 0 : last + 1);
}

// The same for types, which compare the first units before any space is removed: an empty text
// and one of spaces alone, equal once trimmed, do not meet.
inline std::u16string_view trimmedTypeName(std::u16string_view text) noexcept {
  const std::u16string_view name = trimmedName(text);
  return name.empty() ? text.substr(0, 1) : name;
}

class LookupIndex {
 public:
  // Throws std::bad_alloc.
  explicit LookupIndex(const StdDictionaryInfo& dictionary);
  // Takes its arrays from the bytes that one of the same tables gave, in which they stay; isSound
  // tells whether they fit.
  LookupIndex(const StdDictionaryInfo& dictionary, std::span<const unsigned char> bytes);
  LookupIndex(const LookupIndex&) = delete;
  LookupIndex& operator=(const LookupIndex&) = delete;

  // Views, valid as long as this object.
  const IdLookup& tagIds() const noexcept { return tagIds_.lookup(); }
  const IdLookup& typeIds() const noexcept { return typeIds_.lookup(); }
  const IdLookup& memberIds() const noexcept { return memberIds_.lookup(); }
  const DefinitionIndex& definitions() const noexcept { return definitions_; }
  const NamespaceTexts& spaces() const noexcept { return spaces_; }
  // Each is null when its names were made to collide.
  const NameIndex* tags() const noexcept {
    const NameIndex& names = tags_.isBuilt() ? tags_ : elements_.names();
    return names.isComplete() ? &names : nullptr;
  }
  const NameIndex* types() const noexcept { return types_.isComplete() ? &types_ : nullptr; }
  const ElementNames* elements() const noexcept {
    return elements_.isComplete() ? &elements_ : nullptr;
  }
  // For moves; null without the elements.
  const MemberIndex* members() const noexcept {
    return members_.has_value() ? &*members_ : nullptr;
  }
  // Whether every look-up stays inside the tables and ends.
  bool isSound() const noexcept { return isSound_; }
  // What can be kept of the index; nothing when it is not complete. Throws std::bad_alloc.
  std::vector<unsigned char> keptBytes() const;
  // What the index occupies beside the tables.
  std::size_t bytes() const noexcept {
    return sizeof *this + tagIds_.bytes() + typeIds_.bytes() + memberIds_.bytes() +
           definitions_.bytes() + spaces_.bytes() + tags_.bytes() + types_.bytes() +
           elements_.bytes() + (members_.has_value() ? members_->bytes() : 0);
  }

 private:
  // For each Namespaces row the first one of the same text, or -1 for an empty text.
  using SpaceNumbers = std::vector<std::int32_t>;
  static SpaceNumbers numberSpaces(const TableReference<NamespaceRow>& table);
  LookupIndex(const StdDictionaryInfo& dictionary, const SpaceNumbers& numbers);
  template <class Self, class Visit>
  static void visitArrays(Self& self, Visit&& visit) {
    IdIndex::visitArrays(self.tagIds_, visit);
    IdIndex::visitArrays(self.typeIds_, visit);
    IdIndex::visitArrays(self.memberIds_, visit);
    DefinitionIndex::visitArrays(self.definitions_, visit);
    self.tags_.visitArrays(visit);
    self.types_.visitArrays(visit);
    self.elements_.visitArrays(visit);
    MemberIndex::visitArrays(*self.members_, visit);
  }

  IdIndex tagIds_;
  IdIndex typeIds_;
  IdIndex memberIds_;
  DefinitionIndex definitions_;
  NamespaceTexts spaces_;
  ElementNames elements_;
  NameIndex tags_;  // not built where it would be that of the elements
  NameIndex types_;
  std::optional<MemberIndex> members_;
  bool isSound_ = true;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_LOOKUPINDEX_H
