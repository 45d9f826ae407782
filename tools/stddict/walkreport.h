// How the outcome of a walk is written: as text for people, or as JSON lines for programs.
#ifndef TOOLS_STDDICT_WALKREPORT_H
#define TOOLS_STDDICT_WALKREPORT_H

#include <memory>
#include <string>

#include "cpi/walk/xmlwalker.h"

// Receives the elements of one message after another, and each message's summary. Writes to
// stdout.
class WalkReport : public cpi::WalkVisitor {
 public:
  // A message begins.
  virtual void begin(const std::string& file) = 0;
  // It has ended, and was read in full.
  virtual void end(const cpi::WalkSummary& summary) = 0;
};

// With `isQuiet` only summaries are written. `isColoured` marks what the model does not admit.
std::unique_ptr<WalkReport> makeTextReport(bool isQuiet, bool isColoured);
std::unique_ptr<WalkReport> makeJsonReport(bool isQuiet);

#endif  // TOOLS_STDDICT_WALKREPORT_H
