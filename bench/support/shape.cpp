#include "bench/support/shape.h"

#include <map>
#include <utility>

namespace cpi::bench {

namespace {

// A tag that the dictionary has, and that no type has as a member, or with which no search
// succeeds.
constexpr std::int32_t kUnknownTag = 1'000'000;

// The first member of each name.
std::map<std::u16string, std::int32_t> membersByName(const StdDictionaryInfo& dictionary) {
  std::map<std::u16string, std::int32_t> members;
  for (std::int32_t row = 0; row < dictionary.typeMembers().rowCount(); ++row) {
    const std::int32_t tagIndex = dictionary.typeMembers().row(row).toTagIndex;
    if (tagIndex < 0) continue;
    members.emplace(textView(dictionary.tags().row(tagIndex).TextIdentifier), row);
  }
  return members;
}

std::int32_t tagIdOf(const StdDictionaryInfo& dictionary, const std::u16string& name) {
  std::int32_t tagId = kUnknownTag;
  dictionary.getTagIdForTagText(name.c_str(), tagId);
  return tagId;
}

}  // namespace

Shape makeShape(const test::Node& root, const std::vector<Visit>& message) {
  Shape shape{.dictionary = test::buildModel(root, {"elsewhere"}), .steps = {}};
  const auto members = membersByName(*shape.dictionary);
  std::int32_t depth = -1;
  const auto add = [&](const Visit& visit) {
    const std::u16string name = toUtf16(visit.name);
    const auto member = members.find(name);
    const bool isFirstChild = visit.depth > depth;
    shape.steps.push_back({.leaves = isFirstChild ? 0 : depth - visit.depth,
                           .isFirstChild = isFirstChild,
                           .tagId = tagIdOf(*shape.dictionary, name),
                           .name = internedName(name),
                           .namespaceURI = {},
                           .memberIndex = member == members.end() ? kNone : member->second,
                           .typeIndex = kNone});
    depth = visit.depth;
  };
  add({0, root.name});
  for (const Visit& visit : message) add(visit);
  return shape;
}

}  // namespace cpi::bench
