#include "cpi/walk/memberfinder.h"

#include <limits>

#include "cpi/walk/elementplaces.h"

namespace cpi {
namespace {

// A content mostly has a name once or twice; of more places than these the others are not tried.
constexpr int kMaxTried = 8;

}  // namespace

bool MemberFinder::isTaken(std::int32_t memberRow, const ElementName& name) const {
  const StdDictionaryInfo& dictionary = model_.dictionary();
  const SMD_STRUCTURE_ELEMENT_DEFINITION& member = model_.content().member(memberRow);
  if (const Wildcard* const wildcard = model_.wildcardOfType(member.toTypeIndex);
      wildcard != nullptr && member.toTagIndex == kNone) {
    return wildcard->admits(name.namespaceURI.view());
  }
  const SMD_TAG_DEFINITION* const tag = dictionary.tags().find(member.toTagIndex);
  return tag != nullptr && elementNameOf(*tag) == textView(name.local) &&
         dictionary.isInNamespace(tag->namespaceIndex, name.namespaceURI);
}

ContentPath MemberFinder::next(const ContentSearch& search, const ElementName& name) const {
  ContentPath found;
  search.forEachNext(false, [&](const ContentLeaf& leaf) {
    if (!isTaken(leaf.path.back().memberIndex, name)) return false;
    found = leaf.path;
    return true;
  });
  return found;
}

ContentPath MemberFinder::ahead(const ContentSearch& search, const ElementName& name,
                                const CostOf& costOf) const {
  ContentPath best;
  std::int32_t least = std::numeric_limits<std::int32_t>::max();
  int tried = 0;
  const bool hasWildcards = isForWildcards(search, name);
  search.forEachNext(true, [&](const ContentLeaf& leaf) {
    const std::int32_t row = leaf.path.back().memberIndex;
    if ((!hasWildcards && isWildcard(row)) || !isTaken(row, name)) return false;
    if (const std::int32_t cost = costOf(leaf.path); cost < least) {
      best = leaf.path;
      least = cost;
    }
    return ++tried == kMaxTried || least == 0;
  });
  return best;
}

ContentPath MemberFinder::anywhere(const ContentSearch& search, const ElementName& name) const {
  ContentPath found;
  const bool hasWildcards = isForWildcards(search, name);
  search.forEachLeaf([&](const ContentLeaf& leaf) {
    const std::int32_t row = leaf.path.back().memberIndex;
    if ((!hasWildcards && isWildcard(row)) || !isTaken(row, name)) return false;
    found = leaf.path;
    return true;
  });
  return found;
}

std::int32_t MemberFinder::otherNamespace(const ContentSearch& search,
                                          const ElementName& name) const {
  std::int32_t found = kNone;
  search.forEachLeaf([&](const ContentLeaf& leaf) {
    const std::int32_t row = leaf.path.back().memberIndex;
    const auto* const tag =
        model_.dictionary().tags().find(model_.content().member(row).toTagIndex);
    if (tag == nullptr || elementNameOf(*tag) != textView(name.local)) return false;
    found = row;
    return true;
  });
  return found;
}

bool MemberFinder::isWildcard(std::int32_t memberRow) const {
  return model_.content().member(memberRow).toTagIndex == kNone;
}

// Beyond what may come next a wildcard is held to take only what nothing else in this content could
// be meant by: a global element, or one of a namespace that no member is in. One that is misspelt,
// or a member in a wrong namespace, would else be sent to any wildcard of the content.
bool MemberFinder::isForWildcards(const ContentSearch& search, const ElementName& name) const {
  const StdDictionaryInfo& dictionary = model_.dictionary();
  bool isForeign = true;
  bool isNamed = false;
  search.forEachLeaf([&](const ContentLeaf& leaf) {
    const std::int32_t row = leaf.path.back().memberIndex;
    const auto* const tag = dictionary.tags().find(model_.content().member(row).toTagIndex);
    if (tag == nullptr) return false;
    isNamed = elementNameOf(*tag) == textView(name.local);
    isForeign = isForeign && !dictionary.isInNamespace(tag->namespaceIndex, name.namespaceURI);
    return isNamed;
  });
  return !isNamed && (isForeign || model_.globalTag(name.local, name.namespaceURI) != 0);
}

}  // namespace cpi
