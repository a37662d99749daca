// SPDX-License-Identifier: MIT
// Guards the string primitives that copy, append and change text: tolerance of
// NULL, and the places where they differ from their namesakes on purpose.
#include "qnstack/qn_share_string.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "qnstack/qn_share_mem.h"
#include "support/failing_heap.h"

namespace {

using qntest::FailingHeap;

// An area for one string with room behind it, filled so that stray writes show.
class Area {
 public:
  explicit Area(const char *text) {
    bytes_.fill('#');
    std::strcpy(bytes_.data(), text);
  }
  char *Text() { return bytes_.data(); }
  std::string Bytes(size_t count) const { return std::string(bytes_.data(), count); }

 private:
  std::array<char, 64> bytes_;
};

TEST(QnStrlen, CountsBytesBeforeTheTerminator) {
  EXPECT_EQ(fnQN_STRLEN(""), 0U);
  EXPECT_EQ(fnQN_STRLEN("abc"), 3U);
  EXPECT_EQ(fnQN_STRLEN("ab\0cd"), 2U);
  EXPECT_EQ(fnQN_STRLEN("\xFF\x80"), 2U);
}

// What a call leaves in an area that held "12345678".
struct CopyCase {
  const char *name;
  char *(*copy)(char *area);
  std::string bytes;
};

TEST(QnStrcpy, AndItsLikesWriteExactlyTheirBytesAndGiveTheDestination) {
  const CopyCase cases[] = {
      {"STRCPY with the terminator",
       [](char *a) { return fnQN_STRCPY(a, "abc"); },
       {"abc\0"
        "5678\0",
        9}},
      {"STRNCPY of a shorter text pads with zeros",
       [](char *a) { return fnQN_STRNCPY(a, "ab", 5); },
       {"ab\0\0\0"
        "678\0",
        9}},
      {"STRNCPY of a longer text ends it nowhere",
       [](char *a) { return fnQN_STRNCPY(a, "abcdef", 3); },
       {"abc45678\0", 9}},
      {"STRCAT", [](char *a) { return fnQN_STRCAT(a, "def"); }, {"12345678def\0#", 13}},
  };
  for (const CopyCase &each : cases) {
    Area area("12345678");

    EXPECT_EQ(each.copy(area.Text()), area.Text()) << each.name;

    EXPECT_EQ(area.Bytes(each.bytes.size()), each.bytes) << each.name;
  }
}

TEST(QnAtoi, ReadsANumberFromTheStart) {
  struct {
    const char *text;
    int number;
  } const cases[] = {{"42", 42}, {"  -17x", -17},           {"+5", 5}, {"0x10", 0}, {"none", 0},
                     {"", 0},    {"2147483647", 2147483647}};
  for (const auto &each : cases) {
    EXPECT_EQ(fnQN_ATOI(each.text), each.number) << each.text;
  }
}

TEST(QnStrdup, MakesACopyOfItsOwnThatFreeReleases) {
  char original[] = "original";
  char *copy = fnQN_STRDUP(original);

  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy, original);
  EXPECT_STREQ(copy, "original");
  fnQN_Free(&copy);
  EXPECT_EQ(copy, nullptr);
}

TEST(QnStrdup, GivesNullForNullWithoutAskingTheHeap) {
  FailingHeap heap(FailingHeap::kCountOnly);

  EXPECT_EQ(fnQN_STRDUP(nullptr), nullptr);

  EXPECT_EQ(heap.Allocations(), 0);
}

TEST(QnStrdup, GivesNullWhenTheHeapRefuses) {
  FailingHeap heap(1);

  EXPECT_EQ(fnQN_STRDUP("text"), nullptr);
}

TEST(QnStrlcpy, CopiesRawBytesPastTheTerminatorAndEndsTheLast) {
  const char source[] = "ab\0cdefgh";
  Area area("123456789");

  EXPECT_EQ(fnQN_STRLCPY(area.Text(), source, 8), 0);

  EXPECT_EQ(area.Bytes(9), std::string("ab\0cdef\0"
                                       "9",
                                       9));
}

TEST(QnStrlcpy, ReadsAndWritesExactlyTheSize) {
  const std::vector<char> source = {'a', 'b', 'c', 'd'};
  std::vector<char> destination(4, '#');

  fnQN_STRLCPY(destination.data(), source.data(), 4);

  EXPECT_EQ(destination, (std::vector<char>{'a', 'b', 'c', '\0'}));
}

TEST(QnStrlcpy, StoresTheZeroAloneForSizeOneAndNothingForZero) {
  Area area("12");

  EXPECT_EQ(fnQN_STRLCPY(area.Text(), "abc", 0), 0);
  EXPECT_STREQ(area.Text(), "12");
  EXPECT_EQ(fnQN_STRLCPY(area.Text(), "abc", 1), 0);

  EXPECT_EQ(area.Bytes(2), std::string("\0"
                                       "2",
                                       2));
}

TEST(QnStrlcat, RefusesTheSizesFourToSevenAndElseAppendsWithoutAnyBound) {
  for (const uint32_t size : {0U, 1U, 2U, 3U, 4U, 5U, 6U, 7U, 8U, 9U, 64U, 0xFFFFFFFFU}) {
    const bool refused = size >= 4 && size <= 7;
    Area area("0123456789");

    EXPECT_EQ(fnQN_STRLCAT(area.Text(), "abcdefghij", size), refused ? -1 : 0) << size;

    EXPECT_STREQ(area.Text(), refused ? "0123456789" : "0123456789abcdefghij") << size;
    EXPECT_EQ(area.Bytes(22)[21], '#') << size;
  }
}

TEST(QnStrlcat, LooksAtNullBeforeTheSize) {
  for (uint32_t size = 0; size <= 9; ++size) {
    Area area("kept");
    EXPECT_EQ(fnQN_STRLCAT(area.Text(), nullptr, size), 0) << size;
    EXPECT_EQ(fnQN_STRLCAT(nullptr, "x", size), 0) << size;
    EXPECT_EQ(fnQN_STRLCAT(nullptr, nullptr, size), 0) << size;
    EXPECT_STREQ(area.Text(), "kept");
  }
}

TEST(QnStrncat, AppendsAtMostTheCountAndEndsTheText) {
  struct {
    uint32_t count;
    const char *result;
  } const cases[] = {{0, "abc"}, {1, "abcd"}, {2, "abcde"}, {3, "abcdef"}, {20, "abcdef"}};
  for (const auto &each : cases) {
    Area area("abc");

    EXPECT_EQ(fnQN_STRNCAT(area.Text(), "def", each.count), area.Text());

    EXPECT_STREQ(area.Text(), each.result) << each.count;
    EXPECT_EQ(area.Text()[std::strlen(each.result) + 1], '#') << each.count;
  }
}

TEST(QnStrncat, ReadsAtMostTheCountOfBytes) {
  const std::vector<char> source = {'x', 'y'};
  Area area("abc");

  fnQN_STRNCAT(area.Text(), source.data(), 2);

  EXPECT_STREQ(area.Text(), "abcxy");
}

TEST(QnStrncat, AsksForOneScratchAreaAndGivesItBack) {
  Area area("abc");
  FailingHeap heap(FailingHeap::kCountOnly);

  fnQN_STRNCAT(area.Text(), "def", 9);

  EXPECT_EQ(heap.Allocations(), 1);
  EXPECT_EQ(heap.BytesAsked(), 10U);
  EXPECT_EQ(heap.Frees(), 1);
}

TEST(QnStrncat, AppendsNothingWhenTheHeapRefuses) {
  Area area("kept");
  const auto append = [&](const char *text) {
    return qntest::WithRefusal(1, [&] { return fnQN_STRNCAT(area.Text(), text, 3); });
  };

  EXPECT_EQ(append("def"), nullptr);
  EXPECT_EQ(append(nullptr), nullptr) << "even with nothing to append";

  EXPECT_STREQ(area.Text(), "kept");
}

TEST(QnStrncat, RefusesACountWhoseScratchAreaHasNoSize) {
  Area area("kept");

  EXPECT_EQ(fnQN_STRNCAT(area.Text(), "def", 0xFFFFFFFFU), nullptr);

  EXPECT_STREQ(area.Text(), "kept");
}

TEST(QnStrlower, LowersAsciiCapitalsAlone) {
  std::string text;
  std::string expected;
  for (int byte = 1; byte <= 255; ++byte) {
    const bool is_capital = byte >= 'A' && byte <= 'Z';
    text += static_cast<char>(byte);
    expected += static_cast<char>(is_capital ? byte + 32 : byte);
  }

  EXPECT_EQ(fnQN_STRLOWER(text.data()), 0);

  EXPECT_EQ(text, expected);
}

TEST(QnStrlower, StopsAtTheTerminator) {
  char text[] = "AB\0CD";

  EXPECT_EQ(fnQN_STRLOWER(text), 0);

  EXPECT_EQ(std::string(text, 5), std::string("ab\0CD", 5));
}

}  // namespace
