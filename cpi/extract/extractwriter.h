// Writing the text extract: an FIHandler that writes the events it receives.
//
//     std::ofstream stream("orders.json", std::ios::binary);
//     cpi::writeExtract(dictionary, stream);
//
// Whatever is written reads back as the same events; the same events make the same bytes on every
// machine. docs/extract-format.md describes the format.
#ifndef CPI_EXTRACT_EXTRACTWRITER_H
#define CPI_EXTRACT_EXTRACTWRITER_H

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "cpi/extract/extractnames.h"
#include "cpi/runtime/fihandler.h"

namespace cpi {

class StdDictionaryInfo;

// Memory does not grow with the number of events. Name-based events are not written; nor is what
// comes after the endMessage that ends the file. Each event may throw FileError, when the stream
// fails, and std::bad_alloc.
class ExtractWriter : public FIHandler {
 public:
  // `stream` outlives the writer.
  explicit ExtractWriter(std::ostream& stream);
  ExtractWriter(const ExtractWriter&) = delete;
  ExtractWriter& operator=(const ExtractWriter&) = delete;
  ~ExtractWriter() override;

  // Ends the file of a stream that had no endMessage; does nothing after one. Without it such a
  // file is left unfinished.
  void finish();

  using FIHandler::endElement;
  using FIHandler::startElement;
  void startMessage(WorkerInfoPtr worker) override;
  void endMessage(WorkerInfoPtr worker) override;
  void startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr worker, std::int32_t index,
                    std::int32_t extra) override;
  void endElement(std::int32_t id, WorkerInfoPtr worker) override;
  void data(const PWFData& value, WorkerInfoPtr worker) override;

 private:
  // The start of an element.
  struct Element {
    std::int32_t id;
    unsigned short kind;
    std::int32_t row;
    std::int32_t extra;
  };
  // A field item of which the end has not come yet.
  struct Item {
    Element element;
    std::string value = {};     // as a value of the column; empty: none has come
    std::string rawValue = {};  // as data of its own
  };
  struct OpenSection {
    SectionNames names;
    bool hasEntries = false;
  };
  // The column whose values are being written.
  struct Run {
    Element element;  // with the row of the next value
    bool isEmpty = true;
  };

  SectionNames names() const;
  void begin(bool hasStart);
  void beginEntry();
  void openSection(const Element& element);
  void closeSection(bool hasEnd);
  void openRun(const Element& element);
  void closeRun();
  bool continuesRun(const Element& element) const;
  void writeItem();
  void writeValue(std::string_view text);
  void writeRaw(std::string_view entry);
  void writeRawStart(const Element& element);
  void flushItem();
  void close(bool hasEnd);
  void flush(bool isAll);
  std::string columnName(std::int32_t id) const;

  std::ostream& stream_;
  std::string buffer_;
  std::size_t lineStart_ = 0;  // in the buffer; the open line is never flushed in part
  bool isBegun_ = false;
  bool isClosed_ = false;
  std::vector<OpenSection> sections_;  // the stream itself first
  Item item_;
  bool hasItem_ = false;
  std::optional<Run> run_;
};

// Writes a loaded dictionary. Throws FileError when the stream fails, std::invalid_argument for a
// table that no stream can carry, std::bad_alloc.
void writeExtract(const StdDictionaryInfo& dictionary, std::ostream& stream);

}  // namespace cpi

#endif  // CPI_EXTRACT_EXTRACTWRITER_H
