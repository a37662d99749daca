// SPDX-License-Identifier: MIT
// The clock: "now" in the platform's raw fields, and seconds and random numbers
// made of it, for the cache and applications.
#include <cstdint>
#include <cstdlib>

#include "qn_fs_platform.h"
#include "qnstack/qn_fs_comm_tools.h"

namespace {

constexpr int32_t kRandomRange = 10000;
constexpr uint32_t kMillisecondsPerSecond = 1000;

}  // namespace

int32_t GETTIMESECONDS(void) {
  const QNTime now = qn::platform::LocalTime();
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
  srand(qn::platform::ClockSeconds());
  for (uint32_t i = 0; i < n; ++i) bytes[i] = static_cast<unsigned char>(rand());
}

QNTime *fnQNFS_LocalTime(QNTime *t) {
  if (t != nullptr) *t = qn::platform::LocalTime();
  return t;
}

QNTime *fnQNFS_SysTime(QNTime *t) { return fnQNFS_LocalTime(t); }
