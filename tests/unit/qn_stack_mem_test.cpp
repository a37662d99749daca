// SPDX-License-Identifier: MIT
// Guards the stack's reallocation helper: it is the plain realloc of the
// system heap, also when the heap refuses.
#include "qnstack/qn_stack_mem.h"

#include <gtest/gtest.h>

#include <cstring>

#include "qnstack/qn_share_mem.h"
#include "support/failing_heap.h"

namespace {

using qntest::FailingHeap;
using qntest::RefusalsIn;

TEST(QnStackReMalloc, KeepsTheContentOfAGrownBlockAndOfOneThatIsRefused) {
  auto *block = static_cast<char *>(fnQN_Malloc_Local(8, __FILE__, __LINE__));
  ASSERT_NE(block, nullptr);
  std::memcpy(block, "content", 8);
  void *grown = block;
  EXPECT_EQ(RefusalsIn([&] { grown = fnQNStack_ReMalloc(block, 4096); }, 1), 1);
  EXPECT_EQ(grown, nullptr);
  EXPECT_STREQ(block, "content");

  grown = fnQNStack_ReMalloc(block, 4096);
  ASSERT_NE(grown, nullptr);
  EXPECT_STREQ(static_cast<char *>(grown), "content");
  std::memset(grown, 'x', 4096);  // all of it is there
  fnQN_Free(&grown);
}

TEST(QnStackReMalloc, AsksTheHeapOnceForExactlyThatSize) {
  void *block = nullptr;
  {
    FailingHeap heap(FailingHeap::kCountOnly);
    block = fnQNStack_ReMalloc(nullptr, 123);
    EXPECT_EQ(heap.Allocations(), 1);
    EXPECT_EQ(heap.BytesAsked(), 123U);
  }
  fnQN_Free(&block);
}

}  // namespace
