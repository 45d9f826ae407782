#include "tests/models/xsd_support.h"

#include <set>

#include "cpi/extract/dictionarycheck.h"

// Xerces-C++ 3.2 keeps the declaration of an external document type for good, so that it cannot use
// it after it was freed; a leak checker sees that as a leak of some hundred bytes.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:xercesc_3_2::XMLScanner::scanProlog";
}

namespace cpi::test {

namespace {

// A compiler does what a hand-written dictionary need not: all rows have ids, types and classes
// that fit, no name comes twice, members are numbered and their limits in order.
class CompilerCheck {
 public:
  explicit CompilerCheck(const DictionaryTables& tables) : tables_(tables) {}

  std::vector<std::string> run() {
    forEach(tables_.Tags, "tag", [this](const TagRow& tag, std::size_t) { return isSound(tag); });
    forEach(tables_.Types, "type", [this](const TypeRow& type, std::size_t) {
      return type.TypeId > 0 && type.BaseTypeId >= 0 &&
             names_.emplace("type " + text(type.Identifier), type.NamespaceIndex).second;
    });
    forEach(tables_.TypeMembers, "member", [this](const MemberRow& member, std::size_t row) {
      return isSound(member, row == 0 ? nullptr : &tables_.TypeMembers[row - 1]);
    });
    return std::move(faults_);
  }

 private:
  template <class Rows, class IsSound>
  void forEach(const Rows& rows, const char* what, IsSound isSoundRow) {
    for (std::size_t row = 0; row < rows.size(); ++row) {
      if (!isSoundRow(rows[row], row)) faults_.push_back(what + (" " + std::to_string(row)));
    }
  }

  bool isSound(const TagRow& tag) {
    const TypeRow& type = at(tables_.Types, tag.ToTypeIndexField);
    return tag.Id > 0 && type.TypeId == tag.Type &&
           tag.Class == (type.LogicalType > 0 ? TCField : TCStructure) &&
           names_.emplace("tag " + text(tag.TextIdentifier), tag.namespaceIndex).second;
  }

  bool isSound(const MemberRow& member, const MemberRow* before) const {
    const bool isFirst = before == nullptr || before->ParentTypeId != member.ParentTypeId;
    const bool hasTag = member.toTagIndex != kNone;
    return member.Id > 0 && member.SeqNbr == (isFirst ? 1 : before->SeqNbr + 1) &&
           at(tables_.Types, member.toTypeIndex).TypeId == member.ChildTypeId &&
           (!hasTag || at(tables_.Tags, member.toTagIndex).Type == member.ChildTypeId) &&
           hasTag == (member.ChildTagId != 0) && member.MinOccurs >= 0 &&
           (member.MaxOccurs < 0 || member.MinOccurs <= member.MaxOccurs);
  }

  const DictionaryTables& tables_;
  std::set<std::pair<std::string, std::int32_t>> names_;
  std::vector<std::string> faults_;
};

}  // namespace

std::vector<std::string> faultsOf(const StdDictionaryInfo& dictionary) {
  std::vector<std::string> faults;
  checkDictionary(dictionary,
                  [&](const DictionaryFault& fault) { faults.push_back(lineOf(fault)); });
  return faults;
}

std::vector<std::string> faultsOf(const DictionaryTables& tables) {
  StdDictionaryInfo dictionary(0);
  feed(tables, dictionary);
  return faultsOf(dictionary);
}

std::vector<std::string> compilerFaultsOf(const DictionaryTables& tables) {
  std::vector<std::string> faults = CompilerCheck(tables).run();
  for (std::string& fault : faultsOf(tables)) faults.push_back(std::move(fault));
  return faults;
}

}  // namespace cpi::test
