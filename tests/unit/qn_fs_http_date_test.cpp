// SPDX-License-Identifier: MIT
// Guards the date of HTTP headers: what is read, what is refused, and the text
// that is written with all its oddities.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

#include "qnstack/qn_fs_comm_tools.h"
#include "support/calendar_reference.h"

namespace {

using qntest::kDay;

constexpr const char *kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

int32_t MidnightOf(uint32_t year, uint32_t month, uint32_t day) {
  const QNTime t = {year, month, day, 0, 0, 0, 0};
  return static_cast<int32_t>(JULIANTOSECONDS(&t));
}

TEST(ParseDateStr, ReadsTheDayAlone) {
  constexpr const char *kSameDay[] = {
      "Sun, 06 Nov 1994 08:49:37 GMT",   "Mon, 06 Nov 1994 23:59:59 GMT",
      "Mon, 06 Nov 1994 99:99:99",       "x 6 Nov 1994 y",
      "Sun, 06 Nov 1994 x and more",     "Sun, 06 Nov 1994x",
      "Sun, 06Nov 1994 08:49:37 GMT",    " \t\r\n\v\fSun,\t06\nNov\r1994\v08:49:37",
      "Sun, +06 Nov +1994 08:49:37 GMT", "Sun, 000006 Nov 0001994 08:49:37 GMT",
  };
  for (const char *text : kSameDay) {
    EXPECT_EQ(parse_date_str(text), 784166400) << text;
  }
}

// A walk takes some years through all 16 bits, and a count may be above the signed
// range.
TEST(ParseDateStr, CountsAnyYearAndTakesTheLow16BitsOfItsNumbers) {
  EXPECT_EQ(parse_date_str("Sun, 65542 Nov 67530 08:49:37 GMT"), 784166400);
  EXPECT_EQ(parse_date_str("Sun, -65530 Nov -63542 08:49:37 GMT"), 784166400);
  EXPECT_EQ(parse_date_str("Sun, 06 Nov 199408:49:37 GMT"), MidnightOf(2800, 11, 6));
  EXPECT_EQ(parse_date_str("Sun, -1 Nov 1994 08:49:37 GMT"), MidnightOf(1994, 11, 65535));
  EXPECT_EQ(parse_date_str("Thu, 01 Jan 1970 00:00:00 GMT"), -2057785472);
  EXPECT_EQ(parse_date_str("Sun, 06 Nov 94 08:49:37 GMT"), MidnightOf(94, 11, 6));
  EXPECT_EQ(parse_date_str("Mon, 01 Jan 2040 00:00:00 GMT"), MidnightOf(2040, 1, 1));
  EXPECT_LT(MidnightOf(2040, 1, 1), 0);
}

TEST(ParseDateStr, KnowsTheMonthsAndTheLeapDay) {
  for (uint32_t month = 1; month <= 12; ++month) {
    const std::string text = std::string("Sun, 06 ") + kMonths[month - 1] + " 1996 08:49:37 GMT";

    EXPECT_EQ(parse_date_str(text.c_str()), MidnightOf(1996, month, 6)) << text;
  }
  EXPECT_EQ(MidnightOf(1996, 3, 1) - MidnightOf(1996, 2, 28), static_cast<int32_t>(2 * kDay));
}

TEST(ParseDateStr, RefusesOtherTexts) {
  constexpr const char *kTexts[] = {
      "",
      " ",
      "06 Nov 1994",
      "Sun,",
      "Sun, 06",
      "Sun, 06 Nov",
      "Sun, 06 Nov 1994",
      "Sun, 06 Nov 1994 ",
      "Sun, six Nov 1994 08:49:37 GMT",
      "Sun, + Nov 1994 08:49:37 GMT",
      "Sun, +-6 Nov 1994 08:49:37 GMT",
      "Sun, 06 Nov year 08:49:37 GMT",
      "Sun, 06 nov 1994 08:49:37 GMT",
      "Sun, 06 NOV 1994 08:49:37 GMT",
      "Sun, 06 No 1994 08:49:37 GMT",
      "Sun, 06 Nove 1994 08:49:37 GMT",
      "Sun, 06 November 1994 08:49:37 GMT",
      "Sun, 06 Sun 1994 08:49:37 GMT",
      "Sunday, 06-Nov-94 08:49:37 GMT",
      "Sun Nov  6 08:49:37 1994",
  };
  for (const char *text : kTexts) {
    EXPECT_EQ(parse_date_str(text), -1) << '"' << text << '"';
  }
}

// What a word has beyond 19 characters is read on as what should follow it.
TEST(ParseDateStr, BearsWordsOfAnyLengthAndEndsThemAt19Characters) {
  const std::string longest_whole(19, 'x');
  const std::string too_long(5000, 'x');

  EXPECT_EQ(parse_date_str((longest_whole + " 06 Nov 1994 08:49:37 GMT").c_str()), 784166400);
  EXPECT_EQ(parse_date_str((longest_whole + "06 Nov 1994 08:49:37 GMT").c_str()), 784166400);
  EXPECT_EQ(parse_date_str((longest_whole + "x 06 Nov 1994 08:49:37 GMT").c_str()), -1);
  EXPECT_EQ(parse_date_str(("Sun, 06 Nov 1994 " + too_long).c_str()), 784166400);
  EXPECT_EQ(parse_date_str(("Sun, 06 Nov" + too_long + " 1994 08:49:37 GMT").c_str()), -1);
  EXPECT_EQ(parse_date_str(too_long.c_str()), -1);
}

// The same by the C library's scan.
int32_t ScannedDate(const std::string &text) {
  struct Word {
    char text[20];
  } weekday = {}, month = {}, time = {};
  int day = 0;
  int year = 0;
  // NOLINTNEXTLINE(bugprone-unchecked-string-to-number-conversion): numbers are short here
  const int items = std::sscanf(text.c_str(), "%19s %d %19s %d %19s", weekday.text, &day,
                                month.text, &year, time.text);
  const auto *const found =
      std::find(std::begin(kMonths), std::end(kMonths), std::string_view(month.text));
  if (items < 5 || found == std::end(kMonths)) return -1;
  return MidnightOf(static_cast<uint16_t>(year), static_cast<uint32_t>(found - kMonths) + 1,
                    static_cast<uint16_t>(day));
}

TEST(ParseDateStr, AgreesWithAScanOfDamagedTexts) {
  constexpr std::string_view kDateLetters = " \t\n06194Nov,:+-";
  std::mt19937 random(784166400);
  const auto below = [&random](size_t bound) { return static_cast<size_t>(random()) % bound; };
  int dates = 0;
  for (int i = 0; i < 20'000; ++i) {
    std::string text = "Sun, 06 Nov 1994 08:49:37 GMT";
    for (size_t damage = 1 + below(3); damage > 0; --damage) {
      text.replace(below(text.size()), below(3), 1, kDateLetters[below(kDateLetters.size())]);
    }
    const int32_t expected = ScannedDate(text);
    dates += expected != -1 ? 1 : 0;

    ASSERT_EQ(parse_date_str(text.c_str()), expected) << '"' << text << '"';
  }
  EXPECT_GT(dates, 2000);
  EXPECT_LT(dates, 18'000);
}

std::string DateText(uint32_t seconds) {
  std::array<char, 48> area;
  area.fill('#');
  const int32_t length = date_to_httpDate(seconds, area.data());
  const std::string text = area.data();
  EXPECT_EQ(length, static_cast<int32_t>(text.size())) << seconds;
  return text;
}

TEST(DateToHttpDate, WritesUnpaddedNumbersAndAnHourEightBack) {
  EXPECT_EQ(DateText(1231211229), "Mon, 6 Jan 2009 -5:7:9 GMT");
  EXPECT_EQ(DateText(0), "Mon, 1 Jan 1970 -8:0:0 GMT");
  EXPECT_EQ(DateText(kDay - 1), "Mon, 1 Jan 1970 15:59:59 GMT");
  EXPECT_EQ(DateText(1204372800), "Feb, 29 Feb 2008 4:0:0 GMT");
  EXPECT_EQ(DateText(784166400), ", 7 Nov 1994 -8:0:0 GMT");
  EXPECT_EQ(DateText(UINT32_MAX), "Sat, 6 Feb 2106 -2:28:15 GMT");
  // A day without a date.
  EXPECT_EQ(DateText(31536000), "Mon, 0  0 -8:0:0 GMT");
  EXPECT_EQ(DateText(31536000 + kDay - 1), "Mon, 0  0 -8:0:0 GMT");
}

TEST(DateToHttpDate, ShiftsAllHoursWithoutTouchingTheDay) {
  for (uint32_t hour = 0; hour < 24; ++hour) {
    const std::string expected =
        "Mon, 6 Jan 2009 " + std::to_string(static_cast<int>(hour) - 8) + ":0:0 GMT";

    EXPECT_EQ(DateText(1231200000 + hour * 3600), expected);
  }
}

TEST(DateToHttpDate, NamesTheWeekdayAfterTheWeekAndNothingFromWeek19) {
  constexpr std::array<const char *, 19> kNames = {"Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun",
                                                   "Jan", "Feb", "Mar", "Apr", "May", "Jun", "Jul",
                                                   "Aug", "Sep", "Oct", "Nov", "Dec"};
  // The 365 days of 1970, all of whose weeks begin a day early.
  for (uint32_t day = 0; day < 365; ++day) {
    const uint32_t week = (day + 1) / 7;
    const std::string name = week < kNames.size() ? kNames[week] : "";

    const std::string text = DateText(day * kDay);

    EXPECT_EQ(text.substr(0, text.find(',')), name) << "day " << day;
  }
}

TEST(DateToHttpDate, WritesTheFieldsOfEveryDay) {
  for (uint32_t day = 0; day <= UINT32_MAX / kDay; ++day) {
    QNTime t = {};
    GETJULIANDATE(day * kDay, &t);
    if (t.month == 0) continue;
    const std::string expected = std::to_string(t.day) + ' ' + kMonths[t.month - 1] + ' ' +
                                 std::to_string(t.year) + " -8:0:0 GMT";
    const std::string actual = DateText(day * kDay);

    ASSERT_EQ(actual.substr(actual.find(',') + 2), expected) << "day " << day;
  }
}

}  // namespace
