// The data functions: what each section does with an item.
#include "cpi/dictinfo/stddi/load/loaderrors.h"
#include "cpi/dictinfo/stddi/load/stddictionaryhandler.h"

namespace cpi {

namespace {

constexpr const char* kDataIdentifications = "StdDictionaryHandler::dataIdentifications";

void warnIgnored(const char* operation, std::int32_t section, std::int32_t field) {
  if (KelLog::isOn(LLDebug)) KelLog::debug(nullptr, operation, kIgnoringTagText, {section, field});
}

}  // namespace

void StdDictionaryHandler::dataIdentifications(const PWFData& value) {
  KelOperation operation(nullptr, kDataIdentifications);
  const Section& section = *findSection(kIdentificationSection);
  const bool isOpen = field_ != kNoColumn;
  if (isOpen && table(section.slot).rowCount == 0) createTable(section.slot, 1);
  const Column* const column = isOpen ? findColumn(section, field_) : nullptr;
  if (column == nullptr) return warnIgnored(kDataIdentifications, dataSection_, field_);
  switch (column->id) {
    case kDependencyColumn: return collectText(dependencies_, value);
    case kFormatNameColumn: return collectText(formatNames_, value);
    case kFormatIdColumn: return collectText(formatIds_, value);
    default: break;
  }
  if (column->kind == ColumnKind::Text) return storeText(row_, value);
  unsigned char* const field = recordAt(0) + column->offset;
  if (column->kind == ColumnKind::FixedText) {
    storeFixedText(field, value);
    if (column->id == kNameColumn) owner_->msgSetID = KelStringBase(text(value));
    return;
  }
  const std::int32_t number = integer(value);
  checkLevel(column->id, number);
  *reinterpret_cast<std::int32_t*>(field) = number;
}

void StdDictionaryHandler::checkLevel(std::int32_t column, std::int32_t level) const {
  const auto refuseLevel = [&](const char* trace, const char* read, const char* bound,
                               std::int32_t limit, std::int32_t line, const char* message) {
    if (KelLog::isOn(LLTrace)) {
      KelLog::trace(nullptr, kDataIdentifications, trace, {read, level, bound, limit});
    }
    throwConfigurationError({kHandlerSource, line, kDataIdentifications},
                            CP_INCOMPATIBLE_DICTIONARY, message);
  };
  if (column == kFormatLevelColumn && level < STD_MINIMUM_FORMAT_DICTIONARY_LEVEL) {
    refuseLevel("Format Level error.", "Read in file format level = ",
                "STD_MINIMUM_FORMAT_DICTIONARY_LEVEL = ", STD_MINIMUM_FORMAT_DICTIONARY_LEVEL,
                kFormatLevelLine, "Format Level error. File format too old to parse.");
  }
  if (column == kCompatibilityLevelColumn && level > STD_CURRENT_FORMAT_DICTIONARY_LEVEL) {
    refuseLevel("Compatibility Level error", "Read in file compatibility level = ",
                "STD_CURRENT_FORMAT_DICTIONARY_LEVEL = ", STD_CURRENT_FORMAT_DICTIONARY_LEVEL,
                kCompatibilityLevelLine,
                "Compatibility Level error. This parser does not support this newer dictionary. "
                "Use a newer verion of the parser.");
  }
}

void StdDictionaryHandler::buildDependencyTable() {
  constexpr TableSlot kSlot = TableSlot::Dependency;
  if (table(kSlot).rowCount == 0) {
    createTable(kSlot, static_cast<std::int64_t>(dependencies_.size()));
  }
  for (std::size_t i = 0; i < dependencies_.size(); ++i) {
    storeCollected(kSlot, kDependencyColumn, i, dependencies_[i]);
  }
}

void StdDictionaryHandler::buildWireFormatTable() {
  constexpr TableSlot kSlot = TableSlot::WireFormat;
  if (table(kSlot).rowCount == 0) {
    createTable(kSlot, static_cast<std::int64_t>(formatNames_.size()));
  }
  for (std::size_t i = 0; i < formatNames_.size(); ++i) {
    const ItemPlace place{kSlot, kFormatNameColumn, static_cast<std::int64_t>(i)};
    auto& record = *reinterpret_cast<WIREFORMAT_DEFINITION*>(recordAt(place));
    copyFixedText(record.FormatName, formatNames_[i].view(), place);
    // A format without an identifier of its own keeps a null one.
    if (i < formatIds_.size()) storeCollected(kSlot, kFormatIdColumn, i, formatIds_[i]);
  }
}

void StdDictionaryHandler::dataMsgSetDefs(const PWFData& value) {
  constexpr const char* kOperation = "StdDictionaryHandler::dataMsgSetDefs";
  KelOperation operation(nullptr, kOperation);
  const Section& section = *findSection(kProjectSection);
  const bool isOpen = field_ != kNoColumn;
  if (isOpen && table(section.slot).rowCount == 0) createTable(section.slot, 1);
  const Column* const column = isOpen ? findColumn(section, field_) : nullptr;
  if (column == nullptr) return warnIgnored(kOperation, dataSection_, field_);
  if (column->kind == ColumnKind::FixedText) {
    return storeFixedText(recordAt(0) + column->offset, value);
  }
  storeItem(*column, value);
}

void StdDictionaryHandler::dataTagDefs(const PWFData& value) {
  storeKeyed("StdDictionaryHandler::dataTagDefs", kTagClassLine, tagIds_, value);
}

void StdDictionaryHandler::dataStructDefs(const PWFData& value) {
  storeKeyed("StdDictionaryHandler::dataStructDefs", kMemberClassLine, parentTypeIds_, value);
}

void StdDictionaryHandler::storeKeyed(const char* name, std::int32_t refusedClassLine,
                                      std::vector<std::int32_t>& keys, const PWFData& value) {
  KelOperation operation(nullptr, name);
  // A row count has no meaning here: the key column sizes the table.
  if (field_ == kNoColumn || field_ == kNumRowsColumn) return;
  const Column& key = current_->columns.front();
  if (field_ == key.id) {
    const std::int32_t id = integer(value);
    if (row_ == 0) keys.clear();
    keys.push_back(id);
    quick_ = {ColumnKind::Key, field_, &openTable()};
    return;
  }
  if (row_ == 0 && openTable().rowCount == 0) createFromKeys(key, keys);
  const Column* const column = findColumn(*current_, field_);
  if (column == nullptr) return;
  switch (column->kind) {
    case ColumnKind::ClassCode:
      return storeClass(*column, value, {kHandlerSource, refusedClassLine, name});
    case ColumnKind::Flag:
      return storeFlag(*column, value, {kHandlerSource, kNullPermittedLine, name});
    default: return storeItem(*column, value);
  }
}

void StdDictionaryHandler::createFromKeys(const Column& key,
                                          const std::vector<std::int32_t>& keys) {
  createTable(current_->slot, static_cast<std::int64_t>(keys.size()));
  for (std::size_t i = 0; i < keys.size(); ++i) {
    unsigned char* const record = openTable().records + i * current_->recordSize;
    *reinterpret_cast<std::int32_t*>(record + key.offset) = keys[i];
  }
}

void StdDictionaryHandler::mbrIDToStructDefIndex(const PWFData& value) {
  storeCounted("void StdDictionaryHandler::mbrIDToStructDefIndex", value);
}

void StdDictionaryHandler::dataTypeDefs(const PWFData& value) {
  storeCounted("StdDictionaryHandler::dataTypeDefs", value);
}

void StdDictionaryHandler::dataPathBasedDefs(const PWFData& value) {
  storeCounted("StdDictionaryHandler::dataPathBasedDefs", value);
}

void StdDictionaryHandler::dataPathListDefs(const PWFData& value) {
  storeCounted("StdDictionaryHandler::dataPathListDefs", value);
}

void StdDictionaryHandler::dataValueSetDefs(const PWFData& value) {
  storeCounted("StdDictionaryHandler::dataValueSetDefs", value);
}

void StdDictionaryHandler::dataNamespaceDefs(const PWFData& value) {
  storeCounted("StdDictionaryHandler::dataNamespaceDefs", value);
}

void StdDictionaryHandler::storeCounted(const char* name, const PWFData& value) {
  KelOperation operation(nullptr, name);
  const Column* const column = findColumn(*current_, field_);
  if (column == nullptr) return;
  if (column->kind == ColumnKind::NumRows) {
    createFromNumRows(value);
  } else {
    storeItem(*column, value);
  }
}

// Values are filled in the order in which they come: the rows that their items carry do not count.
void StdDictionaryHandler::dataValueDefs(const PWFData& value) {
  KelOperation operation(nullptr, "StdDictionaryHandler::dataValueDefs");
  const Column* const column = findColumn(*current_, field_);
  if (column == nullptr) return;
  if (column->kind == ColumnKind::NumRows) return createFromNumRows(value);
  auto& record = *reinterpret_cast<SMD_VALUE_DEFINITION*>(recordAt(valueRow_));
  storeValue(record, *column, value);
  ++valueRow_;
}

void StdDictionaryHandler::dataNamedProperty(const PWFData& value) {
  KelOperation operation(nullptr, "StdDictionaryHandler::dataNamedProperty");
  if (current_ == nullptr) return;  // no table to add a property to
  switch (field_) {
    case kPropertyTableMemberNameColumn:
      propertyTableMemberName_ = KelStringBase(text(value));
      quick_ = {};
      break;
    case kPropertyMemberNameColumn:
      propertyMemberName_ = KelStringBase(text(value));
      quick_ = {};
      break;
    case kPropertyTextColumn: {
      const unsigned short* const propertyText = text(value);
      StringTable& property = openProperty(PTText);
      guarded([&] { property.SetValue(static_cast<std::uint32_t>(row_), propertyText); });
      break;
    }
    case kPropertyIntegerColumn: {
      std::int64_t number = 0;
      guarded([&] { number = value.getInt64Value(); });
      StringTable& property = openProperty(PTInteger);
      guarded([&] { property.SetIntValue(static_cast<std::uint32_t>(row_), number); });
      break;
    }
    default: break;
  }
}

}  // namespace cpi
