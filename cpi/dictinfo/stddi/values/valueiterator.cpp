// The values of one value set, one after another.
#include <limits>

#include "cpi/dictinfo/stddi/stddictionaryiterator.h"

namespace cpi {

namespace {

constexpr const char* kConstructor = "StdValueIterator::StdValueIterator";
constexpr std::int32_t kNoContext = -2;

}  // namespace

StdValueIterator::StdValueIterator(const KelNamedLogSource* owner,
                                   const StdDictionaryInfo* dictionary)
    : KelOwnedLogSource(owner), currentRow(kNoContext), dictionaryInfo(dictionary) {
  KelOperation operation(this, kConstructor, static_cast<const void*>(dictionary));
}

StdValueIterator::StdValueIterator(const KelNamedLogSource* owner,
                                   const StdDictionaryInfo* dictionary, std::int32_t tagIndex,
                                   std::int32_t pathBasedInfoIndex)
    : KelOwnedLogSource(owner), currentRow(kNoContext), dictionaryInfo(dictionary) {
  KelOperation operation(this, kConstructor, static_cast<const void*>(dictionary), tagIndex,
                         pathBasedInfoIndex);
  setContext(tagIndex, pathBasedInfoIndex);
}

StdValueIterator::~StdValueIterator() {
  KelOperation operation(this, "StdValueIterator::~StdValueIterator");
}

void StdValueIterator::setContext(std::int32_t tagIndex, std::int32_t pathBasedInfoIndex) {
  KelOperation operation(this, "StdValueIterator::setContext", tagIndex, pathBasedInfoIndex);
  currentRow = kNone;
  if (dictionaryInfo == nullptr) return;
  const auto* const path = dictionaryInfo->pathBasedInfo().find(pathBasedInfoIndex);
  if (path != nullptr && path->ValueSetIndex != kNone) {
    currentRow = path->ValueSetIndex;
  } else if (const auto* const tag = dictionaryInfo->tags().find(tagIndex); tag != nullptr) {
    currentRow = tag->ValueSetTableIndex;
  }
}

// A row that is not in the table, or that ends a set, holds no value.
bool StdValueIterator::isAtValue() const noexcept {
  if (currentRow < 0) return false;
  const auto* const row = dictionaryInfo->valueSet().find(currentRow);
  return row != nullptr && row->ValueSetValueIndex != kNone;
}

std::int32_t StdValueIterator::getValue(PWFData& value, std::int32_t& role) const {
  KelOperation operation(this, "StdValueIterator::getValue");
  if (!isAtValue()) return operation.returns(kNone);
  const SMD_VALUE_SET_DEFINITION& row = dictionaryInfo->valueSet().row(currentRow);
  // A set that leads to no value ends there.
  if (!dictionaryInfo->values().contains(row.ValueSetValueIndex)) return operation.returns(kNone);
  role = row.ValueSetValueRole;
  value = dictionaryInfo->values().getData(row.ValueSetValueIndex);
  return operation.returns(kSuccess);
}

void StdValueIterator::moveToNextValue() {
  if (currentRow < 0) return;
  // The last row that the type can count is in no table: nothing follows it.
  if (currentRow < std::numeric_limits<std::int32_t>::max()) ++currentRow;
  if (!isAtValue()) currentRow = kNone;
}

}  // namespace cpi
