#include "cpi/walk/facetcheck.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <optional>
#include <utility>

#include "cpi/extract/modelconventions.h"

namespace cpi {
namespace {

// Schemas have a few for each type; those behind are not looked at.
constexpr std::size_t kMaxFacets = 64;

// In the order of the enumeration.
constexpr std::u16string_view kBounds[] = {u"minInclusive", u"minExclusive", u"maxInclusive",
                                           u"maxExclusive", u"totalDigits",  u"fractionDigits"};

bool isDecimal(std::int32_t logicalType) {
  return logicalType == LTInteger || logicalType == LTDecimal;
}

// Of a canonical number; a 0 in front of the point is none.
std::int64_t fractionDigits(std::string_view number) {
  const std::size_t point = number.find('.');
  return point == number.npos ? 0 : static_cast<std::int64_t>(number.size() - point - 1);
}
std::int64_t totalDigits(std::string_view number) {
  if (number.starts_with('-')) number.remove_prefix(1);
  const std::string_view whole = number.substr(0, number.find('.'));
  return (whole == "0" ? 0 : static_cast<std::int64_t>(whole.size())) + fractionDigits(number);
}

}  // namespace

bool FacetCheck::isNeeded(std::int32_t typeIndex) {
  if (!model_.dictionary().types().contains(typeIndex)) return false;
  const Facets& facets = facetsOf(typeIndex);
  return !facets.limits.empty() || !facets.patterns.empty();
}

std::string_view FacetCheck::firstFault(std::int32_t typeIndex, std::string_view value,
                                        std::string_view collapsed) {
  if (!model_.dictionary().types().contains(typeIndex)) return {};
  Facets& facets = facetsOf(typeIndex);
  const std::string_view limit = firstLimit(facets, collapsed);
  return limit.empty() ? firstPattern(facets, value, collapsed) : limit;
}

std::string_view FacetCheck::firstLimit(const Facets& facets, std::string_view collapsed) {
  if (facets.limits.empty()) return {};
  std::string number(collapsed);
  if (isDecimal(facets.logicalType) && !canonicalDecimal(collapsed, false, number)) return {};
  for (const Limit& limit : facets.limits) {
    if (!isKept(limit, facets, number)) return limit.text;
  }
  return {};
}

std::string_view FacetCheck::firstPattern(Facets& facets, std::string_view value,
                                          std::string_view collapsed) {
  if (facets.patterns.empty()) return {};
  const std::u16string whole = toUtf16(value);
  const std::u16string tidy = toUtf16(collapsed);
  for (Pattern& one : facets.patterns) {
    if (!one.pattern.admits(tidy) && !one.pattern.admits(whole)) return one.text;
  }
  return {};
}

FacetCheck::Facets& FacetCheck::facetsOf(std::int32_t typeIndex) {
  const auto [entry, isNew] = facets_.try_emplace(typeIndex);
  if (!isNew) return entry->second;
  Facets& facets = entry->second;
  facets.logicalType = model_.dictionary().types().row(typeIndex).LogicalType;
  if (facets.logicalType == LTFloat) {
    facets.form = formOf(model_.properties().builtInBaseOf(typeIndex));
  }
  forEachFacet(model_.properties().facetsOf(typeIndex),
               [&](std::u16string_view name, std::u16string_view value) {
                 if (facets.limits.size() + facets.patterns.size() >= kMaxFacets) return;
                 if (name == kPatternFacet) addPattern(value, facets);
                 else addLimit(name, toUtf8(value), facets);
               });
  return facets;
}

void FacetCheck::addPattern(std::u16string_view text, Facets& facets) {
  SchemaPattern pattern(text);
  if (pattern.isUsable())
    facets.patterns.push_back({std::move(pattern), "pattern " + toUtf8(text)});
}

void FacetCheck::addLimit(std::u16string_view name, const std::string& text, Facets& facets) {
  const auto bound = std::ranges::find(kBounds, name);
  if (bound == std::end(kBounds)) return;
  Limit limit{static_cast<Bound>(bound - std::begin(kBounds)), text, toUtf8(name) + " " + text};
  const bool isNumber = isDecimal(facets.logicalType)
                            ? canonicalDecimal(text, false, limit.value)
                            : facets.logicalType == LTFloat && floatOf(text, facets.form);
  if (isNumber) facets.limits.push_back(std::move(limit));
}

// What cannot be compared, as a date or what is no number, keeps all limits.
bool FacetCheck::isKept(const Limit& limit, const Facets& facets, const std::string& number) {
  if (limit.bound == Bound::TotalDigits || limit.bound == Bound::FractionDigits) {
    const std::int64_t digits =
        limit.bound == Bound::TotalDigits ? totalDigits(number) : fractionDigits(number);
    return compareDecimals(std::to_string(digits), limit.value) <= 0;
  }
  const std::optional<int> order = orderOf(number, limit.value, facets);
  if (!order) return true;
  switch (limit.bound) {
    case Bound::MinInclusive: return *order >= 0;
    case Bound::MinExclusive: return *order > 0;
    case Bound::MaxInclusive: return *order <= 0;
    default: return *order < 0;
  }
}

std::optional<int> FacetCheck::orderOf(std::string_view left, std::string_view right,
                                       const Facets& facets) {
  if (facets.logicalType != LTFloat) return compareDecimals(left, right);
  const std::optional<double> first = floatOf(left, facets.form);
  const std::optional<double> second = floatOf(right, facets.form);
  if (!first || !second || std::isnan(*first) || std::isnan(*second)) return std::nullopt;
  return *first < *second ? -1 : *first > *second ? 1 : 0;
}

}  // namespace cpi
