// FIHandler: the parse events that a dictionary is loaded from.
//
// Whoever reads a dictionary file drives an FIHandler; whoever consumes the events implements it.
// Numeric-id events must be implemented; name-based and message-content events do nothing unless
// overridden. Thread rule: one thread at a time.
#ifndef CPI_RUNTIME_FIHANDLER_H
#define CPI_RUNTIME_FIHANDLER_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "cpi/runtime/export.h"
#include "cpi/runtime/kelstring.h"
#include "cpi/runtime/pwfdata.h"

namespace cpi {

// The caller's context of a parse; the library passes it along and never looks inside.
class CPI_API WorkerInfo {
 public:
  virtual ~WorkerInfo();
};

// A counted handle: a copy adds a reference, destruction releases it. May be null.
using WorkerInfoPtr = std::shared_ptr<WorkerInfo>;

// The `kind` argument of startElement: fields carry data, structures carry further elements.
enum ElementKind : unsigned short {
  EKField = 0,
  EKRepeatedField = 1,
  EKStructure = 2,
  EKRepeatedStructure = 3,
};

class CPI_API FIHandler {
 public:
  virtual void startMessage(WorkerInfoPtr worker) = 0;
  virtual void endMessage(WorkerInfoPtr worker) = 0;
  virtual bool startMessageContent(const unsigned short* name, const KelStringBase& namespaceURI,
                                   unsigned short kind, WorkerInfoPtr worker);
  virtual bool startMessageContent(const unsigned short* name, unsigned short kind,
                                   WorkerInfoPtr worker);
  virtual bool startMessageContent(std::int32_t& id, unsigned short kind, WorkerInfoPtr worker,
                                   std::int32_t index);
  virtual void endMessageContent(const unsigned short* name, const KelStringBase& namespaceURI,
                                 WorkerInfoPtr worker);
  virtual void endMessageContent(const unsigned short* name, WorkerInfoPtr worker);
  virtual void endMessageContent(std::int32_t id, WorkerInfoPtr worker);
  virtual void startElement(const unsigned short* name, const KelStringBase& namespaceURI,
                            unsigned short kind, WorkerInfoPtr worker, std::int32_t index);
  virtual void startElement(const unsigned short* name, unsigned short kind, WorkerInfoPtr worker,
                            std::int32_t index);
  // A section (kinds 2 and 3) by its section id, or a field item (kinds 0 and 1) by its column id;
  // `index` is the row of a field item.
  virtual void startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr worker,
                            std::int32_t index, std::int32_t extra) = 0;
  virtual void endElement(const unsigned short* name, const KelStringBase& namespaceURI,
                          WorkerInfoPtr worker);
  virtual void endElement(const unsigned short* name, WorkerInfoPtr worker);
  virtual void endElement(std::int32_t id, WorkerInfoPtr worker) = 0;
  // A run of integers of one column, in rows from `index` on: stands for a startElement of `kind`
  // without extra, a value and an endElement of each. Takes as many of the first ones as it can
  // without further ado and tells how many; it throws nothing and has no word on the next, which
  // the sender sends by single events. The base takes none. Who wants to see single events does not
  // take any either.
  virtual std::size_t items(std::int32_t id, unsigned short kind, std::int32_t index,
                            std::span<const std::int64_t> values) noexcept;
  // The value of the open field item. Texts that it refers to are valid during the call.
  virtual void data(const PWFData& value, WorkerInfoPtr worker) = 0;
  virtual void projectDependencies(const std::vector<KelStringBase>& names);
  virtual void projectId(const unsigned short* id);
  virtual ~FIHandler();
};

}  // namespace cpi

#endif  // CPI_RUNTIME_FIHANDLER_H
