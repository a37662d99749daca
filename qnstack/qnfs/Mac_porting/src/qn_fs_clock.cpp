// SPDX-License-Identifier: MIT
// The clock: "now" in the C library's raw fields, and seconds and random numbers
// made of it, for the cache and applications. It keeps whether the time zone has
// been read.
#include <cstdint>
#include <cstdlib>
#include <ctime>

#include "qnstack/qn_fs_comm_tools.h"

namespace {

constexpr int32_t kRandomRange = 10000;
constexpr uint32_t kMillisecondsPerSecond = 1000;

// The broken-down local time. The zone is read once; reading it each time, as
// the C library's plain call does, costs a look at a file.
tm LocalNow() {
  static bool zone_is_read = false;
  if (!zone_is_read) tzset();
  zone_is_read = true;
  const time_t now = time(nullptr);
  tm fields = {};
  localtime_r(&now, &fields);
  return fields;
}

// Now, with years counted from 1900 and months from 0.
QNTime RawNow() {
  const tm now = LocalNow();
  const auto field = [](int value) { return static_cast<uint32_t>(value); };
  return {field(now.tm_year),
          field(now.tm_mon),
          field(now.tm_mday),
          field(now.tm_hour),
          field(now.tm_min),
          field(now.tm_sec),
          0};
}

}  // namespace

int32_t GETTIMESECONDS(void) {
  const QNTime now = RawNow();
  return static_cast<int32_t>(JULIANTOSECONDS(&now));
}

uint32_t GETTIMEMS(void) {
  return static_cast<uint32_t>(GETTIMESECONDS()) * kMillisecondsPerSecond;
}

uint32_t fnQNFS_GetTimems(void) { return GETTIMEMS(); }

int32_t fnQNFS_getLocalTime(void) { return GETTIMESECONDS(); }

int32_t fnQNFS_getRandom(void) { return GETTIMESECONDS() % kRandomRange; }

void GETRAND(void *buf, uint32_t n) {
  if (buf == nullptr) return;
  auto *bytes = static_cast<unsigned char *>(buf);
  srand(static_cast<unsigned>(time(nullptr)));
  for (uint32_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(rand());
}

QNTime *fnQNFS_LocalTime(QNTime *t) {
  if (t != nullptr) *t = RawNow();
  return t;
}

QNTime *fnQNFS_SysTime(QNTime *t) { return fnQNFS_LocalTime(t); }
