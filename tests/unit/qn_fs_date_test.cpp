// SPDX-License-Identifier: MIT
// Guards the calendar: julian seconds both ways against a plain walk through
// years and months, the offsets that files rely on, and date arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <random>

#include "qnstack/qn_fs_comm_tools.h"
#include "support/calendar_reference.h"

namespace {

using namespace qntest;

constexpr uint32_t kLastDayNumber = UINT32_MAX / kDay;
constexpr QNTime kUntouched = {1, 2, 3, 4, 5, 6, 7};

// What a call leaves in a record that held something else.
QNTime DateOf(uint32_t seconds) {
  QNTime t = kUntouched;
  GETJULIANDATE(seconds, &t);
  return t;
}

TEST(JulianToSeconds, CountsFromTheLastDayOf1969) {
  struct Case {
    QNTime date;
    uint32_t expected;
  };
  constexpr Case kCases[] = {
      {{1971, 1, 1, 0, 0, 0, 0}, 31622400},
      {{1994, 11, 6, 0, 0, 0, 0}, 784166400},
      {{2000, 1, 1, 0, 0, 0, 0}, 946771200},
      {{2008, 2, 28, 0, 0, 0, 0}, 1204243200},
      {{2008, 2, 29, 0, 0, 0, 0}, 1204329600},
      {{2008, 3, 1, 0, 0, 0, 0}, 1204416000},
      {{2009, 6, 15, 0, 0, 0, 0}, 1245110400},
      {{2009, 1, 6, 3, 7, 9, 0}, 1231297629},
      {{1971, 1, 0, 0, 0, 0, 0}, 31536000},
      // A year below 1971 is reached through all 16-bit years.
      {{109, 5, 15, 12, 0, 0, 0}, 3650882368},
      {{0, 1, 1, 0, 0, 0, 0}, 199504768},
      {{1970, 1, 1, 0, 0, 0, 0}, 2237181824},
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.date));

    EXPECT_EQ(JULIANTOSECONDS(&c.date), c.expected);
  }
}

TEST(JulianToSeconds, BoundsTheMonths) {
  struct Case {
    uint32_t month;
    uint32_t days;  // before the month, in 2001
  };
  constexpr Case kCases[] = {{0, 0},    {1, 0},           {2, 31},   {3, 59},   {4, 90},
                             {5, 120},  {6, 151},         {7, 181},  {8, 212},  {9, 243},
                             {10, 273}, {11, 304},        {12, 334}, {13, 365}, {14, 365},
                             {99, 365}, {UINT32_MAX, 365}};
  constexpr QNTime kFirstDay = {2001, 1, 1, 0, 0, 0, 0};
  const uint32_t first_day = JULIANTOSECONDS(&kFirstDay);
  for (const Case &c : kCases) {
    const QNTime t = {2001, c.month, 1, 0, 0, 0, 0};

    EXPECT_EQ(JULIANTOSECONDS(&t), first_day + c.days * kDay) << "month " << c.month;
  }
}

TEST(JulianToSeconds, TakesTheLeapDayFromAll32BitsOfTheYear) {
  // The low 16 bits of the first are 1900, no leap year; it is one itself.
  for (const uint32_t year : {1900U + 65536U, 2000U + 65536U, 2004U + 3U * 65536U, UINT32_MAX}) {
    const QNTime february = {year, 2, 28, 0, 0, 0, 0};
    const QNTime march = {year, 3, 1, 0, 0, 0, 0};

    EXPECT_EQ(JULIANTOSECONDS(&march) - JULIANTOSECONDS(&february), (IsLeap(year) ? 2 : 1) * kDay)
        << year;
  }
}

TEST(JulianToSeconds, DoesNotReadExtra) {
  constexpr QNTime kPlain = {2009, 6, 15, 12, 30, 1, 0};
  constexpr QNTime kWithExtra = {2009, 6, 15, 12, 30, 1, UINT32_MAX};

  EXPECT_EQ(JULIANTOSECONDS(&kWithExtra), JULIANTOSECONDS(&kPlain));
}

// The table that the comparisons below use, held against whole walks.
TEST(JulianToSeconds, IsComparedWithTrueWalks) {
  for (const uint32_t year :
       {0U, 1U, 108U, 126U, 1900U, 1969U, 1970U, 1971U, 2009U, 40000U, 65535U}) {
    ASSERT_EQ(qntest::TabledWalkDownFrom(year), qntest::WalkDownFrom(year)) << year;
  }
}

TEST(JulianToSeconds, AgreesWithTheWalkForAll16BitYearsAndAllMonths) {
  for (uint32_t year = 0; year <= 65536; ++year) {
    for (uint32_t month = 0; month <= 14; ++month) {
      if (month != 1 && month != 3 && year % 97 != 0) continue;
      const QNTime t = {year, month, month == 1 ? 1U : 31U, 23, 59, 59, 0};

      ASSERT_EQ(JULIANTOSECONDS(&t), PlainSeconds(t)) << year << '-' << month;
    }
  }
}

TEST(JulianToSeconds, AgreesWithTheWalkForAnyFields) {
  std::mt19937 random(20090615);
  const auto word = [&random] { return static_cast<uint32_t>(random()); };
  for (int i = 0; i < 100'000; ++i) {
    const QNTime wild = {word(), word(), word(), word(), word(), word(), word()};
    QNTime likely = wild;
    likely.year %= 4096;
    likely.month %= 16;
    const uint32_t of_wild = JULIANTOSECONDS(&wild);
    const uint32_t of_likely = JULIANTOSECONDS(&likely);

    ASSERT_EQ(of_wild, PlainSeconds(wild)) << testing::PrintToString(wild);
    ASSERT_EQ(of_likely, PlainSeconds(likely)) << testing::PrintToString(likely);
  }
}

TEST(GetJulianDate, WritesDateTimeAndWeek) {
  struct Case {
    uint32_t seconds;
    QNTime expected;
  };
  constexpr Case kCases[] = {
      {0, {1970, 1, 1, 0, 0, 0, 0}},
      {31535999, {1970, 12, 31, 23, 59, 59, 52}},
      {31536000 + kDay, {1971, 1, 1, 0, 0, 0, 0}},
      {784166400, {1994, 11, 7, 0, 0, 0, 44}},
      {1204372800, {2008, 2, 29, 12, 0, 0, 8}},
      {1204372800 - kDay, {2008, 2, 28, 12, 0, 0, 8}},
      {1204372800 + kDay, {2008, 3, 1, 12, 0, 0, 8}},
      // The week is that of the day before the leap day is taken off.
      {1204372800 + 2 * kDay, {2008, 3, 2, 12, 0, 0, 8}},
      {1204372800 + 3 * kDay, {2008, 3, 3, 12, 0, 0, 9}},
      {1231211229, {2009, 1, 6, 3, 7, 9, 0}},
      {1231211229 + kDay, {2009, 1, 7, 3, 7, 9, 1}},
      {UINT32_MAX, {2106, 2, 6, 6, 28, 15, 5}},
  };
  for (const Case &c : kCases) {
    EXPECT_EQ(DateOf(c.seconds), c.expected) << c.seconds;
  }
}

TEST(GetJulianDate, WritesNothingOnTheFirstDayOf1971AndEveryFourthYear) {
  EXPECT_EQ(DateOf(31536000), kUntouched);
  for (uint32_t day = 365; day <= kLastDayNumber; day += 1461) {
    EXPECT_EQ(DateOf(day * kDay), kUntouched) << "day " << day;
    EXPECT_EQ(DateOf(day * kDay + kDay / 2), kUntouched) << "day " << day;
    EXPECT_EQ(DateOf(day * kDay + kDay - 1), kUntouched) << "day " << day;

    EXPECT_NE(DateOf(day * kDay - 1), kUntouched) << "before day " << day;
    EXPECT_NE(DateOf(day * kDay + kDay), kUntouched) << "after day " << day;
  }
}

TEST(GetJulianDate, AgreesWithTheStepsOnEveryDay) {
  for (uint32_t day = 0; day <= kLastDayNumber; ++day) {
    const uint32_t midnight = day * kDay;
    const uint32_t some_time = midnight + std::min(day * 7919 % kDay, UINT32_MAX - midnight);
    for (const uint32_t seconds : {midnight, some_time}) {
      ASSERT_EQ(DateOf(seconds), PlainDate(seconds).value_or(kUntouched)) << seconds;
    }
  }
}

// They are no inverses: what was made of a date reads as the day after it.
TEST(GetJulianDate, ReadsTheDayAfterTheOneThatWasCounted) {
  constexpr QNTime kDate = {1994, 11, 6, 8, 49, 37, 0};

  const QNTime read_back = DateOf(JULIANTOSECONDS(&kDate));

  EXPECT_EQ(read_back, (QNTime{1994, 11, 7, 8, 49, 37, 44}));
}

TEST(QnFsRealTimeToSeconds, KnowsTwoModes) {
  constexpr uint32_t kSecondsOf1971 = 31622400;

  EXPECT_EQ(fnQNFS_RealTime_To_Seconds(1971, 1, 1, 0, 0, 0, 0, 0), kSecondsOf1971);
  EXPECT_EQ(fnQNFS_RealTime_To_Seconds(1971, 1, 1, 0, 0, 0, 0, 1), kSecondsOf1971 + 315964800);
  EXPECT_EQ(fnQNFS_RealTime_To_Seconds(1971, 1, 1, 0, 0, 0, 0, 2), 0U);
  EXPECT_EQ(fnQNFS_RealTime_To_Seconds(1971, 1, 1, 0, 0, 0, 0, -1), 0U);
  EXPECT_EQ(fnQNFS_RealTime_To_Seconds(1971, 1, 1, 0, 0, 0, 0, INT32_MIN), 0U);
}

TEST(QnFsRealTimeToSeconds, WrapsWhatTheModeAdds) {
  const uint32_t seconds = fnQNFS_RealTime_To_Seconds(2105, 1, 1, 0, 0, 0, 0, 0);

  EXPECT_EQ(fnQNFS_RealTime_To_Seconds(2105, 1, 1, 0, 0, 0, 0, 1), seconds + 315964800U);
  EXPECT_LT(seconds + 315964800U, seconds);
}

TEST(QnFsRealTimeToSeconds, TakesTheLow16BitsOfEachField) {
  constexpr uint32_t kHigh = 0xABCD0000U;
  const uint32_t expected = fnQNFS_RealTime_To_Seconds(2009, 7, 15, 13, 31, 59, 0, 0);

  EXPECT_EQ(expected, 1247702400U + 13 * 3600 + 31 * 60 + 59);
  for (size_t i = 0; i < 6; ++i) {
    std::array<uint32_t, 6> f = {2009, 7, 15, 13, 31, 59};
    f[i] |= kHigh;
    EXPECT_EQ(fnQNFS_RealTime_To_Seconds(f[0], f[1], f[2], f[3], f[4], f[5], 0, 0), expected) << i;
  }
  // 2100 is no leap year; with the higher bits it would be one.
  EXPECT_EQ(fnQNFS_RealTime_To_Seconds(65536 + 2100, 7, 15, 13, 31, 59, 0, 0),
            fnQNFS_RealTime_To_Seconds(2100, 7, 15, 13, 31, 59, 0, 0));
  // All 16 of them, and the seventh argument not at all.
  EXPECT_EQ(fnQNFS_RealTime_To_Seconds(2009, 7, 15, 13, 31, 65535, UINT32_MAX, 0),
            expected - 59 + 65535);
}

}  // namespace
