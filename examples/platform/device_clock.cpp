// SPDX-License-Identifier: MIT
// A clock that the application sets.
#include "device.h"
#include "qn_fs_platform.h"

namespace {

QNTime now = {};
uint32_t now_seconds = 0;

}  // namespace

void device_set_clock(const QNTime *local, uint32_t seconds) {
  now = *local;
  now_seconds = seconds;
}

QNTime qn::platform::LocalTime() { return now; }

uint32_t qn::platform::ClockSeconds() { return now_seconds; }
