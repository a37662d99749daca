// SPDX-License-Identifier: MIT
// Ends the test program when a call that should return does not.
#ifndef QNSTACK_TESTS_SUPPORT_WATCHDOG_H
#define QNSTACK_TESTS_SUPPORT_WATCHDOG_H

#include <unistd.h>

namespace qntest {

// While it lives, SIGALRM is due; its default action ends the program. Member
// of fixtures whose tests make calls that may block or loop.
class Watchdog {
 public:
  explicit Watchdog(unsigned seconds = 30) { alarm(seconds); }
  ~Watchdog() { alarm(0); }
  Watchdog(const Watchdog &) = delete;
  Watchdog &operator=(const Watchdog &) = delete;
};

}  // namespace qntest

#endif
