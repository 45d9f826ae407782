// Names to rows. The first row of a name and namespace wins.
#include "cpi/dictinfo/stddi/query/lookupindex.h"

namespace cpi {

namespace {

constexpr std::size_t kMaximumNameLength = 256;
constexpr const char* kInvalidName = "Invalid Tag Name";

std::u16string_view trimmed(const unsigned short* text) { return trimmedName(textView(text)); }

// The first row of a name that is accepted: by the index, or by a scan without one.
template <class Record, class Accepts>
std::int32_t findNamed(const TableReference<Record>& table, const NameIndex* index,
                       std::u16string_view name, Accepts accepts) {
  const auto nameOf = trimmedNames(table);
  if (index != nullptr) return index->find(name, nameOf, accepts);
  for (std::int32_t row = 0; row < table.rowCount(); ++row) {
    if (nameOf(row) == name && accepts(row)) return row;
  }
  return kNone;
}

// The first units are compared before any space is removed: an empty text and one of spaces
// alone, equal once trimmed, do not meet.
bool isFirstUnitEqual(const SMD_TYPE_DEFINITION& type, const unsigned short* text) {
  return type.Identifier != nullptr && type.Identifier[0] == text[0];
}

}  // namespace

std::int32_t StdDictionaryInfo::findTag(std::u16string_view name, const KelStringBase& namespaceURI,
                                        bool anyNamespace) const {
  const LookupIndex* const derived = index();
  return findNamed(
      tags_, derived == nullptr ? nullptr : &derived->tags, name, [&](std::int32_t row) {
        return anyNamespace || isInNamespace(tags_.row(row).namespaceIndex, namespaceURI);
      });
}

std::int32_t StdDictionaryInfo::findType(const unsigned short* text,
                                         const KelStringBase& namespaceURI,
                                         bool anyNamespace) const {
  const LookupIndex* const derived = index();
  return findNamed(types_, derived == nullptr ? nullptr : &derived->types, trimmed(text),
                   [&](std::int32_t row) {
                     const SMD_TYPE_DEFINITION& type = types_.row(row);
                     return isFirstUnitEqual(type, text) &&
                            (anyNamespace || isInNamespace(type.NamespaceIndex, namespaceURI));
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
