// SPDX-License-Identifier: MIT
// Guards the readers of the typed file buffer: what each field gives, where
// the position stands after it, and that nothing outside the buffer is read.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "qnstack/qn_fs_filebuffer.h"
#include "qnstack/qn_share_mem.h"
#include "support/failing_heap.h"
#include "support/typed_buffer.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using testing::Pair;

TEST(QnFsBufferReadString, GivesTheFieldAndStepsOverItsEnd) {
  struct Case {
    std::string content;
    std::string field;
    int32_t pos;
  };
  const Case cases[] = {
      {"abc\0x"s, "abc", 3},
      {"abc\0\nx"s, "abc", 4},
      {"abc\0"s, "abc", 3},
      {"abc\0\n"s, "abc", 4},
      {"\0x"s, "", 0},
      {"\0\nx"s, "", 1},
      {"\0"s, "", 0},
      {"\n\0x"s, "\n", 1},
      {"\0\n\nx"s, "", 1},
      {"a\nb\0x"s, "a\nb", 3},
      // Without a zero byte the field goes to the end of the buffer.
      {"abc", "abc", 2},
      {"a\n", "a\n", 1},
      // A byte alone is taken for that end.
      {"a", "", 0},
      {"\n", "", 0},
      // Nothing at all.
      {"", "", 0},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.content));
    TypedBuffer buffer(c.content);

    EXPECT_EQ(buffer.Read(), c.field);
    EXPECT_THAT(buffer.Places(), Pair(c.pos, static_cast<int32_t>(c.content.size()) - 1));
  }
}

TEST(QnFsBufferReadString, ReadsFieldAfterField) {
  TypedBuffer buffer("abc\0\n\0\n7\0de"s);

  EXPECT_EQ(buffer.Read(), "abc");
  EXPECT_EQ(buffer.Read(), "");
  EXPECT_EQ(buffer.Read(), "7");
  EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 0);
  EXPECT_EQ(buffer.Read(), "de");
  EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 1);
}

TEST(QnFsBufferReadString, AFieldThatBeginsWithATagLosesIt) {
  TypedBuffer buffer("k\0\nvalue\0"s);

  EXPECT_EQ(buffer.Read(), "k");
  EXPECT_EQ(buffer.Read(), "value");
}

TEST(QnFsBufferReadString, BeyondTheEndGivesEmptyFieldsAndGoesOn) {
  TypedBuffer buffer("a\0"s);
  buffer.Read();

  for (int32_t pos = 2; pos < 6; ++pos) {
    EXPECT_EQ(buffer.Read(), "");
    EXPECT_THAT(buffer.Places(), Pair(pos, 1));
    EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 1);
  }
}

TEST(QnFsBufferReadString, LooksAtNoByteBehindTheLastOne) {
  TypedBuffer buffer("ab\0\nc\0"s);
  buffer->last = 2;
  TypedBuffer cut("abcdef\0"s);
  cut->last = 2;

  EXPECT_EQ(buffer.Read(), "ab");
  EXPECT_THAT(buffer.Places(), Pair(2, 2));
  EXPECT_EQ(buffer.Read(), "");
  EXPECT_THAT(buffer.Places(), Pair(3, 2));
  EXPECT_EQ(cut.Read(), "abc");
  EXPECT_THAT(cut.Places(), Pair(2, 2));
}

TEST(QnFsBufferReadString, LooksAtNoByteBeforeTheFirstOne) {
  char bytes[] = "xab";
  QNFSBuffer inside = {bytes + 1, -2, 2};

  char *field = fnQNFS_Buffer_ReadString(&inside);

  EXPECT_STREQ(field, "");
  fnQN_Free(&field);
}

TEST(QnFsBufferReadString, ReadsNothingAtPlacesThatAreNone) {
  for (const int32_t pos : {-2, std::numeric_limits<int32_t>::min(), 1000}) {
    TypedBuffer buffer("ab\0"s);
    buffer->pos = pos;

    EXPECT_EQ(buffer.Read(), "");
    EXPECT_THAT(buffer.Places(), Pair(pos + 1, 2));
  }
}

TEST(QnFsBufferReadString, OfAnEmptyRecordGivesAnEmptyString) {
  QNFSBuffer bare = {nullptr, -1, -1};

  char *field = fnQNFS_Buffer_ReadString(&bare);

  EXPECT_STREQ(field, "");
  EXPECT_EQ(bare.pos, 0);
  fnQN_Free(&field);
}

TEST(QnFsBufferReadString, WithoutMemoryGivesNull) {
  TypedBuffer buffer("abc\0"s);

  EXPECT_EQ(WithRefusal(1, [&] { return fnQNFS_Buffer_ReadString(buffer.get()); }), nullptr);
}

using ReadNumber = int32_t (*)(QNFSBuffer *record, int32_t *status);
constexpr ReadNumber kReaders[] = {fnQNFS_Buffer_ReadInteger, fnQNFS_Buffer_ReadLong};

TEST(QnFsBufferReadNumber, ConvertsTheFieldAndStepsOverItsTag) {
  struct Case {
    std::string content;
    int32_t value;
    int32_t pos;
  };
  const Case cases[] = {
      {"42\0x"s, 42, 2},
      {"-7\0\nx"s, -7, 3},
      {"2147483647\0"s, 2147483647, 10},
      {"-2147483648\0"s, std::numeric_limits<int32_t>::min(), 11},
      {" 12ab\0"s, 12, 5},
      {"ab\0"s, 0, 2},
      {"\0"s, 0, 0},
      {"", 0, 0},
      {"37", 37, 1},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.content));
    for (const ReadNumber read : kReaders) {
      TypedBuffer buffer(c.content);
      int32_t status = 77;

      EXPECT_EQ(read(buffer.get(), &status), c.value);
      EXPECT_EQ(status, 0);
      EXPECT_EQ(buffer->pos, c.pos);
    }
  }
}

TEST(QnFsBufferReadNumber, FailsWithOneWithoutARecordOrMemory) {
  for (const ReadNumber read : kReaders) {
    TypedBuffer buffer("42\0"s);
    int32_t without_record = 77;
    int32_t without_memory = 77;

    EXPECT_EQ(read(nullptr, &without_record), 1);
    EXPECT_EQ(WithRefusal(1, [&] { return read(buffer.get(), &without_memory); }), 1);

    EXPECT_EQ(without_record, -1);
    EXPECT_EQ(without_memory, -1);
  }
}

TEST(QnFsBufferReadNumber, LeavesNothingOnTheHeap) {
  for (const ReadNumber read : kReaders) {
    TypedBuffer buffer("42\0"s);
    FailingHeap heap(FailingHeap::kCountOnly);

    EXPECT_EQ(read(buffer.get(), nullptr), 42);
    EXPECT_EQ(heap.LiveBlocks(), 0);
  }
}

TEST(QnFsBufferRead, GivesBackTheFieldsOfATaggedLine) {
  TypedBuffer buffer("abc\0\n7\0"s);
  int32_t status = 77;

  EXPECT_EQ(buffer.Read(), "abc");
  EXPECT_EQ(buffer->pos, 4);
  EXPECT_EQ(fnQNFS_Buffer_ReadInteger(buffer.get(), &status), 7);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 1);
}

TEST(QnFsBufferReadString, StaysWhereItIsWhenTheHeapRefuses) {
  TypedBuffer buffer("field\0next\0"s);

  EXPECT_EQ(WithRefusal(1, [&] { return fnQNFS_Buffer_ReadString(buffer.get()); }), nullptr);

  EXPECT_EQ(buffer.Read(), "field");
}

TEST(QnFsBufferReadMem, CopiesTheBlockAndStepsOverItsEnd) {
  struct Case {
    std::string content;
    int32_t length;
    std::string block;
    int32_t pos;
  };
  const Case cases[] = {
      {"a\0b\0x"s, 3, "a\0b"s, 3},
      {"a\0b\0\nx"s, 3, "a\0b"s, 4},
      {"ab\0"s, 2, "ab"s, 2},
      {"ab\0\n"s, 2, "ab"s, 3},
      {"ab"s, 2, "ab"s, 2},
      {"ab"s, 1, "a"s, 1},
      {"abc"s, 0, ""s, 0},
      {"a\nc"s, 0, ""s, 1},
      // Zeros stand for what the buffer does not hold.
      {"ab"s, 4, "ab\0\0"s, 4},
      {""s, 2, "\0\0"s, 2},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.content) + ", " + std::to_string(c.length));
    TypedBuffer buffer(c.content);
    std::string block(static_cast<size_t>(c.length), '?');

    fnQNFS_Buffer_ReadMem(buffer.get(), c.length, block.data());

    EXPECT_EQ(block, c.block);
    EXPECT_EQ(buffer->pos, c.pos);
  }
}

TEST(QnFsBufferReadMem, ReadsBlockAfterBlock) {
  TypedBuffer written(40);
  fnQNFS_Buffer_WriteMem(written.get(), "\0\n\0", 3);
  fnQNFS_Buffer_WriteLineTag(written.get());
  fnQNFS_Buffer_WriteMem(written.get(), "xyz", 3);
  TypedBuffer buffer(written.Image());
  char first[3];
  char second[3];

  fnQNFS_Buffer_ReadMem(buffer.get(), 3, first);
  fnQNFS_Buffer_ReadMem(buffer.get(), 3, second);

  EXPECT_EQ(std::memcmp(first, "\0\n\0", 3), 0);
  EXPECT_EQ(std::memcmp(second, "xyz", 3), 0);
  EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 1);
}

TEST(QnFsBufferReadMem, GivesZerosToWhoStandsBehindTheEnd) {
  TypedBuffer buffer("abcdef"s);
  buffer->last = 1;
  buffer->pos = 3;
  char block[] = "??";

  fnQNFS_Buffer_ReadMem(buffer.get(), 2, block);

  EXPECT_EQ(std::string(block, 2), "\0\0"s);
}

TEST(QnFsBufferReadMem, GivesZerosOfABufferWithoutStorage) {
  QNFSBuffer buffer = {nullptr, -1, 5};
  char block[] = "??";

  fnQNFS_Buffer_ReadMem(&buffer, 2, block);

  EXPECT_EQ(std::string(block, 2), "\0\0"s);
}

TEST(QnFsBufferReadMem, NeedsADestinationForBytesAndALengthNotBelowZero) {
  TypedBuffer buffer("\0x"s);
  char block[] = "?";

  fnQNFS_Buffer_ReadMem(buffer.get(), -1, block);
  fnQNFS_Buffer_ReadMem(buffer.get(), std::numeric_limits<int32_t>::min(), block);
  EXPECT_STREQ(block, "?");
  EXPECT_EQ(buffer->pos, -1);
  fnQNFS_Buffer_ReadMem(buffer.get(), 0, nullptr);
  EXPECT_EQ(buffer->pos, 0) << "of no bytes";
}

}  // namespace
