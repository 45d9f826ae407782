// SchemaTypes: the types of a schema as drafts, and what a tag says of the values of its type.
//
// Types are listed in the order in which they were asked for; whoever fills them works through the
// list while it grows.
#ifndef CPI_COMPILE_SCHEMATYPES_H
#define CPI_COMPILE_SCHEMATYPES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>
#include <xercesc/framework/psvi/XSModel.hpp>
#include <xercesc/framework/psvi/XSSimpleTypeDefinition.hpp>
#include <xercesc/framework/psvi/XSTypeDefinition.hpp>

#include "cpi/compile/tabledraft.h"

namespace cpi {

struct SchemaType {
  std::int32_t index;  // of the draft
  xercesc::XSTypeDefinition* definition;
};

class SchemaTypes {
 public:
  // Both are not owned and must outlive this object.
  SchemaTypes(xercesc::XSModel& model, TableDraft& draft) : model_(model), draft_(draft) {}
  SchemaTypes(const SchemaTypes&) = delete;
  SchemaTypes& operator=(const SchemaTypes&) = delete;

  // The draft of a type, listed when it is new; null stands for xs:anyType. An anonymous type is
  // named after `owner`.
  std::int32_t typeOf(xercesc::XSTypeDefinition* definition, std::u16string_view owner);
  // Asks for all named types that are built in, or for all others, by namespace and name.
  void addNamed(bool builtIn);
  bool hasAnyType() const;

  // All types asked for, in order.
  const std::vector<SchemaType>& listed() const noexcept { return listed_; }
  // Completes a listed type with all but its content: base, derivation, control and facets. May
  // list more types.
  void describe(const SchemaType& type);

  // Gives a tag the lengths and the value set of its type.
  void addValueProperties(TagDraft& tag, xercesc::XSTypeDefinition& type);
  // Adds a tag for each named type.
  void addTypeTags();

  // "kind^<n>", for a type without name.
  std::u16string numbered(std::u16string_view kind);

 private:
  bool isNamed(xercesc::XSTypeDefinition& definition);
  xercesc::XSTypeDefinition& canonical(xercesc::XSTypeDefinition* definition);
  std::int32_t valueSetOf(xercesc::XSSimpleTypeDefinition& type);
  std::int32_t baseOf(xercesc::XSTypeDefinition& definition);
  DerivationDraft derivationOf(xercesc::XSTypeDefinition& definition);

  xercesc::XSModel& model_;
  TableDraft& draft_;
  std::unordered_map<const xercesc::XSTypeDefinition*, std::int32_t> types_;
  std::unordered_map<const xercesc::XSSimpleTypeDefinition*, std::int32_t> valueSets_;
  std::vector<SchemaType> listed_;
  std::int32_t numberedCount_ = 0;
};

}  // namespace cpi

#endif  // CPI_COMPILE_SCHEMATYPES_H
