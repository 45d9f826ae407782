// The base dictionary's operations on whole tables.
#include "cpi/dictinfo/dictionaryimage.h"

#include <stdexcept>
#include <utility>

#include "cpi/dictinfo/dictionaryinfo.h"
#include "cpi/dictinfo/image/imagereader.h"
#include "cpi/dictinfo/image/imagewriter.h"
#include "cpi/dictinfo/image/storage.h"

namespace cpi {

ImageError::ImageError(std::uint64_t offset, const std::string& found, const std::string& expected)
    : std::runtime_error("found " + found + " at byte " + std::to_string(offset) + "; expected " +
                         expected),
      offset_(offset),
      found_(found),
      expected_(expected) {}

ImageError::~ImageError() = default;

ExtractSource::~ExtractSource() = default;

// Tells each reader anew of the properties of a table. The newest of equal names comes first in
// the group, and is told last, as when it was created.
void DictionaryInfo::announceTable(std::span<DictionaryInfo* const> readers, DictTable& table) {
  const auto& properties = table.properties.tables();
  for (DictionaryInfo* const reader : readers) {
    reader->MapTableProperty({&table}, {nullptr});
    for (auto property = properties.rbegin(); property != properties.rend(); ++property) {
      reader->MapTableProperty({&table}, {property->get()});
    }
  }
}

DictTable& DictionaryInfo::slotTable(int slot) {
  if (slot < 0 || static_cast<std::size_t>(slot) >= tables().size()) {
    throw std::out_of_range("the dictionary has no table slot " + std::to_string(slot));
  }
  return tables()[static_cast<std::size_t>(slot)];
}

void DictionaryInfo::CreateTable(int slot, std::uint32_t recordSize, std::uint32_t rowCount) {
  DictTable& table = slotTable(slot);
  const RecordRules* const rules = recordRules(slot);
  if (rules != nullptr && rules->recordSize != recordSize) {
    throw std::invalid_argument("the records of slot " + std::to_string(slot) + " have " +
                                std::to_string(rules->recordSize) + " bytes, not " +
                                std::to_string(recordSize));
  }
  table.Create(recordSize, rowCount);
  announceChange();
}

void DictionaryInfo::RepairTable(int slot) { announceTable(sharers(), slotTable(slot)); }

void DictionaryInfo::FromExtractFormat(ExtractSource& source) {
  source.drive(*this);
  postProcessDictionary();
}

void DictionaryInfo::FromDictionary(const DictionaryInfo& other) {
  std::vector<unsigned char> image;
  other.ToQLBuffer(image);
  FromQLBuffer(image);
}

std::vector<const RecordRules*> DictionaryInfo::allRecordRules() const {
  std::vector<const RecordRules*> rules;
  rules.reserve(tables().size());
  for (std::size_t slot = 0; slot < tables().size(); ++slot) {
    rules.push_back(recordRules(static_cast<int>(slot)));
  }
  return rules;
}

void DictionaryInfo::ToQLBuffer(std::vector<unsigned char>& image) const {
  image = encodeImage(msgSetID, formatID, tables(), allRecordRules(), derivedBytes());
}

void DictionaryInfo::FromQLBuffer(std::span<const unsigned char> image) {
  replaceTables(decodeImage(image, allRecordRules()));
}

void DictionaryInfo::FromQLBuffer(std::span<const unsigned char> image,
                                  std::shared_ptr<const void> keeper) {
  replaceTables(decodeImage(image, std::move(keeper), allRecordRules()));
}

void DictionaryInfo::replaceTables(ImageContents contents) {
  const std::vector<DictionaryInfo*> readers = sharers();
  // Nothing fails from here on. The old tables go last, when no reader points at them any more.
  std::swap(msgSetID, contents.msgSetID);
  std::swap(formatID, contents.formatID);
  std::swap(storage_->image, contents.bytes);
  for (std::size_t slot = 0; slot < contents.tables.size(); ++slot) {
    tables()[slot].swapContents(contents.tables[slot]);
    announceTable(readers, tables()[slot]);
  }
  adoptTables();
  for (DictionaryInfo* const reader : readers) {
    reader->adoptDerived(contents.derived);
    reader->postProcessDictionary();
  }
}

void DictionaryInfo::postProcessDictionary() {}

std::vector<unsigned char> DictionaryInfo::derivedBytes() const { return {}; }

void DictionaryInfo::adoptDerived(std::span<const unsigned char>) noexcept {}

const RecordRules* DictionaryInfo::recordRules(int) const { return nullptr; }

}  // namespace cpi
