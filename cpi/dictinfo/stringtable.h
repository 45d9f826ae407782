// StringTable and StringTableGroup: the named properties of a table, one value a row.
//
// A property keeps its values in one growing buffer: an array of 32-bit offsets, one a row, and
// behind it the values in the order in which they were set. Offset 0 means that a row has no value.
// Thread rule: `const` means safe to share. One thread loads.
#ifndef CPI_DICTINFO_STRINGTABLE_H
#define CPI_DICTINFO_STRINGTABLE_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "cpi/runtime/export.h"
#include "cpi/runtime/kelstring.h"
#include "cpi/runtime/memory.h"

namespace cpi {

// The name of a property. The two names that every text column has take no memory of their own.
// Throws std::bad_alloc.
KelStringBase propertyName(std::u16string_view name);

// The kinds of property value.
enum PropertyType : std::int32_t {
  PTNone = -1,    // not created yet
  PTText = 2,     // zero-terminated UTF-16
  PTInteger = 4,  // 64-bit signed integer, low 32-bit word first
};

class CPI_API StringTable {
 public:
  StringTable() noexcept = default;
  StringTable(const StringTable&) = delete;
  StringTable& operator=(const StringTable&) = delete;
  virtual ~StringTable();

  // Names the property and makes room for `rowCount` offsets, or `initialSize` bytes when that is
  // not 0 and leaves room for them. Throws std::length_error beyond 4 GiB, and std::bad_alloc; the
  // property is then as before.
  void Create(const unsigned short* tableMemberName, const unsigned short* memberName,
              std::int32_t type, std::uint32_t rowCount, std::uint32_t initialSize);
  // Appends a value and points the row at it; an older value of the row stays unused in the
  // buffer. A text in a property of integers is kept but never found. Throws KelParserException
  // (CP_INTERNAL_ERROR) when the property has no such row, or for an integer when it is not one of
  // integers, std::length_error when the buffer would pass 4 GiB, std::bad_alloc; the
  // property is then as before. Pointers from GetValue are invalid after a successful call.
  void SetValue(std::uint32_t row, const unsigned short* text);
  void SetIntValue(std::uint32_t row, std::int64_t value);
  // The row's text, or null when it has none, is out of range or the property holds integers.
  // Valid until the next value is set in this property. Never throws.
  const unsigned short* GetValue(std::uint32_t row) const noexcept { return texts()[row]; }
  // The texts of all rows, as they are now: valid until the next value is set.
  class Texts {
   public:
    Texts() noexcept = default;
    // As GetValue.
    const unsigned short* operator[](std::uint32_t row) const noexcept {
      const std::uint32_t offset = row < rows_ ? offsets_[row] : 0;
      return offset == 0 ? nullptr
                         : reinterpret_cast<const unsigned short*>(
                               reinterpret_cast<const unsigned char*>(offsets_) + offset);
    }

   private:
    friend class StringTable;
    const std::uint32_t* offsets_ = nullptr;
    std::uint32_t rows_ = 0;
  };
  Texts texts() const noexcept {
    Texts all;
    if (type != PTText) return all;
    all.offsets_ = reinterpret_cast<const std::uint32_t*>(buffer);
    all.rows_ = rowCount;
    return all;
  }
  // The row's integer, or nothing when it has none or the property holds texts.
  std::optional<std::int64_t> GetIntValue(std::uint32_t row) const noexcept;
  // Refers to `used` bytes of offsets and values for `rows` rows, which lie elsewhere and outlive
  // this object. The first value that is set after that makes a copy of them. Never throws.
  void borrow(unsigned char* values, std::uint32_t used, std::uint32_t rows) noexcept;
  template <Char16 C>
  void SetValue(std::uint32_t row, const C* text) {
    SetValue(row, asUnits(text));
  }

  KelStringBase tableMemberName;
  KelStringBase memberName;
  std::int32_t type = PTNone;
  unsigned char* buffer = nullptr;  // null when the property has no rows
  std::uint32_t bufferSize = 0;     // capacity in bytes
  std::uint32_t rowCount = 0;       // rows of the table when the property was created
  std::uint32_t bufferUsed = 0;     // bytes in use, the offsets included

 private:
  std::uint32_t offsetOf(std::uint32_t row) const noexcept {
    return row < rowCount ? reinterpret_cast<const std::uint32_t*>(buffer)[row] : 0;
  }
  struct Free {
    void operator()(unsigned char* block) const noexcept { cpFree(block); }
  };
  using OldBuffer = std::unique_ptr<unsigned char, Free>;
  // Puts another buffer in place of the one that there is; gives that back if it is to be freed.
  OldBuffer replaceBuffer(unsigned char* newBuffer, std::uint32_t newSize) noexcept;
  // Checks the row and makes room for `needed` more bytes; gives back the buffer that was outgrown.
  OldBuffer reserve(std::uint32_t row, std::int32_t valueType, std::uint64_t needed);

  bool isBorrowed_ = false;  // the buffer; otherwise it is of cpMalloc
};

// The properties of one table, in ascending order of memberName. Owns them.
class CPI_API StringTableGroup {
 public:
  // Inserts `table` before those of an equal memberName and takes it over. Throws std::bad_alloc,
  // `table` is then destroyed.
  void AddTable(std::unique_ptr<StringTable> table);
  // Takes all tables over in place of those that it has; they are in ascending order of memberName.
  void assign(std::vector<std::unique_ptr<StringTable>> tables) noexcept {
    tables_ = std::move(tables);
  }
  // The first property with both names, or null. A null `tableMemberName` takes the first with
  // an equal or greater memberName. Never throws.
  StringTable* FindTable(const unsigned short* tableMemberName,
                         const unsigned short* memberName) const noexcept;
  const std::vector<std::unique_ptr<StringTable>>& tables() const noexcept { return tables_; }
  // Destroys all properties.
  void clear() noexcept { tables_.clear(); }

 private:
  std::vector<std::unique_ptr<StringTable>> tables_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STRINGTABLE_H
