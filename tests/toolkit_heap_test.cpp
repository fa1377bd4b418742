// The counted heap and its failure hook; the guard and the per-process record.
#include <gtest/gtest.h>
#include <oprj/oint.h>
#include <oprj/omsc.h>
#include <oprj/othr.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "toolkit/heap.h"

namespace {

using orvik::toolkit::HeapBlock;

TEST(Heap, BlocksAreZeroedAlignedAndCounted) {
  const int64_t before = omsc_HeapBlockCount();
  std::vector<unsigned char *> blocks;
  for (size_t size : {0u, 1u, 15u, 16u, 1000u, 100000u}) {
    auto *block = static_cast<unsigned char *>(omsc_HeapMalloc(size));
    ASSERT_NE(block, nullptr) << size;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % 16, 0u);
    EXPECT_TRUE(std::all_of(block, block + size, [](unsigned char c) { return c == 0; }));
    std::fill_n(block, size, static_cast<unsigned char>(0xAA));  // so that reuse would show
    blocks.push_back(block);
  }
  EXPECT_EQ(omsc_HeapBlockCount(), before + 6);
  for (unsigned char *block : blocks) omsc_HeapFree(block);
  omsc_HeapFree(nullptr);
  EXPECT_EQ(omsc_HeapBlockCount(), before);

  const HeapBlock<unsigned char> again(static_cast<unsigned char *>(omsc_HeapCalloc(1000, 100)));
  EXPECT_TRUE(std::all_of(again.get(), again.get() + 100000, [](auto c) { return c == 0; }));
}

TEST(Heap, SizesThatCannotBeAreRefused) {
  const int64_t before = omsc_HeapBlockCount();
  EXPECT_EQ(omsc_HeapMalloc(SIZE_MAX), nullptr);
  EXPECT_EQ(omsc_HeapCalloc(SIZE_MAX / 2, 3), nullptr);
  EXPECT_EQ(omsc_HeapCalloc(SIZE_MAX / 16 + 2, 16), nullptr);  // the product wraps to 16
  EXPECT_EQ(omsc_HeapBlockCount(), before);
}

TEST(Heap, NthAllocationFailsOnceAndOnlyInItsThread) {
  omsc_HeapFailNth(3);
  std::thread([] {
    for (int i = 0; i < 10; ++i) {
      const HeapBlock<void> block(omsc_HeapMalloc(8));
      EXPECT_NE(block, nullptr);
    }
  }).join();
  std::string outcome;
  for (int i = 0; i < 6; ++i) outcome += HeapBlock<void>(omsc_HeapMalloc(8)) ? '+' : '-';
  EXPECT_EQ(outcome, "++-+++");
  EXPECT_EQ(omsc_HeapFailNth(0), 6);  // the failed one is counted too
  EXPECT_NE(HeapBlock<void>(omsc_HeapMalloc(8)), nullptr);
  EXPECT_EQ(omsc_HeapFailNth(-1), 1);
}

TEST(Heap, CountsOverThreads) {
  const int64_t before = omsc_HeapBlockCount();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([] {
      for (int i = 0; i < 20000; ++i) omsc_HeapFree(omsc_HeapMalloc(16));
    });
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(omsc_HeapBlockCount(), before);
}

TEST(ProcessRecord, IsOneAndKeepsASlotForEachLibrary) {
  Oerr_Report *error = nullptr;
  Oint_Toolkit *const toolkit = oint_InitToolkit(&error);
  ASSERT_NE(toolkit, nullptr);
  EXPECT_EQ(error, nullptr);

  std::vector<Oint_Toolkit *> records(8);
  std::vector<void **> slots(8);
  std::vector<std::thread> threads;
  for (size_t t = 0; t < records.size(); ++t)
    threads.emplace_back([&, t] {
      records[t] = oint_InitToolkit(nullptr);
      slots[t] = oint_LibrarySlot(records[t], std::string("shared").c_str());
    });
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(records, std::vector<Oint_Toolkit *>(8, toolkit));
  ASSERT_NE(slots[0], nullptr);
  EXPECT_EQ(slots, std::vector<void **>(8, slots[0]));

  int value = 0;
  *slots[0] = &value;
  std::vector<void **> seen = {slots[0]};
  for (int i = 1; i < 8; ++i) {
    void **slot = oint_LibrarySlot(toolkit, ("library " + std::to_string(i)).c_str());
    ASSERT_NE(slot, nullptr) << i;
    EXPECT_EQ(*slot, nullptr);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), slot), 0);
    seen.push_back(slot);
  }
  EXPECT_EQ(oint_LibrarySlot(toolkit, "one too many"), nullptr);
  EXPECT_EQ(*oint_LibrarySlot(toolkit, "shared"), &value);
  EXPECT_EQ(oint_LibrarySlot(nullptr, "shared"), nullptr);
  EXPECT_EQ(oint_LibrarySlot(toolkit, nullptr), nullptr);
  *slots[0] = nullptr;
}

TEST(Guard, IsRecursiveAndExcludesOtherThreads) {
  int shared = 0;  // not atomic: a broken guard shows as a lost step (and in the thread sanitizer)
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&] {
      for (int i = 0; i < 10000; ++i) {
        const orvik::toolkit::Guard outer, inner;
        ++shared;
      }
    });
  for (auto &thread : threads) thread.join();
  EXPECT_EQ(shared, 40000);
}

}  // namespace
