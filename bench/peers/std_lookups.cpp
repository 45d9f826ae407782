// What a program without this library would write: a sorted table, and an array by id.
#include <algorithm>

#include "bench/support/kept.h"
#include "bench/support/lookups.h"

namespace cpi::bench {
namespace {

// As large as a record of the dictionary.
struct Row {
  std::int32_t id;
  std::int32_t other[13];
};
static_assert(sizeof(Row) == sizeof(SMD_TAG_DEFINITION));

const std::vector<Row>& sortedTable(IdKind kind, std::int32_t rows) {
  return kept(std::pair(kind, rows), [=] {
    std::vector<Row> table;
    for (const std::int32_t id : idQuestions(kind, rows).keys) table.push_back({id, {}});
    return table;
  });
}

auto bisection(IdKind kind, std::int32_t rows) {
  return [&table = sortedTable(kind, rows)](std::int32_t id) {
    const auto found = std::ranges::lower_bound(table, id, {}, &Row::id);
    const bool isFound = found != table.end() && found->id == id;
    return isFound ? static_cast<std::int32_t>(found - table.begin()) : kNone;
  };
}

const std::vector<std::int32_t>& rowsById(IdKind kind, std::int32_t rows) {
  return kept(std::pair(kind, rows), [=] {
    const std::vector<std::int32_t>& ids = idQuestions(kind, rows).keys;
    std::vector<std::int32_t> rowOfId(static_cast<std::size_t>(ids.back()) + 1, kNone);
    for (std::size_t row = 0; row < ids.size(); ++row) {
      rowOfId[static_cast<std::size_t>(ids[row])] = static_cast<std::int32_t>(row);
    }
    return rowOfId;
  });
}

auto denseArray(IdKind kind, std::int32_t rows) {
  return [&rowOfId = rowsById(kind, rows)](std::int32_t id) {
    const auto place = static_cast<std::size_t>(id);
    return place < rowOfId.size() ? rowOfId[place] : kNone;
  };
}

const bool kRegistered = registered([] {
  addIdLookups("lower_bound", IdKind::Dense, bisection);
  addIdLookups("lower_bound", IdKind::Sparse, bisection);
  addIdLookups("array", IdKind::Dense, denseArray);
});

}  // namespace
}  // namespace cpi::bench
