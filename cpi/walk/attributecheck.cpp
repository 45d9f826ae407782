#include "cpi/walk/attributecheck.h"

#include <algorithm>
#include <charconv>

#include "cpi/extract/modelconventions.h"
#include "cpi/walk/elementplaces.h"

namespace cpi {
namespace {

constexpr std::int32_t kGlobalAttributes = 0;  // the owner's id of "attributes^0"

}  // namespace

AttributeCheck::AttributeCheck(const WalkModel& model, ValueCheck& values)
    : model_(model), dictionary_(model.dictionary()), values_(values) {
  for (std::int32_t row = 0; row < dictionary_.tags().rowCount(); ++row) {
    const SMD_TAG_DEFINITION& tag = dictionary_.tags().row(row);
    const std::u16string_view text = textView(tag.TextIdentifier);
    if (!text.starts_with(kAttributesPrefix)) continue;
    const std::string digits = toUtf8(text.substr(kAttributesPrefix.size()));
    std::int32_t owner = kNone;
    std::from_chars(digits.data(), digits.data() + digits.size(), owner);
    if (owner >= 0) contexts_.emplace(owner, tag.ToTypeIndexField);
  }
  isNeeded_ = !contexts_.empty() || model.properties().hasDerivations();
}

void AttributeCheck::begin(std::int32_t typeIndex) {
  const SMD_TYPE_DEFINITION* const type = dictionary_.types().find(typeIndex);
  current_ = type == nullptr ? nullptr : &attributesOf(type->TypeId);
  seen_.assign(current_ == nullptr ? 0 : current_->attributes.size(), 0);
}

Reason AttributeCheck::judge(const XmlAttribute& attribute, std::int32_t& tagIndex) {
  tagIndex = kNone;
  if (current_ == nullptr) return Reason::None;
  const auto isNamed = [&](const Attribute& one) {
    return one.name == attribute.name && one.namespaceURI == attribute.namespaceURI;
  };
  const auto found = std::ranges::find_if(current_->attributes, isNamed);
  if (found == current_->attributes.end()) return judgeByWildcard(attribute, tagIndex);
  seen_[static_cast<std::size_t>(found - current_->attributes.begin())] = 1;
  tagIndex = found->tagIndex;
  return judgeValue(attribute, tagIndex);
}

// What a wildcard admits is judged by the global attribute of that name.
Reason AttributeCheck::judgeByWildcard(const XmlAttribute& attribute, std::int32_t& tagIndex) {
  const Wildcard* const wildcard = current_->wildcard;
  if (wildcard == nullptr || !wildcard->admits(toUtf16(attribute.namespaceURI))) {
    return Reason::UnknownAttribute;
  }
  if (wildcard->processContents == ProcessContents::Skip) return Reason::None;
  for (const Attribute& one : attributesOf(kGlobalAttributes).attributes) {
    if (one.name != attribute.name || one.namespaceURI != attribute.namespaceURI) continue;
    tagIndex = one.tagIndex;
    return judgeValue(attribute, tagIndex);
  }
  return wildcard->processContents == ProcessContents::Strict ? Reason::UnknownAttribute
                                                              : Reason::None;
}

Reason AttributeCheck::judgeValue(const XmlAttribute& attribute, std::int32_t tagIndex) {
  return values_.isNeeded(tagIndex) ? values_.judge(tagIndex, attribute.value) : Reason::None;
}

// Kept by the owner's id; references stay valid as more are added.
const AttributeCheck::Attributes& AttributeCheck::attributesOf(std::int32_t typeId) {
  const auto [entry, isNew] = attributes_.try_emplace(typeId);
  const auto context = contexts_.find(typeId);
  if (!isNew || context == contexts_.end()) return entry->second;
  const MemberRange members = model_.content().membersOf(context->second);
  for (std::int32_t row = members.begin; row < members.end; ++row) {
    const auto& member = model_.content().member(row);
    const auto* const tag = dictionary_.tags().find(member.toTagIndex);
    if (tag == nullptr) {
      entry->second.wildcard = model_.wildcardOfType(member.toTypeIndex);
      continue;
    }
    entry->second.attributes.push_back({toUtf8(elementNameOf(*tag)),
                                        toUtf8(dictionary_.namespaceText(tag->namespaceIndex)),
                                        member.toTagIndex, member.MinOccurs > 0});
  }
  return entry->second;
}

}  // namespace cpi
