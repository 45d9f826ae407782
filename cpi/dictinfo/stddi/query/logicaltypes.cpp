// Logical types, and readable texts for ids.
#include "cpi/dictinfo/stddi/query/lookupindex.h"

namespace cpi {

namespace {

// Constant-initialised, so it is there before any dictionary and after every one.
constexpr char16_t kUndefined[] = u"UNDEFINED";

const unsigned short* undefinedText() noexcept { return asUnits(kUndefined); }

}  // namespace

LOGICAL_TYPE StdDictionaryInfo::getTypeValueLogicalType(std::int32_t typeIndex) const {
  const SMD_TYPE_DEFINITION* const type = types_.find(typeIndex);
  if (type == nullptr) return LOGICAL_TYPE{0};
  if (type->BaseTypeId <= 0) return static_cast<LOGICAL_TYPE>(type->LogicalType);
  return getTypeBaseLogicalType(typeIndex);
}

// One level only: the base type's own code counts, whether or not it has a base itself.
LOGICAL_TYPE StdDictionaryInfo::getTypeBaseLogicalType(std::int32_t typeIndex) const {
  const SMD_TYPE_DEFINITION* const type = types_.find(typeIndex);
  if (type == nullptr || type->BaseTypeId <= 0) return LOGICAL_TYPE{0};
  if (ids_.types.isBuilt()) {  // ids that ascend have one row each, so that it is the first too
    const SMD_TYPE_DEFINITION* const base = types_.find(ids_.types.find(type->BaseTypeId));
    return static_cast<LOGICAL_TYPE>(base == nullptr ? 0 : base->LogicalType);
  }
  for (std::int32_t row = 0; row < types_.rowCount(); ++row) {
    const SMD_TYPE_DEFINITION& base = types_.row(row);
    if (base.TypeId == type->BaseTypeId) return static_cast<LOGICAL_TYPE>(base.LogicalType);
  }
  return LOGICAL_TYPE{0};
}

std::int32_t StdDictionaryInfo::getTypeDefIndexFromLogicalType(LOGICAL_TYPE logicalType) const {
  if (logicalType < 1) return kNone;
  if (const LookupIndex* const derived = index(); derived != nullptr) {
    return derived->definitions().firstOfLogicalType(logicalType);
  }
  for (std::int32_t row = 0; row < types_.rowCount(); ++row) {
    if (types_.row(row).LogicalType == logicalType) return row;
  }
  return kNone;
}

const unsigned short* StdDictionaryInfo::getTraceTextForID(std::int32_t id) const {
  if (const auto* const tag = tags_.find(getTagDefIndex(id)); tag != nullptr) {
    return tag->TextIdentifier;
  }
  if (const auto* const type = types_.find(getTypeDefIndex(id)); type != nullptr) {
    return type->Identifier;
  }
  const auto* const member = typeMembers_.find(getStructDefIndexFromMbrID(id));
  if (member == nullptr) return undefinedText();
  if (const auto* const tag = tags_.find(member->toTagIndex); tag != nullptr) {
    return tag->TextIdentifier;
  }
  const auto* const type = types_.find(member->toTypeIndex);
  return type == nullptr ? undefinedText() : type->Identifier;
}

const unsigned short* StdDictionaryInfo::getTraceTextForLogicalType(
    LOGICAL_TYPE logicalType) const {
  const auto* const type = types_.find(getTypeDefIndexFromLogicalType(logicalType));
  return type == nullptr ? undefinedText() : type->Identifier;
}

}  // namespace cpi
