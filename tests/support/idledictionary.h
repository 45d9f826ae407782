// A dictionary whose tables are filled by hand: it takes no notice of events.
#ifndef STDDI_TESTS_SUPPORT_IDLEDICTIONARY_H
#define STDDI_TESTS_SUPPORT_IDLEDICTIONARY_H

#include "cpi/dictinfo/dictionaryinfo.h"

namespace cpi::test {

class IdleDictionary : public DictionaryInfo {
 public:
  explicit IdleDictionary(int tableCount) : DictionaryInfo(tableCount) {}
  using DictionaryInfo::endElement;
  using DictionaryInfo::startElement;
  void startMessage(WorkerInfoPtr) override {}
  void endMessage(WorkerInfoPtr) override {}
  void startElement(std::int32_t, unsigned short, WorkerInfoPtr, std::int32_t,
                    std::int32_t) override {}
  void endElement(std::int32_t, WorkerInfoPtr) override {}
  void data(const PWFData&, WorkerInfoPtr) override {}
};

}  // namespace cpi::test

#endif  // STDDI_TESTS_SUPPORT_IDLEDICTIONARY_H
