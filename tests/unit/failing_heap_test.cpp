// SPDX-License-Identifier: MIT
// Guards the heap that tests make refuse allocations: were it blind, every
// test of a refused allocation would pass for nothing.
#include "support/failing_heap.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_share_string.h"

namespace {

using qntest::FailingHeap;

// Asks for `count` blocks while the heap is armed; true for each one given.
std::vector<bool> AskForBlocks(int count, int first_refused, FailingHeap::Reach reach) {
  std::vector<bool> given;
  FailingHeap heap(first_refused, reach);
  for (int i = 0; i < count; ++i) {
    void *block = fnQN_Malloc_Local(8, __FILE__, __LINE__);
    given.push_back(block != nullptr);
    fnQN_Free(&block);
  }
  return given;
}

TEST(FailingHeap, RefusesTheChosenAllocationAloneOrWithTheRest) {
  EXPECT_EQ(AskForBlocks(4, 2, FailingHeap::Reach::kOne),
            (std::vector<bool>{true, false, true, true}));
  EXPECT_EQ(AskForBlocks(4, 2, FailingHeap::Reach::kRest),
            (std::vector<bool>{true, false, false, false}));
  EXPECT_EQ(AskForBlocks(2, FailingHeap::kCountOnly, FailingHeap::Reach::kRest),
            (std::vector<bool>{true, true}));
}

TEST(FailingHeap, CountsAllocationsBytesRefusalsAndFrees) {
  FailingHeap heap(2);
  void *first = fnQN_Malloc_Local(10, __FILE__, __LINE__);
  void *second = fnQN_Malloc_Local(20, __FILE__, __LINE__);
  fnQN_Free(&first);
  fnQN_Free(&second);

  EXPECT_EQ(heap.Allocations(), 2);
  EXPECT_EQ(heap.BytesAsked(), 30U);
  EXPECT_EQ(heap.Refusals(), 1);
  EXPECT_EQ(heap.Frees(), 1);
}

TEST(FailingHeap, RefusesEveryKindOfAllocationWithItsErrorNumber) {
  void *block = fnQN_Malloc_Local(8, __FILE__, __LINE__);
  void *plain = nullptr;
  void *resized = nullptr;
  char *copy = nullptr;
  errno = 0;
  {
    FailingHeap heap(1, FailingHeap::Reach::kRest);
    plain = std::malloc(8);
    resized = fnQN_Realloc_Local(block, 16, __FILE__, __LINE__);
    copy = fnQN_STRDUP("text");
  }

  EXPECT_EQ(errno, ENOMEM);
  EXPECT_EQ(plain, nullptr);
  EXPECT_EQ(resized, nullptr);
  EXPECT_EQ(copy, nullptr);
  fnQN_Free(&block);
}

TEST(FailingHeap, CountsWhatIsInUse) {
  FailingHeap heap(FailingHeap::kCountOnly);

  void *block = fnQN_Malloc_Local(100, __FILE__, __LINE__);
  EXPECT_GE(heap.LiveBytes(), 100);
  block = fnQN_Realloc_Local(block, 10000, __FILE__, __LINE__);
  EXPECT_EQ(heap.LiveBlocks(), 1);
  EXPECT_GE(heap.LiveBytes(), 10000);
  fnQN_Free(&block);

  EXPECT_EQ(heap.LiveBlocks(), 0);
  EXPECT_EQ(heap.LiveBytes(), 0);
}

TEST(FailingHeap, IsDisarmedAtTheEndOfItsScope) {
  const auto ask = [] { return fnQN_Malloc_Local(8, __FILE__, __LINE__); };
  EXPECT_EQ(qntest::WithRefusal(1, ask), nullptr);

  void *block = ask();

  EXPECT_NE(block, nullptr);
  fnQN_Free(&block);
}

}  // namespace
