#include "fuzz/support/exercise.h"

#include <algorithm>
#include <memory>
#include <sstream>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "cpi/extract/dictionarycheck.h"
#include "cpi/extract/dictionarytables.h"
#include "cpi/extract/extractreader.h"
#include "cpi/extract/extractwriter.h"
#include "fuzz/support/bytereader.h"

namespace cpi::fuzz {

namespace {

// A table of a fuzzed dictionary may have very many rows.
constexpr std::int32_t kRowsAsked = 12;

// What a fuzzed text may hold is units, a terminator, nothing more: reading it is the test.
std::size_t readText(const unsigned short* text) { return textLength(text); }

template <class Table>
bool isRange(const Table& table, std::int32_t first, std::int32_t count) {
  return table.contains(first) && count >= 0 && count <= table.rowCount() - first;
}

void askById(const StdDictionaryInfo& dictionary, std::int32_t id) {
  std::int32_t index = 0;
  std::int32_t count = 0;
  const SMD_TAG_DEFINITION* tag = nullptr;
  const SMD_TYPE_DEFINITION* type = nullptr;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* member = nullptr;
  const SMD_PATH_BASED_DEFINITION* path = nullptr;
  if (dictionary.getTagDefinition(id, tag, index) == kSuccess) readText(tag->TextIdentifier);
  if (dictionary.getTypeDefinition(id, type, index) == kSuccess) readText(type->Identifier);
  if (dictionary.getStructureDefinition(id, count, member, index) == kSuccess) {
    require(isRange(dictionary.typeMembers(), index, count), "members beyond the table");
  }
  if (dictionary.getStructDefFromMbrID(id, count, member, index) == kSuccess) {
    require(isRange(dictionary.typeMembers(), index, count), "members beyond the table");
  }
  dictionary.getStructDefIndexFromMbrID(id, index);
  dictionary.getTypeDefIndexFromTypeID(id, index);
  dictionary.getTypeIndexFromTagID(id, index);
  dictionary.getStructDefIndexFromTypeID(id, index);
  for (std::int32_t field = -1; field < 4; ++field) {
    if (dictionary.getPathBasedInfo(id, field, count, path, index) != kSuccess) continue;
    require(isRange(dictionary.pathBasedInfo(), index, count), "overrides beyond the table");
  }
  readText(dictionary.getTraceTextForID(id));
  readText(dictionary.getTraceTextForLogicalType(static_cast<LOGICAL_TYPE>(id)));
  dictionary.getTypeDefIndexFromLogicalType(static_cast<LOGICAL_TYPE>(id));
}

void listValues(const StdDictionaryInfo& dictionary, std::int32_t tag, std::int32_t path) {
  StdValueIterator at(nullptr, &dictionary, tag, path);
  PWFData value;
  std::int32_t role = 0;
  for (int i = 0; i < kRowsAsked; ++i) {
    try {
      if (at.getValue(value, role) == kSuccess) readText(value.getDebugString().getStringValue());
    } catch (const KelParserException&) {  // a value of unknown kind
    }
    at.moveToNextValue();
  }
}

void askByIndex(const StdDictionaryInfo& dictionary, std::int32_t index) {
  const unsigned short* text = nullptr;
  const WIREFORMAT_DEFINITION* format = nullptr;
  const SMD_STRUCTURE_ELEMENT_DEFINITION* member = nullptr;
  const SMD_TYPE_DEFINITION* type = nullptr;
  const SMD_VALUE_SET_DEFINITION* set = nullptr;
  const SMD_VALUE_DEFINITION* value = nullptr;
  const std::int32_t* list = nullptr;
  std::int32_t number = 0;
  bool flag = false;
  if (dictionary.getDependencyTableEntry(index, text) == kSuccess) readText(text);
  if (dictionary.getWireFormatEntry(index, format) == kSuccess) readText(format->FormatName);
  if (dictionary.getStructureDefinitionFromIndex(index, number, member) == kSuccess) {
    readText(member->PhysicalName);
  }
  dictionary.getTypeDefinitionFromIndex(index, type);
  dictionary.getValueSetDefinition(index, set);
  dictionary.getValueDefinitionFromIndex(index, value);
  dictionary.getTagPathList(index, list);
  for (std::int32_t path = -2; path < 3; ++path) {
    dictionary.getNullPermitted(index, path, flag);
    dictionary.getMaxLength(index, path, number);
    dictionary.getMinLength(index, path, number);
    listValues(dictionary, index, path);
    dictionary.getTagDefIndexUsingParentTypeDefIndex(index, path);
  }
  dictionary.getTypeValueLogicalType(index);
  dictionary.getTypeBaseLogicalType(index);
  dictionary.namespaceText(index);
}

void askByName(const StdDictionaryInfo& dictionary) {
  std::int32_t id = 0;
  for (const char16_t* const name : {u"a", u"b", u"", u"a^b"}) {
    for (const char16_t* const space : {u"", u"urn:x"}) {
      const KelStringBase uri(space);
      dictionary.getTagDefIndexFromName(name, uri, false);
      dictionary.getTagIdForTagText(name, uri, id, true);
      dictionary.getTypeIdForTypeText(name, uri, id, false);
    }
  }
}

void dump(const StdDictionaryInfo& dictionary) {
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> nowhere(std::fopen("/dev/null", "w"),
                                                                &std::fclose);
  try {
    dictionary.DumpContents(nowhere.get());
  } catch (const KelParserException&) {  // at a value of unknown kind
  }
}

}  // namespace

void askEverything(const StdDictionaryInfo& dictionary) {
  for (std::int32_t id = -3; id < kRowsAsked; ++id) askById(dictionary, id);
  for (std::int32_t index = -3; index < kRowsAsked; ++index) askByIndex(dictionary, index);
  askByName(dictionary);
  dump(dictionary);
  checkDictionary(dictionary, [](const DictionaryFault& fault) { lineOf(fault); });
}

void roundTrip(const StdDictionaryInfo& dictionary) {
  const DictionaryTables tables = tablesOf(dictionary);
  StdDictionaryInfo other(0);
  other.FromDictionary(dictionary);
  require(tablesOf(other) == tables, "the image is another dictionary");
  std::ostringstream written;
  writeExtract(dictionary, written);
  std::istringstream stream(written.str());
  StdDictionaryInfo read(0);
  readExtract(stream, "written", read);
  require(tablesOf(read) == tables, "the extract is another dictionary");
}

}  // namespace cpi::fuzz
