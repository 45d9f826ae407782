// The stream of a load: where it is, and which function gets its items.
#include "cpi/dictinfo/stddi/load/stddictionaryhandler.h"

#include "cpi/dictinfo/stddi/load/loaderrors.h"

namespace cpi {

StdDictionaryHandler::StdDictionaryHandler(StdDictionaryInfo* owner, const LoadLimits& limits)
    : owner_(owner), limits_(limits) {
  KelOperation operation(nullptr, "StdDictionaryHandler::StdDictionaryHandler",
                         static_cast<const void*>(owner));
}

StdDictionaryHandler::~StdDictionaryHandler() {
  KelOperation operation(nullptr, "StdDictionaryHandler::~StdDictionaryHandler");
}

void StdDictionaryHandler::startMessage(const WorkerInfoPtr&) {
  KelOperation operation(nullptr, "StdDictionaryHandler::startMessage");
}

void StdDictionaryHandler::endMessage(const WorkerInfoPtr&) {
  constexpr const char* kOperation = "StdDictionaryHandler::endMessage";
  KelOperation operation(nullptr, kOperation);
  if (identificationSeen_) return;
  throwConfigurationError({kHandlerSource, kNoIdentificationAtEndLine, kOperation},
                          CP_DICTIONARY_ERROR, kNoIdentificationText);
}

void StdDictionaryHandler::startElement(std::int32_t id, unsigned short kind, const WorkerInfoPtr&,
                                        std::int32_t index, std::int32_t extra) {
  constexpr const char* kOperation = "StdDictionaryHandler::startElement";
  KelOperation operation(nullptr, kOperation, id, kind, index, extra);
  if (isFiltering_) return;
  if (kind == EKStructure || kind == EKRepeatedStructure) {
    startSection(id);
  } else if (kind == EKField || kind == EKRepeatedField) {
    if (section_ > 0) {
      field_ = id;
      row_ = index;
    } else if (KelLog::isOn(LLDebug)) {
      KelLog::debug(nullptr, kOperation, "WARNING: ignoring element", {id});
    }
  }
}

void StdDictionaryHandler::startSection(std::int32_t id) {
  constexpr const char* kOperation = "StdDictionaryHandler::startElement";
  if (!identificationSeen_) {
    if (id == kOldHeaderStart) {
      if (KelLog::isOn(LLDebug)) {
        KelLog::debug(nullptr, kOperation, "WARNING:: old header present. Filtering out.");
      }
      isFiltering_ = true;
      return;
    }
    if (id != kIdentificationSection) {
      throwConfigurationError({kHandlerSource, kNoIdentificationAtStartLine, kOperation},
                              CP_DICTIONARY_ERROR, kNoIdentificationText, {kReExtractText});
    }
    identificationSeen_ = true;
  }
  dataSection_ = id;
  if (const Section* const section = findSection(id); section != nullptr) {
    section_ = id;
    current_ = section;
    if (id == kValuesSection) valueRow_ = 0;
  } else if (id == kNamedPropertySection) {
    propertyTableMemberName_ = KelStringBase();
    propertyMemberName_ = KelStringBase();
  } else if (KelLog::isOn(LLDebug)) {
    KelLog::debug(nullptr, kOperation, "WARNING: ignoring struct", {id});
  }
}

void StdDictionaryHandler::endElement(std::int32_t id, const WorkerInfoPtr&) {
  constexpr const char* kOperation = "StdDictionaryHandler::endElement";
  KelOperation operation(nullptr, kOperation, id);
  operation_ = kOperation;
  if (isFiltering_) {
    if (id == kOldHeaderEnd) isFiltering_ = false;
  } else if (id == field_) {
    field_ = kNoColumn;
  } else if (id == section_) {
    endSection(id);
  } else if (id == kNamedPropertySection) {
    dataSection_ = section_;
  } else if (KelLog::isOn(LLDebug)) {
    KelLog::debug(nullptr, kOperation, "WARNING: Should not have got an end element", {id});
  }
}

void StdDictionaryHandler::endSection(std::int32_t id) {
  if (id == kIdentificationSection) {
    buildDependencyTable();
    buildWireFormatTable();
  }
  if (!formatIds_.empty()) owner_->formatID = formatIds_.front();
  dataSection_ = kNoSection;
  section_ = kNoSection;
  current_ = nullptr;
}

StdDictionaryHandler::DataFunction StdDictionaryHandler::dataFunction(
    std::int32_t section) noexcept {
  switch (section) {
    case kIdentificationSection: return &StdDictionaryHandler::dataIdentifications;
    case kProjectSection: return &StdDictionaryHandler::dataMsgSetDefs;
    case kTagsSection: return &StdDictionaryHandler::dataTagDefs;
    case kTypeMembersSection: return &StdDictionaryHandler::dataStructDefs;
    case kMemberIdIndexSection: return &StdDictionaryHandler::mbrIDToStructDefIndex;
    case kTypesSection: return &StdDictionaryHandler::dataTypeDefs;
    case kPathBasedInfoSection: return &StdDictionaryHandler::dataPathBasedDefs;
    case kMemberPathSection: return &StdDictionaryHandler::dataPathListDefs;
    case kValueSetSection: return &StdDictionaryHandler::dataValueSetDefs;
    case kValuesSection: return &StdDictionaryHandler::dataValueDefs;
    case kNamespacesSection: return &StdDictionaryHandler::dataNamespaceDefs;
    case kNamedPropertySection: return &StdDictionaryHandler::dataNamedProperty;
    default: return nullptr;
  }
}

void StdDictionaryHandler::data(const PWFData& value, const WorkerInfoPtr&) {
  constexpr const char* kOperation = "StdDictionaryHandler::data";
  const bool isDebug = KelLog::isOn(LLDebug);
  KelOperation operation(
      nullptr, kOperation,
      isDebug ? KelStringBase(value.getDebugString().getStringValue()) : KelStringBase());
  operation_ = kOperation;
  if (const DataFunction function = dataFunction(dataSection_); function != nullptr) {
    (this->*function)(value);
  } else if (isDebug) {
    KelLog::debug(nullptr, kOperation, kIgnoringTagText, {dataSection_, field_});
  }
}

}  // namespace cpi
