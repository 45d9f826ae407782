// Names to rows. The first row of a name and namespace wins.
#include "cpi/dictinfo/stddi/query/lookupindex.h"

namespace cpi {

namespace {

constexpr std::size_t kMaximumNameLength = 256;
constexpr const char* kInvalidName = "Invalid Tag Name";

std::u16string_view trimmed(const unsigned short* text) { return trimmedName(textView(text)); }

// The first row that `isWanted`, looking at all of them.
template <class Record, class IsWanted>
std::int32_t scan(const TableReference<Record>& table, IsWanted isWanted) {
  for (std::int32_t row = 0; row < table.rowCount(); ++row) {
    if (isWanted(table.row(row))) return row;
  }
  return kNone;
}

// The first row of a name whose namespace index `isIn` the wanted namespace.
template <class Record, class IsIn>
std::int32_t findIn(const TableReference<Record>& table, std::int32_t Record::*namespaceIndex,
                    const NameIndex& names, std::u16string_view name, IsIn isIn) {
  return names.find(name,
                    [&](std::int32_t row) { return isIn(table.records()[row].*namespaceIndex); });
}

}  // namespace

std::int32_t StdDictionaryInfo::findTag(std::u16string_view name, const KelStringBase& namespaceURI,
                                        bool anyNamespace) const {
  const auto isIn = [&](std::int32_t namespaceIndex) {
    return anyNamespace || isInNamespace(namespaceIndex, namespaceURI);
  };
  const LookupIndex* const derived = index();
  if (derived != nullptr && derived->tags() != nullptr) {
    return findIn(tags_, &SMD_TAG_DEFINITION::namespaceIndex, *derived->tags(), name, isIn);
  }
  return scan(tags_, [&](const SMD_TAG_DEFINITION& tag) {
    return tag.TextIdentifier != nullptr && trimmed(tag.TextIdentifier) == name &&
           isIn(tag.namespaceIndex);
  });
}

std::int32_t StdDictionaryInfo::findType(const unsigned short* text,
                                         const KelStringBase& namespaceURI,
                                         bool anyNamespace) const {
  const std::u16string_view name = trimmedTypeName(textView(text));
  const auto isIn = [&](std::int32_t namespaceIndex) {
    return anyNamespace || isInNamespace(namespaceIndex, namespaceURI);
  };
  const LookupIndex* const derived = index();
  if (derived != nullptr && derived->types() != nullptr) {
    return findIn(types_, &SMD_TYPE_DEFINITION::NamespaceIndex, *derived->types(), name, isIn);
  }
  return scan(types_, [&](const SMD_TYPE_DEFINITION& type) {
    return type.Identifier != nullptr && trimmedTypeName(textView(type.Identifier)) == name &&
           isIn(type.NamespaceIndex);
  });
}

std::int32_t StdDictionaryInfo::getTagDefIndexFromName(const unsigned short* name,
                                                       const KelStringBase& namespaceURI,
                                                       bool anyNamespace) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTagDefIndexFromName", name, namespaceURI);
  const std::u16string_view wanted = trimmed(name);
  if (wanted.empty() || wanted.size() > kMaximumNameLength) {
    return operation.fails(kInvalidName, kNone);
  }
  return operation.returns(findTag(wanted, namespaceURI, anyNamespace));
}

std::int32_t StdDictionaryInfo::getTagDefIndexFromName(const unsigned short* name) const {
  return getTagDefIndexFromName(name, KelStringBase(), true);
}

std::int32_t StdDictionaryInfo::getTagIdForTagText(const unsigned short* text,
                                                   const KelStringBase& namespaceURI,
                                                   std::int32_t& tagId, bool anyNamespace) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTagIdForTagText", text, namespaceURI);
  if (textLength(text) > kMaximumNameLength) return operation.fails(kInvalidName, kNameTooLong);
  const std::int32_t row =
      text == nullptr ? kNone : findTag(trimmed(text), namespaceURI, anyNamespace);
  if (row < 0) return operation.fails("Definition not found", kDefinitionNotFound);
  tagId = tags_.row(row).Id;
  return operation.returns(kSuccess);
}

std::int32_t StdDictionaryInfo::getTagIdForTagText(const unsigned short* text,
                                                   std::int32_t& tagId) const {
  return getTagIdForTagText(text, KelStringBase(), tagId, true);
}

std::int32_t StdDictionaryInfo::getTypeIdForTypeText(const unsigned short* text,
                                                     const KelStringBase& namespaceURI,
                                                     std::int32_t& typeId,
                                                     bool anyNamespace) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTypeIdForTypeText", text, namespaceURI);
  if (textLength(text) > kMaximumNameLength) return operation.fails(kInvalidName, kNameTooLong);
  const std::int32_t row = text == nullptr ? kNone : findType(text, namespaceURI, anyNamespace);
  if (row < 0) return operation.fails("Definiton not found", kDefinitionNotFound);
  typeId = types_.row(row).TypeId;
  return operation.returns(kSuccess);
}

}  // namespace cpi
