// TableReference: the one way by which readers reach the rows of a table.
//
// A record's text field is a cache of what the table's string table holds. Every read of a row
// through a reference refreshes it: the field is compared and written only when it differs, so on a
// loaded dictionary, whose fields were all refreshed when the load ended, reading writes nothing.
// Thread rule: `const` means safe to share. That holds once the load has ended.
#ifndef CPI_DICTINFO_STDDI_TABLEREFERENCE_H
#define CPI_DICTINFO_STDDI_TABLEREFERENCE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "cpi/dictinfo/dicttable.h"
#include "cpi/dictinfo/stddi/records.h"

namespace cpi {

// Where the text field of a record is; specialised for each record that has one.
template <class Record>
struct RecordText {
  static constexpr bool exists = false;
  static const unsigned short** field(Record&) noexcept { return nullptr; }
};
template <class Record, const unsigned short* Record::*Member>
struct MemberText {
  static constexpr bool exists = true;
  static const unsigned short** field(Record& row) noexcept { return &(row.*Member); }
};
template <>
struct RecordText<DICTIONARY_IDENTIFICATION>
    : MemberText<DICTIONARY_IDENTIFICATION, &DICTIONARY_IDENTIFICATION::IdentityStr> {};
template <>
struct RecordText<MSGSET_DEFINITION>
    : MemberText<MSGSET_DEFINITION, &MSGSET_DEFINITION::MessageTypePrefix> {};
template <>
struct RecordText<DependencyRow> : MemberText<DependencyRow, &DependencyRow::Dependency> {};
template <>
struct RecordText<WIREFORMAT_DEFINITION>
    : MemberText<WIREFORMAT_DEFINITION, &WIREFORMAT_DEFINITION::FormatId> {};
template <>
struct RecordText<SMD_TAG_DEFINITION>
    : MemberText<SMD_TAG_DEFINITION, &SMD_TAG_DEFINITION::TextIdentifier> {};
template <>
struct RecordText<SMD_STRUCTURE_ELEMENT_DEFINITION>
    : MemberText<SMD_STRUCTURE_ELEMENT_DEFINITION,
                 &SMD_STRUCTURE_ELEMENT_DEFINITION::PhysicalName> {};
template <>
struct RecordText<SMD_TYPE_DEFINITION>
    : MemberText<SMD_TYPE_DEFINITION, &SMD_TYPE_DEFINITION::Identifier> {};
template <>
struct RecordText<NamespaceRow> : MemberText<NamespaceRow, &NamespaceRow::Space> {};
// Only text and decimal values have a text; in the others the field is part of the value.
template <>
struct RecordText<SMD_VALUE_DEFINITION> {
  static constexpr bool exists = true;
  static const unsigned short** field(SMD_VALUE_DEFINITION& row) noexcept {
    return row.Type == LTString || row.Type == LTDecimal ? &row.Value.Text : nullptr;
  }
};

template <class Record>
class TableReference {
 public:
  using Row = Record;

  TableReference() noexcept = default;
  explicit TableReference(DictTable& table) noexcept : table_(&table) {}

  std::int32_t rowCount() const noexcept { return table_->rowCount; }
  // The record block; null while the table has no rows.
  const Record* records() const noexcept { return reinterpret_cast<Record*>(table_->records); }
  bool contains(std::int32_t index) const noexcept {
    return static_cast<std::uint32_t>(index) < static_cast<std::uint32_t>(rowCount());
  }
  // The row at `index`, refreshed. `index` must be a row of the table.
  const Record& row(std::int32_t index) const noexcept {
    Record& record = reinterpret_cast<Record*>(table_->records)[index];
    refresh(record, index);
    return record;
  }
  // The row at `index`, refreshed, or null when the table has no such row.
  const Record* find(std::int32_t index) const noexcept {
    return contains(index) ? &row(index) : nullptr;
  }
  // Refreshes all rows, as `row` does for one.
  void refreshAll() const noexcept;
  // The row's text straight from the string table; null when it has none.
  const unsigned short* text(std::int32_t index) const noexcept {
    return strings_ == nullptr || index < 0 ? nullptr
                                            : strings_->GetValue(static_cast<std::uint32_t>(index));
  }

  DictTable& table() const noexcept { return *table_; }
  // The string table of the text column; null when none is mapped.
  const StringTable* strings() const noexcept { return strings_; }
  void mapStrings(const StringTable* strings) noexcept { strings_ = strings; }

 private:
  void refresh(Record& record, std::int32_t index) const noexcept {
    if (const unsigned short** const field = RecordText<Record>::field(record); field != nullptr) {
      const std::atomic_ref<const unsigned short*> cache(*field);
      const unsigned short* const value = text(index);
      if (cache.load(std::memory_order_relaxed) != value) {
        cache.store(value, std::memory_order_relaxed);
      }
    }
  }

  DictTable* table_ = nullptr;
  const StringTable* strings_ = nullptr;
};

template <class Record>
void TableReference<Record>::refreshAll() const noexcept {
  if (!RecordText<Record>::exists || rowCount() == 0) return;
  auto* const rows = reinterpret_cast<Record*>(table_->records);
  const auto count = static_cast<std::uint32_t>(rowCount());
  // Read once: behind each access to a cache the compiler would read them again.
  const StringTable::Texts texts = strings_ == nullptr ? StringTable::Texts() : strings_->texts();
  for (std::uint32_t row = 0; row < count; ++row) {
    const unsigned short** const field = RecordText<Record>::field(rows[row]);
    if (field == nullptr) continue;
    const std::atomic_ref<const unsigned short*> cache(*field);
    const unsigned short* const value = texts[row];
    if (cache.load(std::memory_order_relaxed) != value) {
      cache.store(value, std::memory_order_relaxed);
    }
  }
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_TABLEREFERENCE_H
