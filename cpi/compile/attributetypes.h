// AttributeTypes: the attributes of complex types, as types and tags of their own.
//
// Attributes cannot be members beside the elements: a search by name would find them, and every
// search would step through them. So the attributes of a type are the members of a companion type,
// which a hidden tag leads to. Types with the same attributes share one companion; attributes that
// are alike share a tag, since schemas give the same ones to hundreds of types.
#ifndef CPI_COMPILE_ATTRIBUTETYPES_H
#define CPI_COMPILE_ATTRIBUTETYPES_H

#include <cstdint>
#include <map>
#include <string>
#include <tuple>
#include <vector>
#include <xercesc/framework/psvi/XSAttributeUse.hpp>
#include <xercesc/framework/psvi/XSComplexTypeDefinition.hpp>
#include <xercesc/framework/psvi/XSModel.hpp>

#include "cpi/compile/schematypes.h"
#include "cpi/compile/tabledraft.h"
#include "cpi/compile/wildcardtypes.h"

namespace cpi {

class AttributeTypes {
 public:
  // All are not owned and must outlive this object.
  AttributeTypes(SchemaTypes& types, WildcardTypes& wildcards, TableDraft& draft)
      : types_(types), wildcards_(wildcards), draft_(draft) {}

  // Adds the attributes of the complex type `definition` with draft `type`. May list more types.
  void add(std::int32_t type, xercesc::XSComplexTypeDefinition& definition);
  // Adds the attributes that wildcards may admit.
  void addGlobal(xercesc::XSModel& model);

 private:
  struct Constraint {
    xercesc::XSConstants::VALUE_CONSTRAINT kind;
    std::u16string value;
  };
  using TagKey =
      std::tuple<std::u16string, std::u16string, std::int32_t, std::int32_t, std::u16string>;

  MemberDraft memberOf(xercesc::XSAttributeDeclaration& attribute, const Constraint& constraint);
  std::int32_t tagOf(xercesc::XSAttributeDeclaration& attribute, const Constraint& constraint);
  void addContext(std::int32_t type, std::vector<MemberDraft> members);
  std::int32_t companionOf(std::vector<MemberDraft> members);

  SchemaTypes& types_;
  WildcardTypes& wildcards_;
  TableDraft& draft_;
  std::map<TagKey, std::int32_t> tags_;
  std::map<std::vector<std::pair<std::int32_t, std::int32_t>>, std::int32_t> companions_;
};

}  // namespace cpi

#endif  // CPI_COMPILE_ATTRIBUTETYPES_H
