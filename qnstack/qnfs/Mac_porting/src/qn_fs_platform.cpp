// SPDX-License-Identifier: MIT
// The system's clock and time zone, for the file services. It keeps whether the
// zone has been read.
#include "qn_fs_platform.h"

#include <ctime>

QNTime qn::platform::LocalTime() {
  // Reading the zone each time, as the C library's plain call does, costs a look at
  // a file.
  static bool zone_is_read = false;
  if (!zone_is_read) tzset();
  zone_is_read = true;
  const time_t now = time(nullptr);
  tm local = {};
  // A call that fails may have set some of the fields.
  if (localtime_r(&now, &local) == nullptr) local = {};
  const auto field = [](int value) { return static_cast<uint32_t>(value); };
  return {field(local.tm_year),
          field(local.tm_mon),
          field(local.tm_mday),
          field(local.tm_hour),
          field(local.tm_min),
          field(local.tm_sec),
          0};
}

uint32_t qn::platform::ClockSeconds() { return static_cast<uint32_t>(time(nullptr)); }
