// DictionaryInfo: the base of every dictionary. Owns the tables and announces their properties.
//
// A copy shares the tables of its source: they live until the last of the sharers is gone. Thread
// rule: one thread loads; afterwards any number of threads may read one dictionary.
#ifndef CPI_DICTINFO_DICTIONARYINFO_H
#define CPI_DICTINFO_DICTIONARYINFO_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

#include "cpi/dictinfo/dicttable.h"
#include "cpi/runtime/export.h"
#include "cpi/runtime/fihandler.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

// The two names of every table's text property.
CPI_API extern const unsigned short* const CPI_VLS_TABMBR;
CPI_API extern const unsigned short* const CPI_StringMember;

class CPI_API DictionaryInfo : public FIHandler {
 public:
  // Throws std::bad_alloc, and std::length_error for a negative count.
  explicit DictionaryInfo(int tableSlots);
  // Shares the tables of `other`, and copies its two id texts. Safe beside other copies.
  DictionaryInfo(const DictionaryInfo& other);
  DictionaryInfo& operator=(const DictionaryInfo&) = delete;
  ~DictionaryInfo() override;

  // Writes the message set id and the format id.
  virtual void DumpContentsName(std::FILE* stream) const;
  // Writes the contents; the base writes the ids alone.
  virtual void DumpContents(std::FILE* stream) const;
  // Lists a table's named properties other than its text column: a line with the two names and
  // the type of each, then one line a row that has a value. Nothing when there are none.
  virtual void DumpTableProperties(std::FILE* stream, const DictTableRefBase& table) const;

  std::span<DictTable> tables() noexcept;
  std::span<const DictTable> tables() const noexcept;

  KelStringBase msgSetID;  // message set id: the name that the dictionary's file gives it
  KelStringBase formatID;  // identifier of the first wire format; empty when there is none

 protected:
  friend class DictTable;
  // Called for every new property of a table of this dictionary. The base does nothing.
  virtual void MapTableProperty(DictTableRefBase table, StringTableRef strings);
  // Announces a new property to this dictionary and to those that share its tables.
  void announceProperty(DictTableRefBase table, StringTableRef strings);
  // Makes this dictionary the one that its tables announce new properties to.
  void adoptTables() noexcept;

 private:
  struct Storage;
  std::shared_ptr<Storage> storage_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_DICTIONARYINFO_H
