#include "cpi/compile/valuetypes.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <optional>
#include <span>
#include <xercesc/framework/psvi/XSComplexTypeDefinition.hpp>

#include <xercesc/util/KVStringPair.hpp>
#include <xercesc/validators/datatype/DatatypeValidator.hpp>
#include <xercesc/validators/schema/SchemaSymbols.hpp>

#include "cpi/compile/xmltext.h"
#include "cpi/extract/modelconventions.h"
#include "cpi/runtime/datacnv.h"
#include "cpi/runtime/utf16.h"

namespace cpi {

namespace {

using xercesc::XSSimpleTypeDefinition;
using xercesc::XSTypeDefinition;

struct BuiltInRow {
  std::u16string_view name;
  ELogicalType logicalType;
};

// The built-in types that are not text. Those derived from them count as themselves.
constexpr BuiltInRow kBuiltIns[] = {
    {u"boolean", LTBoolean},
    {u"decimal", LTDecimal},
    {u"float", LTFloat},
    {u"double", LTFloat},
    {u"duration", LTInterval},
    {u"dateTime", LTDateTime},
    {u"date", LTDateTime},
    {u"time", LTDateTime},
    {u"integer", LTInteger},
    {u"nonPositiveInteger", LTInteger},
    {u"negativeInteger", LTInteger},
    {u"long", LTInteger},
    {u"int", LTInteger},
    {u"short", LTInteger},
    {u"byte", LTInteger},
    {u"nonNegativeInteger", LTInteger},
    {u"unsignedLong", LTInteger},
    {u"unsignedInt", LTInteger},
    {u"unsignedShort", LTInteger},
    {u"unsignedByte", LTInteger},
    {u"positiveInteger", LTInteger},
};

ValueRow textValue(std::u16string_view text) { return {LTString, Text(text)}; }

std::optional<std::int64_t> integerOf(std::string_view digits) {
  if (digits.starts_with('+')) digits.remove_prefix(1);
  const bool isNegative = digits.starts_with('-');
  if (isNegative) digits.remove_prefix(1);
  constexpr std::uint64_t kLimit = std::numeric_limits<std::int64_t>::max();
  std::uint64_t value = 0;
  for (const char digit : digits) {
    if (digit < '0' || digit > '9') return std::nullopt;
    const auto unit = static_cast<std::uint64_t>(digit - '0');
    if (value > (kLimit - unit) / 10) return std::nullopt;
    value = value * 10 + unit;
  }
  if (digits.empty()) return std::nullopt;
  const auto number = static_cast<std::int64_t>(value);
  return isNegative ? -number : number;
}

double floatOf(const std::string& text) {
  if (text == "INF") return std::numeric_limits<double>::infinity();
  if (text == "-INF") return -std::numeric_limits<double>::infinity();
  if (text == "NaN") return std::numeric_limits<double>::quiet_NaN();
  return std::strtod(text.c_str(), nullptr);
}

const DataCnv& converter() {
  static const DataCnv instance(1208, EEndianLittle, EFloatFmtIEEE, 53, nullptr, nullptr, 0, true,
                                0, nullptr);
  return instance;
}

ValueRow timeValue(const std::u16string& text, std::int32_t logicalType) {
  const auto length = static_cast<std::int32_t>(text.size());
  const unsigned short* const units = asUnits(text.c_str());
  try {
    if (logicalType == LTInterval) return {LTInterval, converter().StrToInterval(units, length)};
    return {LTDateTime, converter().StrToDateTime(units, CPI_STD_DATETIME_FORMAT, length)};
  } catch (const DataCnvError&) {
    return textValue(text);
  }
}

std::int32_t lengthFacet(XSSimpleTypeDefinition& type, XSSimpleTypeDefinition::FACET facet) {
  if (!type.isDefinedFacet(facet)) return kNone;
  const std::string text = toUtf8(trimmed(viewOf(type.getLexicalFacetValue(facet))));
  const auto value = integerOf(text);
  constexpr std::int64_t kMost = std::numeric_limits<std::int32_t>::max();
  return value ? static_cast<std::int32_t>(std::min(*value, kMost)) : kNone;
}

struct FacetRow {
  XSSimpleTypeDefinition::FACET facet;
  std::u16string_view name;
};
constexpr FacetRow kListLengths[] = {
    {XSSimpleTypeDefinition::FACET_LENGTH, u"length"},
    {XSSimpleTypeDefinition::FACET_MINLENGTH, u"minLength"},
    {XSSimpleTypeDefinition::FACET_MAXLENGTH, u"maxLength"},
};
constexpr FacetRow kFacets[] = {
    {XSSimpleTypeDefinition::FACET_MININCLUSIVE, u"minInclusive"},
    {XSSimpleTypeDefinition::FACET_MINEXCLUSIVE, u"minExclusive"},
    {XSSimpleTypeDefinition::FACET_MAXINCLUSIVE, u"maxInclusive"},
    {XSSimpleTypeDefinition::FACET_MAXEXCLUSIVE, u"maxExclusive"},
    {XSSimpleTypeDefinition::FACET_TOTALDIGITS, u"totalDigits"},
    {XSSimpleTypeDefinition::FACET_FRACTIONDIGITS, u"fractionDigits"},
};

// A line break within a value is written as the escape that stands for it in a pattern.
void addFacet(std::u16string& text, std::u16string_view name, std::u16string_view value) {
  if (!text.empty()) text += u'\n';
  text.append(name).append(u" ");
  for (const char16_t unit : value) {
    if (unit == u'\n') text += u"\\n";
    else text += unit;
  }
}

void addFacets(std::u16string& text, XSSimpleTypeDefinition& type, std::span<const FacetRow> rows) {
  for (const FacetRow& row : rows) {
    if (!type.isDefinedFacet(row.facet)) continue;
    addFacet(text, row.name, trimmed(viewOf(type.getLexicalFacetValue(row.facet))));
  }
}

// The patterns of one derivation are alternatives; those of all derivations hold. The patterns of
// built-in types say nothing that their logical type does not. The processor's list of them is
// split at each '|', so they are taken as it joined them.
void addPatterns(std::u16string& text, XSSimpleTypeDefinition& first) {
  XSTypeDefinition* type = &first;
  while (type != nullptr && !isBuiltIn(*type) &&
         type->getTypeCategory() == XSTypeDefinition::SIMPLE_TYPE) {
    const auto* const own = static_cast<XSSimpleTypeDefinition*>(type)->getDatatypeValidator();
    const auto* const facets = own == nullptr ? nullptr : own->getFacets();
    const auto* const pattern =
        facets == nullptr ? nullptr : facets->get(xercesc::SchemaSymbols::fgELT_PATTERN);
    if (pattern != nullptr) addFacet(text, u"pattern", viewOf(pattern->getValue()));
    type = type->getBaseType();
  }
}

}  // namespace

bool isBuiltIn(const XSTypeDefinition& type) {
  return viewOf(type.getNamespace()) == kSchemaNamespace;
}

bool isAnyType(XSTypeDefinition& type) {
  return isBuiltIn(type) && viewOf(type.getName()) == u"anyType";
}

xercesc::XSComplexTypeDefinition* asComplex(XSTypeDefinition& type) {
  const bool isComplex = type.getTypeCategory() == XSTypeDefinition::COMPLEX_TYPE;
  return isComplex ? static_cast<xercesc::XSComplexTypeDefinition*>(&type) : nullptr;
}

XSSimpleTypeDefinition* valueTypeOf(XSTypeDefinition& type) {
  if (type.getTypeCategory() == XSTypeDefinition::SIMPLE_TYPE) {
    return static_cast<XSSimpleTypeDefinition*>(&type);
  }
  auto& complex = static_cast<xercesc::XSComplexTypeDefinition&>(type);
  const bool hasValue =
      complex.getContentType() == xercesc::XSComplexTypeDefinition::CONTENTTYPE_SIMPLE;
  return hasValue ? complex.getSimpleType() : nullptr;
}

std::int32_t logicalTypeOf(XSTypeDefinition& type) {
  XSSimpleTypeDefinition* const valueType = valueTypeOf(type);
  if (valueType == nullptr) return 0;
  if (valueType->getVariety() != XSSimpleTypeDefinition::VARIETY_ATOMIC) return LTString;
  XSTypeDefinition* base = valueType;
  while (base != nullptr && !isBuiltIn(*base)) base = base->getBaseType();
  if (base == nullptr) return LTString;
  const auto row = std::ranges::find(kBuiltIns, viewOf(base->getName()), &BuiltInRow::name);
  return row == std::end(kBuiltIns) ? LTString : row->logicalType;
}

ValueRow constantOf(std::u16string_view lexical, std::int32_t logicalType) {
  if (logicalType == LTString || logicalType == 0) return textValue(lexical);
  const std::u16string collapsed(trimmed(lexical));
  const std::string ascii = toUtf8(collapsed);
  switch (logicalType) {
    case LTInteger:
      if (const auto value = integerOf(ascii)) return {LTInteger, *value};
      return {LTDecimal, Text(collapsed)};
    case LTDecimal: return {LTDecimal, Text(collapsed)};
    case LTFloat: return {LTFloat, floatOf(ascii)};
    case LTBoolean: return {LTBoolean, ascii == "true" || ascii == "1"};
    default: return timeValue(collapsed, logicalType);
  }
}

// Behind each qualified name the processor keeps its namespace.
std::vector<ValueRow> enumerationOf(XSSimpleTypeDefinition& type) {
  std::vector<ValueRow> values;
  xercesc::StringList* const texts = type.getLexicalEnumeration();
  const std::int32_t logicalType = logicalTypeOf(type);
  const auto* const validator = type.getDatatypeValidator();
  const bool isOfNames =
      validator != nullptr && validator->getType() == xercesc::DatatypeValidator::QName;
  for (XMLSize_t i = 0; texts != nullptr && i < texts->size(); i += isOfNames ? 2 : 1) {
    values.push_back(constantOf(viewOf(texts->elementAt(i)), logicalType));
  }
  return values;
}

std::u16string facetsOf(XSSimpleTypeDefinition& type) {
  std::u16string text;
  const bool isList = type.getVariety() == XSSimpleTypeDefinition::VARIETY_LIST;
  if (isList) addFacets(text, type, kListLengths);
  addFacets(text, type, kFacets);
  if (logicalTypeOf(type) == LTString && type.getDatatypeValidator() != nullptr) {
    const short space = type.getDatatypeValidator()->getWSFacet();
    if (space == xercesc::DatatypeValidator::COLLAPSE) addFacet(text, u"whiteSpace", u"collapse");
    if (space == xercesc::DatatypeValidator::REPLACE) addFacet(text, u"whiteSpace", u"replace");
  }
  addPatterns(text, type);
  return text;
}

LengthLimits lengthLimitsOf(XSSimpleTypeDefinition& type) {
  if (type.getVariety() != XSSimpleTypeDefinition::VARIETY_ATOMIC) return {};
  const std::int32_t exact = lengthFacet(type, XSSimpleTypeDefinition::FACET_LENGTH);
  if (exact != kNone) return {exact, exact};
  return {lengthFacet(type, XSSimpleTypeDefinition::FACET_MINLENGTH),
          lengthFacet(type, XSSimpleTypeDefinition::FACET_MAXLENGTH)};
}

}  // namespace cpi
