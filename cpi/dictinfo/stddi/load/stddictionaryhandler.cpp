// The stream of a load: where it is, and which function gets its items.
#include "cpi/dictinfo/stddi/load/stddictionaryhandler.h"

#include "cpi/dictinfo/stddi/load/loaderrors.h"

namespace cpi {

namespace {

constexpr const char* kStartElement = "StdDictionaryHandler::startElement";
constexpr const char* kEndElement = "StdDictionaryHandler::endElement";

}  // namespace

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
  KelOperation operation(nullptr, kStartElement, id, kind, index, extra);
  open(id, kind, index);
}

// What is not a field item of an open section.
void StdDictionaryHandler::openStructure(std::int32_t id, unsigned short kind) {
  if (isFiltering_) return;
  if (kind == EKStructure || kind == EKRepeatedStructure) {
    startSection(id);
  } else if ((kind == EKField || kind == EKRepeatedField) && KelLog::isOn(LLDebug)) {
    KelLog::debug(nullptr, kStartElement, "WARNING: ignoring element", {id});
  }
}

void StdDictionaryHandler::startSection(std::int32_t id) {
  if (!identificationSeen_) {
    if (id == kOldHeaderStart) {
      if (KelLog::isOn(LLDebug)) {
        KelLog::debug(nullptr, kStartElement, "WARNING:: old header present. Filtering out.");
      }
      isFiltering_ = true;
      return;
    }
    if (id != kIdentificationSection) {
      throwConfigurationError({kHandlerSource, kNoIdentificationAtStartLine, kStartElement},
                              CP_DICTIONARY_ERROR, kNoIdentificationText, {kReExtractText});
    }
    identificationSeen_ = true;
  }
  dataSection_ = id;
  quick_ = {};
  if (const Section* const section = findSection(id); section != nullptr) {
    section_ = id;
    current_ = section;
    if (id == kValuesSection) valueRow_ = 0;
  } else if (id == kNamedPropertySection) {
    propertyTableMemberName_ = KelStringBase();
    propertyMemberName_ = KelStringBase();
  } else if (KelLog::isOn(LLDebug)) {
    KelLog::debug(nullptr, kStartElement, "WARNING: ignoring struct", {id});
  }
}

void StdDictionaryHandler::endElement(std::int32_t id, const WorkerInfoPtr&) {
  KelOperation operation(nullptr, kEndElement, id);
  close(id);
}

// What is not the end of the open field item.
void StdDictionaryHandler::closeStructure(std::int32_t id) {
  operation_ = kEndElement;
  if (isFiltering_) {
    if (id == kOldHeaderEnd) isFiltering_ = false;
  } else if (id == section_) {
    endSection(id);
  } else if (id == kNamedPropertySection) {
    dataSection_ = section_;
    quick_ = {};
  } else if (KelLog::isOn(LLDebug)) {
    KelLog::debug(nullptr, kEndElement, "WARNING: Should not have got an end element", {id});
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
  quick_ = {};
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
  KelOperation operation(nullptr, kDataOperation, value.getDebugString().getStringValue());
  dispatch(value);
}

void StdDictionaryHandler::dispatch(const PWFData& value) {
  operation_ = kDataOperation;
  if (const DataFunction function = dataFunction(dataSection_); function != nullptr) {
    (this->*function)(value);
  } else if (KelLog::isOn(LLDebug)) {
    KelLog::debug(nullptr, kDataOperation, kIgnoringTagText, {dataSection_, field_});
  }
}

}  // namespace cpi
