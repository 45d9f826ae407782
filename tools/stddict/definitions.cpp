#include "tools/stddict/definitions.h"
#include "cpi/extract/modelconventions.h"

#include <cmath>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "cpi/runtime/kelexception.h"
#include "cpi/walk/fixmodel.h"
#include "tools/stddict/words.h"

namespace {

using Dictionary = cpi::StdDictionaryInfo;

// Null for an empty text.
Json textFact(std::string text) { return text.empty() ? Json() : Json(std::move(text)); }
Json textFact(const unsigned short* text) { return textFact(shown(text)); }
// Null for a length that is not limited.
Json lengthFact(std::int32_t length) { return length < 0 ? Json() : Json(length); }

Json typedFact(const cpi::PWFData& value) {
  switch (value.getLogicalType()) {
    case cpi::LTInteger: return value.getInt64Value();
    case cpi::LTBoolean: return value.getBooleanValue();
    case cpi::LTFloat:
      if (std::isfinite(value.getDoubleValue())) return value.getDoubleValue();
      break;
    default: break;
  }
  const cpi::PWFData text = value.getDebugString();
  return cpi::toUtf8(cpi::textView(text.getStringValue()));
}

// A member where it is used: within the type that has it.
Json useFacts(const Dictionary& dictionary, std::int32_t row) {
  const auto& member = dictionary.typeMembers().row(row);
  const std::int32_t parent = dictionary.getTypeDefIndex(member.ParentTypeId);
  const auto* const type = dictionary.types().find(parent);
  const std::int32_t begin = type == nullptr ? cpi::kNone : type->ToTypeMbrIndex;
  return {{"member", member.Id},
          {"of", typeReference(dictionary, parent)},
          {"position", begin >= 0 && begin <= row ? Json(row - begin + 1) : Json()},
          {"occurs", range(member.MinOccurs, member.MaxOccurs)}};
}

Json usesFacts(const Dictionary& dictionary, const std::vector<std::int32_t>& rows) {
  Json uses = Json::array();
  for (const std::int32_t row : rows) uses.push_back(useFacts(dictionary, row));
  return uses;
}

Json membersFacts(const Dictionary& dictionary, std::int32_t typeIndex) {
  const MemberRows rows = membersOf(dictionary, typeIndex);
  Json members = Json::array();
  for (std::int32_t row = rows.begin; row < rows.end; ++row) {
    const auto& member = dictionary.typeMembers().row(row);
    members.push_back({{"position", row - rows.begin + 1},
                       {"what", memberWords(dictionary, member)},
                       {"occurs", range(member.MinOccurs, member.MaxOccurs)},
                       {"type", typeReference(dictionary, member.toTypeIndex)},
                       {"tag", tagReference(dictionary, member.toTagIndex)},
                       {"member", member.Id}});
  }
  return members;
}

// By the count field, and the field that begins each repeat: there is no name for it in messages.
std::string fixGroupWords(const cpi::StdDictionaryInfo& dictionary,
                          const cpi::SMD_TAG_DEFINITION& tag) {
  std::u16string_view name = comparedName(tag.TextIdentifier);
  name.remove_suffix(cpi::kFixGroupEnd.size());
  const MemberRows rows = membersOf(dictionary, tag.ToTypeIndexField);
  const auto* const first = dictionary.typeMembers().find(rows.begin);
  if (rows.begin == rows.end || first == nullptr) return "a repeat of " + shown(name);
  const auto* const field = dictionary.tags().find(first->toTagIndex);
  const std::string begin =
      field == nullptr ? std::string() : ", from " + shown(comparedName(field->TextIdentifier));
  return "a repeat of " + shown(name) + begin;
}

}  // namespace

std::string memberWords(const cpi::StdDictionaryInfo& dictionary,
                        const cpi::SMD_STRUCTURE_ELEMENT_DEFINITION& member) {
  if (const auto* const tag = dictionary.tags().find(member.toTagIndex); tag != nullptr) {
    return isFixGroup(tag->TextIdentifier) ? fixGroupWords(dictionary, *tag)
                                           : shown(comparedName(tag->TextIdentifier));
  }
  const auto* const type = dictionary.types().find(member.toTypeIndex);
  if (isGroup(member, type)) return "(" + compositionWord(type->Composition) + ")";
  if (isWildcard(member, type)) return wildcardWords(*type);
  return shown(member.PhysicalName);
}

// Rows follow one another with one parent, wherever the first index points to.
MemberRows membersOf(const cpi::StdDictionaryInfo& dictionary, std::int32_t typeIndex) {
  const auto* const type = dictionary.types().find(typeIndex);
  const auto& members = dictionary.typeMembers();
  const auto* const first = type == nullptr ? nullptr : members.find(type->ToTypeMbrIndex);
  if (first == nullptr) return {};
  std::int32_t end = type->ToTypeMbrIndex + 1;
  while (end < members.rowCount() && members.row(end).ParentTypeId == first->ParentTypeId) ++end;
  return {type->ToTypeMbrIndex, end};
}

Json tagReference(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagIndex) {
  const auto* const tag = dictionary.tags().find(tagIndex);
  return tag == nullptr ? Json() : reference(tag->Id, shown(tag->TextIdentifier));
}

Json typeReference(const cpi::StdDictionaryInfo& dictionary, std::int32_t typeIndex) {
  const auto* const type = dictionary.types().find(typeIndex);
  return type == nullptr ? Json() : reference(type->TypeId, shown(type->Identifier));
}

Json namespaceFact(const cpi::StdDictionaryInfo& dictionary, std::int32_t namespaceIndex) {
  return textFact(shown(dictionary.namespaceText(namespaceIndex)));
}

Json valueFact(const cpi::StdDictionaryInfo& dictionary, std::int32_t valueIndex) {
  if (!dictionary.values().contains(valueIndex)) return {};
  try {
    return typedFact(dictionary.values().getData(valueIndex));
  } catch (const cpi::KelException&) {
    return {};
  }
}

Json valueSetFacts(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagIndex,
                   std::int32_t overrideIndex, std::size_t limit) {
  Json facts = Json::array();
  cpi::StdValueIterator at(nullptr, &dictionary, tagIndex, overrideIndex);
  const bool hasDescriptions = cpi::FixModel::isFix(dictionary);
  for (; facts.size() < limit; at.moveToNextValue()) {
    cpi::PWFData value;
    std::int32_t role = 0;
    try {
      if (at.getValue(value, role) != cpi::kSuccess) break;
      facts.push_back({{"value", typedFact(value)},
                       {"kind", logicalTypeWord(value.getLogicalType())},
                       {"role", role}});
      if (hasDescriptions) facts.back()["description"] = valueFact(dictionary, role);
    } catch (const cpi::KelException&) {
      facts.push_back({{"value", nullptr}, {"kind", "unknown"}, {"role", role}});
    }
  }
  return facts;
}

Json valueList(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagIndex,
               std::int32_t overrideIndex, std::size_t limit) {
  Json list = Json::array();
  for (const Json& entry : valueSetFacts(dictionary, tagIndex, overrideIndex, limit)) {
    list.push_back(entry["value"]);
  }
  return list;
}

Usage::Usage(const cpi::StdDictionaryInfo& dictionary)
    : membersWithTag_(static_cast<std::size_t>(dictionary.tags().rowCount())),
      membersWithType_(static_cast<std::size_t>(dictionary.types().rowCount())),
      tagsOfType_(membersWithType_.size()) {
  const auto add = [](Lists& lists, std::int32_t index, std::int32_t row) {
    const auto place = static_cast<std::size_t>(index);
    if (index >= 0 && place < lists.size()) lists[place].push_back(row);
  };
  for (std::int32_t row = 0; row < dictionary.typeMembers().rowCount(); ++row) {
    const auto& member = dictionary.typeMembers().row(row);
    add(membersWithTag_, member.toTagIndex, row);
    if (member.toTagIndex < 0) add(membersWithType_, member.toTypeIndex, row);
  }
  for (std::int32_t row = 0; row < dictionary.tags().rowCount(); ++row) {
    add(tagsOfType_, dictionary.tags().row(row).ToTypeIndexField, row);
  }
}

const std::vector<std::int32_t>& Usage::at(const Lists& lists, std::int32_t index) {
  return lists.at(static_cast<std::size_t>(index));
}
const std::vector<std::int32_t>& Usage::membersWithTag(std::int32_t tagIndex) const {
  return at(membersWithTag_, tagIndex);
}
const std::vector<std::int32_t>& Usage::membersWithType(std::int32_t typeIndex) const {
  return at(membersWithType_, typeIndex);
}
const std::vector<std::int32_t>& Usage::tagsOfType(std::int32_t typeIndex) const {
  return at(tagsOfType_, typeIndex);
}

Json tagFacts(const cpi::StdDictionaryInfo& dictionary, const Usage& usage, std::int32_t row) {
  const auto& tag = dictionary.tags().row(row);
  const auto* const type = dictionary.types().find(tag.ToTypeIndexField);
  return {{"id", tag.Id},
          {"row", row},
          {"name", textFact(tag.TextIdentifier)},
          {"namespace", namespaceFact(dictionary, tag.namespaceIndex)},
          {"class", textFact(classWord(tag.Class))},
          {"type", typeReference(dictionary, tag.ToTypeIndexField)},
          {"logicalType", type == nullptr ? Json() : textFact(logicalTypeWord(type->LogicalType))},
          {"minLength", lengthFact(tag.MinLength)},
          {"maxLength", lengthFact(tag.MaxLength)},
          {"nullPermitted", tag.NullPermitted},
          {"values", valueList(dictionary, row, cpi::kNone)},
          {"default", valueFact(dictionary, tag.DVTableIndex)},
          {"overrideRow", lengthFact(tag.PathBaseInfoTableIndex)},
          {"composition", type == nullptr || type->LogicalType != 0
                              ? Json()
                              : textFact(compositionWord(type->Composition))},
          {"members", membersFacts(dictionary, tag.ToTypeIndexField)},
          {"usedIn", usesFacts(dictionary, usage.membersWithTag(row))}};
}

Json typeFacts(const cpi::StdDictionaryInfo& dictionary, const Usage& usage, std::int32_t row) {
  const auto& type = dictionary.types().row(row);
  const std::int32_t base =
      type.BaseTypeId < 1 ? cpi::kNone : dictionary.getTypeDefIndex(type.BaseTypeId);
  Json tags = Json::array();
  for (const std::int32_t tag : usage.tagsOfType(row))
    tags.push_back(tagReference(dictionary, tag));
  return {
      {"id", type.TypeId},
      {"row", row},
      {"name", textFact(type.Identifier)},
      {"namespace", namespaceFact(dictionary, type.NamespaceIndex)},
      {"logicalType", textFact(logicalTypeWord(type.LogicalType))},
      {"base", typeReference(dictionary, base)},
      {"composition", type.LogicalType != 0 ? Json() : textFact(compositionWord(type.Composition))},
      {"content", type.LogicalType != 0 ? Json() : textFact(contentWord(type.Content))},
      {"members", membersFacts(dictionary, row)},
      {"tags", std::move(tags)},
      {"usedIn", usesFacts(dictionary, usage.membersWithType(row))}};
}

Json memberFacts(const cpi::StdDictionaryInfo& dictionary, const Usage&, std::int32_t row) {
  const auto& member = dictionary.typeMembers().row(row);
  Json facts = useFacts(dictionary, row);
  return {{"id", member.Id},
          {"row", row},
          {"name", textFact(member.PhysicalName)},
          {"what", textFact(memberWords(dictionary, member))},
          {"of", facts["of"]},
          {"position", facts["position"]},
          {"sequenceNumber", member.SeqNbr},
          {"occurs", facts["occurs"]},
          {"repeatIndicator", member.RepIndicator},
          {"class", textFact(classWord(member.ChildClass))},
          {"tag", tagReference(dictionary, member.toTagIndex)},
          {"type", typeReference(dictionary, member.toTypeIndex)}};
}
