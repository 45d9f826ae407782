// FixModel: what a walk of FIX messages has to know about a dictionary beside what its iterator
// knows.
//
// Tag numbers lead straight to rows, and rows to the few facts that are asked for at each field.
// The conventions by which all this is found in the tables are in modelconventions.h.
//
// Thread rule: `const` means safe to share. The dictionary is not owned and must outlive it.
#ifndef CPI_WALK_FIXMODEL_H
#define CPI_WALK_FIXMODEL_H

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/walk/fixvalue.h"

namespace cpi {

// Numbers with a meaning of their own for the form of a message.
inline constexpr std::int32_t kFixBeginString = 8;
inline constexpr std::int32_t kFixBodyLength = 9;
inline constexpr std::int32_t kFixCheckSum = 10;
inline constexpr std::int32_t kFixMsgType = 35;

// One message of the model: the rows of its three parts. kNone where the model has none.
struct FixMessageModel {
  std::string name;  // UTF-8
  std::int32_t tagId = 0;
  std::int32_t tagIndex = kNone;
  std::int32_t typeIndex = kNone;
  std::int32_t headerMember = kNone;
  std::int32_t bodyMember = kNone;
  std::int32_t trailerMember = kNone;
  // The parts follow one another, and each is flat: a move to one of them needs no search.
  bool isPlain = false;
};

// The part of a tag's or type's text that names it, UTF-8.
std::string fixNameOf(std::u16string_view text);

class FixModel {
 public:
  // Whether a dictionary is one of FIX messages.
  static bool isFix(const StdDictionaryInfo& dictionary);

  // Throws std::length_error when so many fields share their values, or types their members, that
  // reading them would not end in reasonable time.
  explicit FixModel(const StdDictionaryInfo& dictionary);
  FixModel(const FixModel&) = delete;
  FixModel& operator=(const FixModel&) = delete;

  const StdDictionaryInfo& dictionary() const noexcept { return *dictionary_; }
  // What stands in the first field of each message, UTF-8; empty when any may.
  const std::string& beginString() const noexcept { return beginString_; }
  // The message with this MsgType, or null.
  const FixMessageModel* message(std::string_view msgType) const;

  // A field by its number: its Tags row, or kNone, and the form of its values.
  struct Field {
    std::int32_t row = kNone;
    FixForm form = FixForm::Text;
  };
  Field field(std::int32_t number) const noexcept {
    const auto index = static_cast<std::size_t>(number);
    return index < numbers_.size() ? numbers_[index] : sparseField(number);
  }
  // The member of a group's instances, in a type that has the group, by its first field; or kNone.
  std::int32_t groupBegunBy(std::int32_t type, std::int32_t tagRow) const noexcept;
  // By Tags row of a field; null: any value may be, also beside those of its value set, or the row
  // is negative.
  const FixValueSet* valueSet(std::int32_t row) const noexcept {
    const std::int32_t set = row < 0 ? kNone : values_[asIndex(row)].valueSet;
    return set == kNone ? nullptr : &valueSets_[asIndex(set)];
  }
  // By Types row: how many of its members must occur.
  std::int32_t requiredCount(std::int32_t type) const noexcept {
    return isType(type) ? types_[asIndex(type)].requiredCount : 0;
  }
  // Its first member, and the number of all; none for a negative row.
  std::int32_t firstMember(std::int32_t type) const noexcept {
    return isType(type) ? types_[asIndex(type)].firstMember : kNone;
  }
  std::int32_t memberCount(std::int32_t type) const noexcept {
    return isType(type) ? types_[asIndex(type)].memberCount : 0;
  }
  // By Type Members row of a count field: the member of its group's instances, or kNone.
  std::int32_t groupMember(std::int32_t member) const noexcept {
    return members_[asIndex(member)].isCount ? member + 1 : kNone;
  }
  // By Type Members row: the Types row of the group's instances that have it, or kNone.
  std::int32_t groupTypeOf(std::int32_t member) const noexcept {
    return members_[asIndex(member)].groupType;
  }
  bool isRequired(std::int32_t member) const noexcept {
    return members_[asIndex(member)].isRequired;
  }
  // By Types row: the Tags row of its first member, or kNone.
  std::int32_t firstTag(std::int32_t type) const noexcept {
    return isType(type) ? types_[asIndex(type)].firstTag : kNone;
  }
  // Whether its members are in any order, each with a tag of its own: then a move between them
  // needs no search, for it comes to the member of the tag.
  bool isFlat(std::int32_t type) const noexcept {
    return isType(type) && types_[asIndex(type)].isFlat;
  }
  // The member of a type that bears a tag, or kNone.
  std::int32_t memberOf(std::int32_t type, std::int32_t tagRow) const noexcept {
    if (!isType(type)) return kNone;
    const Type& in = types_[asIndex(type)];
    std::uint32_t at = slotOf(tagRow, in.slotShift);
    while (true) {
      const Slot& slot = slots_[in.firstSlot + at];
      if (slot.tagRow == tagRow || slot.tagRow == kNone) return slot.member;
      at = (at + 1) & in.slotMask;
    }
  }
  // All members that bear a tag, in ascending order.
  std::span<const std::int32_t> membersWith(std::int32_t tagRow) const noexcept;

 private:
  struct Values {
    FixForm form = FixForm::Text;
    std::int32_t valueSet = kNone;
  };
  struct Type {
    std::int32_t firstMember = kNone;
    std::int32_t memberCount = 0;
    std::int32_t requiredCount = 0;
    std::int32_t firstTag = kNone;
    bool isFlat = false;
    std::uint8_t slotShift = 31;
    std::uint32_t slotMask = 1;
    std::size_t firstSlot = 0;
  };
  // Of a type's open table from tags to members; at most half of it is taken.
  struct Slot {
    std::int32_t tagRow = kNone;
    std::int32_t member = kNone;
  };
  struct Member {
    bool isCount = false;
    bool isRequired = false;
    std::int32_t groupType = kNone;
  };
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>()(text);
    }
  };

  static std::size_t asIndex(std::int32_t row) noexcept { return static_cast<std::size_t>(row); }
  // An index out of a record may lead nowhere.
  bool isType(std::int32_t type) const noexcept {
    return static_cast<std::uint32_t>(type) < types_.size();
  }
  // Of rows that are read for each that refers to them.
  void countRow();
  static std::uint32_t slotOf(std::int32_t tagRow, std::uint8_t shift) noexcept {
    constexpr std::uint32_t kMix = 0x9e3779b1;
    return static_cast<std::uint32_t>(tagRow) * kMix >> shift;
  }
  Field sparseField(std::int32_t number) const noexcept;
  void readFields();
  void readField(std::int32_t row, const SMD_TAG_DEFINITION& tag, bool isOpen);
  std::int32_t readValueSet(std::int32_t firstRow);
  void readMembers();
  void readType(std::int32_t row);
  bool makeSlots(Type& type);
  void readGroups(std::int32_t row);
  void readGroup(std::int32_t type);
  bool addSlot(const Type& type, std::int32_t tagRow, std::int32_t member);
  void readMessage(std::int32_t row, const SMD_TAG_DEFINITION& tag);
  bool isPlain(const FixMessageModel& message) const;

  const StdDictionaryInfo* dictionary_;
  std::int64_t rowsRead_ = 0;
  std::string beginString_;
  std::vector<Field> numbers_;   // of the fields with small numbers
  std::vector<Values> values_;   // by Tags row
  std::vector<Type> types_;      // by Types row
  std::vector<Member> members_;  // by Type Members row
  std::vector<Slot> slots_;      // two empty ones, then those of the types
  // Members of groups' instances, by the Types row that has them and their first field's Tags row.
  std::unordered_map<std::uint64_t, std::int32_t> groups_;
  std::vector<FixValueSet> valueSets_;
  std::unordered_map<std::int32_t, std::int32_t> setOfRow_;  // by first Value Set row
  std::vector<std::size_t> firstUse_;                        // by Tags row, and the end: into uses_
  std::vector<std::int32_t> uses_;                           // Type Members rows
  std::unordered_map<std::string, FixMessageModel, Hash, std::equal_to<>> messages_;
};

}  // namespace cpi

#endif  // CPI_WALK_FIXMODEL_H
