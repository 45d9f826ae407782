// The words in which all reports speak of a walk.
#ifndef TOOLS_STDDICT_WALKWORDS_H
#define TOOLS_STDDICT_WALKWORDS_H

#include <array>
#include <string>
#include <string_view>
#include <vector>

#include "cpi/walk/walkvisitor.h"

// All placements, in the order of the enumeration.
inline constexpr std::array<cpi::Placement, cpi::kPlacementCount> kPlacements = {
    cpi::Placement::Root,       cpi::Placement::Member,      cpi::Placement::Wildcard,
    cpi::Placement::TagDefined, cpi::Placement::SelfDefined, cpi::Placement::Refused,
    cpi::Placement::Unjudged};

// A word without spaces: "member", "tag-defined", ...
std::string_view wordOf(cpi::Placement placement) noexcept;
// The same of a kind, as programs know it: "beyond-limit", "out-of-order", ...
std::string_view wordOf(cpi::VerdictKind kind) noexcept;
// What a kind means, as a sentence without a full stop.
std::string_view meaningOf(cpi::VerdictKind kind) noexcept;
// A word for a reason; empty when there is none.
std::string_view wordOf(cpi::Reason reason) noexcept;
// What is wrong, in one line: "out of order: before it must come buyer".
std::string sentenceOf(const cpi::Finding& finding);
// Of what is missing: "buyer, one of account, card or prepaid, part (2)"; long lists are cut off.
std::string missingList(const std::vector<cpi::Expected>& missing);
// Of what may come: "article, delivery (1 owed)" or "extras, or the end"; long lists are cut off.
std::string expectedList(const std::vector<cpi::Expected>& expected);
// "(article, quantity, remark)[2]" for each group, outermost first; empty: there is none.
std::string textOf(const std::vector<cpi::GroupStep>& groups);
// The name of the type by which an element's content is judged, UTF-8; empty when there is none
// or the type has no name of its own.
std::string typeNameOf(const cpi::WalkedElement& element);

#endif  // TOOLS_STDDICT_WALKWORDS_H
