// SPDX-License-Identifier: MIT
// Dates: conversion between julian seconds and broken-down time, and calendar
// arithmetic, for the cache, the clock and applications. Files hold values made
// by these conversions, so their offsets never change.
#include <algorithm>
#include <array>
#include <numeric>

#include "qnstack/qn_fs_comm_tools.h"

namespace {

constexpr uint32_t kSecondsPerMinute = 60;
constexpr uint32_t kSecondsPerHour = 3600;
constexpr uint32_t kSecondsPerDay = 86400;
constexpr uint32_t kHoursPerDay = 24;
constexpr uint32_t kMonthsPerYear = 12;
constexpr std::array<uint32_t, kMonthsPerYear> kDaysPerMonth = {31, 28, 31, 30, 31, 30,
                                                                31, 31, 30, 31, 30, 31};
constexpr uint32_t kFirstYear = 1970;
constexpr uint32_t kLastYear = 65535;  // years are counted in 16 bits
constexpr uint32_t kDaysPerYear = 365;
constexpr uint32_t kDaysPerLeapCycle = 1461;
constexpr uint32_t kLeapCycleOffset = 1095;
constexpr uint32_t kDaysPerWeek = 7;
constexpr uint32_t kSecondsTo1980 = 315964800;  // 1970-01-01 to 1980-01-06

constexpr bool IsLeapYear(uint32_t year) {
  return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
}

// Days of all years from year 0 to `year`, both included.
constexpr uint32_t DaysThrough(uint32_t year) {
  const uint32_t leap_years = year / 4 - year / 100 + year / 400 + 1;
  return kDaysPerYear * (year + 1) + leap_years;
}

// Days of the years from 1970 to the one before `year`. Where that one lies
// before 1970, the count goes from 1970 to 65535 and on from year 0 to it.
constexpr uint32_t DaysOfYearsBefore(uint32_t year) {
  const uint32_t last = (year - 1) & kLastYear;
  const uint32_t days = DaysThrough(last) - DaysThrough(kFirstYear - 1);
  return last < kFirstYear ? days + DaysThrough(kLastYear) : days;
}

// Days of the months before `month`, in a year that is no leap year.
uint32_t DaysOfMonthsBefore(uint32_t month) {
  const uint32_t months = month == 0 ? 0 : std::min(month - 1, kMonthsPerYear);
  return std::accumulate(kDaysPerMonth.begin(), kDaysPerMonth.begin() + months, 0U);
}

// Brings `day` into its month, month by month.
void CarryDays(QNTime *t) {
  for (uint32_t days = fnQNFS_DaysInMonth(t); t->day > days; days = fnQNFS_DaysInMonth(t)) {
    t->day -= days;
    ++t->month;
    if (t->month > kMonthsPerYear) {
      ++t->year;
      t->month = 1;
    }
  }
}

}  // namespace

uint32_t start_time = 0;
uint32_t end_time = 0;

uint32_t JULIANTOSECONDS(const QNTime *t) {
  if (t == nullptr) return 0;
  const uint32_t leap_day = IsLeapYear(t->year) && t->month > 2 ? 1 : 0;
  const uint32_t days = DaysOfYearsBefore(t->year) + leap_day + DaysOfMonthsBefore(t->month);
  return (days + t->day) * kSecondsPerDay + t->hour * kSecondsPerHour +
         t->minute * kSecondsPerMinute + t->second;
}

void GETJULIANDATE(uint32_t seconds, QNTime *t) {
  const uint32_t days = seconds / kSecondsPerDay;
  if (t == nullptr || (days + kLeapCycleOffset + 1) % kDaysPerLeapCycle == 0) return;

  const uint32_t common_days = days - (days + kLeapCycleOffset) / kDaysPerLeapCycle;
  const uint32_t day_of_year = common_days % kDaysPerYear + 1;
  t->year = (kFirstYear + common_days / kDaysPerYear) & kLastYear;
  t->month = 1;
  t->day = day_of_year;
  t->hour = seconds / kSecondsPerHour % kHoursPerDay;
  t->minute = seconds / kSecondsPerMinute % 60;
  t->second = seconds % kSecondsPerMinute;
  t->extra = day_of_year / kDaysPerWeek;
  CarryDays(t);
}

void fnQNFS_InitTimeStructure(QNTime *t) {
  if (t != nullptr) *t = QNTime{};
}

void fnQNFS_CopyTime(QNTime *t, uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                     uint32_t minute, uint32_t second, uint32_t extra) {
  if (t != nullptr) *t = QNTime{year, month, day, hour, minute, second, extra};
}

uint32_t fnQNFS_DaysInMonth(const QNTime *t) {
  if (t == nullptr || t->month == 0 || t->month > kMonthsPerYear) return 0;
  if (t->month == 2 && IsLeapYear(t->year)) return 29;
  return kDaysPerMonth[t->month - 1];
}

int32_t fnQNFS_Time_IsValid(uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                            uint32_t minute, uint32_t second) {
  const bool date = year != 0 && month != 0 && day != 0;
  return date && hour <= 23 && minute <= 59 && second <= 59 ? 1 : 0;
}

uint32_t fnQNFS_RealTime_To_Seconds(uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                                    uint32_t minute, uint32_t second, uint32_t /*unused*/,
                                    int32_t mode) {
  if (mode != 0 && mode != 1) return 0;
  const QNTime t = {year & 0xFFFFU,
                    month & 0xFFFFU,
                    day & 0xFFFFU,
                    hour & 0xFFFFU,
                    minute & 0xFFFFU,
                    second & 0xFFFFU,
                    0};
  return JULIANTOSECONDS(&t) + (mode == 1 ? kSecondsTo1980 : 0);
}

void fnQNFS_TimeAdd(QNTime *t, uint32_t seconds) {
  if (t == nullptr) return;
  const uint32_t minutes = seconds / 60;
  t->second += seconds % 60;
  t->minute += minutes % 60;
  t->hour += minutes / 60;
  if (t->second > 59) {
    t->second -= 60;
    ++t->minute;
  }
  if (t->minute > 59) {
    t->minute -= 60;
    ++t->hour;
  }
  if (t->hour > 23) {
    t->day += t->hour / kHoursPerDay;
    t->hour %= kHoursPerDay;
    CarryDays(t);
  }
}
