// The counted heap and its failure hook; the guard and the per-process record.
#include "toolkit/heap.h"

#include <oprj/oint.h>
#include <oprj/othr.h>

#include <algorithm>
#include <set>

#include "tests/support.h"

namespace {

using namespace orvik::test;
using orvik::toolkit::HeapBlock;

TEST(Heap, BlocksAreZeroedAlignedAndCounted) {
  const int64_t before = omsc_HeapBlockCount();
  for (size_t size :
       {0u, 1u, 15u, 1000u, 100000u, 100000u}) {  // the last one reuses its forerunner
    const HeapBlock<unsigned char> block(static_cast<unsigned char *>(omsc_HeapMalloc(size)));
    ASSERT_NE(block, nullptr) << size;
    EXPECT_EQ(omsc_HeapBlockCount(), before + 1);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block.get()) % 16, 0u);
    EXPECT_TRUE(std::all_of(block.get(), block.get() + size, [](auto c) { return c == 0; }));
    std::fill_n(block.get(), size, static_cast<unsigned char>(0xAA));
  }
  omsc_HeapFree(nullptr);
  // Sizes that cannot be; the last product wraps to 16.
  EXPECT_EQ(omsc_HeapMalloc(SIZE_MAX), nullptr);
  EXPECT_EQ(omsc_HeapCalloc(SIZE_MAX / 2, 3), nullptr);
  EXPECT_EQ(omsc_HeapCalloc(SIZE_MAX / 16 + 2, 16), nullptr);
  inThreads(4, [](size_t) {
    for (int i = 0; i < 200000; ++i) omsc_HeapFree(omsc_HeapMalloc(16));
  });
  EXPECT_EQ(omsc_HeapBlockCount(), before);
}

TEST(Heap, NthAllocationFailsOnceAndOnlyInItsThread) {
  omsc_HeapFailNth(3);
  inThreads(1, [](size_t) {
    for (int i = 0; i < 10; ++i) EXPECT_NE(HeapBlock<void>(omsc_HeapMalloc(8)), nullptr);
  });
  std::string outcome;
  for (int i = 0; i < 6; ++i) outcome += HeapBlock<void>(omsc_HeapMalloc(8)) ? '+' : '-';
  EXPECT_EQ(outcome, "++-+++");
  EXPECT_EQ(omsc_HeapFailNth(0), 6);  // the failed one is counted too
  EXPECT_NE(HeapBlock<void>(omsc_HeapMalloc(8)), nullptr);
  EXPECT_EQ(omsc_HeapFailNth(-1), 1);
}

TEST(ProcessRecord, IsOneAndKeepsASlotForEachLibrary) {
  Oint_Toolkit *const toolkit = oint_InitToolkit(nullptr);
  ASSERT_NE(toolkit, nullptr);
  std::vector<void **> slots(8);
  inThreads(slots.size(), [&](size_t t) {
    slots[t] = oint_LibrarySlot(oint_InitToolkit(nullptr), std::string("shared").c_str());
  });
  ASSERT_NE(slots[0], nullptr);
  EXPECT_EQ(slots, std::vector<void **>(8, slots[0]));

  int value = 0;
  *slots[0] = &value;
  std::set<void **> different = {slots[0]};
  for (int i = 1; i < 8; ++i) {
    void **slot = oint_LibrarySlot(toolkit, ("library " + std::to_string(i)).c_str());
    ASSERT_TRUE(slot && different.insert(slot).second) << i;
    EXPECT_EQ(*slot, nullptr);
  }
  EXPECT_EQ(oint_LibrarySlot(toolkit, "one too many"), nullptr);
  EXPECT_EQ(*oint_LibrarySlot(toolkit, "shared"), &value);
  EXPECT_EQ(oint_LibrarySlot(nullptr, "shared"), nullptr);
  EXPECT_EQ(oint_LibrarySlot(toolkit, nullptr), nullptr);
  *slots[0] = nullptr;
}

TEST(Guard, IsRecursiveAndExcludesOtherThreads) {
  int shared = 0;  // not atomic: a broken guard shows as a lost step (and in the thread sanitizer)
  inThreads(4, [&](size_t) {
    for (int i = 0; i < 10000; ++i) {
      const orvik::toolkit::Guard outer, inner;
      ++shared;
    }
  });
  EXPECT_EQ(shared, 40000);
}

}  // namespace
