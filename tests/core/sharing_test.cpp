// What a loaded dictionary costs and bears: walks that allocate nothing, and many threads.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "tests/core/support/testmodel.h"
#include "tests/support/allocations.h"

namespace cpi::test {
namespace {

constexpr const char* kModel =
    "R(6! Head Item(6 Name (2 A B){1,3} Sub(4 X Y)){0,*} (6 P Q){0,5} Tail{0,1})";

// One message, moves by id, by name, by member, undefined elements and a copy included.
bool walkMessage(StdDictionaryIterator& at, StdDictionaryIterator& spare) {
  const KelStringBase none;
  at.setContextFromTag(u"R", none);
  bool isRight = at.moveToFirstChildTagName(u"Head", none, true, true);
  for (int item = 0; item < 3; ++item) {
    isRight &= at.moveToNextSiblingTagName(u"Item", none, true, true);
    isRight &= at.moveToFirstChildTagName(u"Name", none, true, true);
    isRight &= at.moveToNextSiblingTagName(u"B", none, true, true);
    isRight &= at.moveToNextSiblingTagName(u"A", none, true, true);
    isRight &= at.moveToNextSiblingTagName(u"Sub", none, true, true);
    isRight &= at.moveToFirstChild() && at.moveToParent() && at.moveToParent();
  }
  spare = at;
  isRight &= at.moveToNextSiblingTagName(u"Zed", none, true, true);
  isRight &= at.moveToNextSiblingTagName(u"P", none, true, true);
  isRight &= at.moveToNextSiblingTagName(u"Q", none, true, true);
  isRight &= at.moveToNextSiblingTagName(u"P", none, true, true);
  isRight &= at.moveToNextSiblingTagName(u"Tail", none, true, true);
  isRight &= !at.moveToNextSiblingTagId(1, false, true);
  return isRight && at.getRepeatIndex() == 0 && spare.getRepeatIndex() == 2;
}

TEST(Sharing, AWalkAllocatesNothingOnceItIsWarm) {
  const auto dictionary = buildModel(parseModel(kModel));
  StdDictionaryIterator at(nullptr, dictionary.get(), 0);
  StdDictionaryIterator spare(at);
  ASSERT_TRUE(walkMessage(at, spare));
  const std::size_t before = allocationCount();
  for (int message = 0; message < 100; ++message) ASSERT_TRUE(walkMessage(at, spare));
  EXPECT_EQ(allocationCount() - before, 0u);
}

TEST(Sharing, ManyThreadsReadOneDictionary) {
  const auto dictionary = buildModel(parseModel(kModel));
  std::atomic<int> wrong{0};
  const auto work = [&] {
    const KelStringBase name = dictionary->msgSetID;
    StdDictionaryIterator at(nullptr, dictionary.get(), 0);
    StdDictionaryIterator spare(at);
    for (int message = 0; message < 200; ++message) {
      const KelStringBase copy(name);
      if (!walkMessage(at, spare)) ++wrong;
      for (std::int32_t id = -1; id < 20; ++id) {
        if (dictionary->getTagDefIndex(id) !=
            (id >= 1 && id <= dictionary->tags().rowCount() ? id - 1 : -1)) {
          ++wrong;
        }
      }
      if (copy.toUtf8() != "Test") ++wrong;
    }
  };
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) threads.emplace_back(work);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
}

// Logging at the highest level, into a sink that fails, changes no result.
TEST(Sharing, LoggingChangesNothing) {
  struct Sink : KelLogSink {
    void write(const KelLogItem&) override { throw 1; }
  } sink;
  const auto dictionary = buildModel(parseModel(kModel));
  StdDictionaryIterator at(nullptr, dictionary.get(), 0);
  StdDictionaryIterator spare(at);
  KelLog::install(&sink, LLDebug);
  const bool isRight = walkMessage(at, spare);
  KelLog::install(nullptr, LLOff);
  EXPECT_TRUE(isRight);
}

}  // namespace
}  // namespace cpi::test
