// SPDX-License-Identifier: MIT
// Guards the memory buffer's text functions: items up to a delimiter, formatted
// pieces with their bound, and header items.
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_membuffer.h"
#include "support/buffer.h"

namespace {

using namespace qntest;
using namespace std::string_view_literals;

// The next item as text; none for a null one.
std::optional<std::string> TakeItem(const Buffer &buffer, const char *delimiter) {
  char *item = fnQN_MemBuffer_ReadBySubstr(buffer.get(), delimiter);
  if (item == nullptr) return std::nullopt;
  std::string text(item);
  fnQN_Free(&item);
  return text;
}

TEST(QnMemBufferReadBySubstr, TakesAnItemAndItsDelimiter) {
  Buffer buffer(64);
  buffer.Write("HTTP/1.1 200 OK\r\nDate: x");

  EXPECT_EQ(TakeItem(buffer, "\r\n"), "HTTP/1.1 200 OK");

  EXPECT_EQ(buffer.Unread(), "Date: x");
}

TEST(QnMemBufferReadBySubstr, StaysWithoutAFurtherDelimiter) {
  Buffer buffer(64);
  buffer.Write("HTTP/1.1 200 OK\r\nDate: x");
  TakeItem(buffer, "\r\n");
  const BufferFields before = buffer.Fields();

  EXPECT_EQ(TakeItem(buffer, "\r\n"), std::nullopt);

  EXPECT_EQ(buffer.Fields(), before);
}

TEST(QnMemBufferReadBySubstr, SplitsAtTheFirstWholeDelimiter) {
  struct Case {
    std::string_view content;
    const char *delimiter;
    std::optional<std::string> item;
    std::string_view rest;
  };
  const Case kCases[] = {
      {"\r\nabc", "\r\n", "", "abc"},
      {"abc\r\n", "\r\n", "abc", ""},
      {"a\r\r\nb", "\r\n", "a\r", "b"},
      {"a\rb\nc\r\nd", "\r\n", "a\rb\nc", "d"},
      {"a\r", "\r\n", std::nullopt, "a\r"},
      {"abcabd-", "abd", "abc", "-"},
      {"aaab", "aab", "a", ""},
      {"a;b;c", ";", "a", "b;c"},
      {"", "x", std::nullopt, ""},
      {"x", "xy", std::nullopt, "x"},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.content));
    Buffer buffer(64);
    buffer.Write(c.content);

    EXPECT_EQ(TakeItem(buffer, c.delimiter), c.item);

    EXPECT_EQ(buffer.Unread(), c.rest);
  }
}

TEST(QnMemBufferReadBySubstr, LooksAtTheUnreadPartAlone) {
  Buffer buffer(64);
  buffer.Write("a;b;c");
  buffer.Read(2);

  EXPECT_EQ(TakeItem(buffer, ";"), "b");

  EXPECT_EQ(buffer->cursor, 4U);
}

TEST(QnMemBufferReadBySubstr, StopsSearchingAtAZeroByte) {
  Buffer buffer(64);
  buffer.Write("ab\0cd\r\nef"sv);

  EXPECT_EQ(TakeItem(buffer, "\r\n"), std::nullopt);

  EXPECT_EQ(buffer->cursor, 0U);
}

TEST(QnMemBufferReadBySubstr, FindsWhatStandsBeforeAZeroByte) {
  Buffer buffer(64);
  buffer.Write("ab\r\nc\0d\r\n"sv);

  EXPECT_EQ(TakeItem(buffer, "\r\n"), "ab");

  EXPECT_EQ(buffer.Unread(), "c\0d\r\n"sv);
}

TEST(QnMemBufferReadBySubstr, GivesAnEmptyItemForAnEmptyDelimiter) {
  Buffer buffer(64);
  buffer.Write("abc");
  buffer.Read(1);
  const BufferFields before = buffer.Fields();

  EXPECT_EQ(TakeItem(buffer, ""), "");

  EXPECT_EQ(buffer.Fields(), before);
}

TEST(QnMemBufferReadBySubstr, GivesAnEmptyItemForAnEmptyDelimiterOfAnEmptyBuffer) {
  const Buffer buffer(0);

  EXPECT_EQ(TakeItem(buffer, ""), "");
}

// An owner of the record may take bytes off its end without a terminator.
TEST(QnMemBufferReadBySubstr, DoesNotTakeAMatchThatEndsBeyondTheLength) {
  for (const uint32_t length : {0U, 1U, 2U}) {
    SCOPED_TRACE(length);
    Buffer buffer(64);
    buffer.Write("a\r\nb");
    buffer->length = length;

    EXPECT_EQ(TakeItem(buffer, "\r\n"), std::nullopt);

    EXPECT_EQ(buffer->cursor, 0U);
  }
}

TEST(QnMemBufferReadBySubstr, TakesAMatchThatEndsAtTheLength) {
  Buffer buffer(64);
  buffer.Write("a\r\nb");
  buffer->length = 3;

  EXPECT_EQ(TakeItem(buffer, "\r\n"), "a");
}

TEST(QnMemBufferPrintf, AppendsFormattedText) {
  Buffer buffer(64);
  buffer.Write("> ");

  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "%s:%d/%c", "host", 8080, 'x'), 11);

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "> host:8080/x", .capacity = 64, .total = 13}));
}

TEST(QnMemBufferPrintf, GrowsByTheLengthOfTheText) {
  Buffer buffer(2);

  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "%s", "abc"), 3);

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "abc", .capacity = 5, .total = 3}));
}

TEST(QnMemBufferPrintf, CutsAt2047Bytes) {
  struct Case {
    size_t asked;
    size_t appended;
    int32_t result;
  };
  constexpr Case kCases[] = {{.asked = 2046, .appended = 2046, .result = 2046},
                             {.asked = 2047, .appended = 2047, .result = 2047},
                             {.asked = 2048, .appended = 2047, .result = 2048},
                             {.asked = 2049, .appended = 2047, .result = 2048},
                             {.asked = 3000, .appended = 2047, .result = 2048}};
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.asked);
    std::string text;
    for (size_t i = 0; i < c.asked; ++i) text += static_cast<char>('a' + i % 26);
    Buffer buffer(4096);

    EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "%s", text.c_str()), c.result);

    EXPECT_EQ(buffer.Fields(), (BufferFields{.held = text.substr(0, c.appended),
                                             .capacity = 4096,
                                             .total = static_cast<uint32_t>(c.appended)}));
  }
}

TEST(QnMemBufferPrintf, AppendsUpToAZeroByteButReportsAll) {
  Buffer buffer(64);

  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "ab%cde", 0), 5);

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "ab", .capacity = 64, .total = 2}));
}

TEST(QnMemBufferPrintf, OfNothingStillSqueezes) {
  Buffer buffer(64);
  buffer.Write("abc");
  buffer.Read(2);

  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "%s", ""), 0);

  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "c", .capacity = 64, .total = 3}));
}

TEST(QnMemBufferPrintf, FormatsTheBuffersOwnBytes) {
  Buffer buffer(8);
  buffer.Write("abcdef");
  buffer.Read(2);

  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "<%s>", buffer->data), 8);

  EXPECT_EQ(buffer.Fields().held, "cdef<abcdef>");
}

TEST(QnMemBufferPrintf, ReportsTheLengthWithoutABuffer) {
  EXPECT_EQ(fnQN_MemBuffer_Printf(nullptr, "%d", 12345), 5);
}

TEST(QnMemBufferWriteItem, AppendsNameValueAndLineEnd) {
  Buffer buffer(64);

  fnQN_MemBuffer_WriteItem(buffer.get(), "Accept: ", "text/plain");

  EXPECT_EQ(buffer.Fields(),
            (BufferFields{.held = "Accept: text/plain\r\n", .capacity = 64, .total = 20}));
}

TEST(QnMemBufferWriteItem, IsThreeWritesAsTheCapacityShows) {
  struct Case {
    uint32_t capacity;
    uint32_t expected;
  };
  // 8 bytes of name, 4 of value, 2 of line end, each growing for itself.
  constexpr Case kCases[] = {{.capacity = 0, .expected = 14},  {.capacity = 7, .expected = 15},
                             {.capacity = 8, .expected = 14},  {.capacity = 10, .expected = 14},
                             {.capacity = 11, .expected = 15}, {.capacity = 12, .expected = 14},
                             {.capacity = 13, .expected = 15}, {.capacity = 14, .expected = 14}};
  for (const Case &c : kCases) {
    SCOPED_TRACE(c.capacity);
    Buffer buffer(c.capacity);

    fnQN_MemBuffer_WriteItem(buffer.get(), "Accept: ", "text");

    EXPECT_EQ(buffer.Fields(),
              (BufferFields{.held = "Accept: text\r\n", .capacity = c.expected, .total = 14}));
  }
}

TEST(QnMemBufferWriteItem, CutsNothing) {
  const std::string name(3000, 'n');
  const std::string value(5000, 'v');
  Buffer buffer(16);

  fnQN_MemBuffer_WriteItem(buffer.get(), name.c_str(), value.c_str());

  EXPECT_EQ(buffer.Fields().held, name + value + "\r\n");
}

// The first of the three writes moves what the texts point into.
TEST(QnMemBufferWriteItem, TakesTheBuffersOwnTexts) {
  for (const uint32_t capacity : {0U, 8U, 64U}) {
    SCOPED_TRACE(capacity);
    Buffer buffer(capacity);
    buffer.Write("abcdef");
    buffer.Read(2);

    fnQN_MemBuffer_WriteItem(buffer.get(), buffer->data + 1, buffer->data + 4);

    EXPECT_EQ(buffer.Fields().held, "cdefbcdefef\r\n");
  }
}

TEST(QnMemBufferWriteItem, TakesOneTextOfItsOwn) {
  Buffer buffer(4);
  buffer.Write("abcd");
  buffer.Read(3);

  fnQN_MemBuffer_WriteItem(buffer.get(), "Name: ", buffer->data);

  EXPECT_EQ(buffer.Fields().held, "dName: abcd\r\n");
}

TEST(QnMemBufferWriteItem, WritesALineEndForEmptyTexts) {
  Buffer buffer(16);

  fnQN_MemBuffer_WriteItem(buffer.get(), "", "");

  EXPECT_EQ(buffer.Fields().held, "\r\n");
}

}  // namespace
