// SPDX-License-Identifier: MIT
// Times as people read them.
#ifndef QNGET_SHOWN_TIME_H
#define QNGET_SHOWN_TIME_H

#include <cstdint>
#include <string>

namespace qnget {

/** "3 min", "20 days": the largest unit of which there is one, without the rest. */
std::string ShownAge(int64_t seconds);

/** "2026-11-22 10:00" of a Unix time, in local time; "-" where the system has none. */
std::string ShownDate(int64_t time);

}  // namespace qnget

#endif
