#include "cpi/dictinfo/image/imagewriter.h"

#include <cstring>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "cpi/dictinfo/image/tablecheck.h"

namespace cpi {

namespace {

std::uint32_t unitsOf(const KelStringBase& text) {
  if (text.length() > std::numeric_limits<std::uint32_t>::max()) {
    throw std::invalid_argument("a name is too long for an image");
  }
  return static_cast<std::uint32_t>(text.length());
}

std::uint64_t bytesOf(const KelStringBase& text) {
  return paddedSize(text.length() * sizeof(unsigned short));
}

std::uint64_t bytesOf(const DictTable& table) {
  std::uint64_t bytes = sizeof(ImageTableHead) + paddedSize(table.size);
  for (const auto& property : table.properties.tables()) {
    bytes += sizeof(ImagePropertyHead) + bytesOf(property->tableMemberName) +
             bytesOf(property->memberName) + paddedSize(property->bufferUsed);
  }
  return bytes;
}

std::uint32_t recordSizeOf(const DictTable& table) {
  return table.rowCount == 0 ? 0 : table.size / static_cast<std::uint32_t>(table.rowCount);
}

class ImageWriter {
 public:
  explicit ImageWriter(std::uint64_t size) { image_.reserve(size); }

  template <class Part>
  void put(const Part& part) {
    put(&part, sizeof part);
  }
  void put(const KelStringBase& text) {
    put(text.view().data(), text.length() * sizeof(unsigned short));
  }
  // A part and its padding; returns where it starts.
  std::size_t put(const void* bytes, std::size_t size) {
    const std::size_t start = image_.size();
    const auto* const first = static_cast<const unsigned char*>(bytes);
    if (size != 0) image_.insert(image_.end(), first, first + size);
    image_.resize(paddedSize(image_.size()));
    return start;
  }
  std::span<unsigned char> part(std::size_t start, std::size_t size) {
    return std::span(image_).subspan(start, size);
  }
  std::vector<unsigned char> finish() {
    ImageHead head;
    head.size = image_.size();
    head.checksum = imageChecksum(part(sizeof head, image_.size() - sizeof head));
    std::memcpy(image_.data(), &head, sizeof head);
    return std::move(image_);
  }

 private:
  std::vector<unsigned char> image_;
};

void refuseFault(std::size_t slot, const std::optional<Fault>& fault) {
  if (!fault.has_value()) return;
  throw std::invalid_argument("slot " + std::to_string(slot) + ": found " + fault->found +
                              "; expected " + fault->expected);
}

void checkTable(std::size_t slot, const DictTable& table, const RecordRules* rules) {
  const auto rowCount = static_cast<std::uint32_t>(table.rowCount);
  refuseFault(slot, findSizeFault(recordSizeOf(table), rowCount, rules));
  if (rules != nullptr) refuseFault(slot, rules->findFault({table.records, table.size}));
  const auto& properties = table.properties.tables();
  if (properties.size() > kMaximumImageProperties) {
    refuseFault(slot, Fault{0, std::to_string(properties.size()) + " properties",
                            "at most " + std::to_string(kMaximumImageProperties)});
  }
  for (const auto& property : properties) {
    refuseFault(slot, findKindFault(property->type, property->rowCount, rowCount));
    refuseFault(slot, findBufferFault(*property));
  }
}

void putProperty(ImageWriter& writer, const StringTable& property) {
  writer.put(ImagePropertyHead{property.type, property.rowCount, unitsOf(property.tableMemberName),
                               unitsOf(property.memberName), property.bufferUsed});
  writer.put(property.tableMemberName);
  writer.put(property.memberName);
  writer.put(property.buffer, property.bufferUsed);
}

void putTable(ImageWriter& writer, const DictTable& table, const RecordRules* rules) {
  const auto& properties = table.properties.tables();
  writer.put(ImageTableHead{recordSizeOf(table), static_cast<std::uint32_t>(table.rowCount),
                            static_cast<std::uint32_t>(properties.size())});
  const std::size_t start = writer.put(table.records, table.size);
  if (rules != nullptr) rules->clearUnused(writer.part(start, table.size));
  for (const auto& property : properties) putProperty(writer, *property);
}

}  // namespace

std::vector<unsigned char> encodeImage(const KelStringBase& msgSetID, const KelStringBase& formatID,
                                       std::span<const DictTable> tables, const SlotRules& rules,
                                       std::span<const unsigned char> derived) {
  std::uint64_t size = sizeof(ImageHead) + sizeof(ImageContentsHead);
  size += bytesOf(msgSetID) + bytesOf(formatID) + derived.size();
  for (std::size_t slot = 0; slot < tables.size(); ++slot) {
    checkTable(slot, tables[slot], rules[slot]);
    size += bytesOf(tables[slot]);
  }
  ImageWriter writer(size);
  writer.put(ImageHead{});
  writer.put(ImageContentsHead{static_cast<std::uint32_t>(tables.size()), unitsOf(msgSetID),
                               unitsOf(formatID),
                               static_cast<std::uint32_t>(derived.size() / kImageAlignment)});
  writer.put(msgSetID);
  writer.put(formatID);
  for (std::size_t slot = 0; slot < tables.size(); ++slot) {
    putTable(writer, tables[slot], rules[slot]);
  }
  writer.put(derived.data(), derived.size());
  return writer.finish();
}

}  // namespace cpi
