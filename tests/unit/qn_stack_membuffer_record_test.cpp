// SPDX-License-Identifier: MIT
// Guards that a buffer is what its record says: a record made by hand, one
// whose storage was taken away or replaced, and a copy of a record work with
// every function, and the storage is one block of the heap from `data` on.
#include <gtest/gtest.h>
#include <malloc.h>

#include <string>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_membuffer.h"
#include "support/buffer.h"

namespace {

using namespace qntest;

constexpr uint32_t kSpareBytes = 10;

char *NewStorage(uint32_t capacity) {
  return static_cast<char *>(fnQN_Malloc_Local(capacity + kSpareBytes, __FILE__, __LINE__));
}

std::string TakeItem(QNMemBuffer *buffer, const char *delimiter) {
  char *item = fnQN_MemBuffer_ReadBySubstr(buffer, delimiter);
  std::string text = item == nullptr ? "(null)" : item;
  fnQN_Free(&item);
  return text;
}

// Uses an empty record through every function.
void ExpectUsable(QNMemBuffer *buffer) {
  const uint32_t capacity = buffer->capacity;
  char room[8] = "???????";
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer, room, 7), 0);
  EXPECT_EQ(fnQN_MemBuffer_unRead(buffer, 1), 0);
  EXPECT_EQ(TakeItem(buffer, ";"), "(null)");
  EXPECT_EQ(TakeItem(buffer, ""), "");

  fnQN_MemBuffer_Write(buffer, "abc;", 4);
  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer, "%d;", 12), 3);
  fnQN_MemBuffer_WriteItem(buffer, "N: ", "v");
  EXPECT_STREQ(buffer->data, "abc;12;N: v\r\n");
  EXPECT_EQ(buffer->length, 13U);
  EXPECT_EQ(buffer->total, 13U);
  EXPECT_GE(buffer->capacity, capacity);
  EXPECT_GE(malloc_usable_size(buffer->data), size_t{buffer->capacity} + kSpareBytes);

  EXPECT_EQ(TakeItem(buffer, ";"), "abc");
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer, room, 7), 7);
  EXPECT_STREQ(room, "12;N: v");
  EXPECT_EQ(fnQN_MemBuffer_unRead(buffer, 4), 0);
  EXPECT_EQ(TakeItem(buffer, "\r\n"), "N: v");

  EXPECT_EQ(fnQN_MemBufer_ClearContent(buffer), buffer->data);
  EXPECT_EQ(std::string(buffer->data, buffer->capacity), std::string(buffer->capacity, '\0'));
  EXPECT_EQ(buffer->total, 0U);
}

TEST(QnMemBufferRecord, MadeByHandNeedsNoStorageButMayBringIt) {
  QNMemBuffer record = {};
  ExpectUsable(&record);
  EXPECT_EQ(record.capacity, 13U);
  fnQN_Free(&record.data);

  record = {NewStorage(5), 5, 0, 0, 0};
  ExpectUsable(&record);
  fnQN_Free(&record.data);
}

TEST(QnMemBufferRecord, MadeByHandOnTheHeapIsFreedAsAnyOther) {
  auto *record =
      static_cast<QNMemBuffer *>(fnQN_Malloc_Local(sizeof(QNMemBuffer), __FILE__, __LINE__));
  ExpectUsable(record);
  fnQN_MemBuffer_Free(record);
}

TEST(QnMemBufferRecord, WithoutStorageIsEmptyToEveryReaderAndGetsThatOfItsCapacity) {
  QNMemBuffer record = {nullptr, 7, 0, 0, 0};
  char room[4];
  EXPECT_EQ(fnQN_MemBuffer_Read(&record, room, 4), 0);
  EXPECT_EQ(fnQN_MemBuffer_ReadBySubstr(&record, "x"), nullptr);
  EXPECT_EQ(fnQN_MemBufer_ClearContent(&record), nullptr);
  EXPECT_EQ(record.capacity, 7U);

  fnQN_MemBuffer_Write(&record, "abcdefg", 7);
  EXPECT_EQ(record.capacity, 7U);
  EXPECT_STREQ(record.data, "abcdefg");
  fnQN_Free(&record.data);
}

TEST(QnMemBufferRecord, StorageMayBeTakenOver) {
  Buffer buffer(4);
  buffer.Write("0123456789");
  buffer.Read(3);
  buffer.Write("x");
  EXPECT_EQ(buffer.TakeStorage(), "3456789x");
  ExpectUsable(buffer.get());
  fnQN_Free(&buffer->data);  // a buffer without storage is freed all the same
}

TEST(QnMemBufferRecord, StorageMayBeReplacedByABlockOfTheLeastSize) {
  for (const uint32_t capacity : {0U, 1U, 12U, 13U, 100U}) {
    SCOPED_TRACE(capacity);
    Buffer buffer(capacity);
    fnQN_Free(&buffer->data);
    buffer->data = NewStorage(capacity);

    ExpectUsable(buffer.get());
  }
}

TEST(QnMemBufferRecord, ReplacedStorageGrowsAsTheBuffersOwn) {
  Buffer buffer(6);
  buffer.Write("abcdef");
  buffer.Read(2);
  buffer.ReplaceStorage();

  buffer.Write("ghijk");

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "cdefghijk", .capacity = 11, .total = 11}));
}

TEST(QnMemBufferRecord, CopyGoesOnWhereTheOriginalWas) {
  auto *original = fnQN_MemBuffer_New(4);
  fnQN_MemBuffer_Write(original, "abcdef", 6);
  char room[2];
  fnQN_MemBuffer_Read(original, room, 2);
  QNMemBuffer copy = *original;
  fnQN_Free(&original);

  fnQN_MemBuffer_Write(&copy, "gh", 2);

  EXPECT_STREQ(copy.data, "cdefgh");
  EXPECT_EQ(copy.total, 8U);
  fnQN_MemBufer_ClearContent(&copy);
  ExpectUsable(&copy);
  fnQN_Free(&copy.data);
}

TEST(QnMemBufferRecord, GrowsByTheCountWhereTheRoomIsNegativeAsASignedNumber) {
  QNMemBuffer record = {NewStorage(0), 0, 0, 0, 0};
  fnQN_MemBuffer_Write(&record, "abcde", 5);
  record.capacity = 3;  // an owner may count less than there is

  fnQN_MemBuffer_Write(&record, "fg", 2);

  EXPECT_EQ(record.capacity, 5U);
  EXPECT_STREQ(record.data, "abcdefg");
  fnQN_Free(&record.data);
}

TEST(QnMemBufferBlock, ChangesItsSizeSeldomForManySmallWrites) {
  Buffer buffer(0);
  size_t size = malloc_usable_size(buffer->data);
  int changes = 0;

  for (uint32_t written = 1; written <= 100'000; ++written) {
    buffer.Write("x");
    const size_t now = malloc_usable_size(buffer->data);
    if (now != size) ++changes;
    size = now;
  }

  EXPECT_EQ(buffer->capacity, 100'000U);
  EXPECT_LE(changes, 60);
}

TEST(QnMemBufferBlock, HasNothingOfTheOldContentAfterClearing) {
  Buffer buffer(16);
  for (int i = 0; i < 100; ++i) {
    buffer.Write("secret and more");
    if (i % 3 == 0) buffer.Read(20);
  }

  fnQN_MemBufer_ClearContent(buffer.get());

  // The terminator is the last byte that content can ever have reached.
  const std::size_t reached = buffer->capacity + std::size_t{1};
  EXPECT_EQ(std::string(buffer->data, reached), std::string(reached, '\0'));
}

}  // namespace
