// SPDX-License-Identifier: MIT
// Guards the ordering comparisons: unsigned bytes, 'A' to 'Z' folded on both
// sides, and the actual difference as the result.
#include "qnstack/qn_stricmp.h"

#include <gtest/gtest.h>

#include "support/byte_pairs.h"

namespace {

int Fold(int byte) { return byte >= 65 && byte <= 90 ? byte + 32 : byte; }

TEST(QnRtlStricmp, GivesTheFoldedDifferenceOfEveryPairOfBytes) {
  qntest::ForEachPairOfBytes([](unsigned char a, unsigned char b) {
    const char left[] = {'m', static_cast<char>(a), '\0'};
    const char right[] = {'M', static_cast<char>(b), '\0'};
    ASSERT_EQ(fnQNRTL_stricmp(left, right), Fold(a) - Fold(b)) << int{a} << " / " << int{b};
  });
}

TEST(QnRtlStricmp, StopsWhereTheStringsFirstDifferOrEnd) {
  struct {
    const char *a;
    const char *b;
    int32_t difference;
  } const cases[] = {
      {"", "", 0},
      {"Host", "hOST", 0},
      {"abc", "abd", 'c' - 'd'},
      {"abz", "abcZ", 'z' - 'c'},
      {"ab", "abc", -'c'},
      {"ABC", "ab", 'c'},
      {"", "Z", -'z'},
      {"Z", "", 'z'},
      {"a\xFFz", "A\x01y", 254},
      {"a_", "aA", '_' - 'a'},
  };
  for (const auto &each : cases) {
    EXPECT_EQ(fnQNRTL_stricmp(each.a, each.b), each.difference) << each.a << " / " << each.b;
  }
}

TEST(QnRtlStrnicmp, GivesTheFoldedDifferenceOfEveryPairOfBytes) {
  qntest::ForEachPairOfBytes([](unsigned char a, unsigned char b) {
    const char left[] = {static_cast<char>(a), '\0'};
    const char right[] = {static_cast<char>(b), '\0'};
    ASSERT_EQ(fnQNRTL_strnicmp(left, right, 1), Fold(a) - Fold(b)) << int{a} << " / " << int{b};
  });
}

TEST(QnRtlStrnicmp, ComparesAtMostTheCount) {
  struct {
    const char *a;
    const char *b;
    uint32_t n;
    int32_t difference;
  } const cases[] = {
      {"abcX", "ABCy", 3, 0}, {"abcX", "ABCy", 4, 'x' - 'y'},
      {"abcX", "ABCy", 0, 0}, {"a", "b", 0, 0},
      {"ab", "abc", 2, 0},    {"ab", "abc", 3, -'c'},
      {"abc", "ab", 3, 'c'},  {"ab", "AB", 0xFFFFFFFF, 0},
      {"", "", 5, 0},         {"ab\0x", "ab\0y", 4, 0},
      {"bxx", "axx", 3, 1},   {"\xFF", "A", 1, 255 - 'a'},
  };
  for (const auto &each : cases) {
    EXPECT_EQ(fnQNRTL_strnicmp(each.a, each.b, each.n), each.difference)
        << each.a << " / " << each.b << " / " << each.n;
  }
}

TEST(QnRtlStrnicmp, ReadsNoByteBehindTheCount) {
  const char left[] = {'a', 'b'};
  const char right[] = {'A', 'B'};

  EXPECT_EQ(fnQNRTL_strnicmp(left, right, 2), 0);
}

}  // namespace
