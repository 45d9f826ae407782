// StdDictionaryInfo: one loaded message dictionary and every question that it answers.
//
// Where to start: construct one, drive it as an FIHandler with the dictionary's parse events (a
// reader such as cpi/extract does that), then ask. To walk the message model beside a message,
// see StdDictionaryIterator in stddictionaryiterator.h.
//
//     cpi::StdDictionaryInfo dictionary(0);
//     cpi::readExtract("order.json", dictionary);
//     const std::int32_t row = dictionary.getTagDefIndexFromName(u"Order");
//
// Thread rule: `const` means safe to share. One thread loads, and the rule holds once the load has
// ended, or the dictionary has refused an event of it; when the load was broken off in another way,
// call postProcessDictionary first.
//
// Queries throw nothing for what they are asked: they return -1 or a result code (records.h), and
// write their out-parameters only on success unless told otherwise. Records and texts that they
// hand out point into the dictionary, stay valid until it is destroyed and must not be freed or
// written to.
#ifndef CPI_DICTINFO_STDDI_STDDICTIONARYINFO_H
#define CPI_DICTINFO_STDDI_STDDICTIONARYINFO_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>

#include "cpi/dictinfo/dictionaryinfo.h"
#include "cpi/dictinfo/stddi/idlookup.h"
#include "cpi/dictinfo/stddi/loadlimits.h"
#include "cpi/dictinfo/stddi/records.h"
#include "cpi/dictinfo/stddi/tablereference.h"
#include "cpi/runtime/export.h"
#include "cpi/runtime/kelexception.h"

namespace cpi {

class StdDictionaryHandler;
class LookupIndex;

// The code of a logical type, as the Types table holds it. Compared, never interpreted.
enum LOGICAL_TYPE : std::int32_t {};

// Range of format levels that this library reads.
inline constexpr std::int32_t STD_MINIMUM_FORMAT_DICTIONARY_LEVEL = 2;
inline constexpr std::int32_t STD_CURRENT_FORMAT_DICTIONARY_LEVEL = 8;

// The reference to the Values table.
class CPI_API StdDictValueDefs : public TableReference<SMD_VALUE_DEFINITION> {
 public:
  using TableReference::TableReference;
  // The typed value of a row; texts and decimals refer to the dictionary's text. Throws
  // KelParserException (CP_DICTIONARY_ERROR) when the row has no value of a known kind, or when
  // there is no such row.
  PWFData getData(std::int32_t row) const;
};

class CPI_API StdDictionaryInfo : public DictionaryInfo {
 public:
  // An empty dictionary. `extraTables` slots in front of its own are left to a derived class.
  // Throws std::bad_alloc, and std::length_error for a negative count.
  explicit StdDictionaryInfo(int extraTables);
  // A dictionary that reads the very same tables, and continues the same load when one runs.
  StdDictionaryInfo(const StdDictionaryInfo& other);
  StdDictionaryInfo& operator=(const StdDictionaryInfo&) = delete;
  ~StdDictionaryInfo() override;

  // --- Loading -----------------------------------------------------------------------------
  // Events between startMessage and endMessage fill the tables; without a load in progress they
  // are ignored. Refused are, with KelConfigurationException: a stream without Identification
  // section, levels out of range (CP_INCOMPATIBLE_DICTIONARY), class letters and flags out of
  // range, rows outside their table, counts and texts beyond the limits (CP_DICTIONARY_ERROR).
  // Not checked are the orders of rows and the indexes inside records: readers treat an index
  // that leads nowhere as none. What was loaded before an exception stays readable, as it is, and
  // the same thread may go on with the load or begin another.
  using DictionaryInfo::endElement;
  using DictionaryInfo::endMessageContent;
  using DictionaryInfo::startElement;
  using DictionaryInfo::startMessageContent;
  void startMessage(WorkerInfoPtr worker) override;
  void endMessage(WorkerInfoPtr worker) override;
  void startElement(std::int32_t id, unsigned short kind, WorkerInfoPtr worker, std::int32_t index,
                    std::int32_t extra) override;
  void endElement(std::int32_t id, WorkerInfoPtr worker) override;
  void data(const PWFData& value, WorkerInfoPtr worker) override;
  std::size_t items(std::int32_t id, unsigned short kind, std::int32_t index,
                    std::span<const std::int64_t> values) noexcept override;

  // The limits of the loads that begin from now on, all of them together. Copies made later take
  // them over.
  void setLoadLimits(const LoadLimits& limits) noexcept {
    loadLimits_ = limits;
    claimedBytes_ = 0;
  }
  const LoadLimits& loadLimits() const noexcept { return loadLimits_; }

  // Writes every table as a plain-text report, its texts in UTF-8. Ignores output errors; throws
  // KelParserException at a Values row of unknown kind, where the report then ends.
  void DumpContents(std::FILE* stream) const override;
  // Destroys and frees the object, which must be on the heap.
  virtual void release();
  // The same for a pointer that may be null, through which it does nothing.
  static void release(StdDictionaryInfo* dictionary) {
    if (dictionary != nullptr) dictionary->release();
  }

  // Whether a load is in progress.
  bool isLoading() const noexcept;
  // Ends a load in progress, and makes the tables ready for readers in any number of threads.
  void postProcessDictionary() override;

  // --- Ids to rows ---------------------------------------------------------------------------
  // The row, or -1. Rows are expected in ascending order of id.
  std::int32_t getTagDefIndex(std::int32_t tagId) const {
    return lookUp(ids_.tags, tagId, [&] { return findTagId(tagId); });
  }
  std::int32_t getTypeDefIndex(std::int32_t typeId) const {
    return lookUp(ids_.types, typeId, [&] { return findTypeId(typeId); });
  }
  // The Type Members row of a member id.
  std::int32_t getStructDefIndexFromMbrID(std::int32_t mbrId) const {
    return KelLog::isOn(LLDebug) || !ids_.members.isBuilt() ? findMemberId(mbrId)
                                                            : memberOf(ids_.members.find(mbrId));
  }
  // The tag's row through the first member of the type at `typeIndex` that carries it, which may
  // be negative; else as getTagDefIndex.
  std::int32_t getTagDefIndexUsingParentTypeDefIndex(std::int32_t typeIndex,
                                                     std::int32_t tagId) const;
  // 0, or 10025 when there is none. The first two write `index` in both cases; the others do when
  // the tag or type exists, even if it has no type or no members.
  std::int32_t getStructDefIndexFromMbrID(std::int32_t mbrId, std::int32_t& index) const;
  std::int32_t getTypeDefIndexFromTypeID(std::int32_t typeId, std::int32_t& index) const;
  std::int32_t getTypeIndexFromTagID(std::int32_t tagId, std::int32_t& typeIndex) const;
  std::int32_t getStructDefIndexFromTypeID(std::int32_t typeId, std::int32_t& memberIndex) const;

  // --- Names to rows -------------------------------------------------------------------------
  // Trailing spaces do not count. An empty namespace stands for none; with `anyNamespace` the
  // namespace is not looked at. The first row that matches wins; null matches nothing. Names of
  // more than 256 units: -1 or 10030. Not found: -1 or 10025.
  std::int32_t getTagDefIndexFromName(const unsigned short* name, const KelStringBase& namespaceURI,
                                      bool anyNamespace) const;
  std::int32_t getTagDefIndexFromName(const unsigned short* name) const;
  std::int32_t getTagIdForTagText(const unsigned short* text, const KelStringBase& namespaceURI,
                                  std::int32_t& tagId, bool anyNamespace) const;
  std::int32_t getTagIdForTagText(const unsigned short* text, std::int32_t& tagId) const;
  std::int32_t getTypeIdForTypeText(const unsigned short* text, const KelStringBase& namespaceURI,
                                    std::int32_t& typeId, bool anyNamespace) const;
  template <Char16 C>
  std::int32_t getTagDefIndexFromName(const C* name, const KelStringBase& namespaceURI,
                                      bool anyNamespace) const {
    return getTagDefIndexFromName(asUnits(name), namespaceURI, anyNamespace);
  }
  template <Char16 C>
  std::int32_t getTagDefIndexFromName(const C* name) const {
    return getTagDefIndexFromName(asUnits(name));
  }
  template <Char16 C>
  std::int32_t getTagIdForTagText(const C* text, const KelStringBase& namespaceURI,
                                  std::int32_t& tagId, bool anyNamespace) const {
    return getTagIdForTagText(asUnits(text), namespaceURI, tagId, anyNamespace);
  }
  template <Char16 C>
  std::int32_t getTagIdForTagText(const C* text, std::int32_t& tagId) const {
    return getTagIdForTagText(asUnits(text), tagId);
  }
  template <Char16 C>
  std::int32_t getTypeIdForTypeText(const C* text, const KelStringBase& namespaceURI,
                                    std::int32_t& typeId, bool anyNamespace) const {
    return getTypeIdForTypeText(asUnits(text), namespaceURI, typeId, anyNamespace);
  }

  // --- Records -------------------------------------------------------------------------------
  // By row: 0, 10016 for an index below 0, 10020 for one at or beyond the row count.
  std::int32_t getDependencyTableEntry(std::int32_t index, const unsigned short*& text) const;
  std::int32_t getWireFormatEntry(std::int32_t index, const WIREFORMAT_DEFINITION*& record) const;
  // `count`: rows from `index` on that share its parent type.
  std::int32_t getStructureDefinitionFromIndex(
      std::int32_t index, std::int32_t& count,
      const SMD_STRUCTURE_ELEMENT_DEFINITION*& record) const;
  std::int32_t getTypeDefinitionFromIndex(std::int32_t index,
                                          const SMD_TYPE_DEFINITION*& record) const;
  std::int32_t getValueSetDefinition(std::int32_t index,
                                     const SMD_VALUE_SET_DEFINITION*& record) const;
  std::int32_t getValueDefinitionFromIndex(std::int32_t index,
                                           const SMD_VALUE_DEFINITION*& record) const;
  // The only row of its table, always with 0; null when the table has no row.
  std::int32_t getDictionaryIdentification(const DICTIONARY_IDENTIFICATION*& record) const;
  const DICTIONARY_IDENTIFICATION* getDictionaryIdentification() const;
  std::int32_t getMsgSetDefinition(const MSGSET_DEFINITION*& record) const;
  // By id: 0, or 10025 with a null record and index -1.
  std::int32_t getTagDefinition(std::int32_t tagId, const SMD_TAG_DEFINITION*& record,
                                std::int32_t& index) const;
  std::int32_t getTypeDefinition(std::int32_t typeId, const SMD_TYPE_DEFINITION*& record,
                                 std::int32_t& index) const;
  // The members of a type: 0, or 10025 with index -1 (record and count are then not written).
  std::int32_t getStructureDefinition(std::int32_t typeId, std::int32_t& count,
                                      const SMD_STRUCTURE_ELEMENT_DEFINITION*& record,
                                      std::int32_t& index) const;
  // A member by its id: 0, 10010 for an id of 0 or less, or 10025. `index` is always written.
  std::int32_t getStructDefFromMbrID(std::int32_t mbrId, std::int32_t& count,
                                     const SMD_STRUCTURE_ELEMENT_DEFINITION*& record,
                                     std::int32_t& index) const;

  // --- Path-based properties -----------------------------------------------------------------
  // The override rows of a field in a message: their number and the first of them. 0, or 10025
  // with count 0.
  std::int32_t getPathBasedInfo(std::int32_t msgId, std::int32_t endFieldId, std::int32_t& count,
                                const SMD_PATH_BASED_DEFINITION*& first,
                                std::int32_t& firstIndex) const;
  // The member ids of a path, from Member Path row `index` on: 0, 10016 or 10020.
  std::int32_t getTagPathList(std::int32_t index, const std::int32_t*& list) const;
  // From the override row when its index is 0 or more, else from the tag: 0, 10016 or 10020.
  std::int32_t getNullPermitted(std::int32_t tagIndex, std::int32_t pathBasedInfoIndex,
                                bool& nullPermitted) const;
  std::int32_t getMaxLength(std::int32_t tagIndex, std::int32_t pathBasedInfoIndex,
                            std::int32_t& maxLength) const;
  std::int32_t getMinLength(std::int32_t tagIndex, std::int32_t pathBasedInfoIndex,
                            std::int32_t& minLength) const;

  // --- Logical types and trace texts ---------------------------------------------------------
  // The logical type of a type's values: its base type's when it has one, else its own. 0 when
  // `typeIndex` is no row or the base type is not in the table.
  LOGICAL_TYPE getTypeValueLogicalType(std::int32_t typeIndex) const;
  // The logical type of the base type; 0 when there is none.
  LOGICAL_TYPE getTypeBaseLogicalType(std::int32_t typeIndex) const;
  // The first Types row of a logical type; -1 when there is none or it is less than 1.
  std::int32_t getTypeDefIndexFromLogicalType(LOGICAL_TYPE logicalType) const;
  // The name of a tag, type or member, tried in this order; "UNDEFINED" when the id is unknown;
  // null when the definition has no name.
  const unsigned short* getTraceTextForID(std::int32_t id) const;
  // The name of the first type of a logical type, or "UNDEFINED".
  const unsigned short* getTraceTextForLogicalType(LOGICAL_TYPE logicalType) const;

  // --- Tables --------------------------------------------------------------------------------
  // The tables themselves, for readers that go through all rows.
  const TableReference<DICTIONARY_IDENTIFICATION>& identification() const noexcept {
    return identification_;
  }
  const TableReference<MSGSET_DEFINITION>& project() const noexcept { return project_; }
  const TableReference<DependencyRow>& dependencies() const noexcept { return dependencies_; }
  const TableReference<WIREFORMAT_DEFINITION>& wireFormats() const noexcept { return wireFormats_; }
  const TableReference<SMD_TAG_DEFINITION>& tags() const noexcept { return tags_; }
  const TableReference<SMD_STRUCTURE_ELEMENT_DEFINITION>& typeMembers() const noexcept {
    return typeMembers_;
  }
  const TableReference<SMD_TYPE_DEFINITION>& types() const noexcept { return types_; }
  const TableReference<SMD_PATH_BASED_DEFINITION>& pathBasedInfo() const noexcept {
    return pathBasedInfo_;
  }
  const TableReference<MemberPathRow>& memberPath() const noexcept { return memberPath_; }
  const TableReference<SMD_VALUE_SET_DEFINITION>& valueSet() const noexcept { return valueSet_; }
  const StdDictValueDefs& values() const noexcept { return values_; }
  const TableReference<MemberIdRow>& memberIdIndex() const noexcept { return memberIdIndex_; }
  const TableReference<NamespaceRow>& namespaces() const noexcept { return namespaces_; }

  // The URI of a Namespaces row, empty when there is no such row or it has no text.
  std::u16string_view namespaceText(std::int32_t namespaceIndex) const noexcept;
  // Whether a definition with this namespace index is in `namespaceURI`: no namespace (-1) is
  // what an empty URI asks for, and any other negative index is in none.
  bool isInNamespace(std::int32_t namespaceIndex, const KelStringBase& namespaceURI) const noexcept;

  // Bytes that the look-up indexes occupy beside the tables; 0 while there are none.
  std::size_t lookupIndexBytes() const noexcept;
  // What was derived from the tables as they are now, for the library itself; null while there is
  // none: during a load, and after one that failed.
  const LookupIndex* index() const noexcept { return index_.get(); }

 protected:
  void MapTableProperty(DictTableRefBase table, StringTableRef strings) override;
  const RecordRules* recordRules(int slot) const override;
  void tablesChanged() noexcept override;
  std::vector<unsigned char> derivedBytes() const override;
  void adoptDerived(std::span<const unsigned char> bytes) noexcept override;

 private:
  friend class StdDictionaryHandler;

  // Calls `visit` with each reference in slot order.
  template <class Visit>
  void forEachReference(Visit visit) {
    visit(identification_);
    visit(project_);
    visit(dependencies_);
    visit(wireFormats_);
    visit(tags_);
    visit(typeMembers_);
    visit(types_);
    visit(pathBasedInfo_);
    visit(memberPath_);
    visit(valueSet_);
    visit(values_);
    visit(memberIdIndex_);
    visit(namespaces_);
  }
  // The handler of the load in progress, made to fill this dictionary; null when no load runs.
  StdDictionaryHandler* loadHandler() noexcept;
  StdDictionaryHandler* takeLoadOver() noexcept;
  // Ends the load in progress, if there is one, and makes the tables ready.
  void endLoad() noexcept;
  // Refreshes every text field, so that readers find nothing to write, and builds the index unless
  // there is one.
  void freeze() noexcept;
  void useIndex(std::shared_ptr<const LookupIndex> index) noexcept;

  // The views of the id indexes; none is built while there is no index.
  struct IdLookups {
    IdLookup tags;
    IdLookup types;
    IdLookup members;
  };
  // One look at the filter, and the row from the index; `search` writes the items of the log, and
  // does without an index.
  template <class Search>
  static std::int32_t lookUp(const IdLookup& lookup, std::int32_t id, Search search) {
    if (KelLog::isOn(LLDebug)) return search();
    if (lookup.isInArray(id)) return lookup.rowAtId(id);
    if (lookup.isDense(id)) return lookup.denseRow(id);
    return lookup.isBuilt() ? lookup.sparseRow(id) : search();
  }
  std::int32_t findTagId(std::int32_t tagId) const;
  std::int32_t findTypeId(std::int32_t typeId) const;
  std::int32_t findMemberId(std::int32_t mbrId) const;
  // The Type Members row that a row of the member id index leads to; -1 for none.
  std::int32_t memberOf(std::int32_t row) const noexcept {
    return row < 0 ? kNone : memberIdIndex_.records()[row].MbrIDToTypeMbrIndexIndex;
  }
  std::int32_t findMemberOfTag(std::int32_t first, std::int32_t tagId) const;
  // Rows from `first` on whose parent type is `parentTypeId`.
  std::int32_t countMembers(std::int32_t first, std::int32_t parentTypeId) const;
  std::int32_t findTag(std::u16string_view name, const KelStringBase& namespaceURI,
                       bool anyNamespace) const;
  std::int32_t findType(const unsigned short* text, const KelStringBase& namespaceURI,
                        bool anyNamespace) const;

  // Hands an event to the handler of the load in progress. When it refuses the event, readers in
  // any number of threads may read what was loaded.
  template <class Event>
  void handle(Event event);
  void refreshTexts() noexcept;

  LoadLimits loadLimits_;
  std::int64_t claimedBytes_ = 0;  // of those limits; a stream may begin its load again
  // Shared with copies made during a load, which may go on with it.
  std::shared_ptr<StdDictionaryHandler> loadHandler_;
  // Shared with copies too; what was made of these tables as they are, and views into it.
  std::shared_ptr<const LookupIndex> index_;
  IdLookups ids_;
  TableReference<DICTIONARY_IDENTIFICATION> identification_;
  TableReference<MSGSET_DEFINITION> project_;
  TableReference<DependencyRow> dependencies_;
  TableReference<WIREFORMAT_DEFINITION> wireFormats_;
  TableReference<SMD_TAG_DEFINITION> tags_;
  TableReference<SMD_STRUCTURE_ELEMENT_DEFINITION> typeMembers_;
  TableReference<SMD_TYPE_DEFINITION> types_;
  TableReference<SMD_PATH_BASED_DEFINITION> pathBasedInfo_;
  TableReference<MemberPathRow> memberPath_;
  TableReference<SMD_VALUE_SET_DEFINITION> valueSet_;
  StdDictValueDefs values_;
  TableReference<MemberIdRow> memberIdIndex_;
  TableReference<NamespaceRow> namespaces_;
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_STDDICTIONARYINFO_H
