#include "cpi/dictinfo/dicttable.h"

#include <cstring>
#include <limits>
#include <memory>
#include <stdexcept>
#include <utility>

#include "cpi/dictinfo/dictionaryinfo.h"
#include "cpi/runtime/kelexception.h"
#include "cpi/runtime/memory.h"

namespace cpi {

DictTable::~DictTable() {
  if (!isBorrowed_) cpFree(records);
}

void DictTable::setRecords(unsigned char* newRecords, std::uint32_t newSize,
                           std::int32_t newRowCount, bool isBorrowed) noexcept {
  records = newRecords;
  size = newSize;
  rowCount = newRowCount;
  isBorrowed_ = isBorrowed;
}

void DictTable::swapContents(DictTable& other) noexcept {
  std::swap(records, other.records);
  std::swap(rowCount, other.rowCount);
  std::swap(size, other.size);
  std::swap(isBorrowed_, other.isBorrowed_);
  std::swap(properties, other.properties);
}

void DictTable::Create(std::uint32_t recordSize, std::uint32_t newRowCount) {
  const std::uint64_t bytes = std::uint64_t{recordSize} * newRowCount;
  if (bytes > std::numeric_limits<std::uint32_t>::max() ||
      newRowCount > static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max())) {
    throw std::length_error("a table cannot hold more than 4 GiB of records or 2147483647 rows");
  }
  if (rowCount != 0) throw std::logic_error("a table is sized once");
  if (bytes == 0) return;
  void* const block = cpMalloc(bytes);
  std::memset(block, 0, bytes);
  setRecords(static_cast<unsigned char*>(block), static_cast<std::uint32_t>(bytes),
             static_cast<std::int32_t>(newRowCount), false);
}

StringTableRef DictTable::CreateProperty(const unsigned short* tableMemberName,
                                         const unsigned short* memberName, std::int32_t type,
                                         std::uint32_t initialSize) {
  auto created = std::make_unique<StringTable>();
  created->Create(tableMemberName, memberName, type, static_cast<std::uint32_t>(rowCount),
                  initialSize);
  const StringTableRef reference{created.get()};
  properties.AddTable(std::move(created));
  if (owner != nullptr) owner->announceProperty({this}, reference);
  return reference;
}

StringTable& DictTable::property(const unsigned short* tableMemberName,
                                 const unsigned short* memberName, const char* operation) const {
  StringTable* const found = properties.FindTable(tableMemberName, memberName);
  // The group may hand out a neighbour with another member name.
  if (found == nullptr || found->memberName.view() != textView(memberName)) {
    throwParserError(nullptr, {"cpi/dictinfo/dicttable", __LINE__, operation}, CP_INTERNAL_ERROR,
                     "the table has no such property", {tableMemberName, memberName});
  }
  return *found;
}

void DictTable::SetProperty(std::uint32_t row, const unsigned short* tableMemberName,
                            const unsigned short* memberName, const unsigned short* text) {
  property(tableMemberName, memberName, "DictTable::SetProperty").SetValue(row, text);
}

void DictTable::SetIntProperty(std::uint32_t row, const unsigned short* tableMemberName,
                               const unsigned short* memberName, std::int64_t value) {
  property(tableMemberName, memberName, "DictTable::SetIntProperty").SetIntValue(row, value);
}

}  // namespace cpi
