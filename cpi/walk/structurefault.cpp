#include "cpi/walk/structurefault.h"

#include <algorithm>
#include <unordered_set>
#include <utility>

#include "cpi/walk/elementplaces.h"

namespace cpi {
namespace {

// Longer lists of what is expected or missing are cut off.
constexpr std::size_t kMaxListed = 200;

Expected expectedOf(const ContentModel& model, const ContentLeaf& leaf) {
  const StdDictionaryInfo& dictionary = model.dictionary();
  Expected expected;
  expected.memberIndex = leaf.path.back().memberIndex;
  expected.owed = leaf.owed;
  expected.atMost = leaf.atMost < 0 ? kUnbounded : leaf.atMost;
  expected.choice = leaf.choice;
  expected.groups = groupsOf(model, leaf.path);
  const auto& member = model.member(expected.memberIndex);
  if (const auto* const tag = dictionary.tags().find(member.toTagIndex); tag != nullptr) {
    expected.name = toUtf8(elementNameOf(*tag));
    expected.namespaceURI = toUtf8(dictionary.namespaceText(tag->namespaceIndex));
  } else if (const auto* const type = dictionary.types().find(member.toTypeIndex)) {
    expected.isWildcard = true;
    const std::u16string_view text = textView(type->Identifier);
    expected.name = toUtf8(text.substr(std::min(text.find(u' ') + 1, text.size())));
  }
  return expected;
}

// A choice of which one alternative is told is told.
void forEachUntold(const ContentSearch& search, ContentSearch::Path next, const ToldMembers* told,
                   const LeafVisitor& visit) {
  if (told == nullptr) return search.forEachMissing(next, visit);
  const auto isTold = [&](const ContentLeaf& leaf) {
    return told->contains(leaf.path.back().memberIndex);
  };
  std::unordered_set<std::int32_t> choices;
  search.forEachMissing(next, [&](const ContentLeaf& leaf) {
    if (leaf.choice > 0 && isTold(leaf)) choices.insert(leaf.choice);
    return false;
  });
  search.forEachMissing(next, [&](const ContentLeaf& leaf) {
    return !isTold(leaf) && !choices.contains(leaf.choice) && visit(leaf);
  });
}

}  // namespace

std::vector<Expected> listExpected(const ContentModel& model, const ContentSearch& search) {
  std::vector<Expected> expected;
  search.forEachNext(false, [&](const ContentLeaf& leaf) {
    expected.push_back(expectedOf(model, leaf));
    return expected.size() == kMaxListed;
  });
  return expected;
}

std::vector<Expected> listMissing(const ContentModel& model, const ContentSearch& search,
                                  ContentSearch::Path next, const ToldMembers* told) {
  std::vector<Expected> missing;
  forEachUntold(search, next, told, [&](const ContentLeaf& leaf) {
    missing.push_back(expectedOf(model, leaf));
    return missing.size() == kMaxListed;
  });
  return missing;
}

std::int32_t countMissing(const ContentSearch& search, ContentSearch::Path next,
                          const ToldMembers* told) {
  std::int32_t count = 0;
  std::int32_t choice = 0;
  forEachUntold(search, next, told, [&](const ContentLeaf& leaf) {
    if (leaf.choice == 0 || leaf.choice != choice) ++count;
    choice = leaf.choice;
    return false;
  });
  return count;
}

std::vector<GroupStep> openGroups(const ContentModel& model, const ContentSearch& search,
                                  ContentSearch::Path last) {
  ContentPath open;
  bool isFirst = true;
  search.forEachNext(false, [&](const ContentLeaf& leaf) {
    if (leaf.owed > 0) {
      open = leaf.path;
      return true;
    }
    if (!std::exchange(isFirst, false)) return false;
    const auto common = std::ranges::mismatch(leaf.path, last).in1;
    open.assign(leaf.path.begin(), common);
    open.push_back({});  // where the element itself would be
    return false;
  });
  return groupsOf(model, open);
}

}  // namespace cpi
