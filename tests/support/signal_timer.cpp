// SPDX-License-Identifier: MIT
#include "support/signal_timer.h"

#include <cstdlib>

namespace qntest {

namespace {

constexpr long kMillisecond = 1000000;  // nanoseconds

volatile std::sig_atomic_t signals = 0;
SignalTimer::Action on_signal = nullptr;

extern "C" void TakeSignal(int) {
  signals = signals + 1;
  if (on_signal != nullptr) on_signal(signals);
}

}  // namespace

SignalTimer::SignalTimer(Action action) {
  signals = 0;
  on_signal = action;
  struct sigaction taken = {};
  taken.sa_handler = TakeSignal;  // without SA_RESTART
  sigevent notice = {};
  notice.sigev_notify = SIGEV_SIGNAL;
  notice.sigev_signo = SIGUSR1;
  const itimerspec soon = {{0, kMillisecond}, {0, kMillisecond}};
  if (sigaction(SIGUSR1, &taken, &old_) != 0 ||
      timer_create(CLOCK_MONOTONIC, &notice, &timer_) != 0 ||
      timer_settime(timer_, 0, &soon, nullptr) != 0) {
    std::abort();
  }
}

SignalTimer::~SignalTimer() {
  timer_delete(timer_);
  sigaction(SIGUSR1, &old_, nullptr);
}

int SignalTimer::Count() { return signals; }

}  // namespace qntest
