// Replays storage vectors: operations on one table and its properties.
#ifndef TESTS_REPLAY_STORAGE_H
#define TESTS_REPLAY_STORAGE_H

#include "report.h"

namespace cpi::replay {

void replayStorage(const Json& vector, Report& report);

}  // namespace cpi::replay

#endif  // TESTS_REPLAY_STORAGE_H
