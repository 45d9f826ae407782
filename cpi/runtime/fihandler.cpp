#include "cpi/runtime/fihandler.h"

namespace cpi {

WorkerInfo::~WorkerInfo() = default;
FIHandler::~FIHandler() = default;

bool FIHandler::startMessageContent(const unsigned short*, const KelStringBase&, unsigned short,
                                    WorkerInfoPtr) {
  return true;
}
bool FIHandler::startMessageContent(const unsigned short*, unsigned short, WorkerInfoPtr) {
  return true;
}
bool FIHandler::startMessageContent(std::int32_t&, unsigned short, WorkerInfoPtr, std::int32_t) {
  return true;
}
void FIHandler::endMessageContent(const unsigned short*, const KelStringBase&, WorkerInfoPtr) {}
void FIHandler::endMessageContent(const unsigned short*, WorkerInfoPtr) {}
void FIHandler::endMessageContent(std::int32_t, WorkerInfoPtr) {}
void FIHandler::startElement(const unsigned short*, const KelStringBase&, unsigned short,
                             WorkerInfoPtr, std::int32_t) {}
void FIHandler::startElement(const unsigned short*, unsigned short, WorkerInfoPtr, std::int32_t) {}
void FIHandler::endElement(const unsigned short*, const KelStringBase&, WorkerInfoPtr) {}
void FIHandler::endElement(const unsigned short*, WorkerInfoPtr) {}
std::size_t FIHandler::items(std::int32_t, unsigned short, std::int32_t,
                             std::span<const std::int64_t>) noexcept {
  return 0;
}
void FIHandler::projectDependencies(const std::vector<KelStringBase>&) {}
void FIHandler::projectId(const unsigned short*) {}

}  // namespace cpi
