// The contents dump: every table as plain text, in UTF-8. Widths pad by UTF-16 code units.
#include <array>
#include <initializer_list>
#include <string>

#include "cpi/dictinfo/stddi/schema.h"
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

namespace {

constexpr int kPathIdPlaceholder = -66;  // the path id is not kept
constexpr int kDependencyIndent = 76;

std::string padded(std::u16string_view text, std::size_t width) {
  std::string bytes = toUtf8(text);
  if (text.size() < width) bytes.append(width - text.size(), ' ');
  return bytes;
}

std::string padded(const unsigned short* text, std::size_t width = 0) {
  return padded(textView(text), width);
}

// A class code is printed as the one character that its low byte is.
int classCharacter(std::int32_t code) { return static_cast<unsigned char>(code); }

std::int32_t flag(bool value) { return value ? 1 : 0; }

// Writes the parts that all tables share: title, legend, header and underline.
class Report {
 public:
  explicit Report(std::FILE* stream) : stream_(stream) {}

  template <class... Values>
  void print(const char* format, const Values&... values) const {
    if constexpr (sizeof...(values) == 0) {
      std::fputs(format, stream_);
    } else {
      std::fprintf(stream_, format, raw(values)...);
    }
  }
  void legend(const Section& section) const {
    for (const Column& column : section.columns) {
      print("%d = %s\n", column.id, std::string(column.name));
    }
    print("\n");
  }
  void head(std::int32_t sectionId, const char* title, const char* underline) const {
    print(title, sectionId);
    print("%s\n\n", underline);
    legend(*findSection(sectionId));
  }

 private:
  template <class Value>
  static Value raw(const Value& value) {
    return value;
  }
  static const char* raw(const std::string& text) { return text.c_str(); }
  static const char* raw(const char* text) { return text; }

  std::FILE* stream_;
};

void dumpIdentification(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kIdentificationSection, "\n%d Identification\n", "-------------------");
  out.print("%-20d %-12d %-6d %-6d %-6d %-21d %-6d %-6d %-6d %-6d\n", 100001, 100002, 100003,
            100004, 100005, 100006, 100007, 100008, 100009, 100010);
  constexpr const char* kLine = "------";
  out.print("%-20s %-12s %-6s %-6s %-6s %-21s %-6s %-6s %-6s %-6s\n", kLine, kLine, kLine, kLine,
            kLine, kLine, kLine, kLine, kLine, kLine);
  if (const auto* const row = dictionary.identification().find(0); row != nullptr) {
    out.print("%s %s %-6d %-6d %-6d %s %-6d %-6d %-6d ", padded(row->IdentityStr, 20),
              padded(row->Name, 12), row->MsgSetLevel, row->ModelLevelMajor, row->ModelLevelMinor,
              padded(row->FreezeTimestamp, 21), row->DescriptorType, row->FormatLevel,
              row->CompatibilityLevel);
  }
  const auto& dependencies = dictionary.dependencies();
  for (std::int32_t i = 0; i < dependencies.rowCount(); ++i) {
    if (i > 0) out.print("%*s", kDependencyIndent, "");
    out.print("%s\n", padded(dependencies.row(i).Dependency));
  }
  const auto& formats = dictionary.wireFormats();
  if (formats.rowCount() <= 0) return;
  out.print("\n%-20d %-20d\n", kFormatNameColumn, kFormatIdColumn);
  out.print("%-20s %-20s\n", kLine, kLine);
  for (std::int32_t i = 0; i < formats.rowCount(); ++i) {
    out.print("%s %s\n", padded(formats.row(i).FormatName, 20),
              padded(formats.row(i).FormatId, 20));
  }
}

void dumpProject(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kProjectSection, "\n%-2d\tProject\n", "-----------");
  out.print("%3d                  %3d                      %3d\n", 105, 106, 107);
  out.print("---                  ---                      ---\n");
  if (const auto* const row = dictionary.project().find(0); row != nullptr) {
    out.print("%s %s %3d\n", padded(row->DefaultWireFormat, 20), padded(row->MessageTypePrefix, 12),
              row->UseNamespaces);
  }
}

void dumpTags(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kTagsSection, "\n%d  Tags\n", "-------");
  out.print(
      "Index %3d    %3d                             %3d      %3d %3d %3d %3d %3d %3d %3d %3d "
      "%3d\n",
      201, 202, 203, 204, 205, 206, 207, 208, 209, 210, 211, 212);
  out.print(
      "----- ---    ---                             ---      --- --- --- --- --- --- --- --- "
      "---\n");
  for (std::int32_t i = 0; i < dictionary.tags().rowCount(); ++i) {
    const SMD_TAG_DEFINITION& row = dictionary.tags().row(i);
    out.print("%-5d %-6d %s  %-6d   %-3c %-3d %-3d %-3d %-3d %-3d %-3d %-3d %-3d\n", i, row.Id,
              padded(row.TextIdentifier, 30), row.Type, classCharacter(row.Class), row.MinLength,
              row.MaxLength, flag(row.NullPermitted), row.ValueSetTableIndex, row.DVTableIndex,
              row.PathBaseInfoTableIndex, row.ToTypeIndexField, row.namespaceIndex);
  }
}

void dumpTypeMembers(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kTypeMembersSection, "\n%d Type Members\n", "--------------");
  out.print(
      "Index %3d     %3d      %3d      %3d  %3d                             %3d  %3d  %3d  "
      "%3d   %3d    %3d  %3d\n",
      401, 402, 403, 404, 405, 406, 407, 411, 409, 410, 412, 413);
  out.print(
      "----- ---     ---      ---      ---  ---                             ---  ---  ---  "
      "---   ---    ---  ---\n");
  for (std::int32_t i = 0; i < dictionary.typeMembers().rowCount(); ++i) {
    const SMD_STRUCTURE_ELEMENT_DEFINITION& row = dictionary.typeMembers().row(i);
    out.print("%-5d %-6d  %-6d   %-6d   %c    %s  %-3d  %-3d  %-3d  %-5d %-6d %-3d  %-3d\n", i,
              row.ParentTypeId, row.ChildTagId, row.ChildTypeId, classCharacter(row.ChildClass),
              padded(row.PhysicalName, 30), row.SeqNbr, row.MinOccurs, row.MaxOccurs,
              row.RepIndicator, row.Id, row.toTagIndex, row.toTypeIndex);
  }
}

void dumpMemberIdIndex(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kMemberIdIndexSection, "\n%d  Member ID to Type Member Index\n",
           "----------------------------------");
  out.print("%-6d %-4d\n", 2001, 2002);
  out.print("----   ----\n");
  for (std::int32_t i = 0; i < dictionary.memberIdIndex().rowCount(); ++i) {
    const MemberIdRow& row = dictionary.memberIdIndex().row(i);
    out.print("%-6d %-4d\n", row.MbrIDToTypeMbrIndexId, row.MbrIDToTypeMbrIndexIndex);
  }
}

void dumpTypes(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kTypesSection, "\n%d  Types\n", "---------");
  out.print("Index %4d    %4d                           %4d   %4d  %4d    %4d  %4d  %4d\n", 2101,
            2102, 2103, 2104, 2105, 2106, 2107, 2108);
  out.print("----- ----    ----                           ----   ----  ----    ----  ----  ----\n");
  for (std::int32_t i = 0; i < dictionary.types().rowCount(); ++i) {
    const SMD_TYPE_DEFINITION& row = dictionary.types().row(i);
    out.print("%-5d %-6d  %s %-4d   %-4d  %-6d  %-4d  %-4d  %-4d\n", i, row.TypeId,
              padded(row.Identifier, 30), row.Composition, row.Content, row.BaseTypeId,
              row.LogicalType, row.ToTypeMbrIndex, row.NamespaceIndex);
  }
}

void dumpPathBasedInfo(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kPathBasedInfoSection, "\n%d\tPath Based Info\n", "-------------------");
  out.print("Index %4d   %4d   %4d   %4d %4d %4d %4d %4d %4d %4d %4d\n", 2201, 2202, 2203, 2204,
            2205, 2206, 2207, 2208, 2209, 2210, 2211);
  out.print("----- ----   ----   ----   ---- ---- ---- ---- ---- ---- ---- ----\n");
  for (std::int32_t i = 0; i < dictionary.pathBasedInfo().rowCount(); ++i) {
    const SMD_PATH_BASED_DEFINITION& row = dictionary.pathBasedInfo().row(i);
    out.print("%-5d %-6d %-6d %-6d %-4d %-4d %-4d %-4d %-4d %-4d %-4d %-4d\n", i, row.MsgId,
              row.EndFieldId, kPathIdPlaceholder, row.MemberPathIndex, row.ValueSetIndex,
              row.DVIndex, row.MinOccurs, row.MaxOccurs, row.MinLength, row.MaxLength,
              row.NullPermitted);
  }
}

void dumpMemberPath(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kMemberPathSection, "\n%d\tMember Path Table\n", "---------------------");
  out.print("Index %4d\n", 2301);
  out.print("----- ----\n");
  for (std::int32_t i = 0; i < dictionary.memberPath().rowCount(); ++i) {
    out.print("%-5d %-5d\n", i, dictionary.memberPath().row(i).MemberPathMemberId);
  }
}

void dumpValueSet(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kValueSetSection, "\n%d\tValue Set Table\n", "-------------------");
  out.print("Index %4d  %4d\n", 2401, 2402);
  out.print("----- ----  ----\n");
  for (std::int32_t i = 0; i < dictionary.valueSet().rowCount(); ++i) {
    const SMD_VALUE_SET_DEFINITION& row = dictionary.valueSet().row(i);
    out.print("%-5d %-5d %-5d\n", i, row.ValueSetValueIndex, row.ValueSetValueRole);
  }
}

void dumpValues(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kValuesSection, "\n%-2d  Values\n", "----------");
  out.print("Index Type Value\n");
  out.print("----- ---- -----\n");
  for (std::int32_t i = 0; i < dictionary.values().rowCount(); ++i) {
    const PWFData text = dictionary.values().getData(i).getDebugString();
    out.print("%-5d %-4d %s\n", i, dictionary.values().row(i).Type,
              padded(text.getStringValue(), 20));
  }
}

void dumpNamespaces(const Report& out, const StdDictionaryInfo& dictionary) {
  out.head(kNamespacesSection, "\n%-2d  Namespaces\n", "--------------");
  out.print("Index Space\n");
  out.print("----- -----\n");
  for (std::int32_t i = 0; i < dictionary.namespaces().rowCount(); ++i) {
    out.print("%-5d %s\n", i, padded(dictionary.namespaceText(i), 20));
  }
}

}  // namespace

void StdDictionaryInfo::DumpContents(std::FILE* stream) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::DumpContents",
                         static_cast<const void*>(stream));
  const Report out(stream);
  out.print("StdDictionaryInfo::DumpContents\n\n");
  DumpContentsName(stream);
  dumpIdentification(out, *this);
  dumpProject(out, *this);
  DumpTableProperties(stream, {&project_.table()});
  dumpTags(out, *this);
  DumpTableProperties(stream, {&tags_.table()});
  dumpTypeMembers(out, *this);
  DumpTableProperties(stream, {&typeMembers_.table()});
  dumpMemberIdIndex(out, *this);
  dumpTypes(out, *this);
  DumpTableProperties(stream, {&types_.table()});
  dumpPathBasedInfo(out, *this);
  dumpMemberPath(out, *this);
  dumpValueSet(out, *this);
  dumpValues(out, *this);
  dumpNamespaces(out, *this);
}

}  // namespace cpi
