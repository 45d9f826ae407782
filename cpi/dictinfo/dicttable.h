// DictTable: one table of the dictionary, a block of fixed-size records and its properties.
//
// Thread rule: `const` means safe to share. One thread loads.
#ifndef CPI_DICTINFO_DICTTABLE_H
#define CPI_DICTINFO_DICTTABLE_H

#include <cstdint>

#include "cpi/dictinfo/stringtable.h"
#include "cpi/runtime/export.h"

namespace cpi {

class DictionaryInfo;
class DictTable;

// Handles by which a table and a property are passed to MapTableProperty; they own nothing.
struct DictTableRefBase {
  DictTable* table = nullptr;
};
struct StringTableRef {
  StringTable* strings = nullptr;
};

class CPI_API DictTable {
 public:
  DictTable() noexcept = default;
  DictTable(const DictTable&) = delete;
  DictTable& operator=(const DictTable&) = delete;
  ~DictTable();

  // Sizes the table: `rowCount` records of `recordSize` zero bytes. For 0 bytes nothing happens.
  // Called once, before any property that is to have rows. Throws std::length_error beyond 4 GiB
  // or 2^31 - 1 rows, std::logic_error when the table has rows already, and std::bad_alloc; the
  // table is then as before.
  void Create(std::uint32_t recordSize, std::uint32_t rowCount);
  // Gives a table without rows `newRowCount` records of `newSize` bytes together, of cpMalloc. They
  // are its own from then on, or, with `isBorrowed`, lie elsewhere and outlive it. Never throws.
  void setRecords(unsigned char* newRecords, std::uint32_t newSize, std::int32_t newRowCount,
                  bool isBorrowed) noexcept;
  // Exchanges records and properties, but not the owners.
  void swapContents(DictTable& other) noexcept;
  // Creates a property with a place for each row, adds it to the group and announces it through
  // MapTableProperty to the owner, and to the dictionaries that share its tables. Throws as
  // StringTable::Create does.
  StringTableRef CreateProperty(const unsigned short* tableMemberName,
                                const unsigned short* memberName, std::int32_t type,
                                std::uint32_t initialSize);
  // The property with both names. Throws KelParserException (CP_INTERNAL_ERROR) when there is none.
  StringTable& GetProperty(const unsigned short* tableMemberName,
                           const unsigned short* memberName) const {
    return property(tableMemberName, memberName, "DictTable::GetProperty");
  }
  // Sets a value of the property with both names. Throws KelParserException (CP_INTERNAL_ERROR)
  // when there is no such property, and as StringTable::SetValue does.
  void SetProperty(std::uint32_t row, const unsigned short* tableMemberName,
                   const unsigned short* memberName, const unsigned short* text);
  void SetIntProperty(std::uint32_t row, const unsigned short* tableMemberName,
                      const unsigned short* memberName, std::int64_t value);

  DictionaryInfo* owner = nullptr;   // told of every new property; may be null
  unsigned char* records = nullptr;  // null while the table has no rows
  std::int32_t rowCount = 0;
  std::uint32_t size = 0;  // bytes of the record block
  StringTableGroup properties;

 private:
  bool isBorrowed_ = false;  // the records; otherwise they are of cpMalloc
  StringTable& property(const unsigned short* tableMemberName, const unsigned short* memberName,
                        const char* operation) const;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_DICTTABLE_H
