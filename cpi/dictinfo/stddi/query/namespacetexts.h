// NamespaceTexts: the URIs of the Namespaces rows, measured once.
//
// Thread rule: `const` means safe to share. The views point into the string table.
#ifndef CPI_DICTINFO_STDDI_QUERY_NAMESPACETEXTS_H
#define CPI_DICTINFO_STDDI_QUERY_NAMESPACETEXTS_H

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

#include "cpi/dictinfo/stddi/tablereference.h"

namespace cpi {

class NamespaceTexts {
 public:
  // Throws std::bad_alloc.
  explicit NamespaceTexts(const TableReference<NamespaceRow>& table) {
    texts_.reserve(static_cast<std::size_t>(table.rowCount()));
    for (std::int32_t row = 0; row < table.rowCount(); ++row) {
      texts_.push_back(textView(table.text(row)));
    }
  }

  std::int32_t count() const noexcept { return static_cast<std::int32_t>(texts_.size()); }
  bool contains(std::int32_t index) const noexcept {
    return static_cast<std::size_t>(static_cast<std::uint32_t>(index)) < texts_.size();
  }
  // Empty for a row without text. `index` is a row of Namespaces.
  std::u16string_view text(std::int32_t index) const noexcept {
    return texts_[static_cast<std::size_t>(index)];
  }
  // As StdDictionaryInfo::isInNamespace has it.
  bool isIn(std::int32_t index, std::u16string_view uri) const noexcept {
    if (index == kNone && uri.empty()) return true;
    if (!contains(index) || text(index).size() != uri.size()) return false;
    return uri.empty() ||  // an empty text may have no place
           std::memcmp(text(index).data(), uri.data(), uri.size() * sizeof(char16_t)) == 0;
  }
  std::size_t bytes() const noexcept { return texts_.size() * sizeof(std::u16string_view); }

 private:
  std::vector<std::u16string_view> texts_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_QUERY_NAMESPACETEXTS_H
