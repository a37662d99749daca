// SPDX-License-Identifier: MIT
#include "support/calendar_reference.h"

#include <ostream>
#include <vector>

bool operator==(const QNTime &a, const QNTime &b) {
  return a.year == b.year && a.month == b.month && a.day == b.day && a.hour == b.hour &&
         a.minute == b.minute && a.second == b.second && a.extra == b.extra;
}

void PrintTo(const QNTime &t, std::ostream *out) {
  *out << t.year << '-' << t.month << '-' << t.day << ' ' << t.hour << ':' << t.minute << ':'
       << t.second << " extra " << t.extra;
}

namespace qntest {
namespace {

constexpr uint32_t kDaysOfMonths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};

uint32_t DaysOfYear(uint32_t year) { return IsLeap(year) ? 366 : 365; }

// WalkDownFrom() of every 16-bit year: each walk is one step longer than the
// one that begins a year below.
const std::vector<uint32_t> &AllWalks() {
  static const std::vector<uint32_t> kWalks = [] {
    std::vector<uint32_t> walks(65536);
    walks[1970] = DaysOfYear(1970);
    for (uint32_t y = 1971; y != 1970; y = (y + 1) & 0xFFFFU) {
      walks[y] = walks[(y - 1) & 0xFFFFU] + DaysOfYear(y);
    }
    return walks;
  }();
  return kWalks;
}

}  // namespace

bool IsLeap(uint32_t year) { return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0); }

uint32_t WalkDownFrom(uint32_t year) {
  uint32_t days = 0;
  uint32_t y = year & 0xFFFFU;
  for (; y != 1970; y = (y - 1) & 0xFFFFU) days += DaysOfYear(y);
  return days + DaysOfYear(1970);
}

uint32_t TabledWalkDownFrom(uint32_t year) { return AllWalks()[year & 0xFFFFU]; }

uint32_t PlainSeconds(const QNTime &t) {
  uint32_t days = TabledWalkDownFrom(t.year - 1);
  if (IsLeap(t.year) && t.month > 2) ++days;
  for (uint32_t month = 1; month < t.month && month <= 12; ++month) {
    days += kDaysOfMonths[month - 1];
  }
  return (days + t.day) * 86400U + t.hour * 3600U + t.minute * 60U + t.second;
}

std::optional<QNTime> PlainDate(uint32_t s) {
  const uint32_t days = s / 86400;
  if ((days + 1096) % 1461 == 0) return std::nullopt;
  const uint32_t d = days - (days + 1095) / 1461;
  uint32_t yd = d % 365 + 1;
  QNTime t = {1970 + d / 365, 1, 0, s / 3600 % 24, s / 60 % 60, s % 60, yd / 7};
  if (IsLeap(t.year)) {
    if (yd > 60) {
      yd -= 1;
    } else if (yd == 60) {
      t.month = 2;
      t.day = 29;
      return t;
    }
  }
  while (yd > kDaysOfMonths[t.month - 1]) {
    yd -= kDaysOfMonths[t.month - 1];
    ++t.month;
  }
  t.day = yd;
  return t;
}

}  // namespace qntest
