// SPDX-License-Identifier: MIT
// Guards the memory buffer: every field after every operation, when it
// squeezes and grows, and what a reader gets.
#include "qnstack/qn_stack_membuffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "support/buffer.h"

namespace {

using namespace qntest;
using namespace std::string_view_literals;

// The storage up to the capacity and the spare byte behind it.
std::string Storage(const Buffer &buffer) { return {buffer->data, buffer->capacity + 1}; }

TEST(QnMemBufferNew, IsEmptyAndZeroed) {
  const Buffer buffer(10);

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "", .capacity = 10, .cursor = 0, .total = 0}));
  EXPECT_EQ(std::string(buffer->data, 20), std::string(20, '\0'));
}

TEST(QnMemBufferNew, OfZeroHasTheSpareBytesAlone) {
  const Buffer buffer(0);

  EXPECT_EQ(buffer.Fields(), BufferFields{});
  EXPECT_EQ(std::string(buffer->data, 10), std::string(10, '\0'));
}

TEST(QnMemBufferNew, RefusesACapacityWhoseStorageNeedsMoreThan32Bits) {
  for (const uint32_t capacity : {UINT32_MAX - 9, UINT32_MAX}) {
    SCOPED_TRACE(capacity);
    QNMemBuffer *buffer = fnQN_MemBuffer_New(capacity);

    EXPECT_EQ(buffer, nullptr);

    fnQN_MemBuffer_Free(buffer);
  }
}

TEST(QnMemBufferWrite, SqueezesThenGrowsThenAppends) {
  struct Case {
    const char *what;
    const char *held;
    int32_t read;
    const char *added;
    BufferFields expected;
  };
  const Case cases[] = {
      {"behind what is held", "abc", 0, "de", {.held = "abcde", .capacity = 10, .total = 5}},
      {"squeezed", "abcdef", 4, "gh", {.held = "efgh", .capacity = 10, .total = 8}},
      {"read to the end", "abcdef", 6, "gh", {.held = "gh", .capacity = 10, .total = 8}},
      {"nothing added", "abcdef", 4, "", {.held = "ef", .capacity = 10, .total = 6}},
      {"squeezed into the room that is there",
       "0123456789",
       6,
       "abcdef",
       {.held = "6789abcdef", .capacity = 10, .total = 16}},
      {"squeezed and grown",
       "0123456789",
       6,
       "abcdefg",
       {.held = "6789abcdefg", .capacity = 17, .total = 17}},
  };
  for (const Case &c : cases) {
    SCOPED_TRACE(c.what);
    Buffer buffer(10);
    buffer.Write(c.held);
    buffer.Read(c.read);

    buffer.Write(c.added);

    EXPECT_EQ(buffer.Fields(), c.expected);
  }
}

TEST(QnMemBufferWrite, TakesZeroBytesAsTheyAre) {
  Buffer buffer(10);

  buffer.Write("a\0b\0"sv);

  EXPECT_EQ(buffer.Fields(),
            (BufferFields{.held = std::string("a\0b\0"sv), .capacity = 10, .total = 4}));
}

TEST(QnMemBufferWrite, FillsTheCapacityWithoutGrowing) {
  Buffer buffer(10);
  const char *storage = buffer->data;

  buffer.Write("0123456789");

  EXPECT_EQ(buffer->data, storage);
  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "0123456789", .capacity = 10, .total = 10}));
}

TEST(QnMemBufferWrite, GrowsByTheCountAndNotByTheShortfall) {
  struct Case {
    uint32_t capacity;
    size_t held;
    size_t added;
    uint32_t expected;
  };
  constexpr Case kCases[] = {{.capacity = 10, .held = 0, .added = 15, .expected = 25},
                             {.capacity = 10, .held = 10, .added = 1, .expected = 11},
                             {.capacity = 10, .held = 4, .added = 6, .expected = 10},
                             {.capacity = 10, .held = 4, .added = 7, .expected = 17},
                             {.capacity = 0, .held = 0, .added = 5, .expected = 5},
                             {.capacity = 0, .held = 0, .added = 0, .expected = 0},
                             {.capacity = 2048, .held = 2047, .added = 2, .expected = 2050}};
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.capacity);
    SCOPED_TRACE(c.added);
    const std::string held(c.held, 'h');
    const std::string added(c.added, 'a');
    Buffer buffer(c.capacity);
    buffer.Write(held);

    buffer.Write(added);

    EXPECT_EQ(buffer.Fields(), (BufferFields{.held = held + added,
                                             .capacity = c.expected,
                                             .total = static_cast<uint32_t>(c.held + c.added)}));
    // Ten bytes more are the buffer's too.
    std::fill_n(buffer->data + c.expected, 10, '#');
  }
}

TEST(QnMemBufferWrite, MovesNothingWhenNothingWasRead) {
  Buffer buffer(10);
  buffer.Write("abc");
  const char *storage = buffer->data;

  buffer.Write("de");

  EXPECT_EQ(buffer->data, storage);
  EXPECT_STREQ(buffer->data, "abcde");
}

// A buffer of four gigabytes by its fields, of which none is touched.
TEST(QnMemBufferWrite, RefusesToGrowBeyond32Bits) {
  Buffer buffer(10);
  buffer->capacity = UINT32_MAX - 12;
  buffer->length = UINT32_MAX - 12;

  buffer.Write("abc");

  EXPECT_EQ(buffer->capacity, UINT32_MAX - 12);
  EXPECT_EQ(buffer->length, UINT32_MAX - 12);
  EXPECT_EQ(buffer->total, 0U);
}

TEST(QnMemBufferWrite, IgnoresANegativeCount) {
  for (const int32_t count : {-1, -5, INT32_MIN}) {
    SCOPED_TRACE(count);
    Buffer buffer(10);
    buffer.Write("abcdef");
    buffer.Read(4);

    fnQN_MemBuffer_Write(buffer.get(), "xxxxx", count);

    EXPECT_EQ(buffer.Fields(),
              (BufferFields{.held = "abcdef", .capacity = 10, .cursor = 4, .total = 6}));
  }
}

TEST(QnMemBufferWrite, TakesTheBuffersOwnBytes) {
  struct Case {
    const char *what;
    int32_t read_first;
    size_t from;
    size_t count;
    const char *expected;
  };
  constexpr Case kCases[] = {
      {.what = "no move", .read_first = 0, .from = 2, .count = 3, .expected = "abcdefcde"},
      {.what = "growth", .read_first = 0, .from = 0, .count = 6, .expected = "abcdefabcdef"},
      {.what = "unread, squeezed", .read_first = 2, .from = 3, .count = 2, .expected = "cdefde"},
      {.what = "read, squeezed", .read_first = 3, .from = 0, .count = 2, .expected = "defab"},
      {.what = "both, squeezed", .read_first = 3, .from = 2, .count = 3, .expected = "defcde"},
      {.what = "all, read to the end",
       .read_first = 6,
       .from = 0,
       .count = 6,
       .expected = "abcdef"},
      {.what = "squeezed and grown",
       .read_first = 1,
       .from = 0,
       .count = 6,
       .expected = "bcdefabcdef"}};
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.what);
    Buffer buffer(10);
    buffer.Write("abcdef");
    buffer.Read(c.read_first);

    fnQN_MemBuffer_Write(buffer.get(), buffer->data + c.from, static_cast<int32_t>(c.count));

    EXPECT_EQ(buffer.Fields().held, c.expected);
  }
}

TEST(QnMemBufferRead, TakesAtMostWhatIsUnread) {
  Buffer buffer(10);
  buffer.Write("abc");

  EXPECT_EQ(buffer.Read(2), "ab");
  EXPECT_EQ(buffer->cursor, 2U);
  EXPECT_EQ(buffer.Read(5), "c");
  EXPECT_EQ(buffer.Read(5), "");

  EXPECT_EQ(buffer.Fields(),
            (BufferFields{.held = "abc", .capacity = 10, .cursor = 3, .total = 3}));
}

TEST(QnMemBufferRead, WritesNotMoreThanItTakes) {
  Buffer buffer(10);
  buffer.Write("abc");
  char destination[] = "??????";

  ASSERT_EQ(fnQN_MemBuffer_Read(buffer.get(), destination, 6), 3);

  EXPECT_STREQ(destination, "abc???");
}

TEST(QnMemBufferRead, OfNothingTakesNothing) {
  Buffer buffer(10);
  buffer.Write("abc");
  char destination = '?';

  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), &destination, 0), 0);
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), nullptr, 0), 0);

  EXPECT_EQ(destination, '?');
  EXPECT_EQ(buffer->cursor, 0U);
}

TEST(QnMemBufferRead, NeedsNoDestinationWhereNothingIsUnread) {
  Buffer buffer(10);
  buffer.Write("abc");
  char destination[3];

  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), destination, 3), 3);

  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), nullptr, 5), 0);
}

TEST(QnMemBufferRead, RefusesNullsAndNegativeCounts) {
  Buffer buffer(10);
  buffer.Write("abc");
  char destination[4] = "???";

  EXPECT_EQ(fnQN_MemBuffer_Read(nullptr, destination, 1), -1);
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), nullptr, 1), -1);
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), destination, -1), -1);
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), destination, INT32_MIN), -1);

  EXPECT_STREQ(destination, "???");
  EXPECT_EQ(buffer->cursor, 0U);
}

TEST(QnMemBufferUnRead, GivesBackWhatTheLastReadTook) {
  Buffer buffer(10);
  buffer.Write("abc");
  buffer.Read(2);

  EXPECT_EQ(fnQN_MemBuffer_unRead(buffer.get(), 2), 0);

  EXPECT_EQ(buffer->cursor, 0U);
  EXPECT_EQ(buffer.Read(2), "ab");
}

TEST(QnMemBufferUnRead, GivesBackAPart) {
  Buffer buffer(10);
  buffer.Write("abc");
  buffer.Read(2);

  EXPECT_EQ(fnQN_MemBuffer_unRead(buffer.get(), 1), 0);

  EXPECT_EQ(buffer.Fields(),
            (BufferFields{.held = "abc", .capacity = 10, .cursor = 1, .total = 3}));
}

TEST(QnMemBufferUnRead, ChangesNothingPastTheCursor) {
  Buffer buffer(10);
  buffer.Write("abc");
  buffer.Read(2);

  for (const int32_t count : {0, 3, 5, INT32_MAX}) {
    SCOPED_TRACE(count);
    EXPECT_EQ(fnQN_MemBuffer_unRead(buffer.get(), count), 0);
    EXPECT_EQ(buffer->cursor, 2U);
  }
}

TEST(QnMemBufferUnRead, IsImpossibleAfterAWrite) {
  Buffer buffer(10);
  buffer.Write("abc");
  buffer.Read(2);
  buffer.Write("d");

  EXPECT_EQ(fnQN_MemBuffer_unRead(buffer.get(), 2), 0);

  EXPECT_EQ(buffer.Unread(), "cd");
}

TEST(QnMemBufferUnRead, RefusesNullAndNegativeCounts) {
  Buffer buffer(10);
  buffer.Write("abc");
  buffer.Read(2);

  EXPECT_EQ(fnQN_MemBuffer_unRead(nullptr, 0), -1);
  EXPECT_EQ(fnQN_MemBuffer_unRead(buffer.get(), -1), -1);
  EXPECT_EQ(fnQN_MemBuffer_unRead(buffer.get(), INT32_MIN), -1);

  EXPECT_EQ(buffer->cursor, 2U);
}

TEST(QnMemBufferClearContent, ZeroesTheWholeCapacityAndKeepsIt) {
  Buffer buffer(10);
  buffer.Write("0123456789");
  buffer.Read(8);
  buffer.Write("");  // squeezes, and leaves old bytes behind the content
  char *storage = buffer->data;

  EXPECT_EQ(fnQN_MemBufer_ClearContent(buffer.get()), storage);

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "", .capacity = 10, .total = 0}));
  EXPECT_EQ(Storage(buffer), std::string(11, '\0'));
}

TEST(QnMemBufferClearContent, ZeroesAGrownCapacityToo) {
  Buffer buffer(2);
  buffer.Write("0123456789");

  fnQN_MemBufer_ClearContent(buffer.get());

  EXPECT_EQ(buffer->capacity, 12U);
  EXPECT_EQ(Storage(buffer).substr(0, 12), std::string(12, '\0'));
}

TEST(QnMemBufferClearContent, LeavesAUsableBuffer) {
  Buffer buffer(4);
  buffer.Write("abcdef");
  buffer.Read(3);
  fnQN_MemBufer_ClearContent(buffer.get());

  buffer.Write("xyz");

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "xyz", .capacity = 10, .total = 3}));
}

}  // namespace
