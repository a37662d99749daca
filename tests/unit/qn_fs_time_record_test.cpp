// SPDX-License-Identifier: MIT
// Guards the operations on a broken-down time: setting, checking, and adding
// seconds with its carries.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <ctime>
#include <random>
#include <string>

#include "qnstack/qn_fs_comm_tools.h"
#include "support/watchdog.h"

namespace {

// The fields of a record in their order.
using Fields = std::array<uint32_t, 7>;

Fields FieldsOf(const QNTime &t) {
  return {t.year, t.month, t.day, t.hour, t.minute, t.second, t.extra};
}

QNTime TimeOf(const Fields &f) { return {f[0], f[1], f[2], f[3], f[4], f[5], f[6]}; }

uint32_t DaysIn(uint32_t year, uint32_t month) {
  const QNTime t = {year, month, 99, 99, 99, 99, 99};
  return fnQNFS_DaysInMonth(&t);
}

Fields Advanced(const Fields &from, uint32_t seconds) {
  QNTime t = TimeOf(from);
  fnQNFS_TimeAdd(&t, seconds);
  return FieldsOf(t);
}

TEST(QnFsInitTimeStructure, ClearsAllFields) {
  QNTime t = {1, 2, 3, 4, 5, 6, 7};

  fnQNFS_InitTimeStructure(&t);

  EXPECT_EQ(FieldsOf(t), Fields{});
}

TEST(QnFsCopyTime, StoresAllFieldsAsTheyAre) {
  QNTime t = {};

  fnQNFS_CopyTime(&t, 2009, 13, 40, UINT32_MAX, 61, 62, 63);

  EXPECT_EQ(FieldsOf(t), (Fields{2009, 13, 40, UINT32_MAX, 61, 62, 63}));
}

TEST(QnFsDaysInMonth, KnowsTheMonths) {
  constexpr uint32_t kDays[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  for (uint32_t month = 1; month <= 12; ++month) {
    EXPECT_EQ(DaysIn(2009, month), kDays[month - 1]) << "month " << month;
    EXPECT_EQ(DaysIn(2008, month), month == 2 ? 29 : kDays[month - 1]) << "month " << month;
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

TEST(QnFsDaysInMonth, HasNoneOutsideTheYear) {
  for (const uint32_t month : {0U, 13U, 14U, 256U, 257U, 65537U, UINT32_MAX}) {
    EXPECT_EQ(DaysIn(2008, month), 0U) << "month " << month;
  }
}

TEST(QnFsTimeIsValid, BoundsTheTimeAndNotTheDate) {
  struct Case {
    std::array<uint32_t, 6> fields;
    int32_t expected;
  };
  constexpr Case kCases[] = {
      {{2009, 13, 40, 23, 59, 59}, 1},
      {{1, 1, 1, 0, 0, 0}, 1},
      {{UINT32_MAX, UINT32_MAX, UINT32_MAX, 23, 59, 59}, 1},
      {{0, 13, 40, 23, 59, 59}, 0},
      {{2009, 0, 40, 23, 59, 59}, 0},
      {{2009, 13, 0, 23, 59, 59}, 0},
      {{2009, 13, 40, 24, 59, 59}, 0},
      {{2009, 13, 40, 23, 60, 59}, 0},
      {{2009, 13, 40, 23, 59, 60}, 0},
      {{2009, 13, 40, UINT32_MAX, 59, 59}, 0},
      {{2009, 13, 40, 23, UINT32_MAX, 59}, 0},
      {{2009, 13, 40, 23, 59, UINT32_MAX}, 0},
      {{0, 0, 0, 0, 0, 0}, 0},
  };
  for (const Case &c : kCases) {
    const auto &f = c.fields;
    SCOPED_TRACE(testing::PrintToString(f));

    EXPECT_EQ(fnQNFS_Time_IsValid(f[0], f[1], f[2], f[3], f[4], f[5]), c.expected);
  }
}

TEST(QnFsTimeAdd, CarriesIntoDaysMonthsAndYears) {
  struct Case {
    Fields from;
    uint32_t seconds;
    Fields expected;
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
  };
  for (const Case &c : kCases) {
    SCOPED_TRACE(testing::PrintToString(c.from) + " and " + std::to_string(c.seconds));

    EXPECT_EQ(Advanced(c.from, c.seconds), c.expected);
  }
}

TEST(QnFsTimeAdd, CarriesOnceAlone) {
  EXPECT_EQ(Advanced({2009, 5, 5, 0, 0, 200, 0}, 0), (Fields{2009, 5, 5, 0, 1, 140, 0}));
  EXPECT_EQ(Advanced({2009, 5, 5, 0, 200, 0, 0}, 0), (Fields{2009, 5, 5, 1, 140, 0, 0}));
  EXPECT_EQ(Advanced({2009, 5, 5, 0, 59, 120, 0}, 59), (Fields{2009, 5, 5, 1, 0, 119, 0}));
  // Hours are divided instead.
  EXPECT_EQ(Advanced({2009, 5, 5, 200, 0, 0, 0}, 0), (Fields{2009, 5, 13, 8, 0, 0, 0}));
}

TEST(QnFsTimeAdd, LeavesADayBeyondItsMonthUntilHoursCarry) {
  EXPECT_EQ(Advanced({2009, 1, 40, 22, 0, 0, 0}, 3600), (Fields{2009, 1, 40, 23, 0, 0, 0}));
  EXPECT_EQ(Advanced({2009, 1, 40, 23, 0, 0, 0}, 3600), (Fields{2009, 2, 10, 0, 0, 0, 0}));
}

TEST(QnFsTimeAdd, EndsForMonthsOutsideTheYear) {
  const qntest::Watchdog watchdog;

  EXPECT_EQ(Advanced({2009, 0, 5, 23, 0, 0, 0}, 3600), (Fields{2009, 1, 6, 0, 0, 0, 0}));
  EXPECT_EQ(Advanced({2009, 13, 5, 23, 0, 0, 0}, 3600), (Fields{2010, 1, 6, 0, 0, 0, 0}));
  EXPECT_EQ(Advanced({2009, 99, 5, 23, 0, 0, 0}, 3600), (Fields{2010, 1, 6, 0, 0, 0, 0}));
  // Without a carry of hours the month is not looked at.
  EXPECT_EQ(Advanced({2009, 13, 5, 22, 0, 0, 0}, 3600), (Fields{2009, 13, 5, 23, 0, 0, 0}));
}

TEST(QnFsTimeAdd, StaysWithinTheTableForTheLastMonthNumber) {
  const qntest::Watchdog watchdog;

  EXPECT_EQ(Advanced({2009, UINT32_MAX, 5, 23, 0, 0, 0}, 3600), (Fields{2009, 1, 6, 0, 0, 0, 0}));
}

std::time_t CivilSeconds(const Fields &f) {
  std::tm fields = {};
  fields.tm_year = static_cast<int>(f[0]) - 1900;
  fields.tm_mon = static_cast<int>(f[1]) - 1;
  fields.tm_mday = static_cast<int>(f[2]);
  fields.tm_hour = static_cast<int>(f[3]);
  fields.tm_min = static_cast<int>(f[4]);
  fields.tm_sec = static_cast<int>(f[5]);
  return timegm(&fields);
}

TEST(QnFsTimeAdd, AgreesWithTheCivilCalendarForTrueDates) {
  std::mt19937 random(1994);
  const auto below = [&random](uint32_t bound) { return static_cast<uint32_t>(random()) % bound; };
  for (int i = 0; i < 20'000; ++i) {
    Fields from = {1901 + below(300), 1 + below(12), 0, below(24), below(60), below(60), below(9)};
    from[2] = 1 + below(DaysIn(from[0], from[1]));
    const uint32_t seconds = static_cast<uint32_t>(random()) >> below(32);

    const Fields actual = Advanced(from, seconds);

    ASSERT_EQ(CivilSeconds(actual), CivilSeconds(from) + static_cast<std::time_t>(seconds))
        << testing::PrintToString(from) << " and " << seconds;
    ASSERT_EQ(fnQNFS_Time_IsValid(actual[0], actual[1], actual[2], actual[3], actual[4], actual[5]),
              1);
    ASSERT_LE(actual[2], DaysIn(actual[0], actual[1]));
    ASSERT_EQ(actual[6], from[6]);
  }
}

}  // namespace
