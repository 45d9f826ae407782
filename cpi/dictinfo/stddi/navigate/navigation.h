// What the navigation sources share: source paths of errors, and the entry checks of moves.
#ifndef CPI_DICTINFO_STDDI_NAVIGATE_NAVIGATION_H
#define CPI_DICTINFO_STDDI_NAVIGATE_NAVIGATION_H

#include <cstdint>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"

namespace cpi {

// Source paths that errors report: of the iterator's own sources, and of its public header.
inline constexpr const char* kIteratorSource = "cpi/dictinfo/stddi/stddictionaryiterator";
inline constexpr const char* kIteratorHeader = "stddictionaryiterator";

// Stack entries beyond which moves look at each member: it is not known then whether a search step
// by step would come to an end before it gives up.
inline constexpr std::size_t kMaximumPassingDepth = 512;

// Builds the site of an error thrown here.
inline ErrorSite siteOf(const char* file, const char* operation,
                        std::int32_t line = __builtin_LINE()) {
  return {file, line, operation};
}

// Written when the filter admits trace items.
inline void traceItem(const KelLogSource* source, const char* operation, const char* text,
                      std::initializer_list<KelInsert> inserts = {}) {
  if (KelLog::isOn(LLTrace)) KelLog::trace(source, operation, text, inserts);
}

// The first member of a type: its ToTypeMbrIndex, or -1 when that leads to no row.
inline std::int32_t firstMember(const StdDictionaryInfo& dictionary,
                                const SMD_TYPE_DEFINITION* type) noexcept {
  return type != nullptr && dictionary.typeMembers().contains(type->ToTypeMbrIndex)
             ? type->ToTypeMbrIndex
             : kNone;
}

// A position of a member that has no tag and no simple type. The parser never sees it as an
// element: it stands for the members inside it.
inline bool isGroup(const StdDictionaryInfo& dictionary,
                    const DictionaryPosition& position) noexcept {
  if (position.tagIndex != kNone) return false;
  const SMD_TYPE_DEFINITION* const type = dictionary.types().find(position.typeIndex);
  return type != nullptr && type->LogicalType == 0;
}

// The name that a tag matches by: what follows the first '^', or the whole text.
inline std::u16string_view comparedName(const unsigned short* text) noexcept {
  const std::u16string_view whole = textView(text);
  const std::size_t mark = whole.find(u'^');
  return mark == std::u16string_view::npos ? whole : whole.substr(mark + 1);
}

// Labels and values of a search in entry items.
struct SearchLabel {
  const char* label;
  KelInsert value;
};
SearchLabel labelOf(const SearchDef& search);

// The entry and exit items of a move, whose entry shows what is looked for.
class MoveOperation : public KelOperation {
 public:
  template <class... Flags>
  MoveOperation(const KelLogSource* source, const char* name, const SearchDef& search,
                Flags... flags)
      : MoveOperation(source, name, KelLog::isOn(LLDebug) ? labelOf(search) : SearchLabel{"", 0},
                      flags...) {}

 private:
  template <class... Flags>
  MoveOperation(const KelLogSource* source, const char* name, const SearchLabel& search,
                Flags... flags)
      : KelOperation(source, name, "{", search.label, search.value, "}", flags...) {}
};

}  // namespace cpi

#endif  // CPI_DICTINFO_STDDI_NAVIGATE_NAVIGATION_H
