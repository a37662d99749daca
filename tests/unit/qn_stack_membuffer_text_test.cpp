// SPDX-License-Identifier: MIT
// Guards the memory buffer's text functions: items up to a delimiter, formatted
// pieces with their bound, and header items.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "qnstack/qn_share_mem.h"
#include "qnstack/qn_stack_membuffer.h"
#include "support/buffer.h"
#include "support/failing_heap.h"

namespace {

using namespace qntest;
using namespace std::string_view_literals;

// Text of up to 4 GiB and 16 MiB. The memory has one piece of it, which is mapped
// behind itself again and again.
class LongText {
 public:
  LongText() {
    const std::string piece(kPiece, 'a');
    const int memory = memfd_create("piece of a text", MFD_CLOEXEC);
    if (write(memory, piece.data(), kPiece) != ssize_t{kPiece}) std::abort();
    // Behind the last piece stays a zero.
    text_ = Mapped(nullptr, kSize + 1, MAP_PRIVATE | MAP_ANONYMOUS, -1);
    for (size_t at = 0; at < kSize; at += kPiece) {
      Mapped(text_ + at, kPiece, MAP_SHARED | MAP_FIXED, memory);
    }
    close(memory);
  }
  ~LongText() { munmap(text_, kSize + 1); }
  LongText(const LongText &) = delete;
  LongText &operator=(const LongText &) = delete;

  const char *Of(uint64_t length) const { return text_ + kSize - static_cast<size_t>(length); }

 private:
  static constexpr size_t kPiece = 1 << 24;
  static constexpr size_t kSize = 257 * kPiece;

  static char *Mapped(char *place, size_t size, int flags, int file) {
    void *mapped = mmap(place, size, PROT_READ, flags, file, 0);
    if (mapped == MAP_FAILED) std::abort();
    return static_cast<char *>(mapped);
  }

  char *text_;
};

// The next item as text; none for a null one.
std::optional<std::string> TakeItem(const Buffer &buffer, const char *delimiter) {
  char *item = fnQN_MemBuffer_ReadBySubstr(buffer.get(), delimiter);
  if (item == nullptr) return std::nullopt;
  std::string text(item);
  fnQN_Free(&item);
  return text;
}

TEST(QnMemBufferReadBySubstr, SplitsTheUnreadPartAtTheFirstWholeDelimiter) {
  struct Case {
    std::string_view content;
    const char *delimiter;
    std::optional<std::string> item;
    std::string_view rest;
  };
  const Case kCases[] = {
      {"HTTP/1.1 200 OK\r\nDate: x", "\r\n", "HTTP/1.1 200 OK", "Date: x"},
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
      {"abc", "", "", "abc"},
      {"", "", "", ""},
      // The search stops at a zero byte.
      {"ab\0cd\r\nef"sv, "\r\n", std::nullopt, "ab\0cd\r\nef"sv},
      {"ab\r\nc\0d\r\n"sv, "\r\n", "ab", "c\0d\r\n"sv},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.content));
    Buffer buffer(0);
    buffer.Write(std::string("\r\n;") + std::string(c.content));
    buffer.Read(3);
    BufferFields expected = buffer.Fields();

    EXPECT_EQ(TakeItem(buffer, c.delimiter), c.item);

    expected.cursor += static_cast<uint32_t>(c.content.size() - c.rest.size());
    EXPECT_EQ(buffer.Fields(), expected);
    EXPECT_EQ(buffer.Unread(), c.rest);
  }
}

// An owner of the record may take bytes off its end without a terminator.
TEST(QnMemBufferReadBySubstr, DoesNotTakeAMatchThatEndsBeyondTheLength) {
  for (const uint32_t length : {0U, 1U, 2U, 3U}) {
    SCOPED_TRACE(length);
    Buffer buffer(64);
    buffer.Write("a\r\nb");
    buffer->length = length;
    EXPECT_EQ(TakeItem(buffer, "\r\n"),
              length == 3 ? std::optional<std::string>("a") : std::nullopt);
    EXPECT_EQ(buffer->cursor, length == 3 ? 3U : 0U);
  }
}

TEST(QnMemBufferPrintf, AppendsFormattedTextAndGrowsByItsLength) {
  Buffer buffer(4);
  buffer.Write("> ");
  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "%s:%d/%c", "host", 8080, 'x'), 11);
  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "> host:8080/x", .capacity = 15, .total = 13}));
  buffer.Read(12);
  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "%s", ""), 0);
  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "x", .capacity = 15, .total = 13}))
      << "it squeezes all the same";
  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "ab%cde", 0), 5) << "all, though it is cut";
  EXPECT_EQ(buffer.Fields(), (BufferFields{.held = "xab", .capacity = 15, .total = 15}));
}

TEST(QnMemBufferPrintf, CutsAt2047Bytes) {
  for (const uint32_t asked : {2046U, 2047U, 2048U, 2049U, 3000U}) {
    SCOPED_TRACE(asked);
    std::string text;
    for (size_t i = 0; i < asked; ++i) text += static_cast<char>('a' + i % 26);
    Buffer buffer(4096);
    EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "%s", text.c_str()),
              static_cast<int32_t>(std::min(asked, 2048U)));
    EXPECT_EQ(buffer.Fields().held, text.substr(0, 2047));
    EXPECT_EQ(buffer->total, std::min(asked, 2047U));
  }
}

TEST(QnMemBufferPrintf, FormatsTheBuffersOwnBytes) {
  Buffer buffer(8);
  buffer.Write("abcdef");
  buffer.Read(2);

  EXPECT_EQ(fnQN_MemBuffer_Printf(buffer.get(), "<%s>", buffer->data), 8);

  EXPECT_EQ(buffer.Fields().held, "cdef<abcdef>");
}

TEST(QnMemBufferWriteItem, AppendsNameValueAndLineEndUncut) {
  const std::pair<std::string, std::string> items[] = {
      {"Accept: ", "text/plain"}, {"", ""}, {std::string(3000, 'n'), std::string(5000, 'v')}};
  for (const auto &[name, value] : items) {
    Buffer buffer(16);
    fnQN_MemBuffer_WriteItem(buffer.get(), name.c_str(), value.c_str());
    EXPECT_EQ(buffer.Fields().held, name + value + "\r\n");
    EXPECT_EQ(buffer->total, name.size() + value.size() + 2);
  }
}

TEST(QnMemBufferWriteItem, TakesNoMoreTextThan31BitsCount) {
  if (sizeof(size_t) == sizeof(uint32_t)) GTEST_SKIP() << "there is no room for so much";
  constexpr uint64_t kMost = INT32_MAX;
  constexpr uint64_t kWraps = uint64_t{1} << 32;
  const LongText text;
  const Buffer buffer(0);

  for (const uint64_t length : {kMost, kMost + 1, kWraps, kWraps + 1}) {
    const auto write = [&] { fnQN_MemBuffer_WriteItem(buffer.get(), text.Of(length), "value"); };
    EXPECT_EQ(RefusalsIn(write, 1), length == kMost ? 1 : 0) << length;
    EXPECT_EQ(buffer->total, 0u);
  }
}

TEST(QnMemBufferWriteItem, IsThreeWritesAsTheCapacityShows) {
  // 8 bytes of name, 4 of value, 2 of line end, each growing for itself.
  constexpr std::pair<uint32_t, uint32_t> kCapacities[] = {{0, 14},  {7, 15},  {8, 14},  {10, 14},
                                                           {11, 15}, {12, 14}, {13, 15}, {14, 14}};
  for (const auto &[before, after] : kCapacities) {
    SCOPED_TRACE(before);
    Buffer buffer(before);

    fnQN_MemBuffer_WriteItem(buffer.get(), "Accept: ", "text");

    EXPECT_EQ(buffer.Fields(),
              (BufferFields{.held = "Accept: text\r\n", .capacity = after, .total = 14}));
  }
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

}  // namespace
