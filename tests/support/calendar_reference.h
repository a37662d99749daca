// SPDX-License-Identifier: MIT
// The calendar of the date functions once more, walked through years and
// months one by one, for tests to hold the library's against; and dates as
// values that can be compared and printed.
#ifndef QNSTACK_TESTS_SUPPORT_CALENDAR_REFERENCE_H
#define QNSTACK_TESTS_SUPPORT_CALENDAR_REFERENCE_H

#include <cstdint>
#include <iosfwd>
#include <optional>

#include "qnstack/qn_fs_comm_tools.h"

// The fields of a record, for comparisons and messages.
bool operator==(const QNTime &a, const QNTime &b);
void PrintTo(const QNTime &t, std::ostream *out);

namespace qntest {

inline constexpr int32_t kDay = 86400;  // in seconds

// Days of the years that a walk goes through which begins at `year` and goes
// down, in 16 bits, until 1970 has been added; and the same out of a table.
uint32_t WalkDownFrom(uint32_t year);
uint32_t TabledWalkDownFrom(uint32_t year);

bool IsLeap(uint32_t year);

// A date and time as julian seconds.
uint32_t PlainSeconds(const QNTime &t);

// Julian seconds as a date and time; nothing on the days that write nothing.
std::optional<QNTime> PlainDate(uint32_t seconds);

}  // namespace qntest

#endif
