#include "cpi/compile/wildcardtypes.h"

#include <utility>

#include "cpi/extract/modelconventions.h"

namespace cpi {

std::int32_t WildcardTypes::typeOf(const WildcardText& text) {
  const auto known = types_.find(text.identifier);
  if (known != types_.end()) return known->second;
  TypeDraft type;
  type.identifier = text.identifier;
  type.logicalType = kFirstWildcardLogicalType + static_cast<std::int32_t>(types_.size());
  const std::int32_t index = draft_.addType(std::move(type));
  types_.emplace(text.identifier, index);
  wildcards_.emplace(index, text);
  return index;
}

MemberDraft WildcardTypes::memberOf(const WildcardText& text) {
  MemberDraft member;
  member.type = typeOf(text);
  member.memberClass = TCField;
  member.minOccurs = 0;
  member.maxOccurs = kNone;
  return member;
}

}  // namespace cpi
