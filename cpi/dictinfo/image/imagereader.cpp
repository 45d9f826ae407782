#include "cpi/dictinfo/image/imagereader.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "cpi/dictinfo/image/tablecheck.h"
#include "cpi/runtime/memory.h"

namespace cpi {

namespace {

std::string number(std::uint64_t value) { return std::to_string(value); }

std::string hexadecimal(std::uint64_t value) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%016llX", static_cast<unsigned long long>(value));
  return text;
}

// Takes part after part of the image, in order. Sizes are 64-bit and no larger than the sum of a
// few 32-bit ones, so that none overflows.
class PartReader {
 public:
  PartReader(std::span<unsigned char> image, std::uint64_t start)
      : image_(image), position_(start) {}

  std::uint64_t position() const noexcept { return position_; }
  std::uint64_t left() const noexcept { return image_.size() - position_; }

  // The bytes of a part; its padding is skipped and has to be zero.
  std::span<unsigned char> take(std::uint64_t size, const char* what) {
    const std::uint64_t padded = paddedSize(size);
    if (padded > left()) {
      throw ImageError(position_, number(left()) + " bytes up to the end of the image",
                       number(padded) + " for " + what);
    }
    const auto part = image_.subspan(position_, padded);
    for (std::uint64_t i = size; i < padded; ++i) expectZero(part[i], position_ + i);
    position_ += padded;
    return part.first(size);
  }
  template <class Part>
  Part take(const char* what) {
    Part part;
    std::memcpy(&part, take(sizeof part, what).data(), sizeof part);
    if constexpr (requires { part.reserved; }) {
      expectZero(part.reserved, position_ - sizeof part.reserved);
    }
    return part;
  }
  // In the image.
  std::u16string_view takeText(std::uint64_t units, const char* what) {
    const auto bytes = take(units * sizeof(char16_t), what);
    return {asChars(reinterpret_cast<const unsigned short*>(bytes.data())), units};
  }
  static void refuse(std::uint64_t start, const std::optional<Fault>& fault) {
    if (fault) throw ImageError(start + fault->offset, fault->found, fault->expected);
  }

 private:
  static void expectZero(std::uint64_t value, std::uint64_t place) {
    if (value != 0) throw ImageError(place, number(value), "0, for nothing is kept here");
  }

  std::span<unsigned char> image_;
  std::uint64_t position_;
};

unsigned char* copyOf(std::span<const unsigned char> bytes) {
  if (bytes.empty()) return nullptr;
  auto* const block = static_cast<unsigned char*>(cpMalloc(bytes.size()));
  std::memcpy(block, bytes.data(), bytes.size());
  return block;
}

void readRecords(PartReader& reader, const ImageTableHead& head, const RecordRules* rules,
                 bool isWritable, DictTable& table) {
  PartReader::refuse(reader.position() - sizeof head,
                     findSizeFault(head.recordSize, head.rowCount, rules));
  const std::uint64_t start = reader.position();
  const auto records =
      reader.take(std::uint64_t{head.recordSize} * head.rowCount, "the records of a table");
  if (records.empty()) return;
  if (rules != nullptr) PartReader::refuse(start, rules->findFault(records));
  table.setRecords(isWritable ? records.data() : copyOf(records),
                   static_cast<std::uint32_t>(records.size()),
                   static_cast<std::int32_t>(head.rowCount), isWritable);
}

// A capacity beyond the used bytes is no part of an image: it could claim any amount of memory.
std::unique_ptr<StringTable> readProperty(PartReader& reader, std::uint32_t rowCount) {
  const std::uint64_t headStart = reader.position();
  const auto head = reader.take<ImagePropertyHead>("a property");
  PartReader::refuse(headStart, findKindFault(head.type, head.rowCount, rowCount));
  auto property = std::make_unique<StringTable>();
  property->tableMemberName =
      propertyName(reader.takeText(head.tableMemberUnits, "a table-member name"));
  property->memberName = propertyName(reader.takeText(head.memberUnits, "a member name"));
  property->type = head.type;
  const std::uint64_t bufferStart = reader.position();
  const auto values = reader.take(head.used, "the values of a property");
  property->borrow(values.empty() ? nullptr : values.data(), head.used, head.rowCount);
  PartReader::refuse(bufferStart, findBufferFault(*property));
  return property;
}

void readProperties(PartReader& reader, const ImageTableHead& head, DictTable& table) {
  if (head.properties > kMaximumImageProperties) {
    throw ImageError(reader.position(), number(head.properties) + " properties of a table",
                     "at most " + number(kMaximumImageProperties));
  }
  std::vector<std::unique_ptr<StringTable>> properties;
  properties.reserve(std::min<std::uint64_t>(head.properties, reader.left() / sizeof head));
  for (std::uint32_t i = 0; i < head.properties; ++i) {
    const std::uint64_t start = reader.position();
    properties.push_back(readProperty(reader, head.rowCount));
    if (i > 0 && properties[i]->memberName.view() < properties[i - 1]->memberName.view()) {
      throw ImageError(start, "a property out of order", "ascending member names");
    }
  }
  table.properties.assign(std::move(properties));
}

// The head of an image of the size that there is.
ImageHead checkedHead(std::span<const unsigned char> image) {
  if (const std::uint64_t size = imageSize(image); size != image.size()) {
    throw ImageError(offsetof(ImageHead, size), "an image size of " + number(size),
                     number(image.size()) + ", the bytes that there are");
  }
  ImageHead head;
  std::memcpy(&head, image.data(), sizeof head);
  return head;
}

void checkChecksum(const ImageHead& head, std::uint64_t checksum) {
  if (checksum == head.checksum) return;
  throw ImageError(offsetof(ImageHead, checksum), "checksum " + hexadecimal(head.checksum),
                   hexadecimal(checksum) + ", that of the bytes that follow");
}

// The contents of a sound image that `keeper` holds, and that stay there as far as possible.
ImageContents decode(std::span<unsigned char> image, bool isWritable,
                     std::shared_ptr<const void> keeper, const SlotRules& rules) {
  PartReader reader(image, sizeof(ImageHead));
  const auto head = reader.take<ImageContentsHead>("the head of the contents");
  if (head.slots != rules.size()) {
    throw ImageError(sizeof(ImageHead), number(head.slots) + " tables", number(rules.size()));
  }
  ImageContents contents(rules.size());
  contents.bytes = std::move(keeper);
  contents.msgSetID = KelStringBase(reader.takeText(head.msgSetUnits, "the message set id"));
  contents.formatID = KelStringBase(reader.takeText(head.formatUnits, "the format id"));
  for (std::size_t slot = 0; slot < rules.size(); ++slot) {
    const auto tableHead = reader.take<ImageTableHead>("a table");
    readRecords(reader, tableHead, rules[slot], isWritable, contents.tables[slot]);
    readProperties(reader, tableHead, contents.tables[slot]);
  }
  contents.derived = reader.take(kImageAlignment * head.derivedWords, "what was derived");
  if (reader.left() == 0) return contents;
  throw ImageError(reader.position(), number(reader.left()) + " bytes behind the last table",
                   "the end of the image");
}

}  // namespace

std::uint64_t imageSize(std::span<const unsigned char> bytes) {
  ImageHead head;
  if (bytes.size() < sizeof head) {
    throw ImageError(bytes.size(), "the end of the image", number(sizeof head) + " bytes of head");
  }
  std::memcpy(&head, bytes.data(), sizeof head);
  const auto differs = std::ranges::mismatch(head.magic, kImageMagic);
  if (differs.in1 != head.magic.end()) {
    throw ImageError(static_cast<std::uint64_t>(differs.in1 - head.magic.begin()),
                     "byte " + number(*differs.in1),
                     number(*differs.in2) + ", of the first eight of an image");
  }
  if (head.byteOrder != kImageByteOrder) {
    throw ImageError(offsetof(ImageHead, byteOrder),
                     "byte order mark " + hexadecimal(head.byteOrder),
                     hexadecimal(kImageByteOrder) + ", the byte order of this machine");
  }
  if (head.version != kImageVersion) {
    throw ImageError(offsetof(ImageHead, version), "version " + number(head.version),
                     number(kImageVersion));
  }
  constexpr std::uint64_t kMinimum = sizeof(ImageHead) + sizeof(ImageContentsHead);
  if (head.size < kMinimum || head.size % kImageAlignment != 0) {
    throw ImageError(offsetof(ImageHead, size), "an image size of " + number(head.size),
                     "a multiple of 8, at least " + number(kMinimum));
  }
  return head.size;
}

ImageContents decodeImage(std::span<const unsigned char> image, const SlotRules& rules) {
  const ImageHead head = checkedHead(image);
  // Nothing is read of the copy before all of it is written.
  const auto block =
      std::make_shared_for_overwrite<std::uint64_t[]>(image.size() / kImageAlignment);
  auto* const copy = reinterpret_cast<unsigned char*>(block.get());
  checkChecksum(head, imageChecksum(image.subspan(sizeof head), copy + sizeof head));
  return decode({copy, image.size()}, true, block, rules);
}

ImageContents decodeImage(std::span<const unsigned char> image, std::shared_ptr<const void> keeper,
                          const SlotRules& rules) {
  const ImageHead head = checkedHead(image);
  if (reinterpret_cast<std::uintptr_t>(image.data()) % kImageAlignment != 0) {
    return decodeImage(image, rules);
  }
  checkChecksum(head, imageChecksum(image.subspan(sizeof head)));
  // Tables have no other pointers than to what may be written; this is not.
  auto* const bytes = const_cast<unsigned char*>(image.data());
  return decode({bytes, image.size()}, false, std::move(keeper), rules);
}

}  // namespace cpi
