// ContentModel: what the content of each type demands, ready to be asked at every element.
//
// The navigator finds where an element belongs; it does not ask what had to come before it. With
// what is counted here once per dictionary, that question costs a few additions for each group
// that the walk enters or leaves, however many members the type has.
//
// Thread rule: `const` means safe to share. The dictionary is not owned and must outlive it.
#ifndef CPI_WALK_CONTENTMODEL_H
#define CPI_WALK_CONTENTMODEL_H

#include <cstddef>
#include <cstdint>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

// How the members of a type follow one another.
enum class Order : std::uint8_t {
  Sequence,  // in the order of their rows
  Choice,    // one of them
  Any,       // in any order
};

// One step of the way from an element's type down to a member: a group, or last the member itself.
struct ContentStep {
  std::int32_t memberIndex;  // Type Members row
  std::int32_t repeat;       // from 0

  friend bool operator==(const ContentStep&, const ContentStep&) = default;
};
using ContentPath = std::vector<ContentStep>;

// The rows of a type's members; empty when begin == end.
struct MemberRange {
  std::int32_t begin = 0;
  std::int32_t end = 0;
};

// A search gives up before it has looked at so many members.
inline constexpr std::int32_t kMaxReach = 2'000'000;

class ContentModel {
 public:
  // Reads all rows of a loaded dictionary. Indexes that lead nowhere read as types without members.
  explicit ContentModel(const StdDictionaryInfo& dictionary);

  const StdDictionaryInfo& dictionary() const noexcept { return *dictionary_; }
  const SMD_STRUCTURE_ELEMENT_DEFINITION& member(std::int32_t row) const {
    return dictionary_->typeMembers().row(row);
  }
  // A member without tag whose type has members of its own.
  bool isGroup(std::int32_t memberRow) const;
  // The type whose members follow in the path after a group, or the element's own for none.
  Order orderOf(std::int32_t typeIndex) const noexcept;
  MemberRange membersOf(std::int32_t typeIndex) const noexcept;
  // A member without which its type is not complete; of a choice, if it were the chosen one.
  bool isRequired(std::int32_t memberRow) const noexcept {
    return requiredUpTo(memberRow + 1) != requiredUpTo(memberRow);
  }
  // Whether one of the rows begin to end, of one type, is required.
  bool isAnyRequired(std::int32_t begin, std::int32_t end) const noexcept {
    return begin < end && requiredUpTo(begin) != requiredUpTo(end);
  }
  // Whether a type is complete without any element.
  bool canBeEmpty(std::int32_t typeIndex) const noexcept;
  // How many members a search through the whole content of a type may look at, those of a group
  // counted wherever it stands; at most kMaxReach.
  std::int64_t reachOf(std::int32_t typeIndex) const noexcept;
  // The same of the members in front of one, among those beside it.
  std::int64_t reachBefore(std::int32_t memberRow) const noexcept {
    return reachBefore_[static_cast<std::size_t>(memberRow)];
  }

 private:
  std::int32_t requiredUpTo(std::int32_t row) const noexcept {
    return requiredUpTo_[static_cast<std::size_t>(row)];
  }
  struct Content {
    MemberRange members;
    Order order = Order::Sequence;
    bool canBeEmpty = false;
    std::int32_t reach = 0;
  };
  const Content* find(std::int32_t typeIndex) const noexcept {
    const auto slot = static_cast<std::size_t>(typeIndex);
    return typeIndex >= 0 && slot < contents_.size() ? &contents_[slot] : nullptr;
  }
  void readContents();
  void findEmptiable();
  void findReach();
  std::int32_t addedReach(std::int32_t reach, std::int32_t memberRow) const;
  bool isEmptiable(std::int32_t typeIndex) const;
  bool demandsContent(std::int32_t memberRow) const;

  const StdDictionaryInfo* dictionary_;
  std::vector<Content> contents_;           // by type row
  std::vector<std::int32_t> requiredUpTo_;  // by member row, and the end: required rows before it
  std::vector<std::int32_t> reachBefore_;   // by member row
};

}  // namespace cpi

#endif  // CPI_WALK_CONTENTMODEL_H
