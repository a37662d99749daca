// SPDX-License-Identifier: MIT
// Guards bounded formatting: the text is always terminated inside its area,
// and text that does not fit is told by the area's size as the result.
#include "qnstack/qn_snprintf.h"

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <limits>
#include <string>

namespace {

constexpr size_t kAreaSize = 16;

TEST(QnSnprintf, CountsWhatFitsAndTellsTheAreasSizeForWhatDoesNot) {
  struct {
    uint32_t len;  // of the area; the bytes behind it are not the call's to write
    const char *text;
    int32_t result;
    std::string written;
  } const cases[] = {
      {10, "abc", 3, {"abc\0", 4}},
      {4, "abc", 3, {"abc\0", 4}},
      {4, "abcd", 4, {"abc\0", 4}},
      {4, "abcdef, and much more behind it", 4, {"abc\0", 4}},
      {1, "abc", 1, {"\0", 1}},
      {1, "", 0, {"\0", 1}},
      // An area of none is not written, and what would be is counted in full.
      {0, "abcdef", 6, ""},
  };
  for (const auto &each : cases) {
    SCOPED_TRACE(each.text + (" in " + std::to_string(each.len)));
    std::string area(kAreaSize, '#');

    EXPECT_EQ(fnQNRTL_snprintf(area.data(), each.len, "%s", each.text), each.result);

    std::string expected = each.written;
    expected.resize(kAreaSize, '#');
    EXPECT_EQ(area, expected);
  }
}

TEST(QnSnprintf, FormatsNumbersAndText) {
  char buf[64];

  EXPECT_EQ(fnQNRTL_snprintf(buf, 10, "%d", 42), 2);
  EXPECT_STREQ(buf, "42");

  EXPECT_EQ(fnQNRTL_snprintf(buf, sizeof buf, "%s:%u %05d %x %c%%", "host", 80U, -42, 255U, 'z'),
            19);
  EXPECT_STREQ(buf, "host:80 -0042 ff z%");
}

TEST(QnSnprintf, CutsConversionsOfAllKindsAtAnyPlace) {
  const std::string whole = "name=-5;7 (null) -2147483648 4294967295 ab c% end|";
  const char *volatile nothing = nullptr;
  for (uint32_t len = 0; len <= whole.size() + 1; ++len) {
    std::string area(whole.size() + 2, '#');
    const int32_t result = fnQNRTL_snprintf(
        area.data(), len, "%s=%d;%u %s %d %u %x %c%% %s|", "name", -5, 7U, nothing,
        std::numeric_limits<int>::min(), std::numeric_limits<unsigned>::max(), 0xABU, 'c', "end");

    std::string expected(area.size(), '#');
    if (len > 0) expected.replace(0, len, (whole + '\0').substr(0, len - 1) + '\0');
    const bool cut = len > 0 && len <= whole.size();
    EXPECT_EQ(result, static_cast<int32_t>(cut ? len : whole.size())) << len;
    EXPECT_EQ(area, expected) << len;
  }
}

TEST(QnSnprintf, ConvertsOnBehindANumberWithAPoint) {
  char area[64];
  const int32_t result = fnQNRTL_snprintf(area, sizeof area, "%d %5.1f %s %d", 1, 2.5, "three", 4);

  EXPECT_EQ(result, 15);
  EXPECT_STREQ(area, "1   2.5 three 4");
}

TEST(QnSnprintf, StoresHowMuchItHasProducedSoFarButNotBehindTheEndOfItsArea) {
  char area[64];
  int first = -1;
  int second = -1;
  EXPECT_EQ(fnQNRTL_snprintf(area, sizeof area, "abc%s%n %d%c%n", "de", &first, 42, '!', &second),
            9);
  EXPECT_STREQ(area, "abcde 42!");
  EXPECT_EQ(first, 5);
  EXPECT_EQ(second, 9);

  EXPECT_EQ(fnQNRTL_snprintf(area, 4, "abc%s%n", "de", &first), 4);
  EXPECT_STREQ(area, "abc");
  EXPECT_EQ(first, 5);
}

TEST(QnSnprintf, CountsAZeroByteInsideTheText) {
  char buf[8];
  std::memset(buf, '#', sizeof buf);

  EXPECT_EQ(fnQNRTL_snprintf(buf, sizeof buf, "a%cb", 0), 3);

  EXPECT_EQ(std::string(buf, 5), std::string("a\0b\0#", 5));
}

int32_t FormatList(char *buf, uint32_t len, const char *format, ...) QN_PRINTF_LIKE(3, 4);

int32_t FormatList(char *buf, uint32_t len, const char *format, ...) {
  va_list args;
  va_start(args, format);
  const int32_t result = fnQNRTL_vsnprintf(buf, len, format, args);
  va_end(args);
  return result;
}

TEST(QnVsnprintf, FormatsAListOfArgumentsLikewise) {
  char buf[16] = "#";

  EXPECT_EQ(FormatList(buf, 0, "%s", "abcdef"), 6);
  EXPECT_STREQ(buf, "#");
  EXPECT_EQ(FormatList(buf, sizeof buf, "%s=%d", "key", -7), 6);
  EXPECT_STREQ(buf, "key=-7");
  EXPECT_EQ(FormatList(buf, 4, "%s", "abcdef"), 4);
  EXPECT_STREQ(buf, "abc");
}

TEST(QnVsnprintf, WritesTwoThousandCharactersInOneArea) {
  const std::string text(2047, 'x');
  std::string area(2048, '#');

  EXPECT_EQ(FormatList(area.data(), 2048, "%s", text.c_str()), 2047);
  EXPECT_EQ(area, text + '\0');

  EXPECT_EQ(FormatList(area.data(), 2048, "%sy", text.c_str()), 2048);
  EXPECT_EQ(area, text + '\0');
}

}  // namespace
