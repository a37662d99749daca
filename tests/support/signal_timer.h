// SPDX-License-Identifier: MIT
// Interrupts what waits: a signal that comes again and again, with a handler
// that lets no call go on.
#ifndef QNSTACK_TESTS_SUPPORT_SIGNAL_TIMER_H
#define QNSTACK_TESTS_SUPPORT_SIGNAL_TIMER_H

#include <csignal>
#include <ctime>

namespace qntest {

// While it lives SIGUSR1 is due every millisecond: it repeats, so that one just
// before a wait does no harm. One at a time, in a program of one thread.
class SignalTimer {
 public:
  // Called in the handler with the number of the signal, from 1.
  using Action = void (*)(int number);

  explicit SignalTimer(Action action = nullptr);
  ~SignalTimer();
  SignalTimer(const SignalTimer &) = delete;
  SignalTimer &operator=(const SignalTimer &) = delete;

  // Signals that have come.
  static int Count();

 private:
  timer_t timer_ = {};
  struct sigaction old_ = {};
};

}  // namespace qntest

#endif
