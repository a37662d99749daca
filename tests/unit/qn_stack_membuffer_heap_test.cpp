// SPDX-License-Identifier: MIT
// Guards the memory buffer when the heap refuses: the result says so where
// there is one, and what was there stays. Counts the allocations too.
#include <gtest/gtest.h>

#include <string>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_membuffer.h"
#include "support/buffer.h"
#include "support/failing_heap.h"

namespace {

using namespace qntest;

TEST(QnMemBufferHeap, NewFailsWithoutItsRecordOrItsStorage) {
  for (const int refused : {1, 2}) {
    SCOPED_TRACE(refused);
    QNMemBuffer *buffer = nullptr;
    int kept = 0;
    {
      FailingHeap heap(refused);
      buffer = fnQN_MemBuffer_New(10);
      kept = heap.Allocations() - heap.Refusals() - heap.Frees();
    }

    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(kept, 0);
    fnQN_MemBuffer_Free(buffer);
  }
}

TEST(QnMemBufferHeap, NewAsksForTheRecordAndTenSpareBytes) {
  QNMemBuffer *buffer = nullptr;
  size_t asked = 0;
  {
    FailingHeap heap(FailingHeap::kCountOnly);
    buffer = fnQN_MemBuffer_New(10);
    asked = heap.BytesAsked();
  }

  EXPECT_EQ(asked, sizeof(QNMemBuffer) + 20);
  fnQN_MemBuffer_Free(buffer);
}

TEST(QnMemBufferHeap, FreeGivesBackStorageAndRecord) {
  QNMemBuffer *buffer = fnQN_MemBuffer_New(10);

  FailingHeap heap(FailingHeap::kCountOnly);
  fnQN_MemBuffer_Free(buffer);

  EXPECT_EQ(heap.Frees(), 2);
}

TEST(QnMemBufferHeap, WriteAppendsNothingWithoutItsGrowth) {
  Buffer buffer(4);
  buffer.Write("abcd");
  {
    FailingHeap heap(1);
    buffer.Write("efgh");
    EXPECT_EQ(heap.Refusals(), 1);
  }

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "abcd", .capacity = 4, .total = 4}));
}

TEST(QnMemBufferHeap, WriteLeavesEveryFieldWithoutItsGrowth) {
  Buffer buffer(4);
  buffer.Write("abcd");
  buffer.Read(2);
  {
    FailingHeap heap(1);
    buffer.Write("efgh");
  }

  EXPECT_EQ(buffer.Fields(),
            (BufferFields{.held = "abcd", .capacity = 4, .cursor = 2, .total = 4}));
}

TEST(QnMemBufferHeap, GrowthNearTheGreatestCapacityAsksForNoMoreThanThereIs) {
  Buffer buffer(0);
  const uint32_t huge = UINT32_MAX - 100;
  buffer->capacity = huge;
  buffer->length = huge;
  {
    FailingHeap heap(1);
    fnQN_MemBuffer_Write(buffer.get(), "x", 1);
    EXPECT_EQ(heap.BytesAsked(), size_t{UINT32_MAX});
  }

  EXPECT_EQ(buffer->capacity, huge);
  EXPECT_EQ(buffer->length, huge);
  buffer->capacity = 0;
  buffer->length = 0;
}

TEST(QnMemBufferHeap, WriteItemOfOwnTextsAppendsNothingWithoutACopy) {
  for (const int refused : {1, 2}) {
    SCOPED_TRACE(refused);
    Buffer buffer(64);
    buffer.Write("abcd");
    {
      FailingHeap heap(refused);
      fnQN_MemBuffer_WriteItem(buffer.get(), buffer->data, buffer->data + 2);
      EXPECT_EQ(heap.Refusals(), 1);
    }

    EXPECT_EQ(buffer.Fields().held, "abcd");
  }
}

TEST(QnMemBufferHeap, WriteWorksAgainAfterARefusal) {
  Buffer buffer(4);
  buffer.Write("abcd");
  {
    FailingHeap heap(1);
    buffer.Write("efgh");
  }

  buffer.Write("ij");

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "abcdij", .capacity = 6, .total = 6}));
}

TEST(QnMemBufferHeap, WriteThatFitsAsksForNothing) {
  Buffer buffer(10);
  buffer.Write("0123456789");
  buffer.Read(5);

  FailingHeap heap(FailingHeap::kCountOnly);
  buffer.Write("abcde");

  EXPECT_EQ(heap.Allocations(), 0);
}

TEST(QnMemBufferHeap, WriteOfOwnBytesLosesNothingToAnyRefusal) {
  for (int refused = 1; refused <= 3; ++refused) {
    SCOPED_TRACE(refused);
    Buffer buffer(4);
    buffer.Write("abcd");
    int refusals = 0;
    {
      FailingHeap heap(refused);
      fnQN_MemBuffer_Write(buffer.get(), buffer->data, 4);
      refusals = heap.Refusals();
    }

    EXPECT_EQ(buffer.Fields().held, refusals == 0 ? "abcdabcd" : "abcd");
  }
}

TEST(QnMemBufferHeap, ReadBySubstrStaysWithoutItsItem) {
  Buffer buffer(64);
  buffer.Write("a;b;c");
  buffer.Read(2);
  const BufferFields before = buffer.Fields();
  char *item = nullptr;
  {
    FailingHeap heap(1);
    item = fnQN_MemBuffer_ReadBySubstr(buffer.get(), ";");
  }

  EXPECT_EQ(item, nullptr);
  EXPECT_EQ(buffer.Fields(), before);
  fnQN_Free(&item);
}

TEST(QnMemBufferHeap, PrintfFailsWithoutItsScratchArea) {
  Buffer buffer(64);
  buffer.Write("abc");
  buffer.Read(1);
  const BufferFields before = buffer.Fields();
  int32_t result = 0;
  {
    FailingHeap heap(1);
    result = fnQN_MemBuffer_Printf(buffer.get(), "%d", 5);
  }

  EXPECT_EQ(result, -1);
  EXPECT_EQ(buffer.Fields(), before);
}

TEST(QnMemBufferHeap, PrintfAppendsNothingWithoutItsGrowth) {
  Buffer buffer(2);
  buffer.Write("ab");
  int32_t result = 0;
  {
    FailingHeap heap(2);  // the first is the scratch area
    result = fnQN_MemBuffer_Printf(buffer.get(), "%s", "cde");
  }

  EXPECT_EQ(result, 3);
  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "ab", .capacity = 2, .total = 2}));
}

TEST(QnMemBufferHeap, PrintfGivesItsScratchAreaBack) {
  Buffer buffer(64);

  FailingHeap heap(FailingHeap::kCountOnly);
  fnQN_MemBuffer_Printf(buffer.get(), "%s", "abc");

  EXPECT_EQ(heap.Allocations(), heap.Frees());
}

}  // namespace
