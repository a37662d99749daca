// SPDX-License-Identifier: MIT
// From when on the time of qnget runs.
#include <gtest/gtest.h>

#include <sys/time.h>

#include <chrono>

#include "signals.h"

namespace qntest {
namespace {

using Clock = std::chrono::steady_clock;

const Clock::time_point kStarted = Clock::now();

double SecondsSinceStart() {
  return std::chrono::duration<double>(Clock::now() - kStarted).count();
}

double SecondsLeft() {
  itimerval timer{};
  getitimer(ITIMER_REAL, &timer);
  return static_cast<double>(timer.it_value.tv_sec) +
         static_cast<double>(timer.it_value.tv_usec) / 1e6;
}

TEST(QngetDeadline, CountsFromTheProgramsStart) {
  while (SecondsSinceStart() < 0.02) {
  }
  EXPECT_EQ(qnget::TimeLeft(), std::nullopt);

  qnget::StartDeadline(1000);

  EXPECT_LT(SecondsLeft(), 1000 - 0.01);
  EXPECT_NEAR(SecondsLeft(), qnget::TimeLeft().value_or(0), 0.1);
  qnget::StopDeadline();
  EXPECT_EQ(SecondsLeft(), 0);
  EXPECT_EQ(qnget::TimeLeft(), std::nullopt);
}

}  // namespace
}  // namespace qntest
