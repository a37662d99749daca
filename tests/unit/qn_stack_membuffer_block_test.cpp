// Guards what a buffer does behind its fields: bytes that were read are left
// behind without moving the unread ones, and room is taken ahead, so that
// answers grow cheaply.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "qn_stack_membuffer_internal.h"
#include "qnstack/qn_stack_membuffer.h"
#include "support/buffer.h"
#include "support/failing_heap.h"

namespace {

using qntest::Buffer;
using qntest::BufferFields;
using qntest::FailingHeap;

constexpr uint32_t kChunk = 2048;

// Appends a chunk the way it is received; whether it went straight in.
bool Receive(Buffer &buffer, const std::string &chunk) {
  char *area = qn::WriteArea(buffer.get(), kChunk);
  if (area == nullptr) {
    qn::ExpectAnswer(buffer.get());
    buffer.Write(chunk);
    return false;
  }
  std::copy(chunk.begin(), chunk.end(), area);
  qn::Written(buffer.get(), area, static_cast<uint32_t>(chunk.size()));
  return true;
}

TEST(QnMemBufferBlock, AFirstChunkGoesStraightIntoTheCapacity) {
  Buffer buffer(kChunk);

  EXPECT_TRUE(Receive(buffer, std::string(kChunk, 'a')));

  EXPECT_EQ(buffer.Fields(),
            (BufferFields{.held = std::string(kChunk, 'a'), .capacity = kChunk, .total = kChunk}));
}

TEST(QnMemBufferBlock, AChunkThatFindsNoRoomChangesNothing) {
  Buffer buffer(10);
  buffer.Write("abc");
  const BufferFields before = buffer.Fields();

  EXPECT_EQ(qn::WriteArea(buffer.get(), 8), nullptr);

  EXPECT_EQ(buffer.Fields(), before);
}

TEST(QnMemBufferBlock, CapacityCountsChunksThoughTheRoomWasThere) {
  Buffer buffer(kChunk);
  Receive(buffer, std::string(1000, 'a'));
  EXPECT_FALSE(Receive(buffer, std::string(kChunk, 'b')));

  EXPECT_TRUE(Receive(buffer, std::string(500, 'c')));
  EXPECT_TRUE(Receive(buffer, std::string(kChunk, 'd')));

  EXPECT_EQ(buffer->capacity, kChunk + kChunk + kChunk);
  EXPECT_EQ(buffer->length, 1000u + kChunk + 500u + kChunk);
}

TEST(QnMemBufferBlock, AReaderOfSmallPiecesMovesFewUnreadBytes) {
  Buffer buffer(kChunk);
  for (int i = 0; i < 11; ++i) Receive(buffer, std::string(kChunk, 'a'));
  int moved = 0;

  for (int i = 0; i < 100; ++i) {
    buffer.Read(4096);
    for (int chunk = 0; chunk < 2; ++chunk) {
      const char *unread = buffer->data + buffer->cursor;
      Receive(buffer, std::string(kChunk, 'b'));
      if (buffer->data != unread) ++moved;
    }
  }

  EXPECT_EQ(buffer.Unread(), std::string(11 * kChunk, 'b'));
  EXPECT_LE(moved, 12);
}

TEST(QnMemBufferBlock, AReaderOfEverythingMovesNothing) {
  Buffer buffer(kChunk);
  Receive(buffer, std::string(kChunk, 'a'));
  const std::span<const char> block = qn::Block(buffer.get());

  for (int i = 0; i < 100; ++i) {
    buffer.Read(kChunk);
    ASSERT_TRUE(Receive(buffer, std::string(kChunk, 'b')));
    ASSERT_EQ(buffer->data, block.data());
  }

  EXPECT_EQ(qn::Block(buffer.get()).size(), block.size());
}

TEST(QnMemBufferBlock, GrowthByBytesAsksTheHeapSeldom) {
  Buffer buffer(0);
  FailingHeap heap(FailingHeap::kCountOnly);

  for (int i = 0; i < 100'000; ++i) fnQN_MemBuffer_Write(buffer.get(), "x", 1);

  EXPECT_LE(heap.Allocations(), 20);
  EXPECT_EQ(buffer->capacity, 100'000u);
}

TEST(QnMemBufferBlock, RoomForAnAnswerMayBeRefused) {
  Buffer buffer(16);
  buffer.Write("abc");
  const BufferFields before = buffer.Fields();
  {
    FailingHeap heap(1);
    qn::ExpectAnswer(buffer.get());
  }

  EXPECT_EQ(buffer.Fields(), before);
  EXPECT_EQ(qn::Block(buffer.get()).size(), 26u);
}

TEST(QnMemBufferBlock, ABufferWithRoomForAnAnswerStaysAsItIs) {
  Buffer buffer(70'000);
  const std::span<const char> block = qn::Block(buffer.get());

  qn::ExpectAnswer(buffer.get());

  EXPECT_EQ(qn::Block(buffer.get()).data(), block.data());
  EXPECT_EQ(qn::Block(buffer.get()).size(), block.size());
}

TEST(QnMemBufferBlock, GrowthNearTheGreatestCapacityAsksForNoMoreThanThereIs) {
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

TEST(QnMemBufferBlock, TextThatNoWriteCouldTakeIsLeft) {
  Buffer buffer(4);
  const char one = 'x';

  qn::WriteText(buffer.get(), {&one, size_t{INT32_MAX} + 1});

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "", .capacity = 4}));
}

TEST(QnMemBufferBlock, ClearingStartsAtTheFrontAgain) {
  Buffer buffer(0);
  for (int i = 0; i < 100; ++i) buffer.Write("0123456789");
  buffer.Read(100);
  buffer.Write("x");

  const char *data = fnQN_MemBufer_ClearContent(buffer.get());

  EXPECT_EQ(data, qn::Block(buffer.get()).data());
  EXPECT_EQ(std::string(data, buffer->capacity), std::string(buffer->capacity, '\0'));
}

TEST(QnMemBufferBlock, BytesLeftBehindCanBeAppendedFromTheBlock) {
  Buffer buffer(64);
  buffer.Write("0123456789");
  buffer.Read(5);
  qn::ExpectAnswer(buffer.get());
  const char *left_behind = buffer->data;
  buffer.Write("x");

  fnQN_MemBuffer_Write(buffer.get(), left_behind, 5);

  EXPECT_EQ(buffer.Unread(), "56789x01234");
}

}  // namespace
