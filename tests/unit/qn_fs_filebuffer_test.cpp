// SPDX-License-Identifier: MIT
// Guards the writers of the typed file buffer: the bytes of every kind of
// field, and where position and end stand after it, also once it is closed.
#include "qnstack/qn_fs_filebuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

#include "qnstack/qn_share_mem.h"
#include "support/typed_buffer.h"

namespace {

using namespace std::string_literals;
using qntest::TypedBuffer;
using testing::Pair;

TEST(QnFsBufferInit, SetsThePlacesAndZeroesTheStorage) {
  char storage[] = "xxxxxxxx";
  QNFSBuffer record = {storage, 5, 6};

  fnQNFS_Init_Buffer(&record, 7);

  EXPECT_EQ(record.data, storage);
  EXPECT_EQ(record.pos, -1);
  EXPECT_EQ(record.last, 6);
  EXPECT_EQ(std::string(storage, 8), "\0\0\0\0\0\0\0x"s);
}

TEST(QnFsBufferInit, OfNoCapacityIsAtItsEnd) {
  TypedBuffer buffer(0);

  EXPECT_THAT(buffer.Places(), Pair(-1, -1));
  EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 1);
}

TEST(QnFsBufferInit, OfTheLargestCapacityIsReadAsAnyOther) {
  char storage[] = "abc\0def";
  QNFSBuffer record = {nullptr, 5, 6};

  fnQNFS_Init_Buffer(&record, 0x80000000U);
  EXPECT_EQ(record.pos, -1);
  EXPECT_EQ(record.last, INT32_MAX);
  record.data = storage;
  char *field = fnQNFS_Buffer_ReadString(&record);

  EXPECT_STREQ(field, "abc");
  EXPECT_EQ(record.pos, 3);
  fnQN_Free(&field);
}

TEST(QnFsBufferWrite, PositionsWrapBehindTheHighest) {
  TypedBuffer buffer(8);
  buffer->pos = INT32_MAX;
  buffer->last = INT32_MAX;

  fnQNFS_Buffer_WriteString(buffer.get(), nullptr, 0);

  EXPECT_THAT(buffer.Places(), Pair(INT32_MIN, INT32_MAX));
}

TEST(QnFsBufferInit, TakesMissingStorage) {
  QNFSBuffer record = {nullptr, 5, 6};

  fnQNFS_Init_Buffer(&record, 8);

  EXPECT_EQ(record.pos, -1);
  EXPECT_EQ(record.last, 7);
}

TEST(QnFsBufferWrite, MixedFieldsByteForByte) {
  TypedBuffer buffer(100);

  fnQNFS_Buffer_WriteString(buffer.get(), "abc", 3);
  fnQNFS_Buffer_WriteInteger(buffer.get(), 42);
  fnQNFS_Buffer_WriteLineTag(buffer.get());

  EXPECT_EQ(buffer.Image(), "abc\0"s + "42\0\n"s);
  EXPECT_THAT(buffer.Places(), Pair(7, 99));
}

void WriteBlock(QNFSBuffer *record, const char *text, int32_t length) {
  fnQNFS_Buffer_WriteMem(record, text, length);
}

// A writer of a text or block of a length, and the field that it makes.
struct FieldCase {
  void (*write)(QNFSBuffer *record, const char *text, int32_t length);
  const char *text;
  int32_t length;
  std::string image;
};

TEST(QnFsBufferWrite, EndsATextButALineTagAloneAndEveryBlockWithAZeroByte) {
  const FieldCase cases[] = {
      {fnQNFS_Buffer_WriteString, "abc", 3, "abc\0"s},
      {fnQNFS_Buffer_WriteString, "abc", 2, "ab\0"s},
      {fnQNFS_Buffer_WriteString, "abc", 0, "\0"s},
      {fnQNFS_Buffer_WriteString, "", 0, "\0"s},
      {fnQNFS_Buffer_WriteString, "", 1, "\0\0"s},
      {fnQNFS_Buffer_WriteString, nullptr, 0, "\0"s},
      {fnQNFS_Buffer_WriteString, nullptr, 5, "\0"s},
      {fnQNFS_Buffer_WriteString, nullptr, -5, "\0"s},
      {fnQNFS_Buffer_WriteString, nullptr, INT32_MAX, "\0"s},
      {fnQNFS_Buffer_WriteString, "\n", 1, "\n"},
      {fnQNFS_Buffer_WriteString, "\n", 0, ""},
      {fnQNFS_Buffer_WriteString, "\n", 2, "\n\0"s},
      {fnQNFS_Buffer_WriteString, "\nx", 1, "\n\0"s},
      {fnQNFS_Buffer_WriteString, "a\n", 2, "a\n\0"s},
      {fnQNFS_Buffer_WriteString, "\n\n", 2, "\n\n\0"s},
      {WriteBlock, "a\0b", 3, "a\0b\0"s},
      {WriteBlock, "\n", 1, "\n\0"s},
      {WriteBlock, "\n", 2, "\n\0\0"s},
      {WriteBlock, "x", 0, "\0"s},
      {WriteBlock, nullptr, 0, "\0"s},
      {WriteBlock, nullptr, 5, "\0"s},
      {WriteBlock, nullptr, -5, "\0"s},
  };
  for (const FieldCase &c : cases) {
    SCOPED_TRACE((c.write == WriteBlock ? "block " : "text ") + testing::PrintToString(c.text) +
                 " of length " + std::to_string(c.length));
    TypedBuffer buffer(20);

    c.write(buffer.get(), c.text, c.length);

    EXPECT_EQ(buffer.Image(), c.image);
    EXPECT_THAT(buffer.Places(), Pair(static_cast<int32_t>(c.image.size()) - 1, 19));
  }
}

TEST(QnFsBufferWrite, ANegativeLengthWritesNothing) {
  for (const int32_t length : {-1, -2, -100, INT32_MIN}) {
    SCOPED_TRACE(length);
    TypedBuffer buffer(8);
    buffer.Write("a");

    fnQNFS_Buffer_WriteString(buffer.get(), "text", length);
    fnQNFS_Buffer_WriteMem(buffer.get(), "text", length);

    EXPECT_EQ(buffer.Image(), "a\0"s);
    EXPECT_THAT(buffer.Places(), Pair(1, 7));
  }
}

TEST(QnFsBufferWrite, ALengthNearTheTopClosesTheBuffer) {
  for (const int32_t length : {INT32_MAX, INT32_MAX - 1, INT32_MAX - 7}) {
    SCOPED_TRACE(length);
    for (const auto write : {fnQNFS_Buffer_WriteString, WriteBlock}) {
      TypedBuffer buffer(8);
      buffer.Write("abc");

      write(buffer.get(), "text", length);

      EXPECT_THAT(buffer.Places(), Pair(3, 3));
      EXPECT_EQ(buffer.Image(), "abc\0"s);
    }
  }
}

TEST(QnFsBufferWrite, NumbersInDecimal) {
  struct Case {
    int32_t value;
    std::string image;
  };
  const Case cases[] = {{0, "0\0"s},
                        {42, "42\0"s},
                        {-7, "-7\0"s},
                        {INT32_MAX, "2147483647\0"s},
                        {INT32_MIN, "-2147483648\0"s}};
  for (const Case &c : cases) {
    SCOPED_TRACE(c.value);
    TypedBuffer integer(20);
    TypedBuffer longer(20);

    fnQNFS_Buffer_WriteInteger(integer.get(), c.value);
    fnQNFS_Buffer_WriteLong(longer.get(), c.value);

    EXPECT_EQ(integer.Image(), c.image);
    EXPECT_EQ(longer.Image(), c.image);
  }
}

TEST(QnFsBufferWriteDateTime, WritesSevenNumbersAndCutsAt34Characters) {
  constexpr uint32_t kTop = std::numeric_limits<uint32_t>::max();
  struct Case {
    QNTime time;
    std::string text;
  };
  const Case cases[] = {
      {{2009, 1, 2, 3, 4, 5, 6}, "2009:1:2:3:4:5:6"},
      {{}, "0:0:0:0:0:0:0"},
      {{12345, 1234, 1234, 1234, 1234, 123, 1234}, "12345:1234:1234:1234:1234:123:1234"},
      {{12345, 1234, 1234, 1234, 1234, 1234, 5678}, "12345:1234:1234:1234:1234:1234:567"},
      {{kTop, kTop, kTop, kTop, kTop, kTop, kTop}, "4294967295:4294967295:4294967295:4"},
  };
  for (const Case &c : cases) {
    TypedBuffer buffer(100);

    fnQNFS_Buffer_WriteDateTime(buffer.get(), c.time);

    EXPECT_EQ(buffer.Image(), c.text + '\0');
  }
}

TEST(QnFsBufferWriteLine, WritesTheStringAndTheTagButNotOfALineThatDoesNotFit) {
  TypedBuffer buffer(10);

  for (const char *line : {"ab", "", static_cast<const char *>(nullptr), "\n", "cde"}) {
    fnQNFS_Buffer_WriteLine(buffer.get(), line);
  }

  EXPECT_EQ(buffer.Image(), "ab\0\n\0\n\n\n"s);
  EXPECT_THAT(buffer.Places(), Pair(7, 7));
}

TEST(QnFsBufferWrite, AFieldMayFillTheBufferExactlyAndTheNextClosesIt) {
  TypedBuffer buffer(8);

  buffer.Write("abcdefgh");
  EXPECT_THAT(buffer.Places(), Pair(8, 7));
  EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 1);
  buffer.Write("x");

  EXPECT_EQ(buffer.Image(), "abcdefgh\0"s);
  EXPECT_THAT(buffer.Places(), Pair(8, 8));
}

TEST(QnFsBufferWrite, ATagMayFillTheBufferExactly) {
  TypedBuffer buffer(4);
  buffer.Write("ab");

  fnQNFS_Buffer_WriteLineTag(buffer.get());

  EXPECT_EQ(buffer.Image(), "ab\0\n"s);
  EXPECT_THAT(buffer.Places(), Pair(3, 3));
}

TEST(QnFsBufferWrite, AFieldThatDoesNotFitClosesTheBufferForAllAfterIt) {
  TypedBuffer buffer(8);
  buffer.Write("abc");

  buffer.Write("defgh");
  EXPECT_THAT(buffer.Places(), Pair(3, 3));
  EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 1);

  buffer.Write("d");
  fnQNFS_Buffer_WriteInteger(buffer.get(), 1);
  fnQNFS_Buffer_WriteLineTag(buffer.get());
  fnQNFS_Buffer_WriteMem(buffer.get(), "m", 1);
  fnQNFS_Buffer_WriteDateTime(buffer.get(), {});
  EXPECT_THAT(buffer.Places(), Pair(3, 3));
  EXPECT_EQ(std::string(buffer->data, 9), "abc\0\0\0\0\0\0"s);
}

TEST(QnFsBufferWrite, EmptyFieldsCreepOnInAClosedBuffer) {
  TypedBuffer buffer(8);
  buffer.Write("abc");
  buffer.Write("too long");
  ASSERT_THAT(buffer.Places(), Pair(3, 3));

  fnQNFS_Buffer_WriteString(buffer.get(), nullptr, 0);
  EXPECT_THAT(buffer.Places(), Pair(4, 3));
  fnQNFS_Buffer_WriteString(buffer.get(), "", 0);
  EXPECT_THAT(buffer.Places(), Pair(4, 4));
  fnQNFS_Buffer_WriteMem(buffer.get(), nullptr, 4);
  EXPECT_THAT(buffer.Places(), Pair(5, 4));
  EXPECT_EQ(buffer.Image(), "abc\0\0\0"s);
}

TEST(QnFsBufferWrite, EveryWriterTakesARecordWithoutStorage) {
  QNFSBuffer bare = {nullptr, -1, 7};

  fnQNFS_Buffer_WriteString(&bare, "a", 1);
  fnQNFS_Buffer_WriteMem(&bare, "a", 1);
  fnQNFS_Buffer_WriteInteger(&bare, 1);
  fnQNFS_Buffer_WriteLong(&bare, 1);
  fnQNFS_Buffer_WriteDateTime(&bare, {});
  fnQNFS_Buffer_WriteLineTag(&bare);
  fnQNFS_Buffer_WriteLine(&bare, "a");

  EXPECT_EQ(bare.pos, -1);
  EXPECT_EQ(bare.last, 7);
}

TEST(QnFsBufferIsEnd, ComparesThePlacesAsSigned) {
  struct Case {
    int32_t pos;
    int32_t last;
    int32_t end;
  };
  constexpr Case kCases[] = {{-1, 0, 0},
                             {-1, -1, 1},
                             {0, 0, 1},
                             {1, 0, 1},
                             {0, 1, 0},
                             {-2, -1, 0},
                             {INT32_MIN, INT32_MAX, 0},
                             {INT32_MAX, INT32_MIN, 1}};
  for (const Case &c : kCases) {
    const QNFSBuffer record = {nullptr, c.pos, c.last};

    EXPECT_EQ(fnQNFS_Buffer_IsEnd(&record), c.end) << c.pos << " of " << c.last;
  }
}

}  // namespace
