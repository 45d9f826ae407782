// stddict info: what a dictionary is and how big.
#include <filesystem>
#include <vector>

#include "cpi/dictinfo/stddi/schema.h"
#include "tools/stddict/definitions.h"
#include "tools/stddict/fileform.h"
#include "tools/stddict/verbs.h"
#include "tools/stddict/words.h"

namespace {

constexpr const char* kFooter = R"(Examples:
  stddict info order.json
  stddict info order.image --json

Bytes of a table are those it takes in memory: records, texts and other properties. Index bytes are
those of what is derived from all tables to answer faster. Messages are the tags of class M; when
there are none, the global tags (without '^' in the name) that no type has as a member. Which of the
two it was is told.)";

struct Options {
  std::string dictionary;
  bool isJson = false;
  bool isAll = false;
  std::uint64_t maxAnswer = AnswerLimit::kDefault;
};

// --- Tables --------------------------------------------------------------------------------------

bool isTextColumn(const cpi::StringTable& property) {
  return property.memberName == cpi::KelStringBase(cpi::CPI_StringMember) &&
         property.tableMemberName == cpi::KelStringBase(cpi::CPI_VLS_TABMBR);
}

Json tableFacts(cpi::TableSlot slot, const cpi::DictTable& table) {
  std::uint64_t texts = 0;
  std::uint64_t others = 0;
  for (const auto& property : table.properties.tables()) {
    (isTextColumn(*property) ? texts : others) += property->bufferUsed;
  }
  return {{"table", cpi::tableName(slot)}, {"rows", table.rowCount},
          {"recordBytes", table.size},     {"textBytes", texts},
          {"propertyBytes", others},       {"bytes", table.size + texts + others}};
}

Json tablesFacts(const cpi::StdDictionaryInfo& dictionary) {
  Json list = Json::array();
  for (int slot = 0; slot < cpi::kTableCount; ++slot) {
    const auto place = static_cast<std::size_t>(slot);
    list.push_back(tableFacts(static_cast<cpi::TableSlot>(slot), dictionary.tables()[place]));
  }
  return list;
}

std::uint64_t totalBytes(const Json& tables) {
  std::uint64_t bytes = 0;
  for (const Json& table : tables) bytes += table["bytes"].get<std::uint64_t>();
  return bytes;
}

// --- Messages ------------------------------------------------------------------------------------

using Rows = std::vector<std::int32_t>;

Rows messageTags(const cpi::StdDictionaryInfo& dictionary) {
  Rows rows;
  for (std::int32_t row = 0; row < dictionary.tags().rowCount(); ++row) {
    if (dictionary.tags().row(row).Class == cpi::TCMessage) rows.push_back(row);
  }
  return rows;
}

Rows rootTags(const cpi::StdDictionaryInfo& dictionary) {
  const Usage usage(dictionary);
  Rows rows;
  for (std::int32_t row = 0; row < dictionary.tags().rowCount(); ++row) {
    const bool isGlobal = !isMarked(dictionary.tags().row(row).TextIdentifier);
    if (isGlobal && usage.membersWithTag(row).empty()) rows.push_back(row);
  }
  return rows;
}

void addMessages(const cpi::StdDictionaryInfo& dictionary, Json& facts, AnswerLimit& answer) {
  Rows rows = messageTags(dictionary);
  facts["messageRule"] = "tags of class M";
  if (rows.empty()) {
    rows = rootTags(dictionary);
    facts["messageRule"] = "no tag has class M: global tags that are members of no type";
  }
  Json list = Json::array();
  for (const std::int32_t row : rows) {
    const auto& tag = dictionary.tags().row(row);
    answer.add(list, {{"name", shown(tag.TextIdentifier)},
                      {"id", tag.Id},
                      {"namespace", namespaceFact(dictionary, tag.namespaceIndex)},
                      {"type", typeReference(dictionary, tag.ToTypeIndexField)}});
  }
  facts["messages"] = std::move(list);
}

// --- The whole -----------------------------------------------------------------------------------

Json textsOf(const auto& table, AnswerLimit& answer, auto textOf) {
  Json list = Json::array();
  for (std::int32_t row = 0; row < table.rowCount(); ++row)
    answer.add(list, shown(textOf(table.row(row))));
  return list;
}

// Null for one that the dictionary does not give.
Json levelFact(std::int32_t level) { return level == cpi::kNone ? Json() : Json(level); }

void addIdentification(const cpi::StdDictionaryInfo& dictionary, Json& facts, AnswerLimit& answer) {
  if (const auto* const row = dictionary.identification().find(0); row != nullptr) {
    facts["name"] = shown(row->Name);
    facts["identity"] = shown(row->IdentityStr);
    facts["frozen"] = shown(row->FreezeTimestamp);
    facts["messageSetLevel"] = levelFact(row->MsgSetLevel);
    facts["modelLevelMajor"] = levelFact(row->ModelLevelMajor);
    facts["modelLevelMinor"] = levelFact(row->ModelLevelMinor);
    facts["descriptorType"] = row->DescriptorType;
    facts["formatLevel"] = row->FormatLevel;
    facts["compatibilityLevel"] = levelFact(row->CompatibilityLevel);
  }
  facts["messageSetId"] = shown(dictionary.msgSetID.view());
  facts["formatId"] = shown(dictionary.formatID.view());
  if (const auto* const row = dictionary.project().find(0); row != nullptr) {
    facts["defaultWireFormat"] = shown(row->DefaultWireFormat);
    facts["messageTypePrefix"] = shown(row->MessageTypePrefix);
    facts["useNamespaces"] = row->UseNamespaces;
  }
  facts["wireFormats"] =
      textsOf(dictionary.wireFormats(), answer, [](const auto& row) { return row.FormatName; });
  facts["dependencies"] =
      textsOf(dictionary.dependencies(), answer, [](const auto& row) { return row.Dependency; });
}

// Null where the path is no ordinary file.
Json fileSize(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  return error ? Json() : Json(size);
}

Json infoFacts(const cpi::StdDictionaryInfo& dictionary, const std::string& path,
               AnswerLimit& answer) {
  Json facts;
  addIdentification(dictionary, facts, answer);
  facts["fileForm"] = fileFormOf(path);
  facts["fileBytes"] = fileSize(path);
  Json tables = tablesFacts(dictionary);
  facts["totalBytes"] = totalBytes(tables);
  facts["indexBytes"] = dictionary.lookupIndexBytes();
  facts["tables"] = std::move(tables);
  Json namespaces = Json::array();
  for (const Json& uri :
       textsOf(dictionary.namespaces(), answer, [](const auto& row) { return row.Space; })) {
    namespaces.push_back({{"row", namespaces.size()}, {"uri", uri}});
  }
  facts["namespaces"] = std::move(namespaces);
  addMessages(dictionary, facts, answer);
  return facts;
}

void run(const Options& options) {
  const auto dictionary = openDictionary(options.dictionary);
  AnswerLimit answer(options.maxAnswer);
  const Json facts = infoFacts(*dictionary, options.dictionary, answer);
  if (options.isJson) {
    printJson(facts);
  } else {
    printFacts(facts, {Style(), 0, options.isAll ? 0 : Layout().limit});
  }
  finishOutput();
}

}  // namespace

void addInfo(CLI::App& app, int& exitCode) {
  CLI::App& verb = *app.add_subcommand("info", "Tell what a dictionary is and how big");
  verb.footer(kFooter);
  const auto options = std::make_shared<Options>();
  addDictionary(verb, options->dictionary);
  verb.add_flag("--all", options->isAll, "All entries of long lists");
  verb.add_flag("--json", options->isJson, "One JSON object, with all entries");
  addAnswerLimit(verb, options->maxAnswer);
  verb.callback([options, &exitCode] {
    run(*options);
    exitCode = kExitGood;
  });
}
