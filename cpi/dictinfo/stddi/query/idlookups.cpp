// Ids to rows: what the inline look-ups leave over, bisection over tables without an index, and a
// tag through the members of its parent type.
#include "cpi/dictinfo/stddi/query/lookupindex.h"

namespace cpi {

namespace {

// Bisection that keeps the probed row inside the range and ends when the midpoint stands still.
// On a strictly ascending column it finds every id; with equal ids side by side, the row that the
// probing reaches first, which callers rely on: no other search order may take its place.
template <class KeyOf>
std::int32_t bisect(std::int32_t count, std::int32_t wanted, KeyOf keyOf) {
  std::int32_t high = count;
  std::int32_t low = 0;
  for (std::int32_t middle = count / 2; low < high && count > 0;) {
    const std::int32_t key = keyOf(middle);
    if (key == wanted) return middle;
    (key > wanted ? high : low) = middle;
    const auto next = static_cast<std::int32_t>((std::int64_t{high} + low) / 2);
    if (next == middle) break;
    middle = next;
  }
  return kNone;
}

}  // namespace

std::int32_t StdDictionaryInfo::findTagId(std::int32_t tagId) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTagDefIndex", tagId);
  if (ids_.tags.isBuilt()) return operation.returns(ids_.tags.find(tagId));
  const auto keyOf = [this](std::int32_t row) { return tags_.row(row).Id; };
  return operation.returns(bisect(tags_.rowCount(), tagId, keyOf));
}

std::int32_t StdDictionaryInfo::findTypeId(std::int32_t typeId) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTypeDefIndex", typeId);
  if (ids_.types.isBuilt()) return operation.returns(ids_.types.find(typeId));
  const auto keyOf = [this](std::int32_t row) { return types_.row(row).TypeId; };
  return operation.returns(bisect(types_.rowCount(), typeId, keyOf));
}

std::int32_t StdDictionaryInfo::findMemberId(std::int32_t mbrId) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getStructDefIndexFromMbrID", mbrId);
  if (ids_.members.isBuilt()) return operation.returns(memberOf(ids_.members.find(mbrId)));
  const auto keyOf = [this](std::int32_t row) {
    return memberIdIndex_.row(row).MbrIDToTypeMbrIndexId;
  };
  return operation.returns(memberOf(bisect(memberIdIndex_.rowCount(), mbrId, keyOf)));
}

std::int32_t StdDictionaryInfo::getTagDefIndexUsingParentTypeDefIndex(std::int32_t typeIndex,
                                                                      std::int32_t tagId) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTagDefIndexUsingParentTypeDefIndex",
                         typeIndex, tagId);
  const SMD_TYPE_DEFINITION* const type = types_.find(typeIndex);
  const std::int32_t first = type == nullptr ? kNone : type->ToTypeMbrIndex;
  const auto* const member = typeMembers_.find(findMemberOfTag(first, tagId));
  return operation.returns(member == nullptr ? getTagDefIndex(tagId) : member->toTagIndex);
}

// The first row that carries the tag among those from `first` on with its parent type, or -1.
std::int32_t StdDictionaryInfo::findMemberOfTag(std::int32_t first, std::int32_t tagId) const {
  const auto* member = typeMembers_.find(first);
  if (member == nullptr) return kNone;
  const std::int32_t parentTypeId = member->ParentTypeId;
  const LookupIndex* const derived = index();
  for (std::int32_t row = first; member != nullptr && member->ParentTypeId == parentTypeId;
       member = typeMembers_.find(++row)) {
    if (member->ChildTagId == tagId) return row;
    if (row - first == kNarrowRun && derived != nullptr &&
        derived->definitions().isIndexedRun(first)) {
      return derived->definitions().firstOfTag(first, tagId);
    }
  }
  return kNone;
}

std::int32_t StdDictionaryInfo::getStructDefIndexFromMbrID(std::int32_t mbrId,
                                                           std::int32_t& index) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getStructDefIndexFromMbrID", mbrId);
  index = getStructDefIndexFromMbrID(mbrId);
  return operation.returns(index < 0 ? kDefinitionNotFound : kSuccess);
}

std::int32_t StdDictionaryInfo::getTypeDefIndexFromTypeID(std::int32_t typeId,
                                                          std::int32_t& index) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTypeDefIndexFromTypeID", typeId);
  index = getTypeDefIndex(typeId);
  return operation.returns(index < 0 ? kDefinitionNotFound : kSuccess);
}

std::int32_t StdDictionaryInfo::getTypeIndexFromTagID(std::int32_t tagId,
                                                      std::int32_t& typeIndex) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getTypeIndexFromTagID", tagId);
  const SMD_TAG_DEFINITION* const tag = tags_.find(getTagDefIndex(tagId));
  if (tag == nullptr) return operation.returns(kDefinitionNotFound);
  typeIndex = tag->ToTypeIndexField;
  return operation.returns(typeIndex < 0 ? kDefinitionNotFound : kSuccess);
}

std::int32_t StdDictionaryInfo::getStructDefIndexFromTypeID(std::int32_t typeId,
                                                            std::int32_t& memberIndex) const {
  KelOperation operation(nullptr, "StdDictionaryInfo::getStructDefIndexFromTypeID", typeId);
  const SMD_TYPE_DEFINITION* const type = types_.find(getTypeDefIndex(typeId));
  if (type == nullptr) return operation.returns(kDefinitionNotFound);
  memberIndex = type->ToTypeMbrIndex;
  return operation.returns(memberIndex < 0 ? kDefinitionNotFound : kSuccess);
}

}  // namespace cpi
