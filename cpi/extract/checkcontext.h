// What the parts of the dictionary check share: the rows by id, the runs of members, and how a
// fault is told.
#ifndef CPI_EXTRACT_CHECKCONTEXT_H
#define CPI_EXTRACT_CHECKCONTEXT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "cpi/extract/dictionarycheck.h"

namespace cpi {

// The two sentinels of an index; an id may also be 0 for none.
inline bool isNoIndex(std::int32_t index) noexcept {
  return index == kNone || index == kNotSupplied;
}
inline bool isNoId(std::int32_t id) noexcept { return id == 0 || isNoIndex(id); }

// The first row of each id of a table.
class RowsById {
 public:
  template <class Table, class Row>
  RowsById(const Table& table, std::int32_t Row::*id) {
    rows_.reserve(static_cast<std::size_t>(table.rowCount()));
    for (std::int32_t row = 0; row < table.rowCount(); ++row)
      rows_.emplace(table.row(row).*id, row);
  }
  // -1 when there is none.
  std::int32_t find(std::int32_t id) const {
    const auto found = rows_.find(id);
    return found == rows_.end() ? kNone : found->second;
  }

 private:
  std::unordered_map<std::int32_t, std::int32_t> rows_;
};

// Type Members divided into runs: as many rows as follow one another with one ParentTypeId.
class MemberRuns {
 public:
  explicit MemberRuns(const StdDictionaryInfo& dictionary);

  // The first row of the run that a row is in; -1 when there is no such row.
  std::int32_t beginOf(std::int32_t row) const noexcept {
    const auto place = static_cast<std::size_t>(row);
    return row >= 0 && place < begins_.size() ? begins_[place] : kNone;
  }
  // The row behind the run that a row is in.
  std::int32_t endOf(std::int32_t row) const noexcept;
  // The first rows of all runs, ascending, and of the runs of one parent.
  const std::vector<std::int32_t>& begins() const noexcept { return runs_; }
  const std::vector<std::int32_t>& ofParent(std::int32_t typeId) const;

 private:
  std::vector<std::int32_t> begins_;  // by row
  std::vector<std::int32_t> runs_;
  std::unordered_map<std::int32_t, std::vector<std::int32_t>> ofParent_;
};

class CheckContext {
 public:
  CheckContext(const StdDictionaryInfo& dictionary, const FaultHandler& handle);

  void fault(TableSlot table, std::int32_t row, std::string_view column, std::string found,
             std::string expected) {
    ++faults;
    handle_({table, row, column, std::move(found), std::move(expected)});
  }
  void fault(TableSlot table, std::int32_t row, std::string_view column, std::int32_t found,
             std::string expected) {
    fault(table, row, column, std::to_string(found), std::move(expected));
  }

  const StdDictionaryInfo& dictionary;
  const RowsById tagRows;
  const RowsById typeRows;
  const RowsById memberRows;
  const MemberRuns runs;
  std::int64_t faults = 0;

 private:
  const FaultHandler& handle_;
};

// The parts that follow types into their members: members that no tag leads to, and groups that
// contain themselves.
void checkReach(CheckContext& context);
void checkGroups(CheckContext& context);

}  // namespace cpi

#endif  // CPI_EXTRACT_CHECKCONTEXT_H
