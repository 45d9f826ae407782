// ElementNames: the names of elements as numbers.
//
// A tag answers to a name and a namespace. Each distinct pair that occurs among the tags is a key;
// a key is found by one probe of the name, and whether a tag answers to it is one comparison. A key
// is the first of the Tags rows that answer to it. Thread rule: `const` means safe to share.
#ifndef CPI_DICTINFO_STDDI_QUERY_ELEMENTNAMES_H
#define CPI_DICTINFO_STDDI_QUERY_ELEMENTNAMES_H

#include <cstdint>
#include <string_view>

#include "cpi/dictinfo/stddi/query/nameindex.h"
#include "cpi/dictinfo/stddi/query/namespacetexts.h"

namespace cpi {

// The name that a tag answers to: what follows the first '^' of its text, or all of it.
inline std::u16string_view elementName(std::u16string_view text) noexcept {
  const std::size_t mark = text.find(u'^');
  return mark == std::u16string_view::npos ? text : text.substr(mark + 1);
}

class ElementNames {
 public:
  // `spaceOf(tagIndex)` is the number of the tag's namespace; `spaces` are the URIs, and outlive
  // this object. Throws std::bad_alloc.
  template <class SpaceOf>
  ElementNames(const TableReference<SMD_TAG_DEFINITION>& tags, const NamespaceTexts& spaces,
               SpaceOf spaceOf)
      : tags_(tags),
        spaces_(spaces),
        names_(
            tags.strings(), NameIndex::Ending::Nothing, tags.rowCount(),
            [this, &tags](std::int32_t row) -> std::optional<std::u16string_view> {
              if (tags.text(row) == nullptr) return std::nullopt;
              const std::u16string_view text = textView(tags.text(row));
              const std::u16string_view name = elementName(text);
              arePlain_ &= name.size() == text.size() && !text.ends_with(u' ');
              return name;
            },
            spaceOf, &keys_) {}

  // An index that was built from the same tables before, once its arrays are filled in.
  ElementNames(const TableReference<SMD_TAG_DEFINITION>& tags, const NamespaceTexts& spaces)
      : tags_(tags),
        spaces_(spaces),
        names_(tags.strings(), NameIndex::Ending::Nothing, tags.rowCount()) {}
  // As NameIndex has it.
  template <class Visit>
  void visitArrays(Visit&& visit) {
    visit(keys_);
    names_.visitArrays(visit);
  }
  template <class Visit>
  void visitArrays(Visit&& visit) const {
    visit(keys_);
    names_.visitArrays(visit);
  }
  bool isSound() const noexcept {
    const std::int32_t rows = tags_.rowCount();
    return keys_.size() == static_cast<std::uint32_t>(rows) &&
           areRowsOrNone(keys_.elements(), rows) && names_.isSound(rows);
  }

  // False when the names were made to collide: then nothing here is of use.
  bool isComplete() const noexcept { return names_.isComplete(); }
  // The key of the elements of this name and namespace, empty for none; -1 when no tag answers to
  // them. `name` is compared as it is, spaces included, and has no unit of 0.
  std::int32_t keyOf(std::u16string_view name, std::u16string_view namespaceURI) const noexcept {
    return names_.find(name, [&](std::int32_t row) {
      return spaces_.isIn(tags_.records()[row].namespaceIndex, namespaceURI);
    });
  }
  // The key of a tag; -1 for one without text, which no element is. `tagIndex` is a row of Tags.
  std::int32_t keyOfTag(std::int32_t tagIndex) const noexcept {
    return keys_[static_cast<std::size_t>(tagIndex)];
  }
  // Whether the tag answers to what keyOf gave, which may be -1: no tag does.
  bool answers(std::int32_t tagIndex, std::int32_t key) const noexcept {
    return key >= 0 && keyOfTag(tagIndex) == key;
  }
  // The rows of a name, in any namespace.
  const NameIndex& names() const noexcept { return names_; }
  // Whether each name is all of its tag's text and has no space at its end.
  bool arePlain() const noexcept { return arePlain_; }
  std::size_t bytes() const noexcept { return names_.bytes() + keys_.bytes(); }

 private:
  // As it was indexed; shared by the dictionaries that share the index.
  TableReference<SMD_TAG_DEFINITION> tags_;
  const NamespaceTexts& spaces_;
  bool arePlain_ = true;
  IndexArray<std::int32_t> keys_;
  NameIndex names_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_ELEMENTNAMES_H
