// SPDX-License-Identifier: MIT
// Guards the comparisons among the string primitives. Their foldings differ
// on purpose, so each is held against its own rule for every pair of bytes.
#include <gtest/gtest.h>

#include <string>

#include "qnstack/qn_share_string.h"
#include "support/byte_pairs.h"

namespace {

int Sign(int value) { return (value > 0 ? 1 : 0) - (value < 0 ? 1 : 0); }

TEST(QnStrcmp, ComparesBytesAsUnsigned) {
  EXPECT_EQ(fnQN_STRCMP("abc", "abc"), 0);
  EXPECT_EQ(fnQN_STRCMP("", ""), 0);
  EXPECT_LT(fnQN_STRCMP("abc", "abd"), 0);
  EXPECT_GT(fnQN_STRCMP("abcd", "abc"), 0);
  EXPECT_LT(fnQN_STRCMP("ABC", "abc"), 0);
  EXPECT_GT(fnQN_STRCMP("\x80", "\x7F"), 0);
}

TEST(QnStrncmp, ComparesNothing) {
  EXPECT_EQ(fnQN_STRNCMP("abc", "xyz", 3), 0);
  EXPECT_EQ(fnQN_STRNCMP("", "xyz", 0), 0);
  EXPECT_EQ(fnQN_STRNCMP("abc", "abc", 0xFFFFFFFFU), 0);
}

// Whether two bytes are the same letter in either case, or the same byte.
bool AreEqualIgnoringCase(int a, int b) {
  if (a == b) return true;
  if (a >= 'a' && a <= 'z') return b == a - 32;
  if (a >= 'A' && a <= 'Z') return b == a + 32;
  return false;
}

TEST(QnStricmp, FoldsAsciiLettersAndNoOtherByte) {
  qntest::ForEachPairOfBytes([](unsigned char a, unsigned char b) {
    const std::string left = {'x', static_cast<char>(a)};
    const std::string right = {'x', static_cast<char>(b)};
    const int32_t expected = AreEqualIgnoringCase(a, b) ? 0 : -1;
    ASSERT_EQ(fnQN_STRICMP(left.c_str(), right.c_str()), expected) << int{a} << " / " << int{b};
  });
}

TEST(QnStricmp, TellsEqualFromDifferentAndNeverOrders) {
  struct {
    const char *a;
    const char *b;
    int32_t result;
  } const cases[] = {{"Abc", "aBC", 0}, {"", "", 0},       {"abc", "abcd", -1}, {"abcd", "abc", -1},
                     {"a1", "a2", -1},  {"a2", "a1", -1},  {"", "a", -1},       {"a", "", -1},
                     {"b-c", "B-C", 0}, {"xbc", "abc", -1}};
  for (const auto &each : cases) {
    EXPECT_EQ(fnQN_STRICMP(each.a, each.b), each.result) << each.a << " / " << each.b;
  }
}

// Bytes as signed numbers, 'B' to 'Y' raised to their lower case.
int FoldInner(int byte) {
  const int value = byte < 128 ? byte : byte - 256;
  return value >= 66 && value <= 89 ? value + 32 : value;
}

TEST(QnStrnicmp, FoldsInnerLettersAndOrdersSignedBytes) {
  qntest::ForEachPairOfBytes([](unsigned char a, unsigned char b) {
    const char left[] = {static_cast<char>(a), '\0'};
    const char right[] = {static_cast<char>(b), '\0'};
    int expected = Sign(FoldInner(a) - FoldInner(b));
    if (b == 0) expected = 1;   // too short for one byte
    if (a == 0) expected = -1;  // and a's length is looked at first
    ASSERT_EQ(fnQN_STRNICMP(left, right, 1), expected) << int{a} << " / " << int{b};
  });
}

struct OrderedCase {
  const char *a;
  const char *b;
  uint32_t n;
  int32_t result;
};

TEST(QnStrnicmp, OrdersByTheFirstByteThatDiffersAndLooksAtTheLengthsBefore) {
  struct {
    const char *a;
    const char *b;
    uint32_t n;
    int32_t result;
  } const cases[] = {
      {"Zebra", "zebra", 5, -1},
      {"zebra", "Zebra", 5, 1},
      {"Apple", "apple", 5, -1},
      {"apple", "Apple", 5, 1},
      {"MOBILE", "mobile", 6, 0},
      {"abcX", "abcY", 3, 0},
      {"abcX", "abcY", 4, -1},
      {"abcY", "abcX", 4, 1},
      {"b\x80", "b ", 2, -1},
      {"bYb", "byB", 3, 0},
      {"", "", 0, 0},
      {"a", "b", 0, 0},
      // The length of the first, then that of the second.
      {"ab", "abc", 3, -1},
      {"abc", "ab", 3, 1},
      {"ab", "ab", 3, -1},
      {"z", "abc", 3, -1},
      {"abc", "z", 3, 1},
      {"", "", 1, -1},
      {"ab", "ab", 0xFFFFFFFF, -1},
      {"ab", "abc", 0xFFFFFFFF, -1},
      {"abc", "ab", 0xFFFFFFFF, -1},
  };
  for (const auto &each : cases) {
    EXPECT_EQ(fnQN_STRNICMP(each.a, each.b, each.n), each.result)
        << each.a << " / " << each.b << " / " << each.n;
  }
}

TEST(QnStrbegins, MindsCase) {
  struct {
    const char *text;
    const char *prefix;
    int32_t result;
  } const cases[] = {
      {"http://h", "http://", 1}, {"http", "http", 1}, {"HTTP", "http", 0}, {"htt", "http", 0},
      {"xhttp", "http", 0},       {"abc", "", 1},      {"", "", 1},         {"", "a", 0},
      {"abd", "abc", 0}};
  for (const auto &each : cases) {
    EXPECT_EQ(fnQN_STRBEGINS(each.text, each.prefix), each.result)
        << each.text << " / " << each.prefix;
  }
}

}  // namespace
