#include "cpi/dictinfo/dictionaryinfo.h"

#include <algorithm>
#include <mutex>
#include <stdexcept>
#include <vector>

#include "cpi/dictinfo/image/storage.h"

namespace cpi {

namespace {

// Spelt in units, so that the constants are there before any code runs.
constexpr unsigned short kTableMember[] = {'V', 'L', 'S', '_', 'T', 'A', 'B', 'M', 'B', 'R', 0};
constexpr unsigned short kStringMember[] = {'S', 't', 'r', 'i', 'n', 'g', 'M',
                                            'e', 'm', 'b', 'e', 'r', 0};

}  // namespace

constinit const unsigned short* const CPI_VLS_TABMBR = kTableMember;
constinit const unsigned short* const CPI_StringMember = kStringMember;

DictionaryInfo::DictionaryInfo(int tableSlots) {
  if (tableSlots < 0) throw std::length_error("a dictionary cannot have a negative table count");
  storage_ = std::make_shared<Storage>(static_cast<std::size_t>(tableSlots));
  storage_->sharers.push_back(this);
  storage_->setOwner(this);
}

DictionaryInfo::DictionaryInfo(const DictionaryInfo& other)
    : FIHandler(other),
      msgSetID(other.msgSetID),
      formatID(other.formatID),
      storage_(other.storage_) {
  const std::lock_guard lock(storage_->mutex);
  storage_->sharers.push_back(this);
}

DictionaryInfo::~DictionaryInfo() {
  const std::lock_guard lock(storage_->mutex);
  std::erase(storage_->sharers, this);
  if (!storage_->sharers.empty() && !storage_->tables.empty() &&
      storage_->tables.front().owner == this) {
    storage_->setOwner(storage_->sharers.back());
  }
}

std::span<DictTable> DictionaryInfo::tables() noexcept { return storage_->tables; }
std::span<const DictTable> DictionaryInfo::tables() const noexcept { return storage_->tables; }

std::vector<DictionaryInfo*> DictionaryInfo::sharers() const {
  const std::lock_guard lock(storage_->mutex);
  return storage_->sharers;
}

void DictionaryInfo::announceProperty(DictTableRefBase table, StringTableRef strings) {
  MapTableProperty(table, strings);
  for (DictionaryInfo* const sharer : sharers()) {
    if (sharer != this) sharer->MapTableProperty(table, strings);
  }
}

void DictionaryInfo::adoptTables() noexcept {
  storage_->setOwner(this);
  announceChange();
}

void DictionaryInfo::announceChange() noexcept {
  const std::lock_guard lock(storage_->mutex);
  for (DictionaryInfo* const sharer : storage_->sharers) sharer->tablesChanged();
}

void DictionaryInfo::tablesChanged() noexcept {}

void DictionaryInfo::MapTableProperty(DictTableRefBase, StringTableRef) {}

void DictionaryInfo::DumpContentsName(std::FILE* stream) const {
  std::fprintf(stream, "msgSetID = %s\n", msgSetID.toUtf8().c_str());
  std::fprintf(stream, "formatID = %s\n", formatID.toUtf8().c_str());
}

void DictionaryInfo::DumpContents(std::FILE* stream) const { DumpContentsName(stream); }

namespace {

bool isTextColumn(const StringTable& property) noexcept {
  return property.tableMemberName.view() == textView(CPI_VLS_TABMBR) &&
         property.memberName.view() == textView(CPI_StringMember);
}

void dumpProperty(std::FILE* stream, const StringTable& property) {
  std::fprintf(stream, "\nProperty %s %s %s\n", property.tableMemberName.toUtf8().c_str(),
               property.memberName.toUtf8().c_str(),
               property.type == PTInteger ? "integer" : "text");
  for (std::uint32_t row = 0; row < property.rowCount; ++row) {
    if (const unsigned short* const text = property.GetValue(row); text != nullptr) {
      std::fprintf(stream, "%-5u %s\n", row, toUtf8(textView(text)).c_str());
    } else if (const auto number = property.GetIntValue(row); number.has_value()) {
      std::fprintf(stream, "%-5u %lld\n", row, static_cast<long long>(*number));
    }
  }
}

}  // namespace

void DictionaryInfo::DumpTableProperties(std::FILE* stream, const DictTableRefBase& table) const {
  for (const auto& property : table.table->properties.tables()) {
    if (!isTextColumn(*property)) dumpProperty(stream, *property);
  }
}

}  // namespace cpi
