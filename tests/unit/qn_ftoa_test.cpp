// SPDX-License-Identifier: MIT
// Guards fixed-point text: cut and never rounded, four digits and twelve
// characters at most, the fraction carried without rounding and scaled by ten
// in every radix.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "qnstack/qn_itoa.h"

namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();
constexpr double kNotANumber = std::numeric_limits<double>::quiet_NaN();

std::string Ftoa(double value, int32_t radix) {
  char buf[64];
  return fnQNRTL_ftoa(value, buf, radix);
}

struct NumberText {
  double value;
  int32_t radix;
  const char *text;
};

TEST(QnFtoa, WritesKnownTexts) {
  const NumberText cases[] = {
      // One zero behind an integral value.
      {3.0, 10, "3.0"},
      {0.0, 10, "0.0"},
      {-0.0, 10, "0.0"},
      {-7.0, 10, "-7.0"},
      {1234567890.0, 10, "1234567890.0"},
      {2147483647.0, 10, "2147483647.0"},
      {-2147483648.0, 10, "-2147483648.0"},
      // Cut after four digits.
      {3.14159, 10, "3.1415"},
      {0.99999, 10, "0.9999"},
      {2.5, 10, "2.5"},
      {-2.5, 10, "-2.5"},
      {1.03125, 10, "1.0312"},
      {-1.03125, 10, "-1.0312"},
      {0.00001, 10, "0.0000"},
      // Each of these tells a fraction carried exactly from one that is rounded on
      // the way: 0.1 lies a little above a tenth, 0.3 and 0.7 a little below, and
      // their products with ten round to whole numbers.
      {0.1, 10, "0.1000"},
      {0.2, 10, "0.2000"},
      {0.3, 10, "0.3"},
      {0.6, 10, "0.6"},
      {0.7, 10, "0.7"},
      // Between minus one and zero: no sign and no digits.
      {-0.25, 10, "0."},
      {-0.999, 10, "0."},
      {-1e-300, 10, "0."},
      // Twelve characters at every length of the whole part.
      {1.0625, 10, "1.0625"},
      {12.0625, 10, "12.0625"},
      {123.0625, 10, "123.0625"},
      {1234.0625, 10, "1234.0625"},
      {12345.0625, 10, "12345.0625"},
      {123456.0625, 10, "123456.0625"},
      {1234567.0625, 10, "1234567.0625"},
      {12345678.0625, 10, "12345678.062"},
      {123456789.0625, 10, "123456789.06"},
      {1234567890.0625, 10, "1234567890.0"},
      {1234567890.9375, 10, "1234567890.9"},
      {-1234567.0625, 10, "-1234567.062"},
      {-12345678.0625, 10, "-12345678.06"},
      {-123456789.0625, 10, "-123456789.0"},
      {-1234567890.0625, 10, "-1234567890."},
      {12345678.125, 10, "12345678.125"},
      {123456789.25, 10, "123456789.25"},
      {-2147483647.5, 10, "-2147483647."},
      // Cut beyond the range of the whole part.
      {-2147483648.5, 10, "-2147483648."},
      {-2147483649.0, 10, "-2147483648."},
      {-1e300, 10, "-2147483648."},
      {-kInfinity, 10, "-2147483648."},
      {kNotANumber, 10, "-2147483648."},
      {2147483647.5, 10, "2147483647.5"},
      // A negative whole part is unsigned outside radix ten.
      {-2.0, 16, "fffffffe.0"},
      {-2.5, 16, "fffffffe.8"},
      {-0.5, 16, "0."},
      {kNotANumber, 16, "80000000."},
      // Beside a long whole part only the digits that remain.
      {1024.5, 2, "10000000000."},
      {1023.5, 2, "1111111111.1"},
      {1024.0, 2, "10000000000.0"},
      {-1.5, 2, "11111111111111111111111111111111."},
      {kInfinity, 2, "1111111111111111111111111111111."},
      // Worked by hand: the digit is fraction times radix, the next fraction is
      // fraction times ten less the digit.
      {0.5, 8, "0.48gw"},     // .5 4, 1 8, 2 16, 4 32
      {0.5, 2, "0.18\x97W"},  // .5 1, 4 8, 32 64, 256 512
      {0.5, 16, "0.8"},       // .5 8, below 0
      {31.75, 16, "1f.c"},    // .75 12, below 0
      {0.25, 8, "0.248g"},    // .25 2, .5 4, 1 8, 2 16
      {0.75, 36, "0.r"},      // .75 27, below 0
  };
  for (const NumberText &each : cases) {
    EXPECT_EQ(Ftoa(each.value, each.radix), each.text) << each.value << " / " << each.radix;
  }
}

// The text of a number of sixteenths: exact in binary and in four digits.
std::string ExpectedSixteenths(int whole, int sixteenths) {
  std::string digits = std::to_string(10000 + sixteenths * 625).substr(1);
  while (digits.size() > 1 && digits.back() == '0') digits.pop_back();
  return std::to_string(whole) + "." + digits;
}

TEST(QnFtoa, WritesSixteenthsExactly) {
  for (const int whole : {0, 1, 2, 9, 10, 99, 1234, 99999, 123456}) {
    for (int sixteenths = 0; sixteenths < 16; ++sixteenths) {
      const std::string expected = ExpectedSixteenths(whole, sixteenths);
      const double value = whole + sixteenths / 16.0;
      EXPECT_EQ(Ftoa(value, 10), expected);
      if (whole > 0) {
        EXPECT_EQ(Ftoa(-value, 10), "-" + expected);
      }
    }
  }
}

TEST(QnFtoa, SaturatesAndWritesOneCharacterForAnEndlessFraction) {
  for (const double value : {2147483648.0, 4294967296.0, 1e300, kInfinity}) {
    const std::string text = Ftoa(value, 10);

    EXPECT_EQ(text.substr(0, 11), "2147483647.") << value;
    EXPECT_EQ(text.size(), 12U) << value;
  }
}

TEST(QnFtoa, WritesAnEmptyStringBelowRadixTwo) {
  for (const int32_t radix : {1, 0, -1, -10, INT_MIN}) {
    for (const double value : {0.0, 0.5, -0.5, 3.0, -2.5, 1e300}) {
      EXPECT_EQ(Ftoa(value, radix), "") << value << " / " << radix;
    }
  }
}

// But fourteen for a sign, ten digits and ".0".
TEST(QnFtoa, ReturnsTheBufferAndMostlyNeedsThirteenBytesInRadixTen) {
  for (const double value :
       {12345678.125, -2147483648.5, 1e300, -1000000000.0, -1073741824.0, -2147483648.0}) {
    const bool is_whole_negative = value <= -1e9 && value > -2147483648.5;
    const size_t length = is_whole_negative ? 13 : 12;
    std::vector<char> buf(length + 1, '#');

    EXPECT_EQ(fnQNRTL_ftoa(value, buf.data(), 10), buf.data());

    EXPECT_EQ(std::strlen(buf.data()), length) << value;
  }
}

TEST(QnFtoa, NeedsThirtyEightBytesInAnyRadix) {
  for (int32_t radix = 2; radix <= 36; ++radix) {
    for (const double value : {0.1, -1.5, 1024.7, 1e300, -1e300, kInfinity, -kInfinity, 0.999}) {
      std::vector<char> buf(38, '#');
      EXPECT_LT(std::strlen(fnQNRTL_ftoa(value, buf.data(), radix)), 38U) << value;
    }
  }
}

}  // namespace
