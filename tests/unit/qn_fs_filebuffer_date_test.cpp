// SPDX-License-Identifier: MIT
// Guards how the typed file buffer reads a date and time: numbers, separators,
// the limits of field and number, and the flag.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "qnstack/qn_fs_filebuffer.h"
#include "support/calendar_reference.h"
#include "support/failing_heap.h"
#include "support/typed_buffer.h"

namespace {

using namespace std::string_literals;
using namespace qntest;
using testing::Pair;

struct DateCase {
  const char *text;
  QNTime time;
  int32_t flag;
};
constexpr DateCase kDateCases[] = {
    // Number after number; the flag says whether the time is one.
    {"2009:1:2:3:4:5:6", {2009, 1, 2, 3, 4, 5, 6}, 1},
    {"2009:12:31:23:59:59:0", {2009, 12, 31, 23, 59, 59, 0}, 1},
    {"2009:99:99:0:0:0:1", {2009, 99, 99, 0, 0, 0, 1}, 1},
    {"0:0:0:0:0:0:0", {}, 0},
    {"2009:1:2:24:4:5:6", {2009, 1, 2, 24, 4, 5, 6}, 0},
    {"2009:1:2:3:60:5:6", {2009, 1, 2, 3, 60, 5, 6}, 0},
    {"2009:1:2:3:4:60:6", {2009, 1, 2, 3, 4, 60, 6}, 0},
    {"2009:0:2:3:4:5:6", {2009, 0, 2, 3, 4, 5, 6}, 0},
    {"-1:1:2:3:4:5:-2", {65535, 1, 2, 3, 4, 5, 65534}, 1},
    {"x: 7:8y:3:4:5:z", {0, 7, 8, 3, 4, 5, 0}, 0},
    // A number counts only with its separator.
    {"", {}, 0},
    {"2009", {}, 0},
    {"2009:", {2009, 0, 0, 0, 0, 0, 0}, 0},
    {"1:2:3", {1, 2, 0, 0, 0, 0, 0}, 0},
    {"1:2:3:", {1, 2, 3, 0, 0, 0, 0}, 1},
    {"1:2:3:4:5:6", {1, 2, 3, 4, 5, 0, 0}, 1},
    {"1:2:3:4:5:6:", {1, 2, 3, 4, 5, 6, 0}, 1},
    // A ':' without a number before it stays in front of the next number, which
    // then reads as 0.
    {":1:2:3:4:5:6:7", {0, 2, 3, 4, 5, 6, 7}, 0},
    {"1::2:3:4:5:6:7", {1, 0, 3, 4, 5, 6, 7}, 0},
    {"1::::2:3:", {1, 0, 0, 3, 0, 0, 0}, 0},
    {"::", {}, 0},
    {"1:2:3:4:5:6::7", {1, 2, 3, 4, 5, 6, 0}, 1},
    {"1:2:3:4:5:6::", {1, 2, 3, 4, 5, 6, 0}, 1},
    // Separators beyond the sixth take the extra number away.
    {"1:2:3:4:5:6:7:", {1, 2, 3, 4, 5, 6, 0}, 1},
    {"1:2:3:4:5:6:7:8", {1, 2, 3, 4, 5, 6, 0}, 1},
    {"1:2:3:4:5:6:7:8:9:10", {1, 2, 3, 4, 5, 6, 0}, 1},
    // Of a number 16 bits are kept,
    {"70000:1:1:0:0:0:0", {4464, 1, 1, 0, 0, 0, 0}, 1},
    {"65536:1:1:0:0:0:0", {0, 1, 1, 0, 0, 0, 0}, 0},
    {"65535:65537:65538:65539:65540:65541:6", {65535, 1, 2, 3, 4, 5, 6}, 1},
    {"1:1:1:65559:65595:65536:65543", {1, 1, 1, 23, 59, 0, 7}, 1},
    // and 14 characters.
    {"00000000000017:1:1:0:0:0:0", {17, 1, 1, 0, 0, 0, 0}, 1},
    {"000000000000178:1:1:0:0:0:0", {17, 1, 1, 0, 0, 0, 0}, 1},
    {"1:1:1:0:0:0:00000000000017", {1, 1, 1, 0, 0, 0, 17}, 1},
    {"1:1:1:0:0:0:000000000000178", {1, 1, 1, 0, 0, 0, 17}, 1},
    // Of the field 39 characters are looked at: the last is the extra number, ends
    // the sixth, or belongs to it.
    {"01:1:1:0:00000000000000:0000000000000:7", {1, 1, 1, 0, 0, 0, 7}, 1},
    {"01:1:1:0:00000000000000:0000000000000:78", {1, 1, 1, 0, 0, 0, 7}, 1},
    {"001:1:1:0:00000000000000:0000000000007:78", {1, 1, 1, 0, 0, 7, 0}, 1},
    {"0001:1:1:0:00000000000000:0000000000007:78", {1, 1, 1, 0, 0, 0, 0}, 1},
};

TEST(QnFsBufferReadDateTime, ReadsAnyFieldAsFarAsItIsADate) {
  for (const DateCase &c : kDateCases) {
    SCOPED_TRACE(c.text);
    TypedBuffer buffer(std::string(c.text) + '\0');
    int32_t flag = 77;

    EXPECT_EQ(fnQNFS_Buffer_ReadDateTime(buffer.get(), &flag), c.time);

    EXPECT_EQ(flag, c.flag);
    EXPECT_EQ(fnQNFS_Buffer_IsEnd(buffer.get()), 1);
  }
}

TEST(QnFsBufferReadDateTime, ReadsBackWhatWasWritten) {
  constexpr QNTime kTime = {2009, 11, 30, 23, 59, 58, 48};
  TypedBuffer written(100);
  fnQNFS_Buffer_WriteDateTime(written.get(), kTime);
  fnQNFS_Buffer_WriteLineTag(written.get());
  fnQNFS_Buffer_WriteString(written.get(), "next", 4);
  TypedBuffer buffer(written.Image());
  int32_t flag = 77;

  EXPECT_EQ(fnQNFS_Buffer_ReadDateTime(buffer.get(), &flag), kTime);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(buffer.Read(), "next");
}

TEST(QnFsBufferReadDateTime, ReadsAFieldWithoutItsZeroByte) {
  TypedBuffer buffer("2009:1:2:3:4:5:6"s);
  int32_t flag = 77;

  EXPECT_EQ(fnQNFS_Buffer_ReadDateTime(buffer.get(), &flag), (QNTime{2009, 1, 2, 3, 4, 5, 6}));
  EXPECT_EQ(flag, 1);
}

TEST(QnFsBufferReadDateTime, GivesNothingBeyondTheEnd) {
  TypedBuffer buffer(""s);
  int32_t flag = 77;

  EXPECT_EQ(fnQNFS_Buffer_ReadDateTime(buffer.get(), &flag), QNTime{});
  EXPECT_EQ(flag, 0);
  EXPECT_THAT(buffer.Places(), Pair(0, -1));
}

TEST(QnFsBufferReadDateTime, CountsAMissingRecordAsValidAndMissingMemoryAsInvalid) {
  TypedBuffer buffer("2009:1:2:3:4:5:6\0"s);
  int32_t flag = 77;

  EXPECT_EQ(fnQNFS_Buffer_ReadDateTime(nullptr, &flag), QNTime{});
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(WithRefusal(1, [&] { return fnQNFS_Buffer_ReadDateTime(buffer.get(), &flag); }),
            QNTime{});
  EXPECT_EQ(flag, 0);
}

}  // namespace
