// SPDX-License-Identifier: MIT
// Guards integers to text: every radix, signs in radix 10 alone, and no byte
// written past the terminator.
#include "qnstack/qn_itoa.h"

#include <gtest/gtest.h>

#include <charconv>
#include <climits>
#include <cstring>
#include <string>
#include <vector>

namespace {

std::string Itoa(int32_t value, int32_t radix) {
  char buf[64];
  return fnQNRTL_itoa(value, buf, radix);
}

// What the standard library writes: lower-case digits, signed or unsigned.
template <typename Number>
std::string Expected(Number value, int radix) {
  char buf[64];
  return {buf, std::to_chars(buf, buf + sizeof buf, value, radix).ptr};
}

const std::vector<int32_t> &TellingValues() {
  static const std::vector<int32_t> values = {
      0,  1,   2,   7,    9,      10,         11,          35,          36,      37,
      99, 100, 255, 256,  65535,  65536,      123456789,   INT_MAX - 1, INT_MAX, -1,
      -2, -9,  -10, -255, -65536, -123456789, INT_MIN + 1, INT_MIN};
  return values;
}

TEST(QnItoa, WritesKnownTexts) {
  struct {
    int32_t value;
    int32_t radix;
    const char *text;
  } const cases[] = {{0, 10, "0"},
                     {-255, 10, "-255"},
                     {-1, 16, "ffffffff"},
                     {255, 2, "11111111"},
                     {INT_MIN, 10, "-2147483648"},
                     {INT_MAX, 10, "2147483647"},
                     {INT_MIN, 16, "80000000"},
                     {-1, 2, "11111111111111111111111111111111"},
                     {-1, 8, "37777777777"},
                     {35, 36, "z"},
                     {0, 2, "0"},
                     {INT_MIN, 2, "10000000000000000000000000000000"}};
  for (const auto &each : cases) {
    EXPECT_EQ(Itoa(each.value, each.radix), each.text) << each.value << " / " << each.radix;
  }
}

TEST(QnItoa, IsSignedInRadixTenAndUnsignedInEveryOther) {
  for (int32_t radix = 2; radix <= 36; ++radix) {
    for (const int32_t value : TellingValues()) {
      const std::string expected =
          radix == 10 ? Expected(value, 10) : Expected(static_cast<uint32_t>(value), radix);
      EXPECT_EQ(Itoa(value, radix), expected) << value << " / " << radix;
    }
  }
}

TEST(QnItoa, ReturnsTheBufferAndWritesNothingPastTheTerminator) {
  for (const int32_t radix : {2, 10, 36}) {
    for (const int32_t value : TellingValues()) {
      std::string buf(40, '#');

      EXPECT_EQ(fnQNRTL_itoa(value, buf.data(), radix), buf.data());

      const size_t end = buf.find('\0') + 1;
      EXPECT_EQ(buf.substr(end), std::string(buf.size() - end, '#')) << value << " / " << radix;
    }
  }
}

TEST(QnItoa, NeedsThirtyThreeBytesInRadixTwoAndTwelveInTen) {
  std::vector<char> binary(33, '#');
  std::vector<char> decimal(12, '#');

  EXPECT_EQ(std::strlen(fnQNRTL_itoa(-1, binary.data(), 2)), 32U);
  EXPECT_EQ(std::strlen(fnQNRTL_itoa(INT_MIN, decimal.data(), 10)), 11U);
}

TEST(QnItoa, WritesAnEmptyStringBelowRadixTwo) {
  for (const int32_t radix : {1, 0, -1, -10, INT_MIN}) {
    EXPECT_EQ(Itoa(5, radix), "") << radix;
    EXPECT_EQ(Itoa(-5, radix), "") << radix;
  }
}

TEST(QnItoa, RunsOnPastTheLettersAboveRadixThirtySix) {
  EXPECT_EQ(Itoa(36, 40), "{");
  EXPECT_EQ(Itoa(39, 40), "~");
  EXPECT_EQ(Itoa(40 + 35, 40), "1z");
}

}  // namespace
