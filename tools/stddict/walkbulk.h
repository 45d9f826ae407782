// Many messages, by several threads, reported in their order.
#ifndef TOOLS_STDDICT_WALKBULK_H
#define TOOLS_STDDICT_WALKBULK_H

#include <functional>

#include "tools/stddict/messagesource.h"
#include "tools/stddict/walkreport.h"

// Walks one message, or the messages of a piece; throws cpi::FileError when it cannot be read. Used
// by one thread.
using WalkMessage = std::function<cpi::WalkSummary(const Message&, cpi::WalkVisitor*)>;
// Makes one for each thread.
using MakeWalk = std::function<WalkMessage()>;

struct BulkOptions {
  int jobs = 1;
  bool hasSummary = false;  // of verdicts per path, at the end
};

// Walks all messages of a source and writes the report to stdout; returns the tool's exit code.
// One message that cannot be read does not keep the others from being walked. However many
// messages there are, memory holds a few for each thread.
int walkAll(MessageSource& source, const MakeWalk& makeWalk, const ReportOptions& reporting,
            const BulkOptions& options, const cpi::StdDictionaryInfo& dictionary);

#endif  // TOOLS_STDDICT_WALKBULK_H
