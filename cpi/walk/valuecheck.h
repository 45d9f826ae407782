// ValueCheck: holds the values of simple types against what the dictionary knows of them: value
// sets, lengths and the look of numbers and truth values; and those of lists and unions against
// the types of their items and members.
//
// How white space counts in a value is not looked up, so a value is refused only when it is wrong
// both as it stands and with its white space collapsed. Sets of dates, times and durations,
// and sets, fixed values and lengths of qualified names, are not judged.
//
// Thread rule: one thread at a time. What it has prepared of a value set is kept.
#ifndef CPI_WALK_VALUECHECK_H
#define CPI_WALK_VALUECHECK_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "cpi/dictinfo/stddi/stddictionaryinfo.h"
#include "cpi/walk/facetcheck.h"
#include "cpi/walk/valueform.h"
#include "cpi/walk/verdict.h"
#include "cpi/walk/walkmodel.h"

namespace cpi {

class ValueCheck {
 public:
  // `model` is not owned and must outlive this.
  explicit ValueCheck(const WalkModel& model);

  // Whether judge() may find anything wrong with a value of this tag; false for no row.
  bool isNeeded(std::int32_t tagIndex);
  // What is wrong with a value, UTF-8, of the tag in this row: NotInValueSet, TooShort, TooLong,
  // WrongForm, NotFixedValue, NotOfFacet or None.
  Reason judge(std::int32_t tagIndex, std::string_view value);
  // The same of a value that is too long to be kept, of which this is the beginning without
  // superfluous white space. What does not show by that is let pass.
  Reason judgeBeginning(std::int32_t tagIndex, std::string_view beginning);
  // Tells in a finding what would have been right of the last value.
  void describe(std::int32_t tagIndex, Reason reason, Finding& finding) const;

 private:
  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>()(text);
    }
  };
  struct ValueSet {
    bool isJudged = true;  // false: it has values that are not compared
    std::unordered_set<std::string, Hash, std::equal_to<>> keys;
  };

  // A type of which values of another one consist.
  struct Part {
    std::int32_t typeIndex;
    std::int32_t tagIndex;  // that tells the limits of its values; kNone: it has none
  };
  struct Parts {
    bool isList;
    std::int32_t least;  // items
    std::int32_t most;
    std::vector<Part> types;
  };

  const Parts* partsOf(std::int32_t typeIndex) const;
  Reason judgeWhole(const SMD_TAG_DEFINITION& tag, std::int32_t tagIndex, std::string_view value);
  Reason judgeLength(const SMD_TAG_DEFINITION& tag, std::string_view value) const;
  Reason judgeFacets(std::int32_t typeIndex, std::string_view value);
  Reason judgeParts(std::int32_t typeIndex, std::string_view value, int depth);
  Reason judgePart(const Part& part, std::string_view value, int depth);
  bool hasOneForm(std::int32_t typeIndex) const;
  Reason judgeItems(const Parts& list, std::string_view value, int depth);
  std::int32_t logicalTypeOf(const SMD_TAG_DEFINITION& tag) const;
  ValueForm formOfType(std::int32_t typeIndex) const;
  bool isFixedValue(const SMD_TAG_DEFINITION& tag, std::int32_t logicalType) const;
  bool mayBeInSet(const SMD_TAG_DEFINITION& tag, std::int32_t logicalType, std::size_t size);
  bool isInSet(const SMD_TAG_DEFINITION& tag, std::int32_t logicalType, std::string_view value);
  const ValueSet& setOf(const SMD_TAG_DEFINITION& tag, std::int32_t logicalType);
  std::int64_t lengthOf(const SMD_TAG_DEFINITION& tag, std::string_view value) const;

  const WalkModel& model_;
  const StdDictionaryInfo& dictionary_;
  // By first row of the set, and logical type and form of the values.
  std::map<std::tuple<std::int32_t, std::int32_t, ValueForm>, ValueSet> sets_;
  std::size_t valueCount_ = 0;                     // of all sets
  std::unordered_map<std::int32_t, Parts> parts_;  // by Types row
  std::vector<ValueForm> forms_;                   // the same; only of texts and floating numbers
  std::size_t budget_ = 0;  // bytes that may still be looked at for one value
  FacetCheck facets_;
  std::string facet_;  // that the last value was not of
  std::string key_;
  std::string collapsed_;
};

}  // namespace cpi

#endif  // CPI_WALK_VALUECHECK_H
