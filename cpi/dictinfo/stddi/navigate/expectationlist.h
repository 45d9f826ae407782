// ExpectationList: fills an Expectation from a copy of an iterator, on which the search may run
// without leaving a trace in the original. Lists end early only in models beyond any sane size.
#ifndef CPI_DICTINFO_STDDI_NAVIGATE_EXPECTATIONLIST_H
#define CPI_DICTINFO_STDDI_NAVIGATE_EXPECTATIONLIST_H

#include <optional>
#include <set>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "cpi/dictinfo/stddi/expectation.h"
#include "cpi/dictinfo/stddi/navigate/emptycontent.h"

namespace cpi {

// The occurrence limit of a member.
inline std::int32_t limitOf(const SMD_STRUCTURE_ELEMENT_DEFINITION& member) noexcept {
  return member.MaxOccurs < 0 ? kUnbounded : member.MaxOccurs;
}

class ExpectationList {
 public:
  // Empties the expectation, which must outlive this object.
  ExpectationList(const StdDictionaryIterator& iterator, Expectation& expectation)
      : probe_(iterator), expectation_(expectation) {
    probe_.positionStackSaved = false;
    expectation_.clear();
  }

  // Whether there is a model to list from. What is owed is listed first: the search moves the copy.
  bool isAmongSiblings() const;
  bool isAboveChildren() const;
  void oweSiblings();
  void oweChildren();
  void listSiblings(bool enforceRequired);
  void listChildren(bool enforceRequired);

 private:
  const StdDictionaryInfo& dictionary() const { return *probe_.dictionaryInfo; }
  const SMD_TYPE_DEFINITION* parentType() const;
  // Adds the groups around the top entry; returns where they begin. They end at the list's end.
  std::size_t addPath();

  // --- Elements, in expectationlist.cpp ---
  void runSearch(bool matchCurrent, bool enforceRequired);
  bool visit(const DictionaryPosition& candidate, std::int32_t repeatIndex);
  bool isNew(ExpectedElement& element);
  ExpectedElement elementAt(const DictionaryPosition& candidate, std::int32_t repeatIndex) const;
  bool isFirstOfItsName(std::int32_t tagIndex);
  bool isRestarting(const ExpectedElement& element) const;

  // --- Owed, in owedlist.cpp ---
  // A level of the path: its type, and the groups around it.
  struct Level {
    const SMD_TYPE_DEFINITION* type;
    std::int32_t typeIndex;
    std::size_t firstGroup;
    std::size_t groupCount;
  };
  void oweLevel(const Level& level, const DictionaryPosition& at);
  void oweMembers(const Level& level, std::int32_t from, const DictionaryPosition* current);
  void oweMember(const Level& level, std::int32_t memberIndex, const DictionaryPosition* current);
  void oweAlternative(const Level& level);
  void owe(const Level& level, OwedMember owed);

  StdDictionaryIterator probe_;
  Expectation& expectation_;
  EmptyContent empty_{probe_.dictionaryInfo};
  std::int64_t rowsLeft_ = 1'000'000;  // that may still be looked at for what is owed
  std::vector<MbrPathItem> path_;
  std::optional<ExpectedElement> held_;  // a repeat whose place in model order is still to come
  std::unordered_set<std::int32_t> tags_;
  std::unordered_set<std::int32_t> types_;
  std::unordered_set<std::int32_t> logicalTypes_;
  std::set<std::pair<std::u16string_view, std::u16string_view>> names_;  // namespace and name
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_NAVIGATE_EXPECTATIONLIST_H
