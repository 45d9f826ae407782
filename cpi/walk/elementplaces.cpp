#include "cpi/walk/elementplaces.h"

#include <algorithm>
#include <string>

#include "cpi/extract/modelconventions.h"

namespace cpi {
namespace {

// Rows ordered by a key, and among equal keys by number.
template <class KeyOf>
void sortBy(std::vector<std::int32_t>& rows, KeyOf keyOf) {
  std::stable_sort(rows.begin(), rows.end(),
                   [&](std::int32_t a, std::int32_t b) { return keyOf(a) < keyOf(b); });
}

template <class Key, class KeyOf>
std::span<const std::int32_t> rowsWith(const std::vector<std::int32_t>& rows, const Key& key,
                                       KeyOf keyOf) {
  const auto first = std::partition_point(rows.begin(), rows.end(),
                                          [&](std::int32_t row) { return keyOf(row) < key; });
  const auto last =
      std::partition_point(first, rows.end(), [&](std::int32_t row) { return keyOf(row) == key; });
  return std::span(rows).subspan(static_cast<std::size_t>(first - rows.begin()),
                                 static_cast<std::size_t>(last - first));
}

// Tags of attributes, and those in whose context they are looked up, are no elements.
bool isOfAttributes(const SMD_TAG_DEFINITION& tag) {
  const std::u16string_view text = textView(tag.TextIdentifier);
  if (text.starts_with(kAttributesPrefix)) return true;
  const std::size_t mark = text.find(kNameMark);
  return mark != text.npos && mark > 1 && text[0] == u'a' &&
         text.substr(1, mark - 1).find_first_not_of(u"0123456789") == text.npos;
}

// How many groups are climbed from a member to the type of an element.
constexpr int kMaxClimb = 64;
// A group is told by so many of its members.
constexpr std::int32_t kMaxTold = 3;

// A group among others is told by what may begin it: "(a ...)".
std::string memberText(const ContentModel& model, std::int32_t row, int depth = 0) {
  const auto& member = model.member(row);
  const auto* const tag = model.dictionary().tags().find(member.toTagIndex);
  if (tag != nullptr) return toUtf8(elementNameOf(*tag));
  if (!model.isGroup(row)) return "any";
  const MemberRange members = model.membersOf(member.toTypeIndex);
  if (members.begin == members.end || depth == kMaxClimb) return "(...)";
  const std::string first = memberText(model, members.begin, depth + 1);
  return depth > 0 ? first : "(" + first + " ...)";
}

// A group that holds nothing but another is told by that one's members.
std::string groupText(const ContentModel& model, std::int32_t typeIndex) {
  MemberRange members = model.membersOf(typeIndex);
  for (int i = 0; i < kMaxClimb && members.end - members.begin == 1; ++i) {
    if (!model.isGroup(members.begin)) break;
    typeIndex = model.member(members.begin).toTypeIndex;
    members = model.membersOf(typeIndex);
  }
  const Order order = model.orderOf(typeIndex);
  const char* const separator = order == Order::Choice ? " | " : order == Order::Any ? " & " : ", ";
  std::string text = "(";
  for (std::int32_t row = members.begin; row < members.end; ++row) {
    if (row > members.begin) text += separator;
    if (row - members.begin == kMaxTold) {
      text += "...";
      break;
    }
    text += memberText(model, row);
  }
  return text + ")";
}

}  // namespace

std::u16string_view elementNameOf(const SMD_TAG_DEFINITION& tag) noexcept {
  const std::u16string_view text = textView(tag.TextIdentifier);
  const std::size_t mark = text.find(kNameMark);
  return mark == text.npos ? text : text.substr(mark + 1);
}

std::vector<GroupStep> groupsOf(const ContentModel& model, std::span<const ContentStep> path) {
  std::vector<GroupStep> groups;
  for (std::size_t i = 0; i + 1 < path.size(); ++i) {
    const std::int32_t row = path[i].memberIndex;
    groups.push_back({row, path[i].repeat + 1, groupText(model, model.member(row).toTypeIndex)});
  }
  return groups;
}

ElementPlaces::ElementPlaces(const ContentModel& model) : model_(model) {
  const StdDictionaryInfo& dictionary = model.dictionary();
  for (std::int32_t row = 0; row < dictionary.tags().rowCount(); ++row) {
    const SMD_TAG_DEFINITION& tag = dictionary.tags().row(row);
    if (isOfAttributes(tag)) continue;
    if (!elementNameOf(tag).empty()) tagsByName_.push_back(row);
    tagsByType_.push_back(row);
  }
  for (std::int32_t row = 0; row < dictionary.typeMembers().rowCount(); ++row) {
    (model.member(row).toTagIndex < 0 ? groupsByType_ : membersByTag_).push_back(row);
  }
  typeOfMember_.assign(static_cast<std::size_t>(dictionary.typeMembers().rowCount()), kNone);
  for (std::int32_t row = 0; row < dictionary.types().rowCount(); ++row) {
    const MemberRange members = model.membersOf(row);
    for (std::int32_t member = members.begin; member < members.end; ++member) {
      typeOfMember_[static_cast<std::size_t>(member)] = row;
    }
  }
  sortBy(tagsByName_, [&](std::int32_t row) { return elementNameOf(dictionary.tags().row(row)); });
  sortBy(tagsByType_,
         [&](std::int32_t row) { return dictionary.tags().row(row).ToTypeIndexField; });
  sortBy(membersByTag_, [&](std::int32_t row) { return model.member(row).toTagIndex; });
  sortBy(groupsByType_, [&](std::int32_t row) { return model.member(row).toTypeIndex; });
}

std::span<const std::int32_t> ElementPlaces::tagsNamed(std::u16string_view name) const {
  const auto& tags = model_.dictionary().tags();
  return rowsWith(tagsByName_, name,
                  [&](std::int32_t row) { return elementNameOf(tags.row(row)); });
}

bool ElementPlaces::isGlobal(std::int32_t tagIndex) const {
  const SMD_TAG_DEFINITION& tag = model_.dictionary().tags().row(tagIndex);
  return textView(tag.TextIdentifier).find(kNameMark) == std::u16string_view::npos;
}

std::int64_t ElementPlaces::addPlaces(std::int32_t tagIndex,
                                      std::vector<KnownPlace>& places) const {
  const StdDictionaryInfo& dictionary = model_.dictionary();
  const std::string uri =
      toUtf8(dictionary.namespaceText(dictionary.tags().row(tagIndex).namespaceIndex));
  std::int64_t count = 0;
  const auto add = [&](const KnownPlace& place) {
    ++count;
    if (places.size() < kMaxKnownPlaces) places.push_back(place);
  };
  if (isGlobal(tagIndex)) add({{}, uri, tagIndex, kNone, kNone});
  for (const std::int32_t member : membersWith(tagIndex)) {
    const std::int32_t owner = ownerOf(member);
    add({nameOfType(owner), uri, tagIndex, member, owner});
  }
  return count;
}

std::vector<std::int32_t> ElementPlaces::typesWith(std::u16string_view name,
                                                   const KelStringBase& namespaceURI) const {
  const StdDictionaryInfo& dictionary = model_.dictionary();
  std::vector<std::int32_t> types;
  for (const std::int32_t tag : tagsNamed(name)) {
    if (!dictionary.isInNamespace(dictionary.tags().row(tag).namespaceIndex, namespaceURI))
      continue;
    for (const std::int32_t member : membersWith(tag)) types.push_back(ownerOf(member));
  }
  std::ranges::sort(types);
  types.erase(std::unique(types.begin(), types.end()), types.end());
  std::erase(types, kNone);
  return types;
}

std::span<const std::int32_t> ElementPlaces::membersWith(std::int32_t tagIndex) const {
  return rowsWith(membersByTag_, tagIndex,
                  [&](std::int32_t row) { return model_.member(row).toTagIndex; });
}

// A group that several types share is told by the first of them.
std::int32_t ElementPlaces::ownerOf(std::int32_t memberRow) const {
  std::int32_t type = typeOfMember_[static_cast<std::size_t>(memberRow)];
  for (int step = 0; step < kMaxClimb; ++step) {
    const auto groups = rowsWith(groupsByType_, type,
                                 [&](std::int32_t row) { return model_.member(row).toTypeIndex; });
    if (groups.empty()) break;
    type = typeOfMember_[static_cast<std::size_t>(groups.front())];
  }
  return type;
}

// A type without a name of its own is told by its element.
std::string ElementPlaces::nameOfType(std::int32_t typeIndex) const {
  const StdDictionaryInfo& dictionary = model_.dictionary();
  const SMD_TYPE_DEFINITION* const type = dictionary.types().find(typeIndex);
  if (type == nullptr) return {};
  const std::u16string_view name = textView(type->Identifier);
  if (!name.empty() && name.find(kNameMark) == name.npos) return toUtf8(name);
  const auto tags = rowsWith(tagsByType_, typeIndex, [&](std::int32_t row) {
    return dictionary.tags().row(row).ToTypeIndexField;
  });
  return tags.empty() ? toUtf8(name) : toUtf8(elementNameOf(dictionary.tags().row(tags.front())));
}

}  // namespace cpi
