#include "cpi/compile/valuetypes.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <optional>
#include <xercesc/framework/psvi/XSComplexTypeDefinition.hpp>

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

}  // namespace

bool isBuiltIn(const XSTypeDefinition& type) {
  return viewOf(type.getNamespace()) == kSchemaNamespace;
}

bool isAnyType(XSTypeDefinition& type) {
  return isBuiltIn(type) && viewOf(type.getName()) == u"anyType";
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

std::vector<ValueRow> enumerationOf(XSSimpleTypeDefinition& type) {
  std::vector<ValueRow> values;
  xercesc::StringList* const texts = type.getLexicalEnumeration();
  const std::int32_t logicalType = logicalTypeOf(type);
  for (XMLSize_t i = 0; texts != nullptr && i < texts->size(); ++i) {
    values.push_back(constantOf(viewOf(texts->elementAt(i)), logicalType));
  }
  return values;
}

LengthLimits lengthLimitsOf(XSSimpleTypeDefinition& type) {
  if (type.getVariety() != XSSimpleTypeDefinition::VARIETY_ATOMIC) return {};
  const std::int32_t exact = lengthFacet(type, XSSimpleTypeDefinition::FACET_LENGTH);
  if (exact != kNone) return {exact, exact};
  return {lengthFacet(type, XSSimpleTypeDefinition::FACET_MINLENGTH),
          lengthFacet(type, XSSimpleTypeDefinition::FACET_MAXLENGTH)};
}

}  // namespace cpi
