// FixCursor: the iterator that a walk of FIX messages leads along the dictionary.
#ifndef CPI_WALK_FIXCURSOR_H
#define CPI_WALK_FIXCURSOR_H

#include <cstdint>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"

namespace cpi {

// An iterator that may start without context, and that can be put where a move in a type without
// groups and in any order would lead it.
class FixCursor : public StdDictionaryIterator {
 public:
  explicit FixCursor(const StdDictionaryInfo& dictionary) { setDictionaryInfo(&dictionary); }

  std::int32_t memberIndex() const noexcept { return positionStack.back().memberIndex; }
  void enter(std::int32_t member) {
    positionStack.push_back(positionAt(member));
    positionStackSaved = false;
  }
  void standOn(std::int32_t member) {
    positionStack.back() = positionAt(member);
    positionStackSaved = false;
  }
  void repeat() {
    positionStack.back().pathBasedInfoIndex = kNone;  // as if its limit had been asked for
    ++positionStack.back().repeatIndex;
    positionStackSaved = false;
  }
  void leave() {
    positionStack.pop_back();
    positionStackSaved = false;
  }
  // Stands on a member of the message.
  void begin(std::int32_t member) {
    positionStack.erase(positionStack.begin() + 1, positionStack.end());
    enter(member);
  }

 private:
  DictionaryPosition positionAt(std::int32_t member) const noexcept {
    const SMD_STRUCTURE_ELEMENT_DEFINITION& row = dictionaryInfo->typeMembers().row(member);
    return {dictionaryInfo,   member, row.toTagIndex, row.toTypeIndex,
            kPathInfoUnknown, 0,      NTUndefined};
  }
};

}  // namespace cpi

#endif  // CPI_WALK_FIXCURSOR_H
