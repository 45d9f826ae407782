// DictionaryInfo: the base of every dictionary. Owns the tables and announces their properties.
//
// A copy shares the tables of its source: they live until the last of the sharers is gone. Thread
// rule: `const` means safe to share. One thread loads.
#ifndef CPI_DICTINFO_DICTIONARYINFO_H
#define CPI_DICTINFO_DICTIONARYINFO_H

#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <vector>

#include "cpi/dictinfo/dicttable.h"
#include "cpi/runtime/export.h"
#include "cpi/runtime/fihandler.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

// The two names of every table's text property.
CPI_API extern const unsigned short* const CPI_VLS_TABMBR;
CPI_API extern const unsigned short* const CPI_StringMember;

struct RecordRules;

// Something that a dictionary's parse events come from: a file, a compiler, a test.
class CPI_API ExtractSource {
 public:
  // Sends the events of one dictionary to `handler`, from startMessage to endMessage.
  virtual void drive(FIHandler& handler) = 0;
  virtual ~ExtractSource();
};

class CPI_API DictionaryInfo : public FIHandler {
 public:
  // Throws std::bad_alloc, and std::length_error for a negative count.
  explicit DictionaryInfo(int tableSlots);
  // Shares the tables of `other`, and copies its two id texts. Safe beside other copies.
  DictionaryInfo(const DictionaryInfo& other);
  DictionaryInfo& operator=(const DictionaryInfo&) = delete;
  ~DictionaryInfo() override;

  std::span<DictTable> tables() noexcept;
  std::span<const DictTable> tables() const noexcept;

 protected:
  friend class DictTable;
  // Called for every new property of a table of this dictionary, and with null strings when the
  // properties that a table had are about to be announced again or gone. Must not throw. The base
  // does nothing.
  virtual void MapTableProperty(DictTableRefBase table, StringTableRef strings);

 public:
  // Sizes the table in `slot`, as DictTable::Create does. Throws what that throws,
  // std::out_of_range when there is no such slot, and std::invalid_argument when the records of
  // the slot have another size.
  virtual void CreateTable(int slot, std::uint32_t recordSize, std::uint32_t rowCount);
  // Announces the properties of the table in `slot` again, to this dictionary and to those that
  // share its tables. Throws std::out_of_range when there is no such slot.
  virtual void RepairTable(int slot);
  // Loads the dictionary from the events of `source`. Throws what the source and the load throw.
  virtual void FromExtractFormat(ExtractSource& source);
  // Makes this dictionary a copy of a finished one, with tables of its own. Throws what ToQLBuffer
  // of `other` and FromQLBuffer throw; this dictionary is then as before.
  virtual void FromDictionary(const DictionaryInfo& other);
  // Replaces all tables and the two id texts by those in the image; docs/image-format.md describes
  // it. Everything in it is verified first. Dictionaries that share the tables see the new ones;
  // records and texts handed out before are gone. Throws ImageError (dictionaryimage.h) for what
  // is no image of a dictionary of this kind, and std::bad_alloc; all is then as before.
  virtual void FromQLBuffer(std::span<const unsigned char> image);
  // The same for an image that stays where it is, such as a file mapped read-only: texts and
  // indexes are used in place, the records, which point at texts, are copied. `keeper` is held as
  // long as the bytes are used; they must not change until then.
  virtual void FromQLBuffer(std::span<const unsigned char> image,
                            std::shared_ptr<const void> keeper);
  // Replaces the contents of `image` by the image of the finished tables. The same events make the
  // same bytes. Throws std::invalid_argument for tables that FromQLBuffer would refuse, and
  // std::bad_alloc; `image` is then as before.
  virtual void ToQLBuffer(std::vector<unsigned char>& image) const;
  // Writes the message set id and the format id.
  virtual void DumpContentsName(std::FILE* stream) const;
  // Writes the contents; the base writes the ids alone.
  virtual void DumpContents(std::FILE* stream) const;
  // Lists a table's named properties other than its text column: a line with the two names and
  // the type of each, then one line a row that has a value. Nothing when there are none.
  virtual void DumpTableProperties(std::FILE* stream, const DictTableRefBase& table) const;
  // Called when a From... operation has completed the tables. Must not throw. The base does
  // nothing.
  virtual void postProcessDictionary();

  KelStringBase msgSetID;  // message set id: the name that the dictionary's file gives it
  KelStringBase formatID;  // identifier of the first wire format; empty when there is none

 protected:
  // Called in all dictionaries that share the tables whenever the tables may change: what was
  // derived from them holds no more. The base does nothing.
  virtual void tablesChanged() noexcept;
  // What images need to know of the records in a slot: null, as the base has it, when they have
  // neither pointers nor padding and may hold anything. The rules outlive the dictionary.
  virtual const RecordRules* recordRules(int slot) const;
  // What was derived from the tables, for their image to carry: a whole number of 8-byte words, the
  // same for the same tables. The base derives nothing. Throws std::bad_alloc.
  virtual std::vector<unsigned char> derivedBytes() const;
  // Called, before postProcessDictionary, with the bytes that an image carries, aligned to words.
  // They stay as they are as long as the tables, until the next call of tablesChanged. Nothing is
  // known of them: whoever uses them has to verify them against the tables. The base does nothing.
  virtual void adoptDerived(std::span<const unsigned char> bytes) noexcept;
  // Announces a new property to this dictionary and to those that share its tables.
  void announceProperty(DictTableRefBase table, StringTableRef strings);
  // Makes this dictionary the one that its tables announce new properties to, and lets those that
  // share them know that they change.
  void adoptTables() noexcept;

 private:
  struct Storage;
  std::vector<DictionaryInfo*> sharers() const;
  // Calls tablesChanged in all dictionaries that share the tables.
  void announceChange() noexcept;
  void replaceTables(struct ImageContents contents);
  static void announceTable(std::span<DictionaryInfo* const> readers, DictTable& table);
  DictTable& slotTable(int slot);
  std::vector<const RecordRules*> allRecordRules() const;

  std::shared_ptr<Storage> storage_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_DICTIONARYINFO_H
