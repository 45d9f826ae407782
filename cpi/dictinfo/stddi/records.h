// The records of the thirteen tables, their codes and their sentinels.
//
// Records are handed out as `const` pointers into the tables and read field by field; their layout
// is part of the binary interface, so a change of a size or an offset is a new major version. A
// pointer to a record stays valid until the dictionary is destroyed. Text pointers inside records
// are zero-terminated UTF-16, or null.
#ifndef CPI_DICTINFO_STDDI_RECORDS_H
#define CPI_DICTINFO_STDDI_RECORDS_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "cpi/runtime/pwfdata.h"

namespace cpi {

// Ids are numbers that the dictionary gives; indexes are 0-based rows. Both are 32 bits wide.
inline constexpr std::int32_t kNone = -1;          // the usual "no such row"
inline constexpr std::int32_t kNotSupplied = -99;  // an id or index that the stream did not give
inline constexpr std::int32_t kUnbounded = 2147483647;  // occurrence limit of an unbounded member

// Result codes of the query interface.
inline constexpr std::int32_t kSuccess = 0;
inline constexpr std::int32_t kInvalidMemberId = 10010;
inline constexpr std::int32_t kIndexBelowZero = 10016;
inline constexpr std::int32_t kIndexBeyondCount = 10020;
inline constexpr std::int32_t kDefinitionNotFound = 10025;
inline constexpr std::int32_t kNameTooLong = 10030;

// Units of a fixed text field, the terminator included.
inline constexpr std::size_t kFixedTextUnits = 256;

// Class letters of tags and members.
enum TagClass : std::int32_t { TCMessage = 'M', TCStructure = 'S', TCField = 'F' };

// Composition kinds of a type that the library knows by name; all lie in 1 to 7.
enum Composition : std::int32_t {
  TYPE_SINGLE = 1,     // nothing follows a member
  TYPE_CHOICE = 2,     // one of the members
  TYPE_UNORDERED = 3,  // any order
  TYPE_ALL = 4,        // any order
  TYPE_SEQUENCE = 5,   // in order
  TYPE_ORDERED = 6,    // in order; a required group that was left unmatched ends the search
  TYPE_MESSAGE = 7,    // one of the messages
};

// Content kinds of a type: what it admits beside its members.
enum Content : std::int32_t {
  CONTENT_CLOSED = 1,   // nothing
  CONTENT_DEFINED = 2,  // any tag of the dictionary
  CONTENT_OPEN = 3,     // anything
};

struct DICTIONARY_IDENTIFICATION {
  const unsigned short* IdentityStr = nullptr;
  unsigned short Name[kFixedTextUnits] = {};
  std::int32_t MsgSetLevel = kNone;
  std::int32_t ModelLevelMajor = kNone;
  std::int32_t ModelLevelMinor = kNone;
  unsigned short FreezeTimestamp[kFixedTextUnits] = {};
  std::int32_t DescriptorType = 1;
  std::int32_t FormatLevel = 1000;
  std::int32_t CompatibilityLevel = kNone;
};

struct WIREFORMAT_DEFINITION {
  unsigned short FormatName[kFixedTextUnits] = {};
  const unsigned short* FormatId = nullptr;
};

struct MSGSET_DEFINITION {
  unsigned short DefaultWireFormat[kFixedTextUnits] = {};
  const unsigned short* MessageTypePrefix = nullptr;
  std::int32_t UseNamespaces = 0;
};

struct SMD_TAG_DEFINITION {
  std::int32_t Id = kNotSupplied;
  const unsigned short* TextIdentifier = nullptr;
  std::int32_t Class = kNotSupplied;
  std::int32_t Type = kNotSupplied;
  std::int32_t MinLength = kNone;
  std::int32_t MaxLength = kNone;
  bool NullPermitted = true;
  std::int32_t ValueSetTableIndex = kNone;
  std::int32_t DVTableIndex = kNone;
  std::int32_t PathBaseInfoTableIndex = kNone;
  std::int32_t ToTypeIndexField = kNotSupplied;
  std::int32_t namespaceIndex = kNone;
};

struct SMD_STRUCTURE_ELEMENT_DEFINITION {
  std::int32_t Id = kNotSupplied;
  std::int32_t ParentTypeId = kNotSupplied;
  std::int32_t ChildTagId = 0;
  std::int32_t ChildTypeId = kNotSupplied;
  std::int32_t ChildClass = TCStructure;
  const unsigned short* PhysicalName = nullptr;
  std::int32_t SeqNbr = kNotSupplied;
  std::int32_t MinOccurs = kNone;
  std::int32_t MaxOccurs = kNone;  // negative: unbounded
  std::int32_t RepIndicator = 0;
  std::int32_t toTagIndex = kNotSupplied;
  std::int32_t toTypeIndex = kNotSupplied;
};

struct SMD_TYPE_DEFINITION {
  std::int32_t TypeId = kNotSupplied;
  const unsigned short* Identifier = nullptr;
  std::int32_t Content = kNone;
  std::int32_t Composition = kNone;
  std::int32_t BaseTypeId = 0;
  std::int32_t LogicalType = kNotSupplied;
  std::int32_t ToTypeMbrIndex = kNotSupplied;
  std::int32_t NamespaceIndex = kNone;
};
inline bool isInAnyOrder(const SMD_TYPE_DEFINITION& type) noexcept {
  return type.Composition == TYPE_UNORDERED || type.Composition == TYPE_ALL;
}

struct SMD_PATH_BASED_DEFINITION {
  std::int32_t MsgId = 0;
  std::int32_t EndFieldId = 0;
  std::int32_t MemberPathIndex = 0;
  std::int32_t ValueSetIndex = 0;
  std::int32_t DVIndex = 0;
  std::int32_t MinOccurs = 0;
  std::int32_t MaxOccurs = 0;
  std::int32_t MinLength = 0;
  std::int32_t MaxLength = 0;
  std::int32_t NullPermitted = 0;
};

struct SMD_VALUE_SET_DEFINITION {
  std::int32_t ValueSetValueIndex = 0;
  std::int32_t ValueSetValueRole = 0;
};

// One typed constant; which member of Value holds it follows from Type (an ELogicalType).
struct SMD_VALUE_DEFINITION {
  std::int32_t Type = LTUndefined;
  union ValueUnion {
    std::int64_t Integer = 0;
    const unsigned short* Text;  // Types 2 and 16
    double Float;
    bool Boolean;
    PWFDateTime DateTime;
    PWFInterval Interval;
  } Value;
};

// Rows of the tables that have no public record.
struct DependencyRow {
  const unsigned short* Dependency = nullptr;
};
struct NamespaceRow {
  const unsigned short* Space = nullptr;
};
struct MemberPathRow {
  std::int32_t MemberPathMemberId = 0;
};
struct MemberIdRow {
  std::int32_t MbrIDToTypeMbrIndexId = 0;
  std::int32_t MbrIDToTypeMbrIndexIndex = 0;
};

// The layouts that callers were compiled against.
static_assert(sizeof(void*) == 8, "record layouts are asserted for 64-bit targets");
static_assert(sizeof(DICTIONARY_IDENTIFICATION) == 1056);
static_assert(offsetof(DICTIONARY_IDENTIFICATION, FreezeTimestamp) == 532);
static_assert(sizeof(WIREFORMAT_DEFINITION) == 520);
static_assert(sizeof(MSGSET_DEFINITION) == 528);
static_assert(sizeof(SMD_TAG_DEFINITION) == 56);
static_assert(offsetof(SMD_TAG_DEFINITION, Class) == 16);
static_assert(offsetof(SMD_TAG_DEFINITION, NullPermitted) == 32);
static_assert(sizeof(SMD_STRUCTURE_ELEMENT_DEFINITION) == 56);
static_assert(offsetof(SMD_STRUCTURE_ELEMENT_DEFINITION, PhysicalName) == 24);
static_assert(sizeof(SMD_TYPE_DEFINITION) == 40);
static_assert(offsetof(SMD_TYPE_DEFINITION, Content) == 16);
static_assert(sizeof(SMD_PATH_BASED_DEFINITION) == 40);
static_assert(sizeof(SMD_VALUE_SET_DEFINITION) == 8);
static_assert(sizeof(SMD_VALUE_DEFINITION) == 48);
static_assert(offsetof(SMD_VALUE_DEFINITION, Value) == 8);
static_assert(std::is_trivially_copyable_v<SMD_VALUE_DEFINITION>);
static_assert(sizeof(MemberIdRow) == 8);

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_RECORDS_H
