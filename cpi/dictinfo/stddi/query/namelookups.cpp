// Names to rows: linear scans in row order, so that the first row of a name wins.
#include "cpi/dictinfo/stddi/stddictionaryinfo.h"

namespace cpi {

namespace {

constexpr std::size_t kMaximumNameLength = 256;
constexpr const char* kInvalidName = "Invalid Tag Name";

std::u16string_view trimmed(std::u16string_view text) {
  const std::size_t last = text.find_last_not_of(u' ');
  return text.substr(0, last == std::u16string_view::npos ? 0 : last + 1);
}

std::u16string_view trimmed(const unsigned short* text) { return trimmed(textView(text)); }

// The first tag of a trimmed name and a namespace; rows without text match no name.
std::int32_t findTag(const StdDictionaryInfo& dictionary, std::u16string_view name,
                     const KelStringBase& namespaceURI, bool anyNamespace) {
  for (std::int32_t row = 0; row < dictionary.tags().rowCount(); ++row) {
    const SMD_TAG_DEFINITION& tag = dictionary.tags().row(row);
    if (tag.TextIdentifier == nullptr || trimmed(tag.TextIdentifier) != name) continue;
    if (anyNamespace || dictionary.isInNamespace(tag.namespaceIndex, namespaceURI)) return row;
  }
  return kNone;
}

// The first units are compared before any space is removed: an empty text and one of spaces
// alone, equal once trimmed, do not meet.
bool isTypeNamed(const SMD_TYPE_DEFINITION& type, const unsigned short* text) {
  return type.Identifier != nullptr && type.Identifier[0] == text[0] &&
         trimmed(type.Identifier) == trimmed(text);
}

}  // namespace

std::int32_t StdDictionaryInfo::getTagDefIndexFromName(const unsigned short* name,
                                                       const KelStringBase& namespaceURI,
                                                       bool anyNamespace) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTagDefIndexFromName", name, namespaceURI);
  const std::u16string_view wanted = trimmed(name);
  if (wanted.empty() || wanted.size() > kMaximumNameLength) {
    return operation.fails(kInvalidName, kNone);
  }
  return operation.returns(findTag(*this, wanted, namespaceURI, anyNamespace));
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
      text == nullptr ? kNone : findTag(*this, trimmed(text), namespaceURI, anyNamespace);
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
  for (std::int32_t row = 0; text != nullptr && row < types_.rowCount(); ++row) {
    const SMD_TYPE_DEFINITION& type = types_.row(row);
    if (!isTypeNamed(type, text)) continue;
    if (!anyNamespace && !isInNamespace(type.NamespaceIndex, namespaceURI)) continue;
    typeId = type.TypeId;
    return operation.returns(kSuccess);
  }
  return operation.fails("Definiton not found", kDefinitionNotFound);
}

}  // namespace cpi
