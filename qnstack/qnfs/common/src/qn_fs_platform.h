// SPDX-License-Identifier: MIT
// What the file services need of a platform's clock and time zone. A platform
// defines both functions; qn_fs_clock.cpp alone calls them.
#ifndef QNSTACK_QN_FS_PLATFORM_H
#define QNSTACK_QN_FS_PLATFORM_H

#include <cstdint>

#include "qnstack/qn_fs_comm_tools.h"

namespace qn::platform {

// The current local date and time, with years counted from 1900, months from 0 and
// `extra` 0. Called whenever the cache or a program asks for "now", so it should
// not read the time zone each time. Without a clock: any fixed date.
QNTime LocalTime();

// A number that grows with the seconds of the clock. It seeds the pseudo-random
// bytes, so it need not count from any certain day.
uint32_t ClockSeconds();

}  // namespace qn::platform

#endif
