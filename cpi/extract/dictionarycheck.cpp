// The part of the dictionary check that goes through the tables row by row.
#include "cpi/extract/dictionarycheck.h"

#include <algorithm>
#include <string>

#include "cpi/extract/rowcheck.h"

namespace cpi {

namespace {

using Tag = SMD_TAG_DEFINITION;
using Member = SMD_STRUCTURE_ELEMENT_DEFINITION;
using Type = SMD_TYPE_DEFINITION;
using Override = SMD_PATH_BASED_DEFINITION;
using SetRow = SMD_VALUE_SET_DEFINITION;

class TableCheck : private RowCheck {
 public:
  explicit TableCheck(CheckContext& context) : RowCheck(context), dictionary_(context.dictionary) {}

  void run() {
    checkRows<Tag>(TableSlot::Tags, dictionary_.tags());
    checkRows<Member>(TableSlot::TypeMembers, dictionary_.typeMembers());
    checkReach(context_);
    checkGroups(context_);
    checkRows<Type>(TableSlot::Types, dictionary_.types());
    checkRows<Override>(TableSlot::PathBasedInfo, dictionary_.pathBasedInfo());
    checkRows<MemberPathRow>(TableSlot::MemberPath, dictionary_.memberPath());
    checkRows<SetRow>(TableSlot::ValueSet, dictionary_.valueSet());
    checkRows<SMD_VALUE_DEFINITION>(TableSlot::Values, dictionary_.values());
    checkRows<MemberIdRow>(TableSlot::MemberIdIndex, dictionary_.memberIdIndex());
  }

 private:
  template <class Row, class Table>
  void checkRows(TableSlot slot, const Table& table) {
    table_ = slot;
    for (row_ = 0; row_ < table.rowCount(); ++row_) check(table.row(row_));
  }

  void check(const Tag& tag) {
    checkOrder(dictionary_.tags(), &Tag::Id, "Id", context_.tagRows.find(tag.Id));
    checkClass("Class", tag.Class);
    checkPair("Type", tag.Type, "ToTypeIndexField", tag.ToTypeIndexField, kTypeIds,
              dictionary_.types(), &Type::TypeId, context_.typeRows);
    checkIndex("ValueSetTableIndex", tag.ValueSetTableIndex, TableSlot::ValueSet,
               dictionary_.valueSet());
    checkValue("DVTableIndex", tag.DVTableIndex);
    checkIndex("PathBaseInfoTableIndex", tag.PathBaseInfoTableIndex, TableSlot::PathBasedInfo,
               dictionary_.pathBasedInfo());
    checkIndex("namespaceIndex", tag.namespaceIndex, TableSlot::Namespaces,
               dictionary_.namespaces());
  }

  void check(const Member& member) {
    checkMemberId(member.Id);
    checkRun(member.ParentTypeId);
    checkClass("ChildClass", member.ChildClass);
    checkPair("ChildTagId", member.ChildTagId, "toTagIndex", member.toTagIndex, kTagIds,
              dictionary_.tags(), &Tag::Id, context_.tagRows);
    checkPair("ChildTypeId", member.ChildTypeId, "toTypeIndex", member.toTypeIndex, kTypeIds,
              dictionary_.types(), &Type::TypeId, context_.typeRows);
  }

  void check(const Type& type) {
    checkOrder(dictionary_.types(), &Type::TypeId, "TypeId", context_.typeRows.find(type.TypeId));
    const auto& runs = context_.runs.ofParent(type.TypeId);
    if (runs.empty() || !isNoIndex(type.Composition)) {
      checkCode("Composition", type.Composition, TYPE_SINGLE, TYPE_MESSAGE);
    } else {
      fault("Composition", type.Composition, "1 to 7, since the type has members");
    }
    checkCode("Content", type.Content, CONTENT_CLOSED, CONTENT_OPEN);
    if (type.BaseTypeId >= 1) checkId("BaseTypeId", type.BaseTypeId, kTypeIds, context_.typeRows);
    checkFirstMember(type.ToTypeMbrIndex, runs.empty() ? kNone : runs.front());
    checkIndex("NamespaceIndex", type.NamespaceIndex, TableSlot::Namespaces,
               dictionary_.namespaces());
  }

  void check(const Override& row) {
    checkIndex("MemberPathIndex", row.MemberPathIndex, TableSlot::MemberPath,
               dictionary_.memberPath());
    checkIndex("ValueSetIndex", row.ValueSetIndex, TableSlot::ValueSet, dictionary_.valueSet());
    checkValue("DVIndex", row.DVIndex);
    checkTogether(row);
  }

  // Nothing above 0 is anything but a member.
  void check(const MemberPathRow& row) {
    if (row.MemberPathMemberId > 0) {
      checkId("MemberPathMemberId", row.MemberPathMemberId, {TableSlot::TypeMembers, "Id"},
              context_.memberRows);
    }
  }

  void check(const SetRow& row) {
    checkValue("ValueSetValueIndex", row.ValueSetValueIndex);
    if (row_ + 1 == dictionary_.valueSet().rowCount() && row.ValueSetValueIndex != kNone) {
      fault("ValueSetValueIndex", row.ValueSetValueIndex, "-1, which closes the last set");
    }
  }

  void check(const SMD_VALUE_DEFINITION& value) {
    if (!isKnownValue(value) && value.Type != LTUndefined) {
      fault("Type", value.Type, "2, 4, 6, 12, 14, 15 or 16");
    }
  }

  void check(const MemberIdRow& entry) {
    const auto& index = dictionary_.memberIdIndex();
    const std::int32_t id = entry.MbrIDToTypeMbrIndexId;
    constexpr std::string_view kId = "MbrIDToTypeMbrIndexId";
    if (row_ > 0 && id <= index.row(row_ - 1).MbrIDToTypeMbrIndexId) {
      fault(kId, id,
            "more than " + number(index.row(row_ - 1).MbrIDToTypeMbrIndexId) + ", which row " +
                number(row_ - 1) + " has");
    }
    const Member* const member = dictionary_.typeMembers().find(entry.MbrIDToTypeMbrIndexIndex);
    const std::int32_t row = context_.memberRows.find(id);
    if (row < 0) {
      fault(kId, id, ownerOf({TableSlot::TypeMembers, "Id"}));
    } else if (member == nullptr || member->Id != id) {
      fault("MbrIDToTypeMbrIndexIndex", entry.MbrIDToTypeMbrIndexIndex,
            number(row) + ", the row of Type Members with Id " + number(id));
    }
  }

  // --- Ids ---------------------------------------------------------------------------------

  // A member may do without an id: it is then found through its type alone.
  void checkMemberId(std::int32_t id) {
    if (isNoId(id) || checkUnique("Id", id, context_.memberRows.find(id))) return;
    if (!isIndexed(id)) fault("Id", id, "a row of " + name(TableSlot::MemberIdIndex) + " for it");
  }

  bool isIndexed(std::int32_t memberId) const { return indexedIds_.find(memberId) >= 0; }

  static bool isKnownValue(const SMD_VALUE_DEFINITION& value) {
    constexpr ELogicalType kKinds[] = {LTString,   LTInteger,  LTFloat,  LTBoolean,
                                       LTInterval, LTDateTime, LTDecimal};
    return std::ranges::count(kKinds, value.Type) != 0;
  }

  void checkValue(std::string_view column, std::int32_t index) {
    if (!checkIndex(column, index, TableSlot::Values, dictionary_.values())) return;
    if (dictionary_.values().row(index).Type == LTUndefined) {
      fault(column, index, "a row of Values that has a value");
    }
  }

  // --- Members -------------------------------------------------------------------------------

  // Told once, at the first row of the run.
  void checkRun(std::int32_t parentId) {
    if (context_.runs.beginOf(row_) != row_) return;
    if (context_.typeRows.find(parentId) < 0) {
      return fault("ParentTypeId", parentId, ownerOf(kTypeIds));
    }
    const std::int32_t first = context_.runs.ofParent(parentId).front();
    if (first == row_) return;
    fault("ParentTypeId", parentId,
          "a place behind row " + number(context_.runs.endOf(first) - 1) +
              ", beside the other members of the type");
  }

  // `begin`: where the members begin, or -1.
  void checkFirstMember(std::int32_t index, std::int32_t begin) {
    if (index == begin || (begin < 0 && isNoIndex(index))) return;
    fault("ToTypeMbrIndex", index,
          begin < 0 ? "-1, for Type Members has no rows of the type"
                    : number(begin) + ", where the members of the type begin");
  }

  // --- Overrides and codes -------------------------------------------------------------------

  // Readers are given the first row of a pair and a count.
  void checkTogether(const Override& row) {
    const auto isSame = [&](std::int32_t other) {
      const Override& another = dictionary_.pathBasedInfo().row(other);
      return another.MsgId == row.MsgId && another.EndFieldId == row.EndFieldId;
    };
    if (row_ > 0 && isSame(row_ - 1)) return;
    const auto [place, isNew] = overrideRows_.try_emplace(
        static_cast<std::uint64_t>(static_cast<std::uint32_t>(row.MsgId)) << 32 |
            static_cast<std::uint32_t>(row.EndFieldId),
        row_);
    if (isNew) return;
    fault("EndFieldId", row.EndFieldId,
          "a place beside row " + number(place->second) + ", of the same message and field");
  }

  void checkClass(std::string_view column, std::int32_t code) {
    constexpr std::string_view kLetters = "CEFMST";
    const bool isLetter = code > 0 && code < 0x80;
    if (code == kNotSupplied ||
        (isLetter && kLetters.find(static_cast<char>(code)) != kLetters.npos)) {
      return;
    }
    const bool isPrintable = code > ' ' && code < 0x7F;
    fault(column, isPrintable ? std::string(1, static_cast<char>(code)) : number(code),
          "the letter C, E, F, M, S or T");
  }

  const StdDictionaryInfo& dictionary_;
  const RowsById indexedIds_{dictionary_.memberIdIndex(), &MemberIdRow::MbrIDToTypeMbrIndexId};
  std::unordered_map<std::uint64_t, std::int32_t> overrideRows_;
};

}  // namespace

CheckContext::CheckContext(const StdDictionaryInfo& checked, const FaultHandler& handle)
    : dictionary(checked),
      tagRows(checked.tags(), &SMD_TAG_DEFINITION::Id),
      typeRows(checked.types(), &SMD_TYPE_DEFINITION::TypeId),
      memberRows(checked.typeMembers(), &SMD_STRUCTURE_ELEMENT_DEFINITION::Id),
      runs(checked),
      handle_(handle) {}

std::string lineOf(const DictionaryFault& fault) {
  return std::string(tableName(fault.table)) + " row " + std::to_string(fault.row) + ", " +
         std::string(fault.column) + ": found " + fault.found + "; expected " + fault.expected;
}

std::int64_t checkDictionary(const StdDictionaryInfo& dictionary, const FaultHandler& handle) {
  CheckContext context(dictionary, handle);
  TableCheck(context).run();
  return context.faults;
}

}  // namespace cpi
