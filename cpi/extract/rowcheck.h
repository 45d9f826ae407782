// RowCheck: what the check of one row is made of, whatever its table.
#ifndef CPI_EXTRACT_ROWCHECK_H
#define CPI_EXTRACT_ROWCHECK_H

#include <string>
#include <string_view>
#include <utility>

#include "cpi/extract/checkcontext.h"

namespace cpi {

inline std::string name(TableSlot slot) { return std::string(tableName(slot)); }
inline std::string number(std::int32_t value) { return std::to_string(value); }

// An id column and the table that it identifies the rows of.
struct IdColumn {
  TableSlot table;
  std::string_view column;
};
inline constexpr IdColumn kTagIds = {TableSlot::Tags, "Id"};
inline constexpr IdColumn kTypeIds = {TableSlot::Types, "TypeId"};

inline std::string ownerOf(const IdColumn& ids) {
  return "the " + std::string(ids.column) + " of a row of " + name(ids.table);
}

class RowCheck {
 protected:
  explicit RowCheck(CheckContext& context) : context_(context) {}

  // `first`: the first row of the id.
  template <class Table, class Row>
  void checkOrder(const Table& table, std::int32_t Row::*id, std::string_view column,
                  std::int32_t first) {
    const std::int32_t value = table.row(row_).*id;
    if (checkUnique(column, value, first) || row_ == 0) return;
    const std::int32_t previous = table.row(row_ - 1).*id;
    if (value < previous) {
      fault(column, value,
            "more than " + number(previous) + ", which row " + number(row_ - 1) + " has");
    }
  }

  // Whether there was a fault.
  bool checkUnique(std::string_view column, std::int32_t id, std::int32_t first) {
    if (id <= 0) {
      fault(column, id, "an id above 0");
    } else if (first != row_) {
      fault(column, id, "another id than row " + number(first));
    } else {
      return false;
    }
    return true;
  }

  void checkId(std::string_view column, std::int32_t id, const IdColumn& ids,
               const RowsById& rows) {
    if (rows.find(id) < 0) fault(column, id, ownerOf(ids));
  }

  template <class Table>
  static std::string rowsOf(TableSlot target, const Table& table) {
    if (table.rowCount() == 0) return "-1, for " + name(target) + " has no rows";
    return "a row of " + name(target) + " (0 to " + number(table.rowCount() - 1) + ") or -1";
  }

  // Whether the index is a row.
  template <class Table>
  bool checkIndex(std::string_view column, std::int32_t index, TableSlot target,
                  const Table& table) {
    if (table.contains(index)) return true;
    if (!isNoIndex(index)) fault(column, index, rowsOf(target, table));
    return false;
  }

  // A row with an id that an index is given beside: readers follow the one or the other, so both
  // have to lead to one row.
  template <class Table, class Row>
  void checkPair(std::string_view idColumn, std::int32_t id, std::string_view indexColumn,
                 std::int32_t index, const IdColumn& target, const Table& table,
                 std::int32_t Row::*targetId, const RowsById& rows) {
    const std::int32_t row = isNoId(id) ? kNone : rows.find(id);
    if (!isNoId(id) && row < 0) return fault(idColumn, id, ownerOf(target));
    if (!checkIndex(indexColumn, index, target.table, table)) {
      if (row >= 0 && isNoIndex(index)) fault(indexColumn, index, theRow(row, target, id));
      return;
    }
    const std::int32_t there = table.row(index).*targetId;
    if (there == id) return;
    if (row >= 0) return fault(indexColumn, index, theRow(row, target, id));
    fault(idColumn, id, number(there) + ", which " + std::string(indexColumn) + " leads to");
  }

  static std::string theRow(std::int32_t row, const IdColumn& target, std::int32_t id) {
    return number(row) + ", the row of " + name(target.table) + " with " +
           std::string(target.column) + " " + number(id);
  }

  void checkCode(std::string_view column, std::int32_t code, std::int32_t first,
                 std::int32_t last) {
    if (isNoIndex(code) || (code >= first && code <= last)) return;
    fault(column, code, number(first) + " to " + number(last));
  }

  template <class Value>
  void fault(std::string_view column, const Value& found, std::string expected) {
    context_.fault(table_, row_, column, found, std::move(expected));
  }

  CheckContext& context_;
  TableSlot table_ = TableSlot::Tags;  // the row that is being checked
  std::int32_t row_ = 0;
};

}  // namespace cpi

#endif  // CPI_EXTRACT_ROWCHECK_H
