#include "tests/models/xsd_support.h"

#include <set>

// Xerces-C++ 3.2 keeps the declaration of an external document type for good, so that it cannot use
// it after it was freed; a leak checker sees that as a leak of some hundred bytes.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:xercesc_3_2::XMLScanner::scanProlog";
}

namespace xsdtest {

namespace {

using namespace cpi;

class Checker {
 public:
  explicit Checker(const DictionaryTables& tables) : tables_(tables) {}

  std::vector<std::string> run() {
    checkTags();
    checkTypes();
    checkMembers();
    checkMemberIds();
    checkValueSets();
    return std::move(faults_);
  }

 private:
  void expect(bool holds, const std::string& what, std::size_t row) {
    if (!holds) faults_.push_back(what + ", row " + std::to_string(row));
  }
  template <class Rows>
  static bool isRow(const Rows& rows, std::int32_t index) {
    return index >= 0 && static_cast<std::size_t>(index) < rows.size();
  }
  template <class Rows>
  static bool isRowOrNone(const Rows& rows, std::int32_t index) {
    return index == kNone || isRow(rows, index);
  }

  void checkTags() {
    std::set<std::pair<std::string, std::int32_t>> names;
    for (std::size_t i = 0; i < tables_.Tags.size(); ++i) {
      const TagRow& tag = tables_.Tags[i];
      expect(i == 0 || tables_.Tags[i - 1].Id < tag.Id, "tag ids do not ascend", i);
      expect(names.emplace(text(tag.TextIdentifier), tag.namespaceIndex).second,
             "a tag's text occurs twice", i);
      expect(isRowOrNone(tables_.Namespaces, tag.namespaceIndex), "tag namespace", i);
      expect(isRowOrNone(tables_.Values, tag.DVTableIndex), "tag default", i);
      expect(isRowOrNone(tables_.ValueSet, tag.ValueSetTableIndex), "tag value set", i);
      if (!isRow(tables_.Types, tag.ToTypeIndexField)) {
        expect(false, "tag type", i);
        continue;
      }
      const TypeRow& type = at(tables_.Types, tag.ToTypeIndexField);
      expect(type.TypeId == tag.Type, "tag type id and index differ", i);
      expect(tag.Class == (type.LogicalType > 0 ? TCField : TCStructure), "tag class", i);
    }
  }

  void checkTypes() {
    std::set<std::int32_t> ids;
    std::set<std::pair<std::string, std::int32_t>> names;
    for (const TypeRow& type : tables_.Types) ids.insert(type.TypeId);
    for (std::size_t i = 0; i < tables_.Types.size(); ++i) {
      const TypeRow& type = tables_.Types[i];
      expect(i == 0 || tables_.Types[i - 1].TypeId < type.TypeId, "type ids do not ascend", i);
      expect(names.emplace(text(type.Identifier), type.NamespaceIndex).second,
             "a type's name occurs twice", i);
      expect(type.BaseTypeId == 0 || ids.contains(type.BaseTypeId), "base type", i);
      expect(isRowOrNone(tables_.TypeMembers, type.ToTypeMbrIndex), "first member", i);
      if (isRow(tables_.TypeMembers, type.ToTypeMbrIndex)) {
        expect(at(tables_.TypeMembers, type.ToTypeMbrIndex).ParentTypeId == type.TypeId,
               "first member is another type's", i);
      }
      expect(isRowOrNone(tables_.Namespaces, type.NamespaceIndex), "type namespace", i);
    }
  }

  // Each type's members are one run that begins where the type says.
  void checkMembers() {
    std::set<std::int32_t> firstRows;
    for (const TypeRow& type : tables_.Types) firstRows.insert(type.ToTypeMbrIndex);
    for (std::size_t i = 0; i < tables_.TypeMembers.size(); ++i) {
      const MemberRow& member = tables_.TypeMembers[i];
      const bool isFirst = i == 0 || tables_.TypeMembers[i - 1].ParentTypeId != member.ParentTypeId;
      expect(isFirst == firstRows.contains(static_cast<std::int32_t>(i)), "runs of members", i);
      expect(member.SeqNbr == (isFirst ? 1 : tables_.TypeMembers[i - 1].SeqNbr + 1), "SeqNbr", i);
      expect(isRow(tables_.Types, member.toTypeIndex) &&
                 at(tables_.Types, member.toTypeIndex).TypeId == member.ChildTypeId,
             "member type", i);
      const bool hasTag = isRow(tables_.Tags, member.toTagIndex);
      expect(hasTag ? at(tables_.Tags, member.toTagIndex).Id == member.ChildTagId &&
                          at(tables_.Tags, member.toTagIndex).Type == member.ChildTypeId
                    : member.toTagIndex == kNone && member.ChildTagId == 0,
             "member tag", i);
      const bool isInOrder = member.MaxOccurs < 0 || member.MinOccurs <= member.MaxOccurs;
      expect(member.MinOccurs >= 0 && isInOrder, "occurrence", i);
    }
  }

  void checkMemberIds() {
    expect(tables_.MemberIdIndex.size() == tables_.TypeMembers.size(), "number of member ids", 0);
    for (std::size_t i = 0; i < tables_.MemberIdIndex.size(); ++i) {
      const MemberIdEntry& entry = tables_.MemberIdIndex[i];
      expect(i == 0 ||
                 tables_.MemberIdIndex[i - 1].MbrIDToTypeMbrIndexId < entry.MbrIDToTypeMbrIndexId,
             "member ids do not ascend", i);
      expect(isRow(tables_.TypeMembers, entry.MbrIDToTypeMbrIndexIndex) &&
                 at(tables_.TypeMembers, entry.MbrIDToTypeMbrIndexIndex).Id ==
                     entry.MbrIDToTypeMbrIndexId,
             "member id index", i);
    }
  }

  void checkValueSets() {
    for (std::size_t i = 0; i < tables_.ValueSet.size(); ++i) {
      expect(isRowOrNone(tables_.Values, tables_.ValueSet[i].ValueSetValueIndex), "value", i);
    }
    expect(tables_.ValueSet.empty() || tables_.ValueSet.back().ValueSetValueIndex == kNone,
           "the last value set is not closed", tables_.ValueSet.size());
  }

  const DictionaryTables& tables_;
  std::vector<std::string> faults_;
};

}  // namespace

std::vector<std::string> faultsOf(const DictionaryTables& tables) { return Checker(tables).run(); }

}  // namespace xsdtest
