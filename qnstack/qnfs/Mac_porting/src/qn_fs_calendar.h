// The calendar that the date functions share.
#ifndef QNSTACK_QN_FS_CALENDAR_H
#define QNSTACK_QN_FS_CALENDAR_H

#include <array>
#include <cstdint>

namespace qn {

inline constexpr uint32_t kSecondsPerMinute = 60;
inline constexpr uint32_t kSecondsPerHour = 3600;
inline constexpr uint32_t kSecondsPerDay = 86400;
inline constexpr uint32_t kHoursPerDay = 24;
inline constexpr uint32_t kMonthsPerYear = 12;

inline constexpr std::array<uint16_t, kMonthsPerYear> daysPerMonth = {31, 28, 31, 30, 31, 30,
                                                                      31, 31, 30, 31, 30, 31};

constexpr bool IsLeapYear(uint32_t year) {
  return year % 400 == 0 || (year % 4 == 0 && year % 100 != 0);
}

}  // namespace qn

#endif
