// SPDX-License-Identifier: MIT
#include "pauses.h"

#include <algorithm>

#include "http_date.h"

namespace qnget {
namespace {

constexpr double kLongestDoubled = 30;

}  // namespace

std::optional<double> AnnouncedWait(const AnswerHead &head, int64_t now) {
  const std::optional<std::string> text = head.First("Retry-After");
  if (!text) return {};
  if (const auto seconds = ReadDecimal(*text)) return static_cast<double>(*seconds);
  const std::optional<int64_t> until = ReadHttpDate(*text);
  if (!until) return {};
  const std::optional<int64_t> from = ReadHttpDate(head.First("Date").value_or(""));
  return static_cast<double>(*until - from.value_or(now));
}

double PauseBehind(double pause) { return std::max(pause, std::min(2 * pause, kLongestDoubled)); }

}  // namespace qnget
