// The operations of the value iterator.
#include "tools/stddict/shellbind.h"

namespace shell {

namespace {

using ValueIterator = cpi::StdValueIterator;

void construct(Session& session) { session.values = ValueIterator(nullptr, &session.dictionary); }
void constructInContext(Session& session, std::int32_t tagIndex, std::int32_t pathBasedInfoIndex) {
  session.values = ValueIterator(nullptr, &session.dictionary, tagIndex, pathBasedInfoIndex);
}
void fork(Session& session) { session.spareValues = session.values; }
void join(Session& session) { session.values = session.spareValues; }

constexpr Operation kOperations[] = {
    {"newValues", "", "a new value iterator without context", bind<&construct>},
    {"newValues", "tagIndex pathBasedInfoIndex", "one at the value set of a Tags row; -1: no path",
     bind<&constructInContext>},
    {"setContext", "tagIndex pathBasedInfoIndex", "go to the value set of a Tags row; -1: no path",
     bind<&ValueIterator::setContext>},
    {"getValue", "value role", "the current value and its role; -1: no more",
     bind<&ValueIterator::getValue>},
    {"moveToNextValue", "", "step to the next value", bind<&ValueIterator::moveToNextValue>},
    {"forkValues", "", "copy the value iterator, to come back to it by joinValues", bind<&fork>},
    {"joinValues", "", "go on from the copy that forkValues made", bind<&join>},
};

}  // namespace

std::span<const Operation> valueOperations() { return kOperations; }

}  // namespace shell
