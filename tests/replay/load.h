// Replays load vectors: event streams, then queries and the contents report.
#ifndef TESTS_REPLAY_LOAD_H
#define TESTS_REPLAY_LOAD_H

#include "capture.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "report.h"

namespace cpi::replay {

// Drives `handler` with one event of a vector. Throws InputError, and what the handler throws.
void performEvent(FIHandler& handler, const Json& event);

// Asks one query and gives the answer in the form of `expected`, which also tells which parts of
// it have no defined result: those are taken over from it unless the library fails on them.
// Throws InputError.
Json askQuery(const StdDictionaryInfo& dictionary, const Json& query, const Json& expected);
// An expected answer in the form of the above.
Json expectedAnswer(const Json& answer);
// The same for a script of value iterator steps: the list of its answers.
Json runValueScript(const StdDictionaryInfo& dictionary, const Json& script, const Json& expected);

// Compares the contents report. `choices` are those of the vector.
void compareDump(const StdDictionaryInfo& dictionary, const Json& vector, Report& report);
// The report as it is written, and the exception that ended it, if any.
std::string dumpText(const StdDictionaryInfo& dictionary, std::optional<CaughtError>& error);

void replayLoad(const Json& vector, Report& report);

}  // namespace cpi::replay

#endif  // TESTS_REPLAY_LOAD_H
