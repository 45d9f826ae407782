#include "cpi/walk/fixmodel.h"

#include <algorithm>
#include <bit>
#include <stdexcept>
#include <utility>

#include "cpi/extract/modelconventions.h"
#include "cpi/extract/schemaproperties.h"
#include "cpi/runtime/kelstring.h"

namespace cpi {

namespace {

// Fields with smaller numbers are found by them as by an index.
constexpr std::int32_t kDenseNumbers = 1 << 16;
// Real models have each value and member read once, and some tens of thousands of them.
constexpr std::int64_t kMaxRowsRead = 5'000'000;

bool isFreeOfOrder(const SMD_TYPE_DEFINITION& type) noexcept {
  return isInAnyOrder(type) && type.LogicalType <= 0;
}

// Of a field in a type.
std::uint64_t keyOf(std::int32_t type, std::int32_t tagRow) noexcept {
  return std::uint64_t{static_cast<std::uint32_t>(type)} << 32 | static_cast<std::uint32_t>(tagRow);
}

}  // namespace

std::string fixNameOf(std::u16string_view text) {
  return toUtf8(text.substr(text.find(kNameMark) + 1));
}

bool FixModel::isFix(const StdDictionaryInfo& dictionary) {
  const WIREFORMAT_DEFINITION* const format = dictionary.wireFormats().find(0);
  return format != nullptr && textView(format->FormatName) == kFixWireFormat;
}

FixModel::FixModel(const StdDictionaryInfo& dictionary)
    : dictionary_(&dictionary),
      values_(asIndex(dictionary.tags().rowCount())),
      types_(asIndex(dictionary.types().rowCount())),
      members_(asIndex(dictionary.typeMembers().rowCount())),
      slots_(2) {
  if (const WIREFORMAT_DEFINITION* const format = dictionary.wireFormats().find(0)) {
    beginString_ = toUtf8(textView(format->FormatId));
  }
  readFields();
  readMembers();
  for (std::int32_t row = 0; row < dictionary.tags().rowCount(); ++row) {
    const SMD_TAG_DEFINITION& tag = dictionary.tags().row(row);
    if (tag.Class != TCField && tag.DVTableIndex >= 0) readMessage(row, tag);
  }
}

void FixModel::countRow() {
  if (++rowsRead_ > kMaxRowsRead) {
    throw std::length_error("too many fields of the dictionary share their values or members");
  }
}

void FixModel::readFields() {
  const auto& tags = dictionary_->tags();
  const SchemaProperties properties(*dictionary_);
  for (std::int32_t row = 0; row < tags.rowCount(); ++row) {
    const SMD_TAG_DEFINITION& tag = tags.row(row);
    if (tag.Class != TCField || tag.Id <= 0) continue;
    readField(row, tag, properties.controlOfTag(row).isOpen);
  }
}

void FixModel::readField(std::int32_t row, const SMD_TAG_DEFINITION& tag, bool isOpen) {
  Values& values = values_[asIndex(row)];
  if (const SMD_TYPE_DEFINITION* const type = dictionary_->types().find(tag.ToTypeIndexField)) {
    values.form = fixFormOf(textView(type->Identifier));
  }
  if (tag.ValueSetTableIndex >= 0 && !isOpen)
    values.valueSet = readValueSet(tag.ValueSetTableIndex);
  if (tag.Id < kDenseNumbers) {
    numbers_.resize(std::max(numbers_.size(), asIndex(tag.Id) + 1));
    numbers_[asIndex(tag.Id)] = {row, values.form};
  }
}

std::int32_t FixModel::readValueSet(std::int32_t firstRow) {
  const auto [entry, isNew] =
      setOfRow_.try_emplace(firstRow, static_cast<std::int32_t>(valueSets_.size()));
  if (!isNew) return entry->second;
  FixValueSet set;
  const auto& rows = dictionary_->valueSet();
  for (std::int32_t row = firstRow; rows.contains(row); ++row) {
    countRow();
    const std::int32_t value = rows.row(row).ValueSetValueIndex;
    if (value == kNone) break;
    const SMD_VALUE_DEFINITION* const definition = dictionary_->values().find(value);
    if (definition == nullptr || definition->Type != LTString) continue;
    set.add(toUtf8(textView(definition->Value.Text)));
  }
  set.sort();
  valueSets_.push_back(std::move(set));
  return entry->second;
}

// A field beyond the dense range.
FixModel::Field FixModel::sparseField(std::int32_t number) const noexcept {
  if (number < kDenseNumbers) return {};
  const std::int32_t row = dictionary_->getTagDefIndex(number);
  const SMD_TAG_DEFINITION* const tag = dictionary_->tags().find(row);
  if (tag == nullptr || tag->Class != TCField) return {};
  return {row, values_[asIndex(row)].form};
}

void FixModel::readMembers() {
  const auto& rows = dictionary_->typeMembers();
  const auto& tags = dictionary_->tags();
  std::vector<std::pair<std::int32_t, std::int32_t>> uses;  // tag row, member row
  for (std::int32_t row = 0; row < rows.rowCount(); ++row) {
    const SMD_STRUCTURE_ELEMENT_DEFINITION& member = rows.row(row);
    members_[asIndex(row)].isRequired = member.MinOccurs > 0;
    if (tags.contains(member.toTagIndex)) uses.emplace_back(member.toTagIndex, row);
    const SMD_STRUCTURE_ELEMENT_DEFINITION* const next = rows.find(row + 1);
    const SMD_TAG_DEFINITION* const tag =
        next == nullptr || next->ParentTypeId != member.ParentTypeId ? nullptr
                                                                     : tags.find(next->toTagIndex);
    members_[asIndex(row)].isCount = tag != nullptr && tag->Class == TCStructure &&
                                     member.ChildClass == TCField && next->MaxOccurs != 1;
  }
  std::ranges::sort(uses);
  firstUse_.assign(values_.size() + 1, 0);
  for (const auto& [tag, member] : uses) {
    ++firstUse_[asIndex(tag) + 1];
    uses_.push_back(member);
  }
  for (std::size_t i = 1; i < firstUse_.size(); ++i) firstUse_[i] += firstUse_[i - 1];
  for (std::int32_t row = 0; row < dictionary_->types().rowCount(); ++row) readType(row);
  for (std::int32_t row = 0; row < dictionary_->types().rowCount(); ++row) readGroups(row);
}

void FixModel::readType(std::int32_t row) {
  const auto& rows = dictionary_->typeMembers();
  Type& type = types_[asIndex(row)];
  const SMD_TYPE_DEFINITION& definition = dictionary_->types().row(row);
  if (!rows.contains(definition.ToTypeMbrIndex)) return;
  type.firstMember = definition.ToTypeMbrIndex;
  type.firstTag = rows.row(type.firstMember).toTagIndex;
  for (std::int32_t member = type.firstMember; rows.contains(member); ++member) {
    if (rows.row(member).ParentTypeId != definition.TypeId) break;
    countRow();
    ++type.memberCount;
    type.requiredCount += members_[asIndex(member)].isRequired ? 1 : 0;
  }
  type.isFlat = makeSlots(type) && isFreeOfOrder(definition);
}

// Whether each member has a tag of its own.
bool FixModel::makeSlots(Type& type) {
  // At least two: one is left free, and the hash keeps a bit.
  const std::uint32_t size = std::bit_ceil(2 * static_cast<std::uint32_t>(type.memberCount) + 2);
  type.slotMask = size - 1;
  type.slotShift = static_cast<std::uint8_t>(std::countl_zero(size) + 1);
  type.firstSlot = slots_.size();
  slots_.resize(slots_.size() + size);
  bool isFlat = true;
  for (std::int32_t member = type.firstMember; member < type.firstMember + type.memberCount;
       ++member) {
    const std::int32_t tag = dictionary_->typeMembers().row(member).toTagIndex;
    isFlat &= dictionary_->tags().contains(tag) && addSlot(type, tag, member);
  }
  return isFlat;
}

// False when the tag is there already: its first member counts.
bool FixModel::addSlot(const Type& type, std::int32_t tagRow, std::int32_t member) {
  std::uint32_t at = slotOf(tagRow, type.slotShift);
  for (; slots_[type.firstSlot + at].tagRow != kNone; at = (at + 1) & type.slotMask) {
    if (slots_[type.firstSlot + at].tagRow == tagRow) return false;
    countRow();
  }
  slots_[type.firstSlot + at] = {tagRow, member};
  return true;
}

void FixModel::readGroups(std::int32_t row) {
  const auto& rows = dictionary_->typeMembers();
  const Type& type = types_[asIndex(row)];
  for (std::int32_t i = 0; i < type.memberCount; ++i) {
    const std::int32_t count = type.firstMember + i;
    const std::int32_t group = groupMember(count);
    if (group == kNone) continue;
    const std::int32_t inside = rows.row(group).toTypeIndex;
    const std::int32_t first = firstTag(inside);
    if (first == kNone) continue;
    readGroup(inside);
    const bool hasCount = dictionary_->tags().contains(rows.row(count).toTagIndex);
    if (hasCount) groups_.try_emplace(keyOf(row, first), group);
  }
}

// Many groups may be of one type, which is read once.
void FixModel::readGroup(std::int32_t type) {
  const Type& in = types_[asIndex(type)];
  if (members_[asIndex(in.firstMember)].groupType != kNone) return;
  for (std::int32_t i = 0; i < in.memberCount; ++i) {
    members_[asIndex(in.firstMember + i)].groupType = type;
  }
}

std::int32_t FixModel::groupBegunBy(std::int32_t type, std::int32_t tagRow) const noexcept {
  const auto group = groups_.find(keyOf(type, tagRow));
  return group == groups_.end() ? kNone : group->second;
}

void FixModel::readMessage(std::int32_t row, const SMD_TAG_DEFINITION& tag) {
  const SMD_VALUE_DEFINITION* const value = dictionary_->values().find(tag.DVTableIndex);
  if (value == nullptr || value->Type != LTString) return;
  FixMessageModel message{
      .name = fixNameOf(textView(tag.TextIdentifier)), .tagId = tag.Id, .tagIndex = row};
  message.typeIndex =
      dictionary_->types().contains(tag.ToTypeIndexField) ? tag.ToTypeIndexField : kNone;
  const std::int32_t first = firstMember(message.typeIndex);
  for (std::int32_t i = 0; i < memberCount(message.typeIndex); ++i) {
    countRow();
    const SMD_TAG_DEFINITION* const part =
        dictionary_->tags().find(dictionary_->typeMembers().row(first + i).toTagIndex);
    if (part == nullptr) {
      message.bodyMember = first + i;
    } else if (textView(part->TextIdentifier) == kFixHeader) {
      message.headerMember = first + i;
    } else if (textView(part->TextIdentifier) == kFixTrailer) {
      message.trailerMember = first + i;
    }
  }
  message.isPlain = isPlain(message);
  messages_.try_emplace(toUtf8(textView(value->Value.Text)), std::move(message));
}

bool FixModel::isPlain(const FixMessageModel& message) const {
  const SMD_TYPE_DEFINITION* const type = dictionary_->types().find(message.typeIndex);
  if (type == nullptr || type->LogicalType > 0) return false;
  if (type->Composition != TYPE_SEQUENCE && type->Composition != TYPE_ORDERED) return false;
  std::int32_t before = kNone;
  for (const std::int32_t member :
       {message.headerMember, message.bodyMember, message.trailerMember}) {
    if (member == kNone) continue;
    if (member < before || !isFlat(dictionary_->typeMembers().row(member).toTypeIndex))
      return false;
    before = member;
  }
  return true;
}

const FixMessageModel* FixModel::message(std::string_view msgType) const {
  const auto entry = messages_.find(msgType);
  return entry == messages_.end() ? nullptr : &entry->second;
}

std::span<const std::int32_t> FixModel::membersWith(std::int32_t tagRow) const noexcept {
  const std::size_t begin = firstUse_[asIndex(tagRow)];
  return std::span(uses_).subspan(begin, firstUse_[asIndex(tagRow) + 1] - begin);
}

}  // namespace cpi
