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

#include "support/failing_heap.h"
#include "support/watchdog.h"
#include "support/words.h"

namespace {

using qntest::FailingHeap;

bool IsZeroFilled(const void *block, size_t size) {
  const auto *bytes = static_cast<const unsigned char *>(block);
  return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

TEST(QnMallocLocal, GivesZeroBytes) {
  void *block = fnQN_Malloc_Local(16, __FILE__, __LINE__);

  ASSERT_NE(block, nullptr);
  EXPECT_TRUE(IsZeroFilled(block, 16));
  fnQN_Free(&block);
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

TEST(QnMallocLocal, IgnoresFileAndLine) {
  void *block = fnQN_Malloc_Local(4, nullptr, -1);

  ASSERT_NE(block, nullptr);
  EXPECT_TRUE(IsZeroFilled(block, 4));
  fnQN_Free(&block);
}

TEST(QnMallocLocal, GivesABlockForNoBytes) {
  void *block = fnQN_Malloc_Local(0, __FILE__, __LINE__);

  EXPECT_NE(block, nullptr);
  fnQN_Free(&block);
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

TEST(QnFree, ClearsAVariableOfAnyPointerType) {
  struct Record {
    double number;
  };
  char *text = fnQN_MEMSTRCOPY("text");
  auto *record = static_cast<Record *>(fnQN_Malloc_Local(sizeof(Record), __FILE__, __LINE__));

  fnQN_Free(&text);
  fnQN_Free(&record);

  EXPECT_EQ(text, nullptr);
  EXPECT_EQ(record, nullptr);
}

TEST(QnFree, ChangesNothingBesideTheVariable) {
  std::array<void *, 3> variables = {&variables, fnQN_Malloc_Local(8, __FILE__, __LINE__),
                                     &variables};

  fnQN_Free(&variables[1]);

  EXPECT_EQ(variables, (std::array<void *, 3>{&variables, nullptr, &variables}));
}

TEST(QnReallocLocal, KeepsTheBytesOfAGrownBlock) {
  char *text = fnQN_MEMSTRCOPY("0123456789");

  auto *grown = static_cast<char *>(fnQN_Realloc_Local(text, 5000, __FILE__, __LINE__));

  ASSERT_NE(grown, nullptr);
  EXPECT_STREQ(grown, "0123456789");
  std::memset(grown, 'x', 5000);
  fnQN_Free(&grown);
}

TEST(QnReallocLocal, KeepsTheFirstBytesOfAShrunkBlock) {
  char *text = fnQN_MEMSTRCOPY("0123456789");

  auto *shrunk = static_cast<char *>(fnQN_Realloc_Local(text, 4, nullptr, -1));

  ASSERT_NE(shrunk, nullptr);
  EXPECT_EQ(std::string(shrunk, 4), "0123");
  fnQN_Free(&shrunk);
}

TEST(QnReallocLocal, AllocatesForNull) {
  void *block = fnQN_Realloc_Local(nullptr, 32, __FILE__, __LINE__);

  ASSERT_NE(block, nullptr);
  std::memset(block, 'x', 32);
  fnQN_Free(&block);
}

TEST(QnReallocLocal, LeavesTheBlockWhenTheHeapRefuses) {
  char *text = fnQN_MEMSTRCOPY("kept");
  void *resized = text;
  {
    FailingHeap heap(1);
    resized = fnQN_Realloc_Local(text, 5000, __FILE__, __LINE__);
  }

  EXPECT_EQ(resized, nullptr);
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

TEST(QnMemset, FillsExactlyTheBytesAndReturnsTheDestination) {
  char area[] = "......";

  void *result = fnQN_MEMSET(area + 1, 'x', 3);

  EXPECT_EQ(result, area + 1);
  EXPECT_STREQ(area, ".xxx..");
}

TEST(QnMemset, TakesTheValueAsAByte) {
  char area[] = "..";

  fnQN_MEMSET(area, 0x100 + 'y', 2);

  EXPECT_STREQ(area, "yy");
}

TEST(QnMemchr, FindsTheFirstByteAlsoBehindZeroBytes) {
  const char area[] = {'a', '\0', 'b', 'c', 'b'};

  EXPECT_EQ(fnQN_MEMCHR(area, 'b', 5), area + 2);
}

TEST(QnMemchr, FindsNothingPastTheBytes) {
  EXPECT_EQ(fnQN_MEMCHR("abc", 'c', 2), nullptr);
  EXPECT_EQ(fnQN_MEMCHR("abc", 'a', 0), nullptr);
}

TEST(QnMemchr, TakesTheValueAsAByte) {
  const char *area = "a\xFF";

  EXPECT_EQ(fnQN_MEMCHR(area, -1, 2), area + 1);
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
  };
  for (const SearchCase &each : cases) {
    EXPECT_EQ(OffsetOfMatch(each.area, each.needle, each.len), each.offset)
        << each.area << " / " << each.needle << " / " << each.len;
  }
}

TEST(QnMemstr, FindsAnEmptyNeedleAtOnceInAtLeastOneByte) {
  EXPECT_EQ(OffsetOfMatch("abc", "", 3), 0);
  EXPECT_EQ(OffsetOfMatch("abc", "", 1), 0);
  EXPECT_EQ(OffsetOfMatch("abc", "", 0), kNotFound);
}

TEST(QnMemstr, FindsNothingInNoBytesOrFewer) {
  EXPECT_EQ(OffsetOfMatch("abc", "a", 0), kNotFound);
  EXPECT_EQ(OffsetOfMatch("abc", "a", -1), kNotFound);
  EXPECT_EQ(OffsetOfMatch("abc", "a", INT_MIN), kNotFound);
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

TEST(QnMemstrcopy, MakesACopyOfItsOwn) {
  char original[] = "original";

  char *copy = fnQN_MEMSTRCOPY(original);

  ASSERT_NE(copy, nullptr);
  EXPECT_NE(copy, original);
  original[0] = 'X';
  EXPECT_STREQ(copy, "original");
  fnQN_Free(&copy);
}

TEST(QnMemstrcopy, AsksForTheTextAndItsTerminator) {
  FailingHeap heap(FailingHeap::kCountOnly);
  char *copy = fnQN_MEMSTRCOPY("12345");
  fnQN_Free(&copy);

  EXPECT_EQ(heap.Allocations(), 1);
  EXPECT_EQ(heap.BytesAsked(), 6U);
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
