// SPDX-License-Identifier: MIT
// Guards the operations on a broken-down time: setting, checking, and adding
// seconds with its carries.
#include <gtest/gtest.h>

#include <cstdint>
#include <ctime>
#include <random>
#include <string>

#include "qnstack/qn_fs_comm_tools.h"
#include "support/calendar_reference.h"
#include "support/watchdog.h"

namespace {

uint32_t DaysIn(uint32_t year, uint32_t month) {
  const QNTime t = {year, month, 99, 99, 99, 99, 99};
  return fnQNFS_DaysInMonth(&t);
}

QNTime Advanced(QNTime t, uint32_t seconds) {
  fnQNFS_TimeAdd(&t, seconds);
  return t;
}

int32_t IsValid(const QNTime &t) {
  return fnQNFS_Time_IsValid(t.year, t.month, t.day, t.hour, t.minute, t.second);
}

TEST(QnFsTimeRecord, IsSetAndClearedWithAllFieldsAsTheyAre) {
  QNTime t = {};

  fnQNFS_CopyTime(&t, 2009, 13, 40, UINT32_MAX, 61, 62, 63);
  EXPECT_EQ(t, (QNTime{2009, 13, 40, UINT32_MAX, 61, 62, 63}));
  fnQNFS_InitTimeStructure(&t);
  EXPECT_EQ(t, QNTime{});
}

TEST(QnFsDaysInMonth, KnowsTheMonthsAndHasNoneOutsideTheYear) {
  constexpr uint32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (uint32_t month = 1; month <= 12; ++month) {
    EXPECT_EQ(DaysIn(2009, month), kDays[month - 1]) << "month " << month;
    EXPECT_EQ(DaysIn(2008, month), month == 2 ? 29 : kDays[month - 1]) << "month " << month;
  }
  for (const uint32_t month : {0U, 13U, 14U, 256U, 257U, 65537U, UINT32_MAX}) {
    EXPECT_EQ(DaysIn(2008, month), 0U) << "month " << month;
  }
}

TEST(QnFsDaysInMonth, KnowsTheLeapYears) {
  for (const uint32_t leap_year : {0U, 4U, 1600U, 1996U, 2000U, 2004U, 2008U, 2400U, 4294967292U}) {
    EXPECT_EQ(DaysIn(leap_year, 2), 29U) << leap_year;
  }
  for (const uint32_t year : {1U, 100U, 1900U, 2001U, 2002U, 2003U, 2100U, 2200U, UINT32_MAX}) {
    EXPECT_EQ(DaysIn(year, 2), 28U) << year;
  }
}

TEST(QnFsTimeIsValid, BoundsTheTimeAndNotTheDate) {
  constexpr QNTime kValid[] = {
      {2009, 13, 40, 23, 59, 59, 0},
      {1, 1, 1, 0, 0, 0, 0},
      {UINT32_MAX, UINT32_MAX, UINT32_MAX, 23, 59, 59, 0},
  };
  constexpr QNTime kInvalid[] = {
      {0, 13, 40, 23, 59, 59, 0},
      {2009, 0, 40, 23, 59, 59, 0},
      {2009, 13, 0, 23, 59, 59, 0},
      {2009, 13, 40, 24, 59, 59, 0},
      {2009, 13, 40, 23, 60, 59, 0},
      {2009, 13, 40, 23, 59, 60, 0},
      {2009, 13, 40, UINT32_MAX, 59, 59, 0},
      {2009, 13, 40, 23, UINT32_MAX, 59, 0},
      {2009, 13, 40, 23, 59, UINT32_MAX, 0},
      {0, 0, 0, 0, 0, 0, 0},
  };
  for (const QNTime &t : kValid) EXPECT_EQ(IsValid(t), 1) << testing::PrintToString(t);
  for (const QNTime &t : kInvalid) EXPECT_EQ(IsValid(t), 0) << testing::PrintToString(t);
}

TEST(QnFsTimeAdd, CarriesIntoMinutesHoursDaysMonthsAndYears) {
  struct Case {
    QNTime from;
    uint32_t seconds;
    QNTime expected;
  };
  constexpr Case kCases[] = {
      {{2009, 1, 31, 23, 0, 0, 0}, 3600 * 25, {2009, 2, 2, 0, 0, 0, 0}},
      {{2009, 1, 1, 0, 0, 30, 0}, 59, {2009, 1, 1, 0, 1, 29, 0}},
      {{2008, 12, 31, 0, 0, 0, 0}, 86400 * 40, {2009, 2, 9, 0, 0, 0, 0}},
      {{2009, 5, 5, 5, 5, 5, 9}, 0, {2009, 5, 5, 5, 5, 5, 9}},
      {{2009, 5, 5, 23, 59, 59, 9}, 0, {2009, 5, 5, 23, 59, 59, 9}},
      {{2009, 5, 5, 0, 0, 0, 9}, 3599, {2009, 5, 5, 0, 59, 59, 9}},
      {{2009, 5, 5, 0, 0, 0, 9}, 3600, {2009, 5, 5, 1, 0, 0, 9}},
      {{2009, 5, 5, 0, 0, 0, 9}, 86399, {2009, 5, 5, 23, 59, 59, 9}},
      {{2009, 5, 5, 0, 0, 0, 9}, 86400, {2009, 5, 6, 0, 0, 0, 9}},
      {{2009, 12, 31, 23, 59, 59, 9}, 1, {2010, 1, 1, 0, 0, 0, 9}},
      {{2008, 2, 28, 23, 59, 59, 9}, 1, {2008, 2, 29, 0, 0, 0, 9}},
      {{2008, 2, 29, 23, 59, 59, 9}, 1, {2008, 3, 1, 0, 0, 0, 9}},
      {{2009, 2, 28, 23, 59, 59, 9}, 1, {2009, 3, 1, 0, 0, 0, 9}},
      // The leap day of the year that the addition reaches.
      {{2007, 12, 31, 0, 0, 0, 9}, 86400 * 60, {2008, 2, 29, 0, 0, 0, 9}},
      {{2008, 12, 31, 0, 0, 0, 9}, 86400 * 60, {2009, 3, 1, 0, 0, 0, 9}},
      {{1970, 1, 1, 0, 0, 0, 9}, UINT32_MAX, {2106, 2, 7, 6, 28, 15, 9}},
      // Seconds and minutes carry once alone; hours are divided instead.
      {{2009, 5, 5, 0, 0, 200, 0}, 0, {2009, 5, 5, 0, 1, 140, 0}},
      {{2009, 5, 5, 0, 200, 0, 0}, 0, {2009, 5, 5, 1, 140, 0, 0}},
      {{2009, 5, 5, 0, 59, 120, 0}, 59, {2009, 5, 5, 1, 0, 119, 0}},
      {{2009, 5, 5, 200, 0, 0, 0}, 0, {2009, 5, 13, 8, 0, 0, 0}},
      // A day beyond its month stays until hours carry.
      {{2009, 1, 40, 22, 0, 0, 0}, 3600, {2009, 1, 40, 23, 0, 0, 0}},
      {{2009, 1, 40, 23, 0, 0, 0}, 3600, {2009, 2, 10, 0, 0, 0, 0}},
      // Months outside the year: the addition ends, and looks at none without a
      // carry of hours.
      {{2009, 0, 5, 23, 0, 0, 0}, 3600, {2009, 1, 6, 0, 0, 0, 0}},
      {{2009, 13, 5, 23, 0, 0, 0}, 3600, {2010, 1, 6, 0, 0, 0, 0}},
      {{2009, 99, 5, 23, 0, 0, 0}, 3600, {2010, 1, 6, 0, 0, 0, 0}},
      {{2009, 13, 5, 22, 0, 0, 0}, 3600, {2009, 13, 5, 23, 0, 0, 0}},
      {{2009, UINT32_MAX, 5, 23, 0, 0, 0}, 3600, {2009, 1, 6, 0, 0, 0, 0}},
  };
  const qntest::Watchdog watchdog;
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.from) + " and " + std::to_string(c.seconds));

    EXPECT_EQ(Advanced(c.from, c.seconds), c.expected);
  }
}

std::time_t CivilSeconds(const QNTime &t) {
  std::tm fields = {};
  fields.tm_year = static_cast<int>(t.year) - 1900;
  fields.tm_mon = static_cast<int>(t.month) - 1;
  fields.tm_mday = static_cast<int>(t.day);
  fields.tm_hour = static_cast<int>(t.hour);
  fields.tm_min = static_cast<int>(t.minute);
  fields.tm_sec = static_cast<int>(t.second);
  return timegm(&fields);
}

TEST(QnFsTimeAdd, AgreesWithTheCivilCalendarForTrueDates) {
  std::mt19937 random(1994);
  const auto below = [&random](uint32_t bound) { return static_cast<uint32_t>(random()) % bound; };
  for (int i = 0; i < 20'000; ++i) {
    QNTime from = {1901 + below(300), 1 + below(12), 0, below(24), below(60), below(60), below(9)};
    from.day = 1 + below(DaysIn(from.year, from.month));
    const uint32_t seconds = static_cast<uint32_t>(random()) >> below(32);

    const QNTime actual = Advanced(from, seconds);

    ASSERT_EQ(CivilSeconds(actual), CivilSeconds(from) + static_cast<std::time_t>(seconds))
        << testing::PrintToString(from) << " and " << seconds;
    ASSERT_EQ(IsValid(actual), 1);
    ASSERT_LE(actual.day, DaysIn(actual.year, actual.month));
    ASSERT_EQ(actual.extra, from.extra);
  }
}

}  // namespace
