// Brings a dictionary that is given as tables into the library, through its load events.
#ifndef TESTS_REPLAY_FEED_H
#define TESTS_REPLAY_FEED_H

#include "cpi/runtime/fihandler.h"
#include "json.h"

namespace cpi::replay {

// Drives `handler` with the events of {table: [row, ...]}. Fields that are left out keep their
// defaults. Throws InputError for rows that no stream can produce, and what the handler throws.
void feedTables(const Json& tables, FIHandler& handler);

// A value as an event carries it; the text must outlive the event.
PWFData textData(const Text& text);

}  // namespace cpi::replay

#endif  // TESTS_REPLAY_FEED_H
