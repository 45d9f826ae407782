// The least that a load by events must do, whoever does it: each number into its record, each text
// behind the others, and one hash entry for each tag's name. Nothing is checked.
#include <bit>
#include <cstring>
#include <span>

#include "bench/support/eventtape.h"
#include "bench/support/loads.h"
#include "cpi/dictinfo/stddi/schema.h"

namespace cpi::bench {
namespace {

class FloorHandler : public FIHandler {
 public:
  using FIHandler::endElement;
  using FIHandler::startElement;
  void startMessage(WorkerInfoPtr) override {}
  void endMessage(WorkerInfoPtr) override { enterNames(); }
  void startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr, std::int32_t index,
                    std::int32_t) override {
    if (kind == EKStructure) {
      startSection(id);
    } else if (property_ != 0) {
      column_ = nullptr;
    } else if (column_ == nullptr || column_->id != id) {
      column_ = findColumn(*section_, id);
    }
    row_ = static_cast<std::size_t>(index);
  }
  std::size_t items(std::int32_t id, unsigned short, std::int32_t index,
                    std::span<const std::int64_t> values) noexcept override {
    const bool isOpen = property_ == 0 && column_ != nullptr && column_->id == id;
    if (!isOpen || column_->kind == ColumnKind::NumRows) return 0;
    row_ = static_cast<std::size_t>(index) + values.size() - 1;
    unsigned char* field = record() + column_->offset - (values.size() - 1) * section_->recordSize;
    for (const std::int64_t value : values) {
      const auto number = static_cast<std::int32_t>(value);
      std::memcpy(field, &number, sizeof number);
      field += section_->recordSize;
    }
    return values.size();
  }
  void endElement(std::int32_t id, WorkerInfoPtr) override {
    if (id == property_) property_ = 0;
  }
  void data(const PWFData& value, WorkerInfoPtr) override {
    const unsigned short* const text = value.getStringValue();
    if (column_ == nullptr) {
      if (text != nullptr) properties_.append(textView(text)).push_back(u'\0');
    } else if (column_->kind == ColumnKind::NumRows) {
      table_->records.resize(static_cast<std::size_t>(value.getInt32Value()) *
                             section_->recordSize);
    } else if (text != nullptr) {
      keepText(text);
    } else {
      const std::int32_t number = value.getInt32Value();
      std::memcpy(record() + column_->offset, &number, sizeof number);
    }
  }

 private:
  struct Table {
    std::vector<unsigned char> records;
    std::vector<std::size_t> textOfRow;
    std::u16string texts;
  };

  // A section that is no table is a named property of the table around it.
  void startSection(std::int32_t id) {
    if (const Section* const section = findSection(id); section != nullptr) {
      section_ = section;
      table_ = &tables_[static_cast<std::size_t>(section->slot)];
    } else {
      property_ = id;
    }
  }
  // Tables whose rows are not announced grow as rows come.
  unsigned char* record() {
    const std::size_t end = (row_ + 1) * section_->recordSize;
    if (table_->records.size() < end) table_->records.resize(end);
    return table_->records.data() + end - section_->recordSize;
  }
  void keepText(const unsigned short* text) {
    if (column_->kind != ColumnKind::Text) return;
    if (table_->textOfRow.size() <= row_) table_->textOfRow.resize(row_ + 1);
    table_->textOfRow[row_] = table_->texts.size();
    table_->texts.append(textView(text)).push_back(u'\0');
  }
  void enterNames() {
    const Table& tags = tables_[static_cast<std::size_t>(TableSlot::Tags)];
    slots_.resize(std::bit_ceil(2 * tags.textOfRow.size() + 1));
    for (std::size_t row = 0; row < tags.textOfRow.size(); ++row) {
      const std::u16string_view name(tags.texts.data() + tags.textOfRow[row]);
      std::size_t at = std::hash<std::u16string_view>()(name) & (slots_.size() - 1);
      while (slots_[at] != 0) at = (at + 1) & (slots_.size() - 1);
      slots_[at] = row + 1;
    }
  }

  Table tables_[kTableCount];
  Table* table_ = nullptr;
  const Section* section_ = nullptr;
  const Column* column_ = nullptr;
  std::int32_t property_ = 0;  // the section of the open named property; 0: none
  std::u16string properties_;
  std::size_t row_ = 0;
  std::vector<std::size_t> slots_;
};

const bool kRegistered = registered([] {
  addLoads("events/floor", [](const Model& model) {
    return [tape = std::make_shared<EventTape>(model.tables())] {
      FloorHandler handler;
      tape->play(handler);
    };
  });
});

}  // namespace
}  // namespace cpi::bench
