// FacetCheck: holds values against the facets that a dictionary has as properties of types: ranges
// of numbers, numbers of digits, and patterns.
//
// Thread rule: one thread at a time. What it has prepared of a type is kept.
#ifndef CPI_WALK_FACETCHECK_H
#define CPI_WALK_FACETCHECK_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cpi/extract/schemapattern.h"
#include "cpi/walk/valueform.h"
#include "cpi/walk/walkmodel.h"

namespace cpi {

class FacetCheck {
 public:
  // `model` is not owned and must outlive this.
  explicit FacetCheck(const WalkModel& model) : model_(model) {}

  // Whether anything is known of the type in this row that a value may be held against.
  bool isNeeded(std::int32_t typeIndex);
  // The facet that a value is not of, as "minInclusive 1"; empty: it is of all. `value` is the
  // value as it stands, UTF-8, and `collapsed` the same without superfluous white space: it is
  // wrong only if both are. What is returned is valid until the next call.
  std::string_view firstFault(std::int32_t typeIndex, std::string_view value,
                              std::string_view collapsed);

 private:
  enum class Bound : std::uint8_t {
    MinInclusive,
    MinExclusive,
    MaxInclusive,
    MaxExclusive,
    TotalDigits,
    FractionDigits,
  };
  struct Limit {
    Bound bound;
    std::string value;  // canonical, or of floating-point numbers a text
    std::string text;
  };
  struct Pattern {
    SchemaPattern pattern;
    std::string text;
  };
  struct Facets {
    std::int32_t logicalType = 0;
    ValueForm form = ValueForm::Plain;
    std::vector<Limit> limits;
    std::vector<Pattern> patterns;
  };

  static std::string_view firstLimit(const Facets& facets, std::string_view collapsed);
  static std::string_view firstPattern(Facets& facets, std::string_view value,
                                       std::string_view collapsed);
  Facets& facetsOf(std::int32_t typeIndex);
  static void addPattern(std::u16string_view text, Facets& facets);
  static void addLimit(std::u16string_view name, const std::string& text, Facets& facets);
  static bool isKept(const Limit& limit, const Facets& facets, const std::string& number);
  static std::optional<int> orderOf(std::string_view left, std::string_view right,
                                    const Facets& facets);

  const WalkModel& model_;
  std::unordered_map<std::int32_t, Facets> facets_;  // by Types row
};

}  // namespace cpi

#endif  // CPI_WALK_FACETCHECK_H
