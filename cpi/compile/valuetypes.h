// The value side of schema types: logical types, typed constants and length limits.
#ifndef CPI_COMPILE_VALUETYPES_H
#define CPI_COMPILE_VALUETYPES_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>
#include <xercesc/framework/psvi/XSComplexTypeDefinition.hpp>
#include <xercesc/framework/psvi/XSSimpleTypeDefinition.hpp>
#include <xercesc/framework/psvi/XSTypeDefinition.hpp>

#include "cpi/extract/dictionarytables.h"

namespace cpi {

// True for the types that the schema language itself defines.
bool isBuiltIn(const xercesc::XSTypeDefinition& type);
// True for the type that admits everything.
bool isAnyType(xercesc::XSTypeDefinition& type);

// The type as a complex one; null for a simple type.
xercesc::XSComplexTypeDefinition* asComplex(xercesc::XSTypeDefinition& type);

// The simple type that governs an element's text: the type itself, or what a complex type with
// simple content rests on. Null for all other types.
xercesc::XSSimpleTypeDefinition* valueTypeOf(xercesc::XSTypeDefinition& type);

// The logical type of the values of a type; 0 for a type without values. Lists and unions are
// text. So are the built-in types that no kind of typed value can hold (a year without month, a
// URI, octets, a qualified name).
std::int32_t logicalTypeOf(xercesc::XSTypeDefinition& type);

// The constant that `lexical` is in a type of the given logical type. A value of the type that no
// typed value can hold (a year of twenty digits, a number beyond 64 bits) stays text.
ValueRow constantOf(std::u16string_view lexical, std::int32_t logicalType);

// The enumerated values of a type, its own or inherited; empty when it has none.
std::vector<ValueRow> enumerationOf(xercesc::XSSimpleTypeDefinition& type);

struct LengthLimits {
  std::int32_t least = kNone;
  std::int32_t most = kNone;
};
// The limits of an atomic type's length; octets for binary types, characters for all others. Those
// of a list count its items and are not given.
LengthLimits lengthLimitsOf(xercesc::XSSimpleTypeDefinition& type);

// The facets of a type that tags have no column for, its own and inherited, in the form that
// modelconventions.h describes.
std::u16string facetsOf(xercesc::XSSimpleTypeDefinition& type);

}  // namespace cpi

#endif  // CPI_COMPILE_VALUETYPES_H
