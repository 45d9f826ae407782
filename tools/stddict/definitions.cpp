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

struct SetValue {
  Json fact;
  std::string kind;
  std::int32_t role = 0;
};

// As readers find them, until `visit` says false.
template <class Visit>
void forEachValue(const Dictionary& dictionary, std::int32_t tagIndex, std::int32_t overrideIndex,
                  Visit visit) {
  cpi::StdValueIterator at(nullptr, &dictionary, tagIndex, overrideIndex);
  for (bool isMore = true; isMore; at.moveToNextValue()) {
    cpi::PWFData value;
    SetValue entry{{}, "unknown"};
    try {
      if (at.getValue(value, entry.role) != cpi::kSuccess) return;
      entry.fact = typedFact(value);
      entry.kind = logicalTypeWord(value.getLogicalType());
    } catch (const cpi::KelException&) {
      entry.fact = {};
    }
    isMore = visit(entry);
  }
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

Json usesFacts(const Dictionary& dictionary, const std::vector<std::int32_t>& rows,
               AnswerLimit& answer) {
  Json uses = Json::array();
  for (const std::int32_t row : rows) answer.add(uses, useFacts(dictionary, row));
  return uses;
}

Json membersFacts(const Dictionary& dictionary, std::int32_t typeIndex, AnswerLimit& answer) {
  const MemberRows rows = membersOf(dictionary, typeIndex);
  Json members = Json::array();
  for (std::int32_t row = rows.begin; row < rows.end; ++row) {
    const auto& member = dictionary.typeMembers().row(row);
    answer.add(members, {{"position", row - rows.begin + 1},
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
                   std::int32_t overrideIndex, AnswerLimit& answer) {
  Json facts = Json::array();
  const bool hasDescriptions = cpi::FixModel::isFix(dictionary);
  forEachValue(dictionary, tagIndex, overrideIndex, [&](const SetValue& value) {
    Json entry = {{"value", value.fact}, {"kind", value.kind}, {"role", value.role}};
    if (hasDescriptions) entry["description"] = valueFact(dictionary, value.role);
    answer.add(facts, std::move(entry));
    return true;
  });
  return facts;
}

Json valueList(const cpi::StdDictionaryInfo& dictionary, std::int32_t tagIndex,
               std::int32_t overrideIndex, AnswerLimit& answer, std::size_t limit) {
  Json list = Json::array();
  forEachValue(dictionary, tagIndex, overrideIndex, [&](SetValue& value) {
    answer.add(list, std::move(value.fact));
    return list.size() < limit;
  });
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

Json tagFacts(const cpi::StdDictionaryInfo& dictionary, const Usage& usage, std::int32_t row,
              AnswerLimit& answer) {
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
          {"values", valueList(dictionary, row, cpi::kNone, answer)},
          {"default", valueFact(dictionary, tag.DVTableIndex)},
          {"overrideRow", lengthFact(tag.PathBaseInfoTableIndex)},
          {"composition", type == nullptr || type->LogicalType != 0
                              ? Json()
                              : textFact(compositionWord(type->Composition))},
          {"members", membersFacts(dictionary, tag.ToTypeIndexField, answer)},
          {"usedIn", usesFacts(dictionary, usage.membersWithTag(row), answer)}};
}

Json typeFacts(const cpi::StdDictionaryInfo& dictionary, const Usage& usage, std::int32_t row,
               AnswerLimit& answer) {
  const auto& type = dictionary.types().row(row);
  const std::int32_t base =
      type.BaseTypeId < 1 ? cpi::kNone : dictionary.getTypeDefIndex(type.BaseTypeId);
  Json tags = Json::array();
  for (const std::int32_t tag : usage.tagsOfType(row))
    answer.add(tags, tagReference(dictionary, tag));
  return {
      {"id", type.TypeId},
      {"row", row},
      {"name", textFact(type.Identifier)},
      {"namespace", namespaceFact(dictionary, type.NamespaceIndex)},
      {"logicalType", textFact(logicalTypeWord(type.LogicalType))},
      {"base", typeReference(dictionary, base)},
      {"composition", type.LogicalType != 0 ? Json() : textFact(compositionWord(type.Composition))},
      {"content", type.LogicalType != 0 ? Json() : textFact(contentWord(type.Content))},
      {"members", membersFacts(dictionary, row, answer)},
      {"tags", std::move(tags)},
      {"usedIn", usesFacts(dictionary, usage.membersWithType(row), answer)}};
}

Json memberFacts(const cpi::StdDictionaryInfo& dictionary, const Usage&, std::int32_t row,
                 AnswerLimit&) {
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
