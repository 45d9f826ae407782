#include "cpi/dictinfo/stringtable.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <utility>

#include "cpi/dictinfo/dictionaryinfo.h"
#include "cpi/runtime/kelexception.h"
#include "cpi/runtime/memory.h"

namespace cpi {

namespace {

constexpr const char* kSourcePath = "cpi/dictinfo/stringtable";

// The sizes of a buffer are 32-bit fields; sums are made in 64 bits and brought back here.
std::uint32_t checkedSize(std::uint64_t size) {
  if (size > std::numeric_limits<std::uint32_t>::max()) {
    throw std::length_error("a property cannot hold more than 4 GiB of values");
  }
  return static_cast<std::uint32_t>(size);
}

// Names are ordered by unsigned code units; a prefix comes first. char16_t is unsigned, so the
// ordering of views is this one.
bool isNameLess(const std::unique_ptr<StringTable>& table, std::u16string_view memberName) {
  return table->memberName.view() < memberName;
}

}  // namespace

KelStringBase propertyName(std::u16string_view name) {
  static const KelStringBase kTableMember(CPI_VLS_TABMBR);
  static const KelStringBase kMember(CPI_StringMember);
  if (name == kMember.view()) return kMember;
  return name == kTableMember.view() ? kTableMember : KelStringBase(name);
}

StringTable::~StringTable() {
  if (!isBorrowed_) cpFree(buffer);
}

StringTable::OldBuffer StringTable::replaceBuffer(unsigned char* newBuffer,
                                                  std::uint32_t newSize) noexcept {
  OldBuffer old(std::exchange(buffer, newBuffer));
  if (std::exchange(isBorrowed_, false)) static_cast<void>(old.release());
  bufferSize = newSize;
  return old;
}

void StringTable::borrow(unsigned char* values, std::uint32_t used, std::uint32_t rows) noexcept {
  replaceBuffer(values, used);
  isBorrowed_ = true;
  rowCount = rows;
  bufferUsed = used;
}

void StringTable::Create(const unsigned short* newTableMemberName,
                         const unsigned short* newMemberName, std::int32_t newType,
                         std::uint32_t newRowCount, std::uint32_t initialSize) {
  const std::uint32_t offsets = checkedSize(std::uint64_t{4} * newRowCount);
  // The offsets must fit: they are written and read without a further look at the capacity.
  const std::uint32_t capacity = std::max(offsets, initialSize);
  KelStringBase tableName = propertyName(textView(newTableMemberName));
  KelStringBase name = propertyName(textView(newMemberName));
  unsigned char* block = nullptr;
  if (capacity != 0) {
    block = static_cast<unsigned char*>(cpMalloc(capacity));
    std::memset(block, 0, capacity);
  }
  replaceBuffer(block, capacity);
  tableMemberName = std::move(tableName);
  memberName = std::move(name);
  type = newType;
  rowCount = newRowCount;
  bufferUsed = offsets;
}

StringTable::OldBuffer StringTable::reserve(std::uint32_t row, std::int32_t valueType,
                                            std::uint64_t needed) {
  // A text among integers reads as none; an integer among texts would be a text without end.
  const bool isMisfit = type != valueType && valueType == PTInteger;
  if (row >= rowCount || isMisfit) {
    throwParserError(nullptr, {kSourcePath, __LINE__, "StringTable::SetValue"}, CP_INTERNAL_ERROR,
                     row >= rowCount ? "the property has no such row"
                                     : "the property holds values of another kind",
                     {row, rowCount, memberName});
  }
  const std::uint64_t end = bufferUsed + needed;
  if (bufferSize >= end) return nullptr;
  std::uint64_t capacity = std::uint64_t{bufferSize} + bufferSize / 4;
  if (capacity < end || capacity > std::numeric_limits<std::uint32_t>::max()) capacity = end;
  const std::uint32_t newSize = checkedSize(capacity);
  auto* const block = static_cast<unsigned char*>(cpMalloc(newSize));
  std::memcpy(block, buffer, bufferUsed);
  return replaceBuffer(block, newSize);
}

void StringTable::SetValue(std::uint32_t row, const unsigned short* text) {
  const std::uint64_t bytes = (std::uint64_t{textLength(text)} + 1) * sizeof(unsigned short);
  OldBuffer old;  // `text` may stand in it
  if (row >= rowCount || bufferUsed + bytes > bufferSize) old = reserve(row, PTText, bytes);
  if (text == nullptr) return;  // a null text is no value
  std::memcpy(buffer + bufferUsed, text, bytes);
  std::memcpy(buffer + std::size_t{4} * row, &bufferUsed, sizeof bufferUsed);
  bufferUsed += static_cast<std::uint32_t>(bytes);
}

void StringTable::SetIntValue(std::uint32_t row, std::int64_t value) {
  reserve(row, PTInteger, sizeof value);
  std::memcpy(buffer + bufferUsed, &value, sizeof value);  // little-endian: low word first
  std::memcpy(buffer + std::size_t{4} * row, &bufferUsed, sizeof bufferUsed);
  bufferUsed += static_cast<std::uint32_t>(sizeof value);
}

std::optional<std::int64_t> StringTable::GetIntValue(std::uint32_t row) const noexcept {
  const std::uint32_t offset = type == PTInteger ? offsetOf(row) : 0;
  if (offset == 0 || bufferUsed - offset < sizeof(std::int64_t)) return std::nullopt;
  std::int64_t value = 0;
  std::memcpy(&value, buffer + offset, sizeof value);
  return value;
}

void StringTableGroup::AddTable(std::unique_ptr<StringTable> table) {
  const auto place =
      std::lower_bound(tables_.begin(), tables_.end(), table->memberName.view(), isNameLess);
  tables_.insert(place, std::move(table));
}

StringTable* StringTableGroup::FindTable(const unsigned short* tableMemberName,
                                         const unsigned short* memberName) const noexcept {
  const auto start =
      std::lower_bound(tables_.begin(), tables_.end(), textView(memberName), isNameLess);
  const auto found = std::find_if(start, tables_.end(), [&](const auto& table) {
    return tableMemberName == nullptr || table->tableMemberName.view() == textView(tableMemberName);
  });
  return found == tables_.end() ? nullptr : found->get();
}

}  // namespace cpi
