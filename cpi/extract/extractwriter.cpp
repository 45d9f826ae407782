#include "cpi/extract/extractwriter.h"

#include <algorithm>
#include <limits>

#include "cpi/extract/dictionarytables.h"
#include "cpi/extract/fileerror.h"
#include "cpi/extract/jsontext.h"

namespace cpi {

namespace {

constexpr std::size_t kLineBytes = 100;
constexpr std::size_t kBufferBytes = std::size_t{1} << 16;
// Up to so many missing rows are written as nulls; behind more of them a column begins anew.
constexpr std::int32_t kNullRows = 16;
// Sections that are nested deeper are written as raw events, to stay in the bounds of readers.
constexpr std::size_t kNestedSections = 16;

bool isSectionKind(unsigned short kind) {
  return kind == EKStructure || kind == EKRepeatedStructure;
}

std::string member(const char* name, std::int64_t value) {
  return ", \"" + std::string(name) + "\": " + std::to_string(value);
}

std::string nonZero(const char* name, std::int64_t value) {
  return value == 0 ? std::string() : member(name, value);
}

}  // namespace

ExtractWriter::ExtractWriter(std::ostream& stream) : stream_(stream) {}
ExtractWriter::~ExtractWriter() = default;

// --- Events ------------------------------------------------------------------------------------

void ExtractWriter::startMessage(WorkerInfoPtr) {
  if (isClosed_) return;
  if (!isBegun_) return begin(true);
  flushItem();
  writeRaw("{\"message\": \"start\"}");
}

void ExtractWriter::endMessage(WorkerInfoPtr) {
  if (isClosed_) return;
  if (!isBegun_) begin(false);
  close(true);
}

void ExtractWriter::finish() {
  if (isClosed_) return;
  if (!isBegun_) begin(false);
  close(false);
}

void ExtractWriter::startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr,
                                 std::int32_t index, std::int32_t extra) {
  if (isClosed_) return;
  if (!isBegun_) begin(false);
  flushItem();
  const Element element{id, kind, index, extra};
  // An old-style header ends with the end of another element, so that it is no section.
  const bool isHeader = id == kOldHeaderStart || id == kOldHeaderEnd;
  if (kind == EKField || kind == EKRepeatedField) {
    item_ = Item{element};
    hasItem_ = true;
  } else if (isSectionKind(kind) && !isHeader && sections_.size() <= kNestedSections) {
    openSection(element);
  } else {
    writeRawStart(element);
  }
}

void ExtractWriter::data(const PWFData& value, WorkerInfoPtr) {
  if (isClosed_) return;
  if (!isBegun_) begin(false);
  if (hasItem_ && item_.value.empty()) {
    const bool isDecimalPlain = holdsDecimals(names().column(item_.element.id));
    item_.value = jsonValue(value, isDecimalPlain);
    item_.rawValue = isDecimalPlain ? jsonValue(value, false) : item_.value;
    return;
  }
  flushItem();
  writeRaw("{\"data\": " + jsonValue(value, false) + "}");
}

void ExtractWriter::endElement(std::int32_t id, WorkerInfoPtr) {
  if (isClosed_) return;
  if (!isBegun_) begin(false);
  const bool isItem = hasItem_ && !item_.value.empty() && item_.element.id == id;
  if (isItem) return writeItem();
  const bool isSection = !hasItem_ && sections_.size() > 1 && sections_.back().names.id == id;
  if (isSection) return closeSection(true);
  flushItem();
  writeRaw("{\"endElement\": " + std::to_string(id) + "}");
}

// --- Text --------------------------------------------------------------------------------------

SectionNames ExtractWriter::names() const { return sections_.back().names; }

std::string ExtractWriter::columnName(std::int32_t id) const {
  const Column* const column = names().column(id);
  return column == nullptr ? std::to_string(id) : jsonString(column->name);
}

void ExtractWriter::begin(bool hasStart) {
  isBegun_ = true;
  sections_.push_back({});
  buffer_ = "{\"extract\": " + std::to_string(kExtractVersion) + ",\n";
  if (!hasStart) buffer_ += " \"start\": false,\n";
  buffer_ += " \"stream\": [";
}

void ExtractWriter::close(bool hasEnd) {
  flushItem();
  while (sections_.size() > 1) closeSection(false);
  closeRun();
  buffer_ += sections_.back().hasEntries ? "\n ]" : "]";
  if (!hasEnd) buffer_ += ",\n \"end\": false";
  buffer_ += "}\n";
  isClosed_ = true;
  flush(true);
}

void ExtractWriter::flush(bool isAll) {
  if (!isAll && buffer_.size() < kBufferBytes) return;
  const std::size_t length = isAll ? buffer_.size() : lineStart_;
  stream_.write(buffer_.data(), static_cast<std::streamsize>(length));
  if (isAll) stream_.flush();
  if (!stream_) throw FileError("extract", {}, "the stream takes no more bytes");
  buffer_.erase(0, length);
  lineStart_ -= std::min(length, lineStart_);
}

void ExtractWriter::beginEntry() {
  closeRun();
  if (sections_.back().hasEntries) buffer_ += ",";
  sections_.back().hasEntries = true;
  buffer_ += "\n";
  lineStart_ = buffer_.size();
  buffer_.append(sections_.size() * 2, ' ');
  flush(false);
}

void ExtractWriter::openSection(const Element& element) {
  beginEntry();
  const SectionNames opened = SectionNames::of(element.id);
  buffer_ += "{\"section\": ";
  buffer_ += opened.name.empty() ? std::to_string(element.id) : jsonString(opened.name);
  if (element.kind != EKStructure) buffer_ += member("kind", element.kind);
  buffer_ += nonZero("row", element.row) + nonZero("extra", element.extra) + ", \"content\": [";
  sections_.push_back({opened});
}

void ExtractWriter::closeSection(bool hasEnd) {
  closeRun();
  const bool hasEntries = sections_.back().hasEntries;
  sections_.pop_back();
  if (hasEntries) {
    buffer_ += "\n";
    buffer_.append(sections_.size() * 2, ' ');
  }
  buffer_ += hasEnd ? "]}" : "], \"end\": false}";
}

bool ExtractWriter::continuesRun(const Element& element) const {
  if (!run_.has_value()) return false;
  const Element& open = run_->element;
  const std::int64_t missing = std::int64_t{element.row} - open.row;
  return element.id == open.id && element.kind == open.kind && element.extra == open.extra &&
         missing >= 0 && missing <= kNullRows;
}

void ExtractWriter::openRun(const Element& element) {
  beginEntry();
  buffer_ += "{\"column\": " + columnName(element.id);
  if (element.kind != EKField) buffer_ += member("kind", element.kind);
  // Rows near the start are counted from 0, which reads better than a "row".
  const bool isNearStart = element.row >= 0 && element.row <= kNullRows;
  if (!isNearStart) buffer_ += member("row", element.row);
  buffer_ += nonZero("extra", element.extra) + ", \"values\": [";
  run_ = Run{element};
  if (isNearStart) run_->element.row = 0;
}

void ExtractWriter::closeRun() {
  if (!run_.has_value()) return;
  buffer_ += "]}";
  run_.reset();
}

void ExtractWriter::writeItem() {
  hasItem_ = false;
  const std::int32_t row = item_.element.row;
  if (!continuesRun(item_.element)) openRun(item_.element);
  for (; run_->element.row < row; ++run_->element.row) writeValue("null");
  writeValue(item_.value);
  if (row == std::numeric_limits<std::int32_t>::max()) return closeRun();  // there is no next row
  ++run_->element.row;
}

void ExtractWriter::writeValue(std::string_view text) {
  if (!run_->isEmpty) buffer_ += ",";
  const std::size_t used = buffer_.size() - lineStart_;
  if (!run_->isEmpty && used + text.size() + 2 > kLineBytes) {
    buffer_ += "\n";
    lineStart_ = buffer_.size();
    buffer_.append(sections_.size() * 2 + 2, ' ');
    flush(false);
  } else if (!run_->isEmpty) {
    buffer_ += " ";
  }
  run_->isEmpty = false;
  buffer_ += text;
}

void ExtractWriter::writeRaw(std::string_view entry) {
  beginEntry();
  buffer_ += entry;
}

void ExtractWriter::writeRawStart(const Element& element) {
  writeRaw("{\"startElement\": " + std::to_string(element.id) + member("kind", element.kind) +
           nonZero("row", element.row) + nonZero("extra", element.extra) + "}");
}

// An item that turned out to be none becomes the events that it was.
void ExtractWriter::flushItem() {
  if (!hasItem_) return;
  hasItem_ = false;
  writeRawStart(item_.element);
  if (!item_.rawValue.empty()) writeRaw("{\"data\": " + item_.rawValue + "}");
}

void writeExtract(const StdDictionaryInfo& dictionary, std::ostream& stream) {
  ExtractWriter writer(stream);
  feed(tablesOf(dictionary), writer);
}

}  // namespace cpi
