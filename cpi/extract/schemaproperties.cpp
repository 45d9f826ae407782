#include "cpi/extract/schemaproperties.h"

#include <algorithm>
#include <string>

#include "cpi/dictinfo/stringtable.h"
#include "cpi/extract/modelconventions.h"
#include "cpi/runtime/utf16.h"

namespace cpi {

namespace {

// Steps in one question: chains of types end sooner, those of a hostile dictionary need not.
constexpr std::int32_t kMaxSteps = 200'000;
constexpr int kMaxUnions = 16;  // unions within unions
constexpr int kMaxBases = 64;   // from a type to the list or union that it is derived from
constexpr std::size_t kMaxParts = 256;

const StringTable* propertyOf(const DictTable& table, std::u16string_view name) {
  return table.properties.FindTable(asUnits(kSchemaProperties.data()), asUnits(name.data()));
}

std::u16string_view valueOf(const StringTable* property, std::int32_t row) noexcept {
  if (property == nullptr || row < 0) return {};
  const unsigned short* const text = property->GetValue(static_cast<std::uint32_t>(row));
  return text == nullptr ? std::u16string_view() : textView(text);
}

SchemaControl controlOf(std::u16string_view words) noexcept {
  SchemaControl control;
  while (!words.empty()) {
    const std::u16string_view word = takeWord(words);
    control.isAbstract = control.isAbstract || word == kAbstract;
    control.isFixed = control.isFixed || word == kFixed;
    control.isOpen = control.isOpen || word == kOpen;
    control.blocksExtension = control.blocksExtension || word == kBlockExtension;
    control.blocksRestriction = control.blocksRestriction || word == kBlockRestriction;
  }
  return control;
}

constexpr std::size_t kMostDigits = 9;

// 0 for what is no number.
std::int32_t numberOf(std::u16string_view digits) noexcept {
  std::int32_t number = 0;
  if (digits.size() > kMostDigits) return 0;
  for (const char16_t digit : digits) {
    if (digit < u'0' || digit > u'9') return 0;
    number = number * 10 + (digit - u'0');
  }
  return number;
}

}  // namespace

SchemaProperties::SchemaProperties(const StdDictionaryInfo& dictionary)
    : dictionary_(&dictionary),
      tagControl_(propertyOf(dictionary.tags().table(), kControlProperty)),
      typeControl_(propertyOf(dictionary.types().table(), kControlProperty)),
      derivation_(propertyOf(dictionary.types().table(), kDerivationProperty)),
      facets_(propertyOf(dictionary.types().table(), kFacetsProperty)) {}

SchemaControl SchemaProperties::controlOfTag(std::int32_t tagIndex) const noexcept {
  return controlOf(valueOf(tagControl_, tagIndex));
}

SchemaControl SchemaProperties::controlOfType(std::int32_t typeIndex) const noexcept {
  return controlOf(valueOf(typeControl_, typeIndex));
}

std::u16string_view SchemaProperties::facetsOf(std::int32_t typeIndex) const noexcept {
  return valueOf(facets_, typeIndex);
}

std::optional<SchemaParts> SchemaProperties::partsOf(std::int32_t typeIndex) const {
  std::int32_t row = typeIndex;
  std::u16string_view rest = valueOf(derivation_, row);
  std::u16string_view method = takeWord(rest);
  for (int step = 0; method == kExtension || method == kRestriction; ++step) {
    row = dictionary_->getTypeDefIndex(numberOf(rest));
    if (step == kMaxBases || row < 0) return std::nullopt;
    rest = valueOf(derivation_, row);
    method = takeWord(rest);
  }
  if (method != kList && method != kUnion) return std::nullopt;
  SchemaParts parts;
  parts.isList = method == kList;
  while (!rest.empty()) {
    parts.types.push_back(dictionary_->getTypeDefIndex(numberOf(takeWord(rest))));
    if (parts.types.back() < 0 || parts.types.size() > kMaxParts) return std::nullopt;
  }
  if (parts.types.empty()) return std::nullopt;
  if (parts.isList) readItemLimits(typeIndex, parts);
  return parts;
}

// A limit of too many digits is none that a value can reach, and one of another form is left out.
void SchemaProperties::readItemLimits(std::int32_t typeIndex, SchemaParts& parts) const noexcept {
  forEachFacet(facetsOf(typeIndex), [&](std::u16string_view facet, std::u16string_view value) {
    const bool isLength = facet == u"length";
    const bool isNumber = !value.empty() && value.find_first_not_of(u"0123456789") == value.npos;
    if (!isNumber || value.size() > kMostDigits) return;
    if (isLength || facet == u"minLength") parts.least = numberOf(value);
    if (isLength || facet == u"maxLength") parts.most = numberOf(value);
  });
}

std::u16string_view SchemaProperties::builtInBaseOf(std::int32_t typeIndex) const {
  std::int32_t row = typeIndex;
  for (int step = 0; step < kMaxBases; ++step) {
    const SMD_TYPE_DEFINITION* const type = dictionary_->types().find(row);
    if (type == nullptr) break;
    if (dictionary_->namespaceText(type->NamespaceIndex) == kSchemaNamespace) {
      return textView(type->Identifier);
    }
    row = dictionary_->getTypeDefIndex(type->BaseTypeId);
  }
  return {};
}

std::optional<DerivationMethods> SchemaProperties::derivation(std::int32_t typeIndex,
                                                              std::int32_t fromIndex) const {
  const auto& types = dictionary_->types();
  if (!types.contains(typeIndex) || !types.contains(fromIndex)) return std::nullopt;
  Search search;
  return find(search, typeIndex, fromIndex);
}

std::optional<DerivationMethods> SchemaProperties::find(Search& search, std::int32_t typeIndex,
                                                        std::int32_t fromIndex) const {
  DerivationMethods methods;
  while (search.steps++ < kMaxSteps) {
    if (typeIndex == fromIndex) return methods;
    std::u16string_view rest = valueOf(derivation_, typeIndex);
    const std::u16string_view method = takeWord(rest);
    if (method == kExtension) methods.hasExtension = true;
    else methods.hasRestriction = true;
    if (isMemberOf(search, typeIndex, fromIndex)) return methods;
    const bool isStep = method == kExtension || method == kRestriction;
    const std::int32_t base = isStep ? numberOf(rest) : 0;
    const std::int32_t baseIndex = base > 0 ? dictionary_->getTypeDefIndex(base) : kNone;
    if (baseIndex < 0) {
      return isDerivedFromRoot(typeIndex, fromIndex) ? std::optional(methods) : std::nullopt;
    }
    typeIndex = baseIndex;
  }
  return std::nullopt;
}

// A type is derived from a union when it is derived from a member of it.
bool SchemaProperties::isMemberOf(Search& search, std::int32_t typeIndex,
                                  std::int32_t unionIndex) const {
  std::u16string_view rest = valueOf(derivation_, unionIndex);
  if (search.unions == kMaxUnions || takeWord(rest) != kUnion) return false;
  ++search.unions;
  bool isMember = false;
  while (!rest.empty() && !isMember) {
    const std::int32_t member = dictionary_->getTypeDefIndex(numberOf(takeWord(rest)));
    isMember = member >= 0 && find(search, typeIndex, member).has_value();
  }
  --search.unions;
  return isMember;
}

bool SchemaProperties::isDerivedFromRoot(std::int32_t typeIndex,
                                         std::int32_t fromIndex) const noexcept {
  if (isRoot(fromIndex, u"anyType")) return true;
  return isRoot(fromIndex, u"anySimpleType") && dictionary_->types().row(typeIndex).LogicalType > 0;
}

bool SchemaProperties::isRoot(std::int32_t typeIndex, std::u16string_view name) const noexcept {
  const SMD_TYPE_DEFINITION& type = dictionary_->types().row(typeIndex);
  return textView(type.Identifier) == name &&
         dictionary_->namespaceText(type.NamespaceIndex) == kSchemaNamespace;
}

bool SchemaProperties::mayTake(std::int32_t tagIndex, std::int32_t typeIndex) const {
  const SMD_TAG_DEFINITION* const tag = dictionary_->tags().find(tagIndex);
  if (tag == nullptr) return false;
  const std::optional<DerivationMethods> methods = derivation(typeIndex, tag->ToTypeIndexField);
  if (!methods) return false;
  const SchemaControl element = controlOfTag(tagIndex);
  const SchemaControl type = controlOfType(tag->ToTypeIndexField);
  const bool isBlocked =
      (methods->hasExtension && (element.blocksExtension || type.blocksExtension)) ||
      (methods->hasRestriction && (element.blocksRestriction || type.blocksRestriction));
  return !isBlocked;
}

}  // namespace cpi
