// The operations of the dictionary.
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "tools/stddict/shellbind.h"

namespace shell {

namespace {

using cpi::KelStringBase;
using Id = std::int32_t;
using Name = const unsigned short*;

// Calls `visit` with the table in a slot.
template <class Visit>
Json visitTable(const Dictionary& dictionary, std::size_t slot, Visit visit) {
  Json result;
  const auto tryOne = [&](auto number) {
    if (number() == slot) result = visit(number, tableAt<number()>(dictionary));
  };
  [&]<std::size_t... N>(std::index_sequence<N...>) {
    (tryOne(std::integral_constant<std::size_t, N>()), ...);
  }
  (std::make_index_sequence<cpi::kTableCount>());
  return result;
}

Json rowCount(Session& session, TableChoice choice) {
  return visitTable(session.dictionary, choice.slot,
                    [](auto, const auto& table) -> Json { return table.rowCount(); });
}

Json find(Session& session, TableChoice choice, Id row) {
  return visitTable(session.dictionary, choice.slot, [&](auto slot, const auto&) -> Json {
    return rowJson<slot()>(session.dictionary, row);
  });
}

Json text(Session& session, TableChoice choice, Id row) {
  return visitTable(session.dictionary, choice.slot,
                    [&](auto, const auto& table) -> Json { return textJson(table.text(row)); });
}

Json tables(Session& session) {
  Json counts = Json::object();
  for (std::size_t slot = 0; slot < cpi::kTableCount; ++slot) {
    counts[std::string(kTableNames[slot])] = rowCount(session, {slot});
  }
  return counts;
}

KelStringBase msgSetID(Session& session) { return session.dictionary.msgSetID; }
KelStringBase formatID(Session& session) { return session.dictionary.formatID; }

// What `write` writes into a stream. Throws std::bad_alloc.
template <class Write>
ReportText reportOf(Write write) {
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* const stream = ::open_memstream(&text, &size);
  if (stream == nullptr) throw std::bad_alloc();
  const auto finish = [&](std::FILE* open) { std::fclose(open); };
  std::unique_ptr<std::FILE, decltype(finish)> guard(stream, finish);
  try {
    write(stream);
  } catch (...) {
    guard.reset();
    std::free(text);
    throw;
  }
  guard.reset();
  const std::unique_ptr<char, decltype(&std::free)> owned(text, &std::free);
  return {std::string(text, size)};
}

ReportText dumpContents(Session& session) {
  return reportOf([&](std::FILE* stream) { session.dictionary.DumpContents(stream); });
}
ReportText dumpContentsName(Session& session) {
  return reportOf([&](std::FILE* stream) { session.dictionary.DumpContentsName(stream); });
}
ReportText dumpTableProperties(Session& session, TableChoice choice) {
  return reportOf([&](std::FILE* stream) {
    visitTable(session.dictionary, choice.slot, [&](auto, const auto& table) -> Json {
      session.dictionary.DumpTableProperties(stream, {&table.table()});
      return nullptr;
    });
  });
}

#define SHELL_PICK(method, ...) bind<pick<Dictionary, __VA_ARGS__>(&Dictionary::method)>

constexpr Operation kOperations[] = {
    {"getTagDefIndex", "tagId", "row of a tag, or -1", bind<&Dictionary::getTagDefIndex>},
    {"getTypeDefIndex", "typeId", "row of a type, or -1", bind<&Dictionary::getTypeDefIndex>},
    {"getStructDefIndexFromMbrID", "mbrId", "row of a member, or -1",
     SHELL_PICK(getStructDefIndexFromMbrID, Id(Id) const)},
    {"getStructDefIndexFromMbrID_code", "mbrId index", "the same, as a result code",
     SHELL_PICK(getStructDefIndexFromMbrID, Id(Id, Id&) const)},
    {"getTypeDefIndexFromTypeID", "typeId index", "row of a type, as a result code",
     bind<&Dictionary::getTypeDefIndexFromTypeID>},
    {"getTypeIndexFromTagID", "tagId typeIndex", "row of a tag's type",
     bind<&Dictionary::getTypeIndexFromTagID>},
    {"getStructDefIndexFromTypeID", "typeId memberIndex", "row of a type's first member",
     bind<&Dictionary::getStructDefIndexFromTypeID>},
    {"getTagDefIndexUsingParentTypeDefIndex", "typeIndex tagId",
     "row of a tag, found through a type's members first",
     bind<&Dictionary::getTagDefIndexUsingParentTypeDefIndex>},
    {"getTagDefIndexFromName", "name namespaceURI anyNamespace", "row of a tag by its name, or -1",
     SHELL_PICK(getTagDefIndexFromName, Id(Name, const KelStringBase&, bool) const)},
    {"getTagDefIndexFromName", "name", "the same in any namespace",
     SHELL_PICK(getTagDefIndexFromName, Id(Name) const)},
    {"getTagIdForTagText", "text namespaceURI tagId anyNamespace", "id of a tag by its name",
     SHELL_PICK(getTagIdForTagText, Id(Name, const KelStringBase&, Id&, bool) const)},
    {"getTagIdForTagText", "text tagId", "the same in any namespace",
     SHELL_PICK(getTagIdForTagText, Id(Name, Id&) const)},
    {"getTypeIdForTypeText", "text namespaceURI typeId anyNamespace", "id of a type by its name",
     SHELL_PICK(getTypeIdForTypeText, Id(Name, const KelStringBase&, Id&, bool) const)},
    {"getDependencyTableEntry", "index text", "a dependency by row",
     bind<&Dictionary::getDependencyTableEntry>},
    {"getWireFormatEntry", "index record", "a wire format by row",
     bind<&Dictionary::getWireFormatEntry>},
    {"getStructureDefinitionFromIndex", "index count record",
     "a member by row, and how many follow in its type",
     bind<&Dictionary::getStructureDefinitionFromIndex>},
    {"getTypeDefinitionFromIndex", "index record", "a type by row",
     bind<&Dictionary::getTypeDefinitionFromIndex>},
    {"getValueSetDefinition", "index record", "a value set's row",
     bind<&Dictionary::getValueSetDefinition>},
    {"getValueDefinitionFromIndex", "index record", "a value by row",
     bind<&Dictionary::getValueDefinitionFromIndex>},
    {"getData", "row", "a value by row, converted", bind<&cpi::StdDictValueDefs::getData>},
    {"getDictionaryIdentification", "record", "the identification, with a result code",
     SHELL_PICK(getDictionaryIdentification, Id(const cpi::DICTIONARY_IDENTIFICATION*&) const)},
    {"getDictionaryIdentification_record", "", "the identification alone",
     SHELL_PICK(getDictionaryIdentification, const cpi::DICTIONARY_IDENTIFICATION*() const)},
    {"getMsgSetDefinition", "record", "the project's row", bind<&Dictionary::getMsgSetDefinition>},
    {"getTagDefinition", "tagId record index", "a tag by its id",
     bind<&Dictionary::getTagDefinition>},
    {"getTypeDefinition", "typeId record index", "a type by its id",
     bind<&Dictionary::getTypeDefinition>},
    {"getStructureDefinition", "typeId count record index", "a type's members: first and number",
     bind<&Dictionary::getStructureDefinition>},
    {"getStructDefFromMbrID", "mbrId count record index", "a member by its id",
     bind<&Dictionary::getStructDefFromMbrID>},
    {"getPathBasedInfo", "msgId endFieldId count first firstIndex",
     "the override rows of a field in a message", bind<&Dictionary::getPathBasedInfo>},
    {"getTagPathList", "index list", "member ids from a Member Path row on",
     bind<&Dictionary::getTagPathList>},
    {"getNullPermitted", "tagIndex pathBasedInfoIndex nullPermitted", "whether null is allowed",
     bind<&Dictionary::getNullPermitted>},
    {"getMaxLength", "tagIndex pathBasedInfoIndex maxLength", "greatest length",
     bind<&Dictionary::getMaxLength>},
    {"getMinLength", "tagIndex pathBasedInfoIndex minLength", "least length",
     bind<&Dictionary::getMinLength>},
    {"getTypeValueLogicalType", "typeIndex", "logical type of a type's values",
     bind<&Dictionary::getTypeValueLogicalType>},
    {"getTypeBaseLogicalType", "typeIndex", "logical type of a type's base type",
     bind<&Dictionary::getTypeBaseLogicalType>},
    {"getTypeDefIndexFromLogicalType", "logicalType", "row of the first type of a logical type",
     bind<&Dictionary::getTypeDefIndexFromLogicalType>},
    {"getTraceTextForID", "id", "name of a tag, type or member",
     bind<&Dictionary::getTraceTextForID>},
    {"getTraceTextForLogicalType", "logicalType", "name of the first type of a logical type",
     bind<&Dictionary::getTraceTextForLogicalType>},
    {"namespaceText", "namespaceIndex", "URI of a Namespaces row",
     bind<&Dictionary::namespaceText>},
    {"isInNamespace", "namespaceIndex namespaceURI", "whether an index stands for a namespace",
     bind<&Dictionary::isInNamespace>},
    {"isLoading", "", "whether a load is in progress", bind<&Dictionary::isLoading>},
    {"msgSetID", "", "message set id", bind<&msgSetID>},
    {"formatID", "", "identifier of the first wire format", bind<&formatID>},
    {"tables", "", "the tables and how many rows they have", bind<&tables>},
    {"rowCount", "table", "how many rows a table has", bind<&rowCount>},
    {"find", "table row", "a row of a table, or null", bind<&find>},
    {"text", "table row", "a row's text from the string table", bind<&text>},
    {"DumpContents", "", "all tables as a report", bind<&dumpContents>},
    {"DumpContentsName", "", "the dictionary's two ids as a report", bind<&dumpContentsName>},
    {"DumpTableProperties", "table", "a table's named properties as a report",
     bind<&dumpTableProperties>},
};

#undef SHELL_PICK

}  // namespace

std::span<const Operation> dictionaryOperations() { return kOperations; }

}  // namespace shell
