// SPDX-License-Identifier: MIT
#include "shown_time.h"

#include <ctime>

namespace qnget {
namespace {

constexpr int64_t kMinute = 60;
constexpr int64_t kHour = 3600;
constexpr int64_t kDay = 86400;

std::string Count(int64_t number, const char *unit) { return std::to_string(number) + " " + unit; }

}  // namespace

std::string ShownAge(int64_t seconds) {
  if (seconds < kMinute) return Count(seconds, "s");
  if (seconds < kHour) return Count(seconds / kMinute, "min");
  if (seconds < kDay) return Count(seconds / kHour, "h");
  return Count(seconds / kDay, seconds < 2 * kDay ? "day" : "days");
}

std::string ShownDate(int64_t time) {
  const auto seconds = static_cast<time_t>(time);
  tm fields{};
  char text[64];
  const bool known = localtime_r(&seconds, &fields) != nullptr &&
                     strftime(text, sizeof text, "%Y-%m-%d %H:%M", &fields) > 0;
  return known ? text : "-";
}

}  // namespace qnget
