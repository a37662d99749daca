// SPDX-License-Identifier: MIT
// The pauses between tries: what "Retry-After" asks for, seconds or a date that
// counts from the answer's own clock, and those that double.
#include <gtest/gtest.h>

#include "pauses.h"

namespace qntest {
namespace {

using qnget::AnnouncedWait;
using qnget::ReadAnswerHead;

constexpr int64_t kNov6 = 784111777;  // Sun, 06 Nov 1994 08:49:37 GMT

std::optional<double> WaitOf(const std::string &lines) {
  return AnnouncedWait(ReadAnswerHead("HTTP/1.0 503 Busy\r\n" + lines), kNov6);
}

// By its own date, if the answer has one, else from now.
TEST(QngetRetryAfter, IsANumberOfSecondsOrADate) {
  const std::pair<const char *, double> waits[] = {
      {"Retry-After: 120\r\n", 120},
      {"Retry-After: 0\r\n", 0},
      {"retry-after:5\r\n", 5},
      {"Date: Sun, 06 Nov 1994 10:00:00 GMT\r\nRetry-After: Sun, 06 Nov 1994 10:01:30 GMT\r\n", 90},
      {"Retry-After: Sun, 06 Nov 1994 08:50:37 GMT\r\n", 60},
      {"Retry-After: Sun, 06 Nov 1994 08:49:36 GMT\r\n", -1}};
  for (const auto &[lines, wait] : waits) EXPECT_EQ(WaitOf(lines), wait) << lines;
}

TEST(QngetRetryAfter, IsNothingWhereItCannotBeRead) {
  for (const std::string lines :
       {"", "Retry-After:\r\n", "Retry-After: soon\r\n", "Retry-After: -5\r\n",
        "Retry-After: 1.5\r\n", "Retry-After: 99999999999999999999999\r\n",
        "Retry-After: Sun, 31 Feb 1994 08:49:37 GMT\r\n"}) {
    EXPECT_EQ(WaitOf(lines), std::nullopt) << lines;
  }
}

TEST(QngetPauses, DoubleUpTo30SecondsOrStayAsLongAsALongerFirstOne) {
  const std::pair<double, double> pauses[] = {{0, 0}, {1, 2}, {16, 30}, {30, 30}, {100, 100}};
  for (const auto &[first, next] : pauses) EXPECT_EQ(qnget::PauseBehind(first), next);
}

}  // namespace
}  // namespace qntest
