#include "feed.h"

#include <bit>
#include <cstdlib>
#include <span>

namespace cpi::replay {
namespace {

enum class Kind { Text, Number, Flag };

// A column and, where rows may not be created without an item, the default of its field.
struct ColumnSpec {
  std::int32_t id;
  const char* field;
  Kind kind = Kind::Number;
  std::optional<std::int32_t> fallback = std::nullopt;
};

// Tags and Type Members begin with the key column that sizes their tables.
constexpr ColumnSpec kIdentificationColumns[] = {{100001, "IdentityStr", Kind::Text},
                                                 {100002, "Name", Kind::Text},
                                                 {100003, "MsgSetLevel", Kind::Number, -1},
                                                 {100004, "ModelLevelMajor"},
                                                 {100005, "ModelLevelMinor"},
                                                 {100006, "FreezeTimestamp", Kind::Text},
                                                 {100007, "DescriptorType"},
                                                 {100008, "FormatLevel"},
                                                 {100009, "CompatibilityLevel"}};
constexpr ColumnSpec kDependencyColumns[] = {{100010, "Dependency", Kind::Text}};
constexpr ColumnSpec kWireFormatColumns[] = {{100020, "FormatName", Kind::Text},
                                             {100021, "FormatId", Kind::Text}};
constexpr ColumnSpec kProjectColumns[] = {{105, "DefaultWireFormat", Kind::Text},
                                          {106, "MessageTypePrefix", Kind::Text},
                                          {107, "UseNamespaces", Kind::Number, 0}};
constexpr ColumnSpec kTagColumns[] = {{201, "Id", Kind::Number, -99},
                                      {202, "TextIdentifier", Kind::Text},
                                      {203, "Type", Kind::Number, -99},
                                      {204, "Class", Kind::Text},
                                      {205, "MinLength", Kind::Number, -1},
                                      {206, "MaxLength", Kind::Number, -1},
                                      {207, "NullPermitted", Kind::Flag, 1},
                                      {208, "ValueSetTableIndex", Kind::Number, -1},
                                      {209, "DVTableIndex", Kind::Number, -1},
                                      {210, "PathBaseInfoTableIndex", Kind::Number, -1},
                                      {211, "ToTypeIndexField", Kind::Number, -99},
                                      {212, "namespaceIndex", Kind::Number, -1}};
constexpr ColumnSpec kMemberColumns[] = {
    {401, "ParentTypeId", Kind::Number, -99}, {402, "ChildTagId", Kind::Number, 0},
    {403, "ChildTypeId", Kind::Number, -99},  {404, "ChildClass", Kind::Text},
    {405, "PhysicalName", Kind::Text},        {406, "SeqNbr", Kind::Number, -99},
    {407, "MinOccurs", Kind::Number, -1},     {409, "RepIndicator", Kind::Number, 0},
    {410, "Id", Kind::Number, -99},           {411, "MaxOccurs", Kind::Number, -1},
    {412, "toTagIndex", Kind::Number, -99},   {413, "toTypeIndex", Kind::Number, -99}};
constexpr ColumnSpec kMemberIdColumns[] = {{2001, "MbrIDToTypeMbrIndexId"},
                                           {2002, "MbrIDToTypeMbrIndexIndex"}};
constexpr ColumnSpec kTypeColumns[] = {{2101, "TypeId"},         {2102, "Identifier", Kind::Text},
                                       {2103, "Composition"},    {2104, "Content"},
                                       {2105, "BaseTypeId"},     {2106, "LogicalType"},
                                       {2107, "ToTypeMbrIndex"}, {2108, "NamespaceIndex"}};
constexpr ColumnSpec kPathColumns[] = {
    {2201, "MsgId"},     {2202, "EndFieldId"},   {2204, "MemberPathIndex"}, {2205, "ValueSetIndex"},
    {2206, "DVIndex"},   {2207, "MinOccurs"},    {2208, "MaxOccurs"},       {2209, "MinLength"},
    {2210, "MaxLength"}, {2211, "NullPermitted"}};
constexpr ColumnSpec kMemberPathColumns[] = {{2301, "MemberPathMemberId"}};
constexpr ColumnSpec kValueSetColumns[] = {{2401, "ValueSetValueIndex"},
                                           {2402, "ValueSetValueRole"}};
constexpr ColumnSpec kNamespaceColumns[] = {{2601, "Space", Kind::Text}};

constexpr std::int32_t kNumRows = 2000;

std::int64_t wholeNumber(const Json& value) {
  if (!value.is_string()) return value.get<std::int64_t>();
  return std::strtoll(value.get_ref<const std::string&>().c_str(), nullptr, 10);
}

double realNumber(const Json& value) {
  if (!value.is_string()) return value.get<double>();
  const std::string& digits = value.get_ref<const std::string&>();
  return std::bit_cast<double>(std::uint64_t{std::strtoull(digits.c_str(), nullptr, 16)});
}

class Feed {
 public:
  Feed(const Json& tables, FIHandler& handler) : tables_(tables), handler_(handler) {}

  void run() {
    handler_.startMessage(nullptr);
    open(1000);
    columns("Identification", kIdentificationColumns);
    columns("Dependency", kDependencyColumns);
    columns("WireFormat", kWireFormatColumns);
    close(1000);
    section(1, "Project", kProjectColumns);
    section(2, "Tags", kTagColumns);
    section(4, "TypeMembers", kMemberColumns);
    countedSection(20, "MbrIdIndex", kMemberIdColumns);
    countedSection(21, "Types", kTypeColumns);
    countedSection(22, "PathBasedInfo", kPathColumns);
    countedSection(23, "MemberPath", kMemberPathColumns);
    countedSection(24, "ValueSet", kValueSetColumns);
    values();
    countedSection(26, "Namespaces", kNamespaceColumns);
    handler_.endMessage(nullptr);
  }

 private:
  using Columns = std::span<const ColumnSpec>;

  const Json& rows(const char* table) const {
    static const Json none = Json::array();
    const auto found = tables_.find(table);
    return found == tables_.end() ? none : *found;
  }
  void open(std::int32_t section) { handler_.startElement(section, EKStructure, nullptr, 0, 0); }
  void close(std::int32_t section) { handler_.endElement(section, nullptr); }

  void item(std::int32_t column, std::size_t row, const PWFData& value) {
    handler_.startElement(column, EKField, nullptr, static_cast<std::int32_t>(row), 0);
    handler_.data(value, nullptr);
    handler_.endElement(column, nullptr);
  }
  void field(const ColumnSpec& column, std::size_t index, const Json& row) {
    const auto found = row.find(column.field);
    const bool isGiven = found != row.end() && !found->is_null();
    if (!isGiven) {
      if (column.fallback) item(column.id, index, PWFData(std::int64_t{*column.fallback}, false));
    } else if (column.kind == Kind::Text) {
      const Text text(*found);
      item(column.id, index, textData(text));
    } else {
      const std::int64_t number = found->is_boolean() ? found->get<bool>() : wholeNumber(*found);
      item(column.id, index, PWFData(number, false));
    }
  }
  void columns(const char* table, Columns specs) {
    const Json& all = rows(table);
    for (const ColumnSpec& column : specs) {
      for (std::size_t i = 0; i < all.size(); ++i) field(column, i, all[i]);
    }
  }
  void section(std::int32_t id, const char* table, Columns specs) {
    open(id);
    columns(table, specs);
    close(id);
  }
  void openCounted(std::int32_t id, const char* table) {
    open(id);
    item(kNumRows, 0, PWFData(static_cast<std::int64_t>(rows(table).size()), false));
  }
  void countedSection(std::int32_t id, const char* table, Columns specs) {
    if (rows(table).empty()) return;
    openCounted(id, table);
    columns(table, specs);
    close(id);
  }

  void values() {
    if (rows("Values").empty()) return;
    openCounted(25, "Values");
    bool isUnfilled = false;
    for (const Json& row : rows("Values")) {
      const std::int32_t type = row.value("Type", -1);
      if (type == -1) {
        isUnfilled = true;
      } else if (isUnfilled) {
        throw InputError("expected unfilled Values rows at the end only");
      } else {
        value(type, row.at("Value"));
      }
    }
    close(25);
  }
  void value(std::int32_t type, const Json& content) {
    switch (type) {
      case 2: return textValue(2501, content);
      case 4: return item(2502, 0, PWFData(wholeNumber(content), false));
      case 6: return item(2503, 0, PWFData(realNumber(content)));
      case 12: return item(2505, 0, PWFData(std::int64_t{content.get<bool>()}, false));
      case 14: return textValue(2508, content);
      case 15: return textValue(2506, content);
      case 16: return textValue(2507, content);
      default:
        throw InputError("expected a Values row of a known type, found " + std::to_string(type));
    }
  }
  void textValue(std::int32_t column, const Json& content) {
    const Text text(content);
    item(column, 0, textData(text));
  }

  const Json& tables_;
  FIHandler& handler_;
};

}  // namespace

void feedTables(const Json& tables, FIHandler& handler) { Feed(tables, handler).run(); }

PWFData textData(const Text& text) { return PWFData(text.units(), -1, LTString, EOReference); }

}  // namespace cpi::replay
