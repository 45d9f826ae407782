// StdDictionaryHandler: turns the event stream of one load into table rows.
//
// Exists from startMessage to endMessage of a dictionary. It tracks where in the stream it is
// (section, column, row) and hands each data item to the function of the open section. Every row
// that a stream names is checked before anything is written, and what was loaded stays readable
// when an item is refused. Thread rule: one thread at a time.
#ifndef CPI_DICTINFO_STDDI_LOAD_STDDICTIONARYHANDLER_H
#define CPI_DICTINFO_STDDI_LOAD_STDDICTIONARYHANDLER_H

#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>
#include <span>
#include <string>
#include <vector>

#include "cpi/dictinfo/stddi/schema.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

class StdDictionaryHandler final {
 public:
  StdDictionaryHandler(StdDictionaryInfo* owner, const LoadLimits& limits);
  StdDictionaryHandler(const StdDictionaryHandler&) = delete;
  StdDictionaryHandler& operator=(const StdDictionaryHandler&) = delete;

  // The events, as FIHandler describes them. They throw KelConfigurationException.
  virtual void startMessage(const WorkerInfoPtr& worker);
  virtual void endMessage(const WorkerInfoPtr& worker);
  virtual void startElement(std::int32_t id, unsigned short kind, const WorkerInfoPtr& worker,
                            std::int32_t index, std::int32_t extra);
  virtual void endElement(std::int32_t id, const WorkerInfoPtr& worker);
  virtual void data(const PWFData& value, const WorkerInfoPtr& worker);
  virtual ~StdDictionaryHandler();

  // The same without items of the log, for when its filter is off.
  void open(std::int32_t id, unsigned short kind, std::int32_t index) {
    // No section is open while a header is filtered.
    if (kind > EKRepeatedField || section_ <= 0) return openStructure(id, kind);
    field_ = id;
    row_ = index;
  }
  void take(const PWFData& value) {
    if (!storeQuickly(value) && !storeLikeLast(value)) dispatch(value);
  }
  std::size_t takeRun(std::int32_t id, unsigned short kind, std::int32_t index,
                      std::span<const std::int64_t> values) noexcept;
  void close(std::int32_t id) {
    if (id != field_) return closeStructure(id);
    field_ = kNoColumn;
  }

  // The dictionary that is filled: the one through which the events come. Null when the load has
  // ended; copies of the dictionary may still hold this object.
  void setOwner(StdDictionaryInfo* owner) noexcept { owner_ = owner; }
  StdDictionaryInfo* owner() const noexcept { return owner_; }
  void finish() noexcept { owner_ = nullptr; }

 private:
  using DataFunction = void (StdDictionaryHandler::*)(const PWFData&);

  // One data function a section; they write the items of that section.
  void dataIdentifications(const PWFData& value);
  void dataMsgSetDefs(const PWFData& value);
  void dataTagDefs(const PWFData& value);
  void dataStructDefs(const PWFData& value);
  void mbrIDToStructDefIndex(const PWFData& value);
  void dataTypeDefs(const PWFData& value);
  void dataPathBasedDefs(const PWFData& value);
  void dataPathListDefs(const PWFData& value);
  void dataValueSetDefs(const PWFData& value);
  void dataValueDefs(const PWFData& value);
  void dataNamespaceDefs(const PWFData& value);
  void dataNamedProperty(const PWFData& value);
  static DataFunction dataFunction(std::int32_t section) noexcept;

  void openStructure(std::int32_t id, unsigned short kind);
  void closeStructure(std::int32_t id);
  void dispatch(const PWFData& value);
  void startSection(std::int32_t id);
  void endSection(std::int32_t id);
  void buildDependencyTable();
  void buildWireFormatTable();
  void checkLevel(std::int32_t column, std::int32_t level) const;

  // Where an item belongs; the row may lie outside the table.
  struct ItemPlace {
    TableSlot slot;
    std::int32_t column;
    std::int64_t row;
  };
  ItemPlace openPlace() const noexcept {
    return {current_ == nullptr ? TableSlot::Identification : current_->slot, field_, row_};
  }

  // Tables.
  DictTable& table(TableSlot slot) const noexcept;
  DictTable& openTable() const noexcept { return table(current_->slot); }
  // Creates a table with its defaults and, where it has one, its text property.
  void createTable(TableSlot slot, std::int64_t rowCount);
  void createFromNumRows(const PWFData& value);
  void claim(std::int64_t bytes);
  void createFromKeys(const Column& key, const std::vector<std::int32_t>& keys);
  // Sections whose table NumRows sizes: sizes it, or stores the item.
  void storeCounted(const char* name, const PWFData& value);
  // Sections that their key column sizes: collects it, sizes the table, stores the item.
  void storeKeyed(const char* name, std::int32_t refusedClassLine, std::vector<std::int32_t>& keys,
                  const PWFData& value);
  // The named property of the open item; created by the item of row 0.
  StringTable& openProperty(std::int32_t type);
  bool storePropertyLikeLast(const PWFData& value);

  // Items. They come column by column: what the first item of a column has found out serves those
  // behind it. False when the item needs a closer look; nothing has changed then.
  bool storeQuickly(const PWFData& value) noexcept {
    if (quick_.column != field_ || quick_.kind != ColumnKind::Integer) return false;
    const std::int64_t* const number = value.getSignedValue();
    if (number == nullptr) return false;
    const auto narrow = static_cast<std::int32_t>(*number);
    const auto row = static_cast<std::uint32_t>(row_);
    const auto rows = static_cast<std::uint32_t>(quick_.table->rowCount);
    if (narrow != *number || row >= rows) return false;
    unsigned char* const record = quick_.table->records + std::size_t{row} * quick_.recordSize;
    *reinterpret_cast<std::int32_t*>(record + quick_.offset) = narrow;
    return true;
  }
  bool storeLikeLast(const PWFData& value);
  std::size_t collectRun(std::int32_t index, std::span<const std::int64_t> values) noexcept;
  template <class Field>
  std::size_t storeRun(std::int32_t index, std::span<const std::int64_t> values) noexcept;
  void collectText(std::vector<KelStringBase>& list, const PWFData& value);
  void storeItem(const Column& column, const PWFData& value);
  void storeClass(const Column& column, const PWFData& value, const ErrorSite& site);
  void storeFlag(const Column& column, const PWFData& value, const ErrorSite& site);
  void copyFixedText(unsigned short* field, std::u16string_view text, const ItemPlace& place) const;
  void storeFixedText(unsigned char* field, const PWFData& value);
  void storeText(std::int32_t row, const PWFData& value);
  void storeText(DictTable& target, std::int32_t row, const unsigned short* rowText);
  StringTable& textsOf(DictTable& target);
  void storeCollected(TableSlot slot, std::int32_t column, std::size_t row,
                      const KelStringBase& text);
  void storeValue(SMD_VALUE_DEFINITION& record, const Column& column, const PWFData& value);
  // The record of a row; refuses a row outside the table. Every item that is stored passes here:
  // this is the one check that keeps a stream inside the tables.
  unsigned char* recordAt(const ItemPlace& place) const;
  unsigned char* recordAt(std::int32_t row) const;

  // Typed reads that refuse an item of another kind. A null text stays null.
  std::int32_t integer(const PWFData& value) const;
  const unsigned short* text(const PWFData& value) const;
  // Refuses an item: section, column, row and the reason make the message.
  [[noreturn]] void refuse(const ItemPlace& place, const std::string& what) const;
  [[noreturn]] void refuse(const std::string& what) const;
  // Runs `step`, turning what tables and converters throw into a refusal of the open item.
  template <class Step>
  void guarded(Step step) const;

  // The column that was stored to last, unless its kind is Ignored: then none since a section began
  // or ended. A Key is collected, a Value is one of a named property.
  struct QuickColumn {
    ColumnKind kind = ColumnKind::Ignored;
    std::int32_t column = kNoColumn;
    const DictTable* table = nullptr;
    std::uint32_t recordSize = 0;
    std::uint32_t offset = 0;
  };
  // The property that was stored to last, and the number of properties its table had then.
  struct TextColumn {
    const DictTable* table = nullptr;
    std::size_t properties = 0;
    StringTable* strings = nullptr;
  };

  StdDictionaryInfo* owner_;
  const LoadLimits limits_;
  void storesTo(const Column& column) noexcept {
    quick_ = {column.kind, field_, &openTable(), current_->recordSize, column.offset};
  }
  QuickColumn quick_;
  TextColumn texts_;
  TextColumn property_;
  std::int32_t section_ = kNoSection;      // the open table section
  std::int32_t dataSection_ = kNoSection;  // whose data function gets the items
  std::int32_t field_ = kNoColumn;         // column of the open field item
  std::int32_t row_ = kNone;               // row of the open field item
  bool identificationSeen_ = false;
  bool isFiltering_ = false;          // an old-style header is being skipped
  const char* operation_ = "";        // the event in progress
  std::int32_t valueRow_ = 0;         // next Values row
  const Section* current_ = nullptr;  // of section_
  KelStringBase propertyTableMemberName_;
  KelStringBase propertyMemberName_;
  std::vector<std::int32_t> tagIds_;
  std::vector<std::int32_t> parentTypeIds_;
  std::vector<KelStringBase> dependencies_;
  std::vector<KelStringBase> formatNames_;
  std::vector<KelStringBase> formatIds_;
};

template <class Step>
void StdDictionaryHandler::guarded(Step step) const {
  try {
    step();
  } catch (const std::bad_alloc&) {
    throw;
  } catch (const KelConfigurationException&) {
    throw;
  } catch (const KelException& error) {
    std::string what = error.message();
    for (const KelInsert& insert : error.inserts()) what += ", " + insert.text();
    refuse(what);
  } catch (const std::exception& error) {
    refuse(error.what());
  }
}

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_LOAD_STDDICTIONARYHANDLER_H
