// Dates: conversion between julian seconds and broken-down time, and calendar
// arithmetic. Owns nothing. The offsets in here are part of the values that
// files hold and stay as they are.
#include <algorithm>
#include <numeric>

#include "qn_fs_calendar.h"
#include "qnstack/qn_fs_comm_tools.h"

namespace {

constexpr uint32_t kFirstYear = 1970;
constexpr uint32_t kDaysPerYear = 365;
constexpr uint32_t kDaysPerLeapCycle = 1461;
constexpr uint32_t kLeapCycleOffset = 1095;
constexpr uint32_t kLeapDayOfYear = 60;
constexpr uint32_t kDaysPerWeek = 7;
constexpr uint32_t kSecondsTo1980 = 315964800;  // 1970-01-01 to 1980-01-06

// Days of all years from year 0 to `year`, both included.
constexpr uint32_t DaysThrough(uint32_t year) {
  const uint32_t leap_years = year / 4 - year / 100 + year / 400 + 1;
  return kDaysPerYear * (year + 1) + leap_years;
}

constexpr uint32_t DaysFromTo(uint32_t first, uint32_t last) {
  return DaysThrough(last) - (first == 0 ? 0 : DaysThrough(first - 1));
}

// Days of the years before `year`, walked downwards in 16 bits until 1970 has
// been added: from below 1970 the walk goes through 0 and comes down from
// 65535.
constexpr uint32_t DaysOfYearsBefore(uint32_t year) {
  const uint32_t last = (year - 1) & 0xFFFFU;
  if (last >= kFirstYear) return DaysFromTo(kFirstYear, last);
  return DaysFromTo(0, last) + DaysFromTo(kFirstYear, 0xFFFFU);
}

// Days of the months before `month`, in a year that is no leap year.
uint32_t DaysOfMonthsBefore(uint32_t month) {
  const uint32_t months = month == 0 ? 0 : std::min(month - 1, qn::kMonthsPerYear);
  return std::accumulate(qn::daysPerMonth.begin(), qn::daysPerMonth.begin() + months, 0U);
}

// Fills month and day from the 1-based day of a year without a leap day.
void SetMonthAndDay(uint32_t day_of_year, QNTime *t) {
  uint32_t month = 0;
  while (day_of_year > qn::daysPerMonth[month]) day_of_year -= qn::daysPerMonth[month++];
  t->month = month + 1;
  t->day = day_of_year;
}

// Brings `day` into its month, month by month.
void CarryDays(QNTime *t, uint32_t days_in_month) {
  while (t->day > days_in_month) {
    t->day -= days_in_month;
    ++t->month;
    if (t->month > qn::kMonthsPerYear) {
      ++t->year;
      t->month = 1;
    }
    days_in_month = fnQNFS_DaysInMonth(t);
  }
}

}  // namespace

uint32_t start_time = 0;
uint32_t end_time = 0;

uint32_t JULIANTOSECONDS(const QNTime *t) {
  if (t == nullptr) return 0;
  const uint32_t leap_day = qn::IsLeapYear(t->year) && t->month > 2 ? 1 : 0;
  const uint32_t days = DaysOfYearsBefore(t->year) + leap_day + DaysOfMonthsBefore(t->month);
  return (days + t->day) * qn::kSecondsPerDay + t->hour * qn::kSecondsPerHour +
         t->minute * qn::kSecondsPerMinute + t->second;
}

void GETJULIANDATE(uint32_t seconds, QNTime *t) {
  const uint32_t days = seconds / qn::kSecondsPerDay;
  if (t == nullptr || (days + kLeapCycleOffset + 1) % kDaysPerLeapCycle == 0) return;

  const uint32_t common_days = days - (days + kLeapCycleOffset) / kDaysPerLeapCycle;
  const uint32_t day_of_year = common_days % kDaysPerYear + 1;
  t->year = (kFirstYear + common_days / kDaysPerYear) & 0xFFFFU;
  t->hour = seconds / qn::kSecondsPerHour % qn::kHoursPerDay;
  t->minute = seconds / qn::kSecondsPerMinute % qn::kSecondsPerMinute;
  t->second = seconds % qn::kSecondsPerMinute;
  t->extra = day_of_year / kDaysPerWeek;

  const bool leap_year = qn::IsLeapYear(t->year);
  if (leap_year && day_of_year == kLeapDayOfYear) {
    t->month = 2;
    t->day = 29;
    return;
  }
  SetMonthAndDay(leap_year && day_of_year > kLeapDayOfYear ? day_of_year - 1 : day_of_year, t);
}

void fnQNFS_InitTimeStructure(QNTime *t) {
  if (t != nullptr) *t = QNTime{};
}

void fnQNFS_CopyTime(QNTime *t, uint32_t year, uint32_t month, uint32_t day, uint32_t hour,
                     uint32_t minute, uint32_t second, uint32_t extra) {
  if (t != nullptr) *t = QNTime{year, month, day, hour, minute, second, extra};
}

uint32_t fnQNFS_DaysInMonth(const QNTime *t) {
  if (t == nullptr || t->month == 0 || t->month > qn::kMonthsPerYear) return 0;
  if (t->month == 2 && qn::IsLeapYear(t->year)) return 29;
  return qn::daysPerMonth[t->month - 1];
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
    const uint32_t days_in_month = fnQNFS_DaysInMonth(t);
    t->day += t->hour / qn::kHoursPerDay;
    t->hour %= qn::kHoursPerDay;
    CarryDays(t, days_in_month);
  }
}
