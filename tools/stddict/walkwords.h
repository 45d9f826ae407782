// The words in which both reports speak of a walk.
#ifndef TOOLS_STDDICT_WALKWORDS_H
#define TOOLS_STDDICT_WALKWORDS_H

#include <array>
#include <string>
#include <string_view>

#include "cpi/walk/xmlwalker.h"

// All placements, in the order of the enumeration.
inline constexpr std::array<cpi::Placement, cpi::kPlacementCount> kPlacements = {
    cpi::Placement::Root,       cpi::Placement::Member,      cpi::Placement::Wildcard,
    cpi::Placement::TagDefined, cpi::Placement::SelfDefined, cpi::Placement::Refused,
    cpi::Placement::Unjudged};

// A word without spaces: "member", "tag-defined", ...
std::string_view wordOf(cpi::Placement placement) noexcept;
// Why an element was refused; empty when it was not.
std::string_view wordsOf(cpi::Reason reason) noexcept;
// The name of the type by which an element's content is judged, UTF-8; empty when there is none
// or the type has no name of its own.
std::string typeNameOf(const cpi::WalkedElement& element);

#endif  // TOOLS_STDDICT_WALKWORDS_H
