// SPDX-License-Identifier: MIT
// Guards allocation and raw memory: zero-filled blocks, frees that clear the
// caller's pointer, and a byte search that wants one more byte behind a match.
#include "qnstack/qn_share_mem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

#include "qnstack/qn_list.h"
#include "support/failing_heap.h"
#include "support/watchdog.h"
#include "support/words.h"

namespace {

using qntest::FailingHeap;

bool IsZeroFilled(const void *block, size_t size) {
  const auto *bytes = static_cast<const unsigned char *>(block);
  return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

TEST(QnMallocLocal, GivesZeroBytesOfAnySizeAndIgnoresFileAndLine) {
  for (const uint32_t size : {0U, 4U, 16U, 5000U}) {
    void *block = fnQN_Malloc_Local(size, nullptr, -1);

    ASSERT_NE(block, nullptr) << size;
    EXPECT_TRUE(IsZeroFilled(block, size)) << size;
    fnQN_Free(&block);
  }
}

TEST(QnMallocLocal, GivesZeroBytesWhereABlockIsUsedAgain) {
  for (int round = 0; round < 8; ++round) {
    void *block = fnQN_Malloc_Local(64, __FILE__, __LINE__);
    ASSERT_NE(block, nullptr);
    EXPECT_TRUE(IsZeroFilled(block, 64));
    std::memset(block, 0xAA, 64);
    fnQN_Free(&block);
  }
}

TEST(QnMallocLocal, IsOneAllocationOfTheSizeAskedFor) {
  FailingHeap heap(FailingHeap::kCountOnly);
  void *block = fnQN_Malloc_Local(100, __FILE__, __LINE__);
  fnQN_Free(&block);

  EXPECT_EQ(heap.Allocations(), 1);
  EXPECT_EQ(heap.BytesAsked(), 100U);
}

TEST(QnMallocLocal, GivesNullWhenTheHeapRefuses) {
  FailingHeap heap(1);

  EXPECT_EQ(fnQN_Malloc_Local(16, __FILE__, __LINE__), nullptr);
}

TEST(QnFree, FreesTheBlockAndClearsTheVariable) {
  FailingHeap heap(FailingHeap::kCountOnly);
  void *block = fnQN_Malloc_Local(16, __FILE__, __LINE__);

  fnQN_Free(&block);

  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(heap.Frees(), 1);
}

TEST(QnFree, ClearsAVariableOfAnyPointerTypeAndNothingBesideIt) {
  char beside[] = "beside";
  std::array<char *, 3> texts = {beside, fnQN_MEMSTRCOPY("text"), beside};
  auto *record = static_cast<QNListNode *>(fnQN_Malloc_Local(sizeof(QNListNode), __FILE__, 1));

  fnQN_Free(&texts[1]);
  fnQN_Free(&record);

  EXPECT_EQ(texts, (std::array<char *, 3>{beside, nullptr, beside}));
  EXPECT_EQ(record, nullptr);
}

TEST(QnReallocLocal, KeepsTheBytesThatFitTheNewSize) {
  for (const size_t size : {4U, 5000U}) {
    char *text = fnQN_MEMSTRCOPY("0123456789");

    auto *resized =
        static_cast<char *>(fnQN_Realloc_Local(text, static_cast<uint32_t>(size), nullptr, -1));

    ASSERT_NE(resized, nullptr);
    const size_t kept = std::min<size_t>(size, 11);
    EXPECT_EQ(std::string(resized, kept), std::string("0123456789\0", 11).substr(0, kept));
    std::memset(resized, 'x', size);
    fnQN_Free(&resized);
  }
}

TEST(QnReallocLocal, AllocatesForNull) {
  void *block = fnQN_Realloc_Local(nullptr, 32, __FILE__, __LINE__);

  ASSERT_NE(block, nullptr);
  std::memset(block, 'x', 32);
  fnQN_Free(&block);
}

TEST(QnReallocLocal, LeavesTheBlockWhenTheHeapRefuses) {
  char *text = fnQN_MEMSTRCOPY("kept");
  const auto grow = [&] { return fnQN_Realloc_Local(text, 5000, __FILE__, __LINE__); };

  EXPECT_EQ(qntest::WithRefusal(1, grow), nullptr);

  EXPECT_STREQ(text, "kept");
  fnQN_Free(&text);
}

TEST(QnMemcpy, CopiesExactlyTheBytesAndReturnsTheDestination) {
  const char source[] = {'a', '\0', 'b', 'c'};
  char destination[] = {'1', '2', '3', '4'};

  void *result = fnQN_MEMCPY(destination, source, 3);

  EXPECT_EQ(result, destination);
  EXPECT_EQ(std::string(destination, 4), std::string("a\0b4", 4));
}

TEST(QnMemset, FillsExactlyTheBytesWithTheValueAsAByte) {
  char area[] = "......";

  EXPECT_EQ(fnQN_MEMSET(area + 1, 0x100 + 'x', 3), area + 1);

  EXPECT_STREQ(area, ".xxx..");
}

TEST(QnMemchr, FindsTheFirstByteAlsoBehindZeroBytes) {
  const char area[] = {'a', '\0', 'b', '\xFF', 'b'};

  EXPECT_EQ(fnQN_MEMCHR(area, 'b', 5), area + 2);
  EXPECT_EQ(fnQN_MEMCHR(area, 0x100 + 'b', 5), area + 2) << "as a byte";
  EXPECT_EQ(fnQN_MEMCHR(area, -1, 5), area + 3);
  EXPECT_EQ(fnQN_MEMCHR(area, 'b', 2), nullptr);
  EXPECT_EQ(fnQN_MEMCHR(area, 'a', 0), nullptr);
}

TEST(QnMemcmp, ComparesExactlyTheBytesAsUnsigned) {
  EXPECT_EQ(fnQN_MEMCMP("abc", "abd", 2), 0);
  EXPECT_LT(fnQN_MEMCMP("abc", "abd", 3), 0);
  EXPECT_GT(fnQN_MEMCMP("\x80", "\x7F", 1), 0);
  EXPECT_LT(fnQN_MEMCMP("a\0b", "a\0c", 3), 0);
  EXPECT_EQ(fnQN_MEMCMP("a", "b", 0), 0);
}

constexpr int kNotFound = -1;

int OffsetOfMatch(const std::string &area, const std::string &needle, int32_t len) {
  const auto *match = static_cast<const char *>(fnQN_MEMSTR(area.data(), needle.c_str(), len));
  return match == nullptr ? kNotFound : static_cast<int>(match - area.data());
}

// The search told in its own words: offsets in order, the match strictly
// inside the range.
int ExpectedOffsetOfMatch(const std::string &area, const std::string &needle, int32_t len) {
  const auto length = static_cast<int32_t>(needle.size());
  for (int32_t k = 0; k + length < len; ++k) {
    if (area.compare(static_cast<size_t>(k), needle.size(), needle) == 0) return k;
  }
  return kNotFound;
}

struct SearchCase {
  std::string area;
  std::string needle;
  int32_t len;
  int offset;
};

TEST(QnMemstr, FindsTheFirstMatchThatAByteFollows) {
  const std::vector<SearchCase> cases = {
      {"abc", "bc", 3, kNotFound},
      {"abcd", "bc", 4, 1},
      {"abcd", "bc", 3, kNotFound},
      {"abcd", "abcd", 4, kNotFound},
      {"bcbcbc", "bc", 6, 0},
      {"aaab.", "aab", 5, 1},
      {"ABC.", "abc", 4, kNotFound},
      {std::string("\0\0x\0", 4), "x", 4, 2},
      {"x", "longer than the area", 1, kNotFound},
      {"\xFF\xFE.", "\xFE", 3, 1},
      // An empty text is found at once in at least one byte.
      {"abc", "", 3, 0},
      {"abc", "", 1, 0},
      {"abc", "", 0, kNotFound},
      {"abc", "a", 0, kNotFound},
      {"abc", "a", -1, kNotFound},
      {"abc", "a", INT_MIN, kNotFound},
  };
  for (const SearchCase &each : cases) {
    EXPECT_EQ(OffsetOfMatch(each.area, each.needle, each.len), each.offset)
        << each.area << " / " << each.needle << " / " << each.len;
  }
}

TEST(QnMemstr, LooksAtNoByteOutsideTheArea) {
  // A vector's end is guarded by the sanitizer, unlike that of a literal.
  const std::vector<char> area = {'a', 'a', 'a'};

  EXPECT_EQ(fnQN_MEMSTR(area.data(), "ab", 3), nullptr);
}

#ifndef QNSTACK_PLAIN_POSIX
TEST(QnMemstr, LongNeedleThatAlmostFitsEverywhereTakesLinearTime) {
  // Comparing at each place would take minutes.
  const qntest::Watchdog watchdog;
  const std::string area(8 << 20, 'a');
  const std::string needle = std::string(4 << 20, 'a') + 'b';

  EXPECT_EQ(OffsetOfMatch(area, needle, static_cast<int32_t>(area.size())), kNotFound);
}
#endif

TEST(QnMemstr, AgreesWithThePlainSearchOnAllShortWords) {
  const std::vector<std::string> areas = qntest::WordsOver("ab", 7);
  const std::vector<std::string> needles = qntest::WordsOver("ab", 4);
  for (const std::string &area : areas) {
    for (const std::string &needle : needles) {
      for (int32_t len = -1; len <= static_cast<int32_t>(area.size()); ++len) {
        ASSERT_EQ(OffsetOfMatch(area, needle, len), ExpectedOffsetOfMatch(area, needle, len))
            << area << " / " << needle << " / " << len;
      }
    }
  }
}

TEST(QnMemstrcopy, MakesACopyOfTheTextAndItsTerminator) {
  FailingHeap heap(FailingHeap::kCountOnly);
  char original[] = "original";

  char *copy = fnQN_MEMSTRCOPY(original);

  ASSERT_NE(copy, nullptr);
  EXPECT_EQ(heap.Allocations(), 1);
  EXPECT_EQ(heap.BytesAsked(), 9U);
  original[0] = 'X';
  EXPECT_STREQ(copy, "original");
  fnQN_Free(&copy);
}

TEST(QnMemstrcopy, GivesANewEmptyStringForNull) {
  FailingHeap heap(FailingHeap::kCountOnly);
  char *first = fnQN_MEMSTRCOPY(nullptr);
  char *second = fnQN_MEMSTRCOPY(nullptr);

  EXPECT_EQ(heap.BytesAsked(), 2U);
  EXPECT_STREQ(first, "");
  EXPECT_STREQ(second, "");
  EXPECT_NE(first, second);
  fnQN_Free(&first);
  fnQN_Free(&second);
}

TEST(QnMemstrcopy, GivesNullWhenTheHeapRefuses) {
  for (const char *text : {"text", static_cast<const char *>(nullptr)}) {
    FailingHeap heap(1);
    EXPECT_EQ(fnQN_MEMSTRCOPY(text), nullptr);
  }
}

}  // namespace
