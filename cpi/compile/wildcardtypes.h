// WildcardTypes: the type drafts that stand for wildcards, one for each distinct text.
#ifndef CPI_COMPILE_WILDCARDTYPES_H
#define CPI_COMPILE_WILDCARDTYPES_H

#include <cstdint>
#include <map>
#include <string>

#include "cpi/compile/tabledraft.h"
#include "cpi/compile/wildcardtext.h"

namespace cpi {

class WildcardTypes {
 public:
  // `draft` is not owned and must outlive this object.
  explicit WildcardTypes(TableDraft& draft) : draft_(draft) {}

  // The draft of a wildcard's type, added when it is new.
  std::int32_t typeOf(const WildcardText& text);
  // A member draft for a wildcard that admits any number of attributes.
  MemberDraft memberOf(const WildcardText& text);
  // The wildcard of such a type.
  const WildcardText& wildcard(std::int32_t type) const { return wildcards_.at(type); }

 private:
  TableDraft& draft_;
  std::map<std::u16string, std::int32_t> types_;    // by identifier
  std::map<std::int32_t, WildcardText> wildcards_;  // by type
};

}  // namespace cpi

#endif  // CPI_COMPILE_WILDCARDTYPES_H
