#include "cpi/walk/valuecheck.h"

#include <algorithm>
#include <optional>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"
#include "cpi/extract/modelconventions.h"

namespace cpi {
namespace {

constexpr std::size_t kMaxShownValues = 20;
// Sets may overlap, so that a small dictionary has very many values in all; start over then.
constexpr std::size_t kMaxKeptValues = 1'000'000;
// The same of lists and unions that derive from one another; those behind are let pass.
constexpr std::size_t kMaxKeptParts = 1'000'000;
// Unions may stand in lists and unions, and in a hostile dictionary in themselves. A value that
// takes more than this is let pass.
constexpr int kMaxDepth = 16;
constexpr std::size_t kMaxLooks = 64;  // at each byte
constexpr std::string_view kSpaces = " \t\n\r";

// A constant of the dictionary as text; nothing when it has no one text.
std::optional<std::string> textOf(const SMD_VALUE_DEFINITION& value) {
  switch (value.Type) {
    case LTString:
    case LTDecimal: return toUtf8(textView(value.Value.Text));
    case LTInteger: return std::to_string(value.Value.Integer);
    case LTFloat: return floatText(value.Value.Float);
    case LTBoolean: return value.Value.Boolean ? "true" : "false";
    default: return std::nullopt;
  }
}

// Calls `visit` with each row of Values that a set leads to.
template <class Visit>
void forEachValue(const StdDictionaryInfo& dictionary, std::int32_t first, Visit visit) {
  const auto& sets = dictionary.valueSet();
  for (std::int32_t row = first; sets.contains(row); ++row) {
    const auto* const value = dictionary.values().find(sets.row(row).ValueSetValueIndex);
    if (value == nullptr || !visit(*value)) return;
  }
}

}  // namespace

ValueCheck::ValueCheck(const WalkModel& model)
    : model_(model), dictionary_(model.dictionary()), facets_(model) {
  forms_.resize(static_cast<std::size_t>(dictionary_.types().rowCount()));
  for (std::int32_t row = 0; row < dictionary_.types().rowCount(); ++row) {
    const std::int32_t logicalType = dictionary_.types().row(row).LogicalType;
    if (logicalType != LTString && logicalType != LTFloat) continue;
    forms_[static_cast<std::size_t>(row)] = formOf(model.properties().builtInBaseOf(row));
  }
  if (!model.properties().hasDerivations()) return;
  std::size_t partCount = 0;
  for (std::int32_t row = 0; row < dictionary_.types().rowCount(); ++row) {
    if (dictionary_.types().row(row).LogicalType != LTString) continue;
    const std::optional<SchemaParts> found = model.properties().partsOf(row);
    if (!found) continue;
    partCount += found->types.size();
    if (partCount > kMaxKeptParts) return;
    Parts& parts = parts_[row];
    parts = {found->isList, found->least, found->most, {}};
    for (const std::int32_t type : found->types) {
      parts.types.push_back({type, model.hiddenTagOfType(type)});
    }
  }
}

const ValueCheck::Parts* ValueCheck::partsOf(std::int32_t typeIndex) const {
  const auto found = parts_.find(typeIndex);
  return found == parts_.end() ? nullptr : &found->second;
}

// Equal values of a list or union may differ as texts when a part of it is no text: 1 and 01.
bool ValueCheck::hasOneForm(std::int32_t typeIndex) const {
  const Parts* const parts = partsOf(typeIndex);
  return parts == nullptr || std::ranges::all_of(parts->types, [&](const Part& part) {
           return dictionary_.types().row(part.typeIndex).LogicalType == LTString &&
                  formOfType(part.typeIndex) == ValueForm::Plain &&
                  partsOf(part.typeIndex) == nullptr;
         });
}

bool ValueCheck::isNeeded(std::int32_t tagIndex) {
  const SMD_TAG_DEFINITION* const tag = dictionary_.tags().find(tagIndex);
  if (tag == nullptr) return false;
  const std::int32_t logicalType = logicalTypeOf(*tag);
  if (logicalType < 1 || logicalType >= kFirstWildcardLogicalType) return false;
  return tag->ValueSetTableIndex >= 0 || tag->MinLength > 0 || tag->MaxLength >= 0 ||
         isNumeric(logicalType) || formOfType(tag->ToTypeIndexField) != ValueForm::Plain ||
         partsOf(tag->ToTypeIndexField) != nullptr || facets_.isNeeded(tag->ToTypeIndexField) ||
         model_.properties().controlOfTag(tagIndex).isFixed;
}

// A default stands for an empty element.
Reason ValueCheck::judge(std::int32_t tagIndex, std::string_view value) {
  const SMD_TAG_DEFINITION& tag = dictionary_.tags().row(tagIndex);
  if (value.empty() && tag.DVTableIndex >= 0) return Reason::None;
  budget_ = kMaxLooks * (value.size() + 1);
  const Reason reason = judgeWhole(tag, tagIndex, value);
  return reason == Reason::None ? judgeParts(tag.ToTypeIndexField, value, 0) : reason;
}

// No number, truth value or value of a set is so long, unless the dictionary has such texts itself.
// Of a list the items are judged, of a union nothing.
Reason ValueCheck::judgeBeginning(std::int32_t tagIndex, std::string_view beginning) {
  const SMD_TAG_DEFINITION& tag = dictionary_.tags().row(tagIndex);
  const std::int32_t logicalType = logicalTypeOf(tag);
  if (isNumeric(logicalType) || logicalType == LTBoolean) return Reason::WrongForm;
  if (formOfType(tag.ToTypeIndexField) == ValueForm::Name) return Reason::None;
  if (!mayBeInSet(tag, logicalType, beginning.size()) && hasOneForm(tag.ToTypeIndexField)) {
    return Reason::NotInValueSet;
  }
  const auto* const fixed = model_.properties().controlOfTag(tagIndex).isFixed
                                ? dictionary_.values().find(tag.DVTableIndex)
                                : nullptr;
  const std::optional<std::string> text = fixed == nullptr ? std::nullopt : textOf(*fixed);
  if (text && text->size() < beginning.size()) return Reason::NotFixedValue;
  if (logicalType != LTString) return Reason::None;
  if (tag.MaxLength >= 0 && lengthOf(tag, beginning) > tag.MaxLength) return Reason::TooLong;
  const Parts* const parts = partsOf(tag.ToTypeIndexField);
  if (parts == nullptr || !parts->isList) return Reason::None;
  budget_ = kMaxLooks * beginning.size();
  const std::size_t end = beginning.rfind(' ');
  const Reason reason = judgeItems(*parts, beginning.substr(0, end == beginning.npos ? 0 : end), 0);
  return reason == Reason::TooShort ? Reason::None : reason;
}

bool ValueCheck::mayBeInSet(const SMD_TAG_DEFINITION& tag, std::int32_t logicalType,
                            std::size_t size) {
  if (tag.ValueSetTableIndex < 0) return true;
  const ValueSet& set = setOf(tag, logicalType);
  return !set.isJudged ||
         std::ranges::any_of(set.keys, [&](const auto& key) { return key.size() >= size; });
}

// A union admits what one of its members does.
Reason ValueCheck::judgeParts(std::int32_t typeIndex, std::string_view value, int depth) {
  const Parts* const parts = partsOf(typeIndex);
  if (parts == nullptr || depth == kMaxDepth) return Reason::None;
  if (parts->isList) return judgeItems(*parts, value, depth);
  const bool isMember = std::ranges::any_of(parts->types, [&](const Part& part) {
    return judgePart(part, value, depth) == Reason::None;
  });
  return isMember ? Reason::None : Reason::WrongForm;
}

// Of an item's faults describe() can tell no more than its value set and facet.
Reason ValueCheck::judgeItems(const Parts& list, std::string_view value, int depth) {
  std::int64_t count = 0;
  for (std::size_t begin = 0; (begin = value.find_first_not_of(kSpaces, begin)) != value.npos;) {
    const std::size_t end = std::min(value.find_first_of(kSpaces, begin), value.size());
    const Reason reason = judgePart(list.types.front(), value.substr(begin, end - begin), depth);
    if (reason != Reason::None) {
      const bool isTold = reason == Reason::NotInValueSet || reason == Reason::NotOfFacet;
      return isTold ? reason : Reason::WrongForm;
    }
    begin = end;
    ++count;
  }
  if (count < list.least) return Reason::TooShort;
  return list.most >= 0 && count > list.most ? Reason::TooLong : Reason::None;
}

// A type without name has no tag: of its values only the form and the facets are known.
Reason ValueCheck::judgePart(const Part& part, std::string_view value, int depth) {
  if (budget_ < value.size() + 1) return Reason::None;
  budget_ -= value.size() + 1;
  Reason reason = Reason::None;
  if (part.tagIndex >= 0) {
    reason = judgeWhole(dictionary_.tags().row(part.tagIndex), part.tagIndex, value);
  } else {
    collapse(value, collapsed_);
    const bool isForm = makeKey(dictionary_.types().row(part.typeIndex).LogicalType,
                                formOfType(part.typeIndex), collapsed_, key_);
    reason = isForm ? judgeFacets(part.typeIndex, value) : Reason::WrongForm;
  }
  return reason == Reason::None ? judgeParts(part.typeIndex, value, depth + 1) : reason;
}

Reason ValueCheck::judgeWhole(const SMD_TAG_DEFINITION& tag, std::int32_t tagIndex,
                              std::string_view value) {
  const std::int32_t logicalType = logicalTypeOf(tag);
  collapse(value, collapsed_);
  const ValueForm form = formOfType(tag.ToTypeIndexField);
  if (!makeKey(logicalType, form, collapsed_, key_)) return Reason::WrongForm;
  if (form == ValueForm::Name) return judgeFacets(tag.ToTypeIndexField, value);
  if (tag.ValueSetTableIndex >= 0 && !isInSet(tag, logicalType, value) &&
      hasOneForm(tag.ToTypeIndexField)) {
    return Reason::NotInValueSet;
  }
  if (model_.properties().controlOfTag(tagIndex).isFixed && !isFixedValue(tag, logicalType)) {
    return Reason::NotFixedValue;
  }
  const Reason length = logicalType == LTString ? judgeLength(tag, value) : Reason::None;
  return length == Reason::None ? judgeFacets(tag.ToTypeIndexField, value) : length;
}

// Too short as it stands, or too long without superfluous white space.
Reason ValueCheck::judgeLength(const SMD_TAG_DEFINITION& tag, std::string_view value) const {
  if (tag.MinLength <= 0 && tag.MaxLength < 0) return Reason::None;
  const std::int64_t longest = lengthOf(tag, value);
  if (longest < tag.MinLength) return Reason::TooShort;
  const bool isTooLong = tag.MaxLength >= 0 && lengthOf(tag, collapsed_) > tag.MaxLength;
  return isTooLong ? Reason::TooLong : Reason::None;
}

Reason ValueCheck::judgeFacets(std::int32_t typeIndex, std::string_view value) {
  const std::string_view fault = facets_.firstFault(typeIndex, value, collapsed_);
  if (fault.empty()) return Reason::None;
  facet_ = fault;
  return Reason::NotOfFacet;
}

void ValueCheck::describe(std::int32_t tagIndex, Reason reason, Finding& finding) const {
  const SMD_TAG_DEFINITION& tag = dictionary_.tags().row(tagIndex);
  const Parts* const parts = partsOf(tag.ToTypeIndexField);
  const Parts* const list = parts != nullptr && parts->isList ? parts : nullptr;
  if (reason == Reason::TooShort) finding.atLeast = list == nullptr ? tag.MinLength : list->least;
  if (reason == Reason::TooLong) finding.atMost = list == nullptr ? tag.MaxLength : list->most;
  if (reason == Reason::NotFixedValue) {
    const auto* const fixed = dictionary_.values().find(tag.DVTableIndex);
    if (fixed != nullptr) finding.values.push_back(textOf(*fixed).value_or(""));
  }
  if (reason == Reason::NotOfFacet) finding.values.push_back(facet_);
  if (reason != Reason::NotInValueSet) return;
  const auto* const item =
      list == nullptr ? nullptr : dictionary_.tags().find(list->types.front().tagIndex);
  const bool isOfItem = tag.ValueSetTableIndex < 0 && item != nullptr;
  const std::int32_t first = (isOfItem ? *item : tag).ValueSetTableIndex;
  forEachValue(dictionary_, first, [&](const SMD_VALUE_DEFINITION& value) {
    finding.values.push_back(textOf(value).value_or(""));
    return finding.values.size() < kMaxShownValues;
  });
}

std::int32_t ValueCheck::logicalTypeOf(const SMD_TAG_DEFINITION& tag) const {
  const SMD_TYPE_DEFINITION* const type = dictionary_.types().find(tag.ToTypeIndexField);
  return type == nullptr ? 0 : type->LogicalType;
}

// Of key_, against the default.
bool ValueCheck::isFixedValue(const SMD_TAG_DEFINITION& tag, std::int32_t logicalType) const {
  const auto* const fixed = dictionary_.values().find(tag.DVTableIndex);
  const std::optional<std::string> text = fixed == nullptr ? std::nullopt : textOf(*fixed);
  if (!text) return true;
  std::string collapsed;
  std::string key;
  collapse(*text, collapsed);
  return !makeKey(logicalType, formOfType(tag.ToTypeIndexField), collapsed, key) || key == key_;
}

ValueForm ValueCheck::formOfType(std::int32_t typeIndex) const {
  return dictionary_.types().contains(typeIndex) ? forms_[static_cast<std::size_t>(typeIndex)]
                                                 : ValueForm::Plain;
}

bool ValueCheck::isInSet(const SMD_TAG_DEFINITION& tag, std::int32_t logicalType,
                         std::string_view value) {
  const ValueSet& set = setOf(tag, logicalType);
  if (!set.isJudged || set.keys.contains(key_)) return true;
  return logicalType == LTString && set.keys.contains(value);
}

const ValueCheck::ValueSet& ValueCheck::setOf(const SMD_TAG_DEFINITION& tag,
                                              std::int32_t logicalType) {
  const std::int32_t first = tag.ValueSetTableIndex;
  const ValueForm form = formOfType(tag.ToTypeIndexField);
  if (const auto known = sets_.find({first, logicalType, form}); known != sets_.end()) {
    return known->second;
  }
  if (valueCount_ > kMaxKeptValues) {
    sets_.clear();
    valueCount_ = 0;
  }
  ValueSet set;
  forEachValue(dictionary_, first, [&](const SMD_VALUE_DEFINITION& value) {
    const std::optional<std::string> text = textOf(value);
    std::string collapsed;
    std::string key;
    if (text) collapse(*text, collapsed);
    set.isJudged = text && makeKey(logicalType, form, collapsed, key);
    if (logicalType == LTString && text) set.keys.insert(*text);
    set.keys.insert(std::move(key));
    return set.isJudged;
  });
  valueCount_ += set.keys.size();
  return sets_.emplace(std::tuple(first, logicalType, form), std::move(set)).first->second;
}

// In the units of the type's length limits.
std::int64_t ValueCheck::lengthOf(const SMD_TAG_DEFINITION& tag, std::string_view value) const {
  const ValueForm form = formOfType(tag.ToTypeIndexField);
  if (form != ValueForm::Hex && form != ValueForm::Base64) return characters(value);
  const std::int64_t digits = std::count_if(
      value.begin(), value.end(), [](char unit) { return !isSpace(unit) && unit != '='; });
  return form == ValueForm::Hex ? digits / 2 : digits * 3 / 4;
}

}  // namespace cpi
