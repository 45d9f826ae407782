#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

#include <limits>
#include <stdexcept>
#include <utility>

#include "cpi/dictinfo/stddi/load/recordrules.h"
#include "cpi/dictinfo/stddi/load/stddictionaryhandler.h"
#include "cpi/dictinfo/stddi/query/lookupindex.h"
#include "cpi/dictinfo/stddi/schema.h"

namespace cpi {

namespace {

int slotCount(int extraTables) {
  if (extraTables < 0 || extraTables > std::numeric_limits<int>::max() - kTableCount) {
    throw std::length_error("the number of extra tables must be 0 or more");
  }
  return extraTables + kTableCount;
}

}  // namespace

StdDictionaryInfo::StdDictionaryInfo(int extraTables) : DictionaryInfo(slotCount(extraTables)) {
  KelOperation operation(nullptr, "StdDictionaryInfo::StdDictionaryInfo", extraTables);
  auto slot = static_cast<std::size_t>(extraTables);
  forEachReference([&](auto& reference) {
    using Reference = std::remove_reference_t<decltype(reference)>;
    reference = Reference(tables()[slot++]);
  });
}

// Member-wise: the references lead to the shared tables, and a load in progress is shared too.
StdDictionaryInfo::StdDictionaryInfo(const StdDictionaryInfo& other) = default;

StdDictionaryInfo::~StdDictionaryInfo() = default;

void StdDictionaryInfo::release() {
  KelOperation operation(nullptr, "StdDictionaryInfo::release");
  delete this;
}

bool StdDictionaryInfo::isLoading() const noexcept {
  return loadHandler_ != nullptr && loadHandler_->owner() != nullptr;
}

inline StdDictionaryHandler* StdDictionaryInfo::loadHandler() noexcept {
  StdDictionaryHandler* const handler = loadHandler_.get();
  return handler != nullptr && handler->owner() == this ? handler : takeLoadOver();
}

StdDictionaryHandler* StdDictionaryInfo::takeLoadOver() noexcept {
  if (!isLoading()) loadHandler_.reset();  // perhaps ended by a dictionary that shares the load
  if (loadHandler_ != nullptr && loadHandler_->owner() != this) {
    loadHandler_->setOwner(this);
    adoptTables();
  }
  return loadHandler_.get();
}

void StdDictionaryInfo::startMessage(WorkerInfoPtr worker) {
  KelOperation operation(nullptr, "StdDictionaryInfo::startMessage");
  loadHandler_ = std::make_shared<StdDictionaryHandler>(this, loadLimits_);
  adoptTables();
  loadHandler_->startMessage(worker);
}

template <class Event>
void StdDictionaryInfo::handle(Event event) {
  StdDictionaryHandler* const handler = loadHandler();
  if (handler == nullptr) return;
  try {
    event(*handler);
  } catch (...) {
    refreshTexts();
    throw;
  }
}

void StdDictionaryInfo::endMessage(WorkerInfoPtr worker) {
  KelOperation operation(nullptr, "StdDictionaryInfo::endMessage");
  handle([&](StdDictionaryHandler& handler) {
    handler.endMessage(worker);
    endLoad();
  });
}

// Most of a load is here: one look at the filter decides between the plain way and the one that
// writes items.
void StdDictionaryInfo::startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr worker,
                                     std::int32_t index, std::int32_t extra) {
  if (!KelLog::isOn(LLDebug)) {
    return handle([&](StdDictionaryHandler& handler) { handler.open(id, kind, index); });
  }
  KelOperation operation(nullptr, "StdDictionaryInfo::startElement", id, kind, index, extra);
  handle(
      [&](StdDictionaryHandler& handler) { handler.startElement(id, kind, worker, index, extra); });
}

std::size_t StdDictionaryInfo::items(std::int32_t id, unsigned short kind, std::int32_t index,
                                     std::span<const std::int64_t> values) noexcept {
  if (KelLog::isOn(LLDebug)) return 0;  // each has items of the log
  StdDictionaryHandler* const handler = loadHandler();
  return handler == nullptr ? 0 : handler->takeRun(id, kind, index, values);
}

void StdDictionaryInfo::endElement(std::int32_t id, WorkerInfoPtr worker) {
  if (!KelLog::isOn(LLDebug)) {
    return handle([&](StdDictionaryHandler& handler) { handler.close(id); });
  }
  KelOperation operation(nullptr, "StdDictionaryInfo::endElement", id);
  handle([&](StdDictionaryHandler& handler) { handler.endElement(id, worker); });
}

void StdDictionaryInfo::data(const PWFData& value, WorkerInfoPtr worker) {
  if (!KelLog::isOn(LLDebug)) {
    return handle([&](StdDictionaryHandler& handler) { handler.take(value); });
  }
  KelOperation operation(nullptr, "StdDictionaryInfo::data", value.getLogicalType());
  handle([&](StdDictionaryHandler& handler) { handler.data(value, worker); });
}

void StdDictionaryInfo::MapTableProperty(DictTableRefBase table, StringTableRef strings) {
  static const KelStringBase kNone;
  const bool hasStrings = strings.strings != nullptr;
  KelOperation operation(nullptr, "StdDictionaryInfo::MapTableProperty",
                         hasStrings ? strings.strings->tableMemberName : kNone,
                         hasStrings ? strings.strings->memberName : kNone);
  DictionaryInfo::MapTableProperty(table, strings);
  if (hasStrings && (strings.strings->tableMemberName.view() != textView(CPI_VLS_TABMBR) ||
                     strings.strings->memberName.view() != textView(CPI_StringMember))) {
    return;
  }
  tablesChanged();  // names are found through the text columns that were there
  forEachReference([&](auto& reference) {
    using Row = typename std::remove_reference_t<decltype(reference)>::Row;
    if (RecordText<Row>::exists && &reference.table() == table.table) {
      reference.mapStrings(strings.strings);
    }
  });
}

const RecordRules* StdDictionaryInfo::recordRules(int slot) const {
  const int first = static_cast<int>(tables().size()) - kTableCount;
  return slot < first ? DictionaryInfo::recordRules(slot)
                      : &recordRulesOf(static_cast<TableSlot>(slot - first));
}

void StdDictionaryInfo::postProcessDictionary() {
  KelOperation operation(nullptr, "StdDictionaryInfo::postProcessDictionary");
  DictionaryInfo::postProcessDictionary();
  endLoad();
}

void StdDictionaryInfo::endLoad() noexcept {
  if (loadHandler_ != nullptr) loadHandler_->finish();
  loadHandler_.reset();
  freeze();
}

void StdDictionaryInfo::refreshTexts() noexcept {
  forEachReference([](auto& reference) { reference.refreshAll(); });
}

void StdDictionaryInfo::freeze() noexcept {
  refreshTexts();
  if (index_ != nullptr) return;
  try {
    useIndex(std::make_shared<const LookupIndex>(*this));
  } catch (const std::bad_alloc&) {
    tablesChanged();  // look-ups search and scan instead
  }
}

void StdDictionaryInfo::useIndex(std::shared_ptr<const LookupIndex> index) noexcept {
  index_ = std::move(index);
  ids_ = {index_->tagIds(), index_->typeIds(), index_->memberIds()};
}

std::size_t StdDictionaryInfo::lookupIndexBytes() const noexcept {
  return index_ == nullptr ? 0 : index_->bytes();
}

std::vector<unsigned char> StdDictionaryInfo::derivedBytes() const {
  return index_ == nullptr ? DictionaryInfo::derivedBytes() : index_->keptBytes();
}

// An image without an index, or with one that does not fit its tables, gets a new one at the end.
void StdDictionaryInfo::adoptDerived(std::span<const unsigned char> bytes) noexcept {
  if (bytes.empty()) return;
  try {
    auto index = std::make_shared<const LookupIndex>(*this, bytes);
    if (index->isSound()) useIndex(std::move(index));
  } catch (const std::bad_alloc&) {
    tablesChanged();
  }
}

void StdDictionaryInfo::tablesChanged() noexcept {
  if (index_ == nullptr) return;
  ids_ = {};
  index_.reset();
}

std::u16string_view StdDictionaryInfo::namespaceText(std::int32_t namespaceIndex) const noexcept {
  return namespaces_.contains(namespaceIndex) ? textView(namespaces_.text(namespaceIndex))
                                              : std::u16string_view();
}

bool StdDictionaryInfo::isInNamespace(std::int32_t namespaceIndex,
                                      const KelStringBase& namespaceURI) const noexcept {
  if (const LookupIndex* const derived = index(); derived != nullptr) {
    return derived->spaces().isIn(namespaceIndex, namespaceURI.view());
  }
  if (namespaceIndex == kNone && namespaceURI.isEmpty()) return true;
  return namespaces_.contains(namespaceIndex) &&
         namespaceText(namespaceIndex) == namespaceURI.view();
}

}  // namespace cpi
