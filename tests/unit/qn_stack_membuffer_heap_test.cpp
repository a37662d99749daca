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

TEST(QnMemBufferHeap, NewAsksForTheRecordAndTenSpareBytesAndFreeGivesThemBack) {
  const FailingHeap heap(FailingHeap::kCountOnly);
  QNMemBuffer *buffer = fnQN_MemBuffer_New(10);
  EXPECT_EQ(heap.BytesAsked(), sizeof(QNMemBuffer) + 20);
  fnQN_MemBuffer_Free(buffer);
  EXPECT_EQ(heap.Frees(), 2);
}

TEST(QnMemBufferHeap, WriteLeavesEveryFieldWithoutItsGrowthAndWorksAgain) {
  Buffer buffer(4);
  buffer.Write("abcd");
  buffer.Read(2);
  const BufferFields before = buffer.Fields();
  EXPECT_EQ(RefusalsIn([&] { buffer.Write("efghij"); }, 1), 1);
  EXPECT_EQ(buffer.Fields(), before);
  // The first is the scratch area.
  EXPECT_EQ(WithRefusal(2, [&] { return fnQN_MemBuffer_Printf(buffer.get(), "%s", "efg"); }), 3);
  EXPECT_EQ(buffer.Fields(), before);

  buffer.Write("efg");

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "cdefg", .capacity = 7, .total = 7}));
}

TEST(QnMemBufferHeap, GrowthAsksForTheNextQuarterOfAPowerOfTwo) {
  Buffer buffer(0);
  const FailingHeap heap(FailingHeap::kCountOnly);

  buffer.Write(std::string(31, 'x'));

  EXPECT_EQ(heap.BytesAsked(), 48U) << "for 31 bytes and 10 spare ones";
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
    const auto write = [&] {
      fnQN_MemBuffer_WriteItem(buffer.get(), buffer->data, buffer->data + 2);
    };
    EXPECT_EQ(RefusalsIn(write, refused), 1);
    EXPECT_EQ(buffer.Fields().held, "abcd");
  }
}

TEST(QnMemBufferHeap, WriteThatFitsAsksForNothingAndPrintfForItsScratchAreaAlone) {
  Buffer buffer(10);
  buffer.Write("0123456789");
  buffer.Read(7);
  const FailingHeap heap(FailingHeap::kCountOnly);
  buffer.Write("abcd");
  EXPECT_EQ(heap.Allocations(), 0);
  fnQN_MemBuffer_Printf(buffer.get(), "%s", "efg");
  EXPECT_EQ(heap.Allocations(), heap.Frees());
}

TEST(QnMemBufferHeap, WriteOfOwnBytesLosesNothingToAnyRefusal) {
  for (int refused = 1; refused <= 3; ++refused) {
    SCOPED_TRACE(refused);
    Buffer buffer(4);
    buffer.Write("abcd");
    const int refusals =
        RefusalsIn([&] { fnQN_MemBuffer_Write(buffer.get(), buffer->data, 4); }, refused);
    EXPECT_EQ(buffer.Fields().held, refusals == 0 ? "abcdabcd" : "abcd");
  }
}

TEST(QnMemBufferHeap, PrintfOfANullFormatAsksForNothingAndKeepsWhatWasRead) {
  Buffer buffer(8);
  buffer.Write("abcd");
  buffer.Read(2);
  const FailingHeap heap(FailingHeap::kCountOnly);

  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), nullptr), -1);

  EXPECT_EQ(heap.Allocations(), 0);
  EXPECT_EQ(buffer->cursor, 2U) << "what was read can be given back";
}

TEST(QnMemBufferHeap, ReadBySubstrAndPrintfLeaveEveryFieldWithoutTheirArea) {
  Buffer buffer(64);
  buffer.Write("a;b;c");
  buffer.Read(2);
  const BufferFields before = buffer.Fields();
  EXPECT_EQ(WithRefusal(1, [&] { return fnQN_MemBuffer_ReadBySubstr(buffer.get(), ";"); }),
            nullptr);
  EXPECT_EQ(WithRefusal(1, [&] { return fnQN_MemBuffer_Printf(buffer.get(), "%d", 5); }), -1);
  EXPECT_EQ(buffer.Fields(), before);
}

}  // namespace
