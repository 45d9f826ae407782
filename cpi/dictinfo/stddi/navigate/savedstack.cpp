// The saved copy of the stack: taken before a search changes anything, put back when it fails.
#include "cpi/dictinfo/stddi/navigate/navigation.h"

namespace cpi {

void StdDictionaryIterator::ensurePositionStackSaved() {
  KelOperation operation(this, "StdDictionaryIterator::ensurePositionStackSaved");
  if (!positionStackSaved) savedPositionStack = positionStack;
  positionStackSaved = true;
}

void StdDictionaryIterator::restorePositionStackFromSaved() {
  KelOperation operation(this, "StdDictionaryIterator::restorePositionStackFromSaved");
  if (positionStackSaved) positionStack = savedPositionStack;
  positionStackSaved = false;
  if (positionStack.empty()) return;
  DictionaryPosition& top = positionStack.back();
  if (top.repeatIndex == kRestartedRepeat) {
    // A level that was started over and matched nothing: what stood there was no member.
    top = DictionaryPosition(dictionaryInfo, kNone, kSelfDefinedTag, kNone, kPathInfoUnknown, 0,
                             NTStructure);
  } else if (top.repeatIndex < 0) {
    positionStack.pop_back();  // a search start that never matched
  }
}

std::int32_t StdDictionaryIterator::getCommonParentWithSavedStackIndex() const {
  KelOperation operation(this, "StdDictionaryIterator::getCommonParentWithSavedStackIndex");
  return operation.returns(commonParentIndex());
}

std::int32_t StdDictionaryIterator::commonParentIndex() const noexcept {
  const std::int32_t parent = parentIndex();
  if (parent < 0 || !positionStackSaved) return parent;
  const std::size_t limit = static_cast<std::size_t>(parent) + 1;
  std::size_t agreeing = 0;
  while (agreeing < limit && agreeing < savedPositionStack.size() &&
         positionStack[agreeing].memberIndex == savedPositionStack[agreeing].memberIndex &&
         positionStack[agreeing].repeatIndex == savedPositionStack[agreeing].repeatIndex) {
    ++agreeing;
  }
  if (agreeing >= savedPositionStack.size()) return kNone;
  return static_cast<std::int32_t>(agreeing) - 1;
}

}  // namespace cpi
