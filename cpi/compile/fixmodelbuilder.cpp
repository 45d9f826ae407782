#include "cpi/compile/fixmodelbuilder.h"

#include <fmt/core.h>

#include <algorithm>
#include <iterator>

#include "cpi/compile/sourcefile.h"
#include "cpi/extract/modelconventions.h"

namespace cpi {

namespace {

// Of items after all components are unfolded. The largest dictionary in use here has under 20,000.
constexpr std::size_t kItemLimit = 2'000'000;
constexpr std::size_t kUnfoldingLimit = 100;

struct ValueTypeRow {
  std::u16string_view name;
  ELogicalType logicalType;
};

// The types of values that a dictionary may name. The older names stand beside the newer.
constexpr ValueTypeRow kValueTypes[] = {
    {u"AMT", LTDecimal},
    {u"BOOLEAN", LTBoolean},
    {u"CHAR", LTString},
    {u"COUNTRY", LTString},
    {u"CURRENCY", LTString},
    {u"DATA", LTString},
    {u"DATE", LTDateTime},
    {u"DAYOFMONTH", LTInteger},
    {u"EXCHANGE", LTString},
    {u"FLOAT", LTDecimal},
    {u"INT", LTInteger},
    {u"LANGUAGE", LTString},
    {u"LENGTH", LTInteger},
    {u"LOCALMKTDATE", LTDateTime},
    {u"LOCALMKTTIME", LTDateTime},
    {u"MONTHYEAR", LTString},
    {u"MULTIPLECHARVALUE", LTString},
    {u"MULTIPLESTRINGVALUE", LTString},
    {u"MULTIPLEVALUESTRING", LTString},
    {u"NUMINGROUP", LTInteger},
    {u"PERCENTAGE", LTDecimal},
    {u"PRICE", LTDecimal},
    {u"PRICEOFFSET", LTDecimal},
    {u"QTY", LTDecimal},
    {u"SEQNUM", LTInteger},
    {u"STRING", LTString},
    {u"TAGNUM", LTInteger},
    {u"TENOR", LTString},
    {u"TIME", LTDateTime},
    {u"TZTIMEONLY", LTDateTime},
    {u"TZTIMESTAMP", LTDateTime},
    {u"UTCDATE", LTDateTime},
    {u"UTCDATEONLY", LTDateTime},
    {u"UTCTIMEONLY", LTDateTime},
    {u"UTCTIMESTAMP", LTDateTime},
    {u"XMLDATA", LTString},
};

constexpr std::u16string_view kCharacter = u"CHAR";
constexpr std::u16string_view kString = u"STRING";

// Until FIX 4.1 CHAR was the type of all texts.
std::u16string_view typeNameOf(const FixDocument& document, const FixFieldDefinition& field) {
  const bool isOld = !document.isTransport && document.major == 4 && document.minor < 2;
  return isOld && field.type == kCharacter ? kString : std::u16string_view(field.type);
}

std::string quoted(std::u16string_view name) { return "'" + toUtf8(name) + "'"; }

}  // namespace

FixModelBuilder::FixModelBuilder(const std::vector<FixDocument>& documents, TableDraft& draft,
                                 std::vector<Notice>& notices)
    : documents_(documents), draft_(draft), notices_(notices) {
  for (const FixDocument& document : documents_) collectFields(document);
  for (const FixDocument& document : documents_) collectComponents(document);
  addFieldTags();
  addFrame(&FixDocument::header, kFixHeader, headerTag_);
  addFrame(&FixDocument::trailer, kFixTrailer, trailerTag_);
  for (const FixDocument& document : documents_) {
    for (const FixMessageDefinition& message : document.messages) addMessage(document, message);
  }
}

void FixModelBuilder::collectFields(const FixDocument& document) {
  for (const FixFieldDefinition& field : document.fields) {
    const auto [entry, isNew] =
        fields_.try_emplace(field.number, Field{&document, &field, field.values, field.isOpen});
    if (!isNew) joinField(entry->second, document, field);
    const auto [number, isNewName] = numbers_.try_emplace(field.name, field.number);
    if (isNewName == isNew) continue;
    refuseFile(document.path, field.place,
               fmt::format("field {} is defined as number {} and as number {}", quoted(field.name),
                           number->second, field.number));
  }
}

// The layers of one FIX version share fields, and each knows some values that the other lacks.
void FixModelBuilder::joinField(Field& known, const FixDocument& document,
                                const FixFieldDefinition& field) {
  const FixFieldDefinition& first = *known.definition;
  if (known.document == &document || first.name != field.name) {
    refuseFile(document.path, field.place,
               fmt::format("field number {} is defined twice, first as {} in {}:{}", field.number,
                           quoted(first.name), known.document->path, first.place.line));
  }
  if (typeNameOf(*known.document, first) != typeNameOf(document, field)) {
    note("fields with another type than in a dictionary before keep that", document, field.place);
  }
  known.isOpen |= field.isOpen;
  for (const FixValue& value : field.values) {
    const bool isKnown =
        std::ranges::find(known.values, value.text, &FixValue::text) != known.values.end();
    if (!isKnown) known.values.push_back(value);
  }
}

void FixModelBuilder::collectComponents(const FixDocument& document) {
  for (const FixComponent& component : document.components) {
    const auto [entry, isNew] = components_.try_emplace({&document, component.name}, &component);
    if (isNew) continue;
    refuseFile(document.path, component.place,
               fmt::format("component {} is defined twice, first in line {}",
                           quoted(component.name), entry->second->place.line));
  }
}

void FixModelBuilder::addFieldTags() {
  for (auto& [number, field] : fields_) {
    const bool isCharacter = typeNameOf(*field.document, *field.definition) == kCharacter;
    TagDraft tag{.text = field.definition->name, .type = valueType(field), .minLength = 1};
    tag.maxLength = isCharacter ? 1 : kNone;
    tag.valueSet = valueSetOf(field);
    tag.id = number;
    tag.control.isOpen = field.isOpen && tag.valueSet != kNone;
    field.tag = draft_.addTag(std::move(tag));
  }
}

std::int32_t FixModelBuilder::valueType(const Field& field) {
  const std::u16string name(typeNameOf(*field.document, *field.definition));
  const auto [entry, isNew] = valueTypes_.try_emplace(name, draft_.typeCount());
  if (!isNew) return entry->second;
  const auto row = std::ranges::find(kValueTypes, name, &ValueTypeRow::name);
  const bool isKnown = row != std::end(kValueTypes);
  if (!isKnown) {
    note("values of type " + quoted(name) + " are kept as text", *field.document,
         field.definition->place);
  }
  return draft_.addType({.identifier = name, .logicalType = isKnown ? row->logicalType : LTString});
}

// Values stay the texts that stand in messages. The role of each leads to its description.
std::int32_t FixModelBuilder::valueSetOf(const Field& field) {
  if (field.values.empty()) return kNone;
  std::vector<ValueDraft> values;
  for (const FixValue& value : field.values) {
    const std::int32_t description =
        value.description.empty() ? kNone : draft_.addValue({LTString, Text(value.description)});
    values.push_back({{LTString, Text(value.text)}, description});
  }
  return draft_.addValueSet(values);
}

// Header and trailer come from the one dictionary that has members in them.
void FixModelBuilder::addFrame(std::vector<FixItem> FixDocument::*part, std::u16string_view name,
                               std::int32_t& tag) {
  for (const FixDocument& document : documents_) {
    const std::vector<FixItem>& items = document.*part;
    if (items.empty()) continue;
    if (tag != kNone) {
      refuseFile(
          document.path, items.front().place,
          fmt::format("a second {}: only one of the dictionaries may have it", quoted(name)));
    }
    Level level;
    append(level, document, items, true);
    const std::int32_t type =
        draft_.addType({.identifier = std::u16string(name), .composition = TYPE_UNORDERED});
    addMembers(type, level);
    tag = draft_.addTag({.text = std::u16string(name), .type = type});
  }
}

void FixModelBuilder::addMessage(const FixDocument& document, const FixMessageDefinition& message) {
  const auto [entry, isNew] = messages_.try_emplace(message.msgType, &message);
  if (!isNew || !messageNames_.insert(message.name).second) {
    refuseFile(document.path, message.place,
               fmt::format("message {} of type {} is defined twice", quoted(message.name),
                           quoted(message.msgType)));
  }
  Level body;
  append(body, document, message.items, true);
  TypeDraft type{.identifier = message.name, .composition = TYPE_ORDERED};
  if (headerTag_ != kNone) {
    type.members.push_back({.tag = headerTag_, .type = draft_.tag(headerTag_).type});
  }
  if (!body.members.empty()) {
    const std::int32_t bodyType = draft_.addType(
        {.identifier = message.name + std::u16string(kFixBodyMark), .composition = TYPE_UNORDERED});
    const bool isOwed = std::ranges::any_of(
        body.members, [](const MemberDraft& member) { return member.minOccurs > 0; });
    addMembers(bodyType, body);
    type.members.push_back({.type = bodyType, .minOccurs = isOwed ? 1 : 0});
  }
  if (trailerTag_ != kNone) {
    type.members.push_back({.tag = trailerTag_, .type = draft_.tag(trailerTag_).type});
  }
  const bool isFieldName = numbers_.contains(message.name);
  const std::u16string mark = isFieldName ? message.msgType + kNameMark : std::u16string();
  TagDraft tag{.text = mark + message.name, .type = draft_.addType(std::move(type))};
  tag.defaultValue = draft_.addValue({LTString, Text(message.msgType)});
  draft_.addTag(std::move(tag));
}

void FixModelBuilder::append(Level& level, const FixDocument& document,
                             const std::vector<FixItem>& items, bool isRequired) {
  for (const FixItem& item : items) {
    if (++itemCount_ > kItemLimit) {
      refuseFile(document.path, item.place,
                 fmt::format("the messages have more than {} fields in all", kItemLimit));
    }
    const bool isOwed = isRequired && item.isRequired;
    if (item.kind == FixItem::Kind::Component) {
      appendComponent(level, document, item, isOwed);
    } else if (appendField(level, document, item, isOwed) && item.kind == FixItem::Kind::Group) {
      // Behind its count field at once, which is where a walker looks for it.
      const std::int32_t tag = groupTag(document, item);
      level.members.push_back(
          {.tag = tag, .type = draft_.tag(tag).type, .minOccurs = 0, .maxOccurs = kNone});
    }
  }
}

void FixModelBuilder::appendComponent(Level& level, const FixDocument& document,
                                      const FixItem& item, bool isRequired) {
  auto found = components_.find({&document, item.name});
  for (auto other = documents_.begin(); found == components_.end() && other != documents_.end();
       ++other) {
    found = components_.find({&*other, item.name});
  }
  if (found == components_.end()) {
    refuseFile(document.path, item.place,
               fmt::format("component {} is not defined", quoted(item.name)));
  }
  const FixDocument& home = *found->first.first;
  const FixComponent* const component = found->second;
  if (std::ranges::find(unfolding_, component) != unfolding_.end()) {
    refuseFile(document.path, item.place,
               fmt::format("component {} contains itself", quoted(item.name)));
  }
  if (unfolding_.size() == kUnfoldingLimit) {
    refuseFile(document.path, item.place,
               fmt::format("components are nested more than {} deep", kUnfoldingLimit));
  }
  if (!level.unfolded.insert({component, isRequired}).second) return;
  unfolding_.push_back(component);
  append(level, home, component->items, isRequired);
  unfolding_.pop_back();
}

bool FixModelBuilder::appendField(Level& level, const FixDocument& document, const FixItem& item,
                                  bool isRequired) {
  const std::int32_t tag = fieldOf(document, item).tag;
  const auto [entry, isNew] = level.memberOfTag.try_emplace(tag, level.members.size());
  if (!isNew) {
    MemberDraft& member = level.members[entry->second];
    member.minOccurs = std::max(member.minOccurs, isRequired ? 1 : 0);
    note("fields that one message or group names twice are kept once, at their first place",
         document, item.place);
    return false;
  }
  level.members.push_back({.tag = tag,
                           .type = draft_.tag(tag).type,
                           .memberClass = TCField,
                           .minOccurs = isRequired ? 1 : 0});
  return true;
}

// A group's first field says where an instance begins, so that none can be without it; the others
// come in any order, for those that send them do not agree on one. Written once, a group is one
// tag, wherever its component is used.
std::int32_t FixModelBuilder::groupTag(const FixDocument& document, const FixItem& group) {
  if (const auto known = groupTags_.find(&group); known != groupTags_.end()) return known->second;
  Level level;
  append(level, document, group.children, true);
  if (level.members.empty()) {
    refuseFile(document.path, group.place, fmt::format("group {} is empty", quoted(group.name)));
  }
  level.members.front().minOccurs = 1;
  const std::u16string name =
      fixGroupText(static_cast<std::int32_t>(groupTags_.size()) + 1, group.name);
  const std::int32_t type = draft_.addType({.identifier = name, .composition = TYPE_UNORDERED});
  addMembers(type, level);
  const std::int32_t tag = draft_.addTag({.text = name, .type = type});
  groupTags_.emplace(&group, tag);
  return tag;
}

void FixModelBuilder::addMembers(std::int32_t type, const Level& level) {
  draft_.type(type).members = level.members;
}

const FixModelBuilder::Field& FixModelBuilder::fieldOf(const FixDocument& document,
                                                       const FixItem& item) const {
  const auto number = numbers_.find(item.name);
  if (number != numbers_.end()) return fields_.at(number->second);
  refuseFile(document.path, item.place, fmt::format("field {} is not defined", quoted(item.name)));
}

void FixModelBuilder::note(const std::string& text, const FixDocument& document,
                           SchemaPlace place) {
  noteOnce(text, document.path, place, notices_);
}

}  // namespace cpi
