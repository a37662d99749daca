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

TEST(QnMemBufferNew, IsEmptyAndZeroedWithTenSpareBytes) {
  for (const uint32_t capacity : {0U, 10U}) {
    const Buffer buffer(capacity);
    EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "", .capacity = capacity}));
    EXPECT_EQ(std::string(buffer->data, capacity + 10), std::string(capacity + 10, '\0'));
  }
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
    std::string_view held;
    int32_t read;
    std::string_view added;
    BufferFields expected;
  };
  const Case cases[] = {
      {"behind what is held", "abc", 0, "de", {.held = "abcde", .capacity = 10, .total = 5}},
      {"zero bytes",
       "",
       0,
       "a\0b\0"sv,
       {.held = std::string("a\0b\0"sv), .capacity = 10, .total = 4}},
      {"to the capacity", "", 0, "0123456789", {.held = "0123456789", .capacity = 10, .total = 10}},
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

TEST(QnMemBufferWrite, GrowsByTheCountAndNotByTheShortfall) {
  struct Case {
    uint32_t capacity;
    size_t held;
    size_t added;
    uint32_t expected;
  };
  constexpr Case kCases[] = {{10, 0, 15, 25}, {10, 10, 1, 11}, {10, 4, 6, 10},       {10, 4, 7, 17},
                             {0, 0, 5, 5},    {0, 0, 0, 0},    {2048, 2047, 2, 2050}};
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

TEST(QnMemBufferWrite, OfNothingSqueezesAsWell) {
  for (const char *bytes : {static_cast<const char *>(nullptr), "ab"}) {
    Buffer buffer(10);
    buffer.Write("abc");
    buffer.Read(2);

    fnQN_MemBuffer_Write(buffer.get(), bytes, 0);

    EXPECT_STREQ(buffer->data, "c");
    EXPECT_EQ(buffer->cursor, 0U);
    EXPECT_EQ(buffer->total, 3U);
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
  constexpr Case kCases[] = {{"no move", 0, 2, 3, "abcdefcde"},
                             {"growth", 0, 0, 6, "abcdefabcdef"},
                             {"unread, squeezed", 2, 3, 2, "cdefde"},
                             {"read, squeezed", 3, 0, 2, "defab"},
                             {"both, squeezed", 3, 2, 3, "defcde"},
                             {"all, read to the end", 6, 0, 6, "abcdef"},
                             {"squeezed and grown", 1, 0, 6, "bcdefabcdef"}};
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
  struct Case {
    int32_t count;
    int32_t result;
    const char *destination;
    uint32_t cursor;
  };
  constexpr Case kCases[] = {{-1, -1, "??????", 0}, {INT32_MIN, -1, "??????", 0},
                             {0, 0, "??????", 0},   {2, 2, "ab????", 2},
                             {6, 1, "c?????", 3},   {6, 0, "??????", 3}};
  Buffer buffer(10);
  buffer.Write("abc");
  for (const Case &c : kCases) {
    char destination[] = "??????";
    EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), destination, c.count), c.result);
    EXPECT_STREQ(destination, c.destination);
    EXPECT_EQ(buffer.Fields(),
              (BufferFields{.held = "abc", .capacity = 10, .cursor = c.cursor, .total = 3}));
  }
  EXPECT_EQ(fnQN_MemBuffer_Read(buffer.get(), nullptr, 5), 0) << "nothing is unread";
}

TEST(QnMemBufferUnRead, GivesBackWhatWasReadUntilAWrite) {
  struct Case {
    int32_t count;
    int32_t result;
    uint32_t cursor;
  };
  constexpr Case kCases[] = {{0, 0, 3},          {4, 0, 3},   {5, 0, 3},
                             {INT32_MAX, 0, 3},  {-1, -1, 3}, {1, 0, 2},
                             {INT32_MIN, -1, 2}, {3, 0, 2},   {2, 0, 0}};
  Buffer buffer(10);
  buffer.Write("abcd");
  buffer.Read(3);
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.count);
    EXPECT_EQ(fnQN_MemBuffer_unRead(buffer.get(), c.count), c.result);
    EXPECT_EQ(buffer.Fields(),
              (BufferFields{.held = "abcd", .capacity = 10, .cursor = c.cursor, .total = 4}));
  }
  buffer.Read(2);
  buffer.Write("e");
  EXPECT_EQ(fnQN_MemBuffer_unRead(buffer.get(), 2), 0);
  EXPECT_EQ(buffer.Unread(), "cde");
}

TEST(QnMemBufferClearContent, ZeroesTheWholeCapacityAndKeepsIt) {
  for (const uint32_t capacity : {10U, 2U}) {
    Buffer buffer(capacity);
    const uint32_t grown = capacity == 2 ? 12 : 10;
    buffer.Write("0123456789");
    buffer.Read(8);
    buffer.Write("");  // squeezes, and leaves old bytes behind the content
    char *storage = buffer->data;

    EXPECT_EQ(fnQN_MemBufer_ClearContent(buffer.get()), storage);

    EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "", .capacity = grown}));
    EXPECT_EQ(Storage(buffer), std::string(grown + 1, '\0'));
    buffer.Write("xyz");
    EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "xyz", .capacity = grown, .total = 3}));
  }
}

}  // namespace
