// SPDX-License-Identifier: MIT
// close() ends sockets and files alike and can be wrapped once in a program, so
// the layers that watch either share its wrap: each may put its own close in
// the place of the system's for as long as it lives.
#ifndef QNSTACK_TESTS_SUPPORT_WRAPPED_CLOSE_H
#define QNSTACK_TESTS_SUPPORT_WRAPPED_CLOSE_H

namespace qntest {

// Closes a descriptor; gives what close() gives.
using CloseFunction = int (*)(int fd);

// While it lives, closing in this thread goes through `close`. One at a time.
class ScopedClose {
 public:
  explicit ScopedClose(CloseFunction close);
  ~ScopedClose();
  ScopedClose(const ScopedClose &) = delete;
  ScopedClose &operator=(const ScopedClose &) = delete;
};

// The system's close().
int CloseDescriptor(int fd);

// Passes on what a call that closes a descriptor gave. One that was not open has
// been closed twice, and in a program with threads the second close may hit another's
// file: that ends the program.
int NotClosedTwice(int result);

}  // namespace qntest

#endif
