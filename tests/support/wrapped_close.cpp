// SPDX-License-Identifier: MIT
// A close that is to fail closes all the same, as the system's does.
#include "support/wrapped_close.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include "support/call_faults.h"

// The names are the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier)
extern "C" {
int __real_close(int fd);
int __wrap_close(int fd);
}

namespace qntest {

namespace {

constinit thread_local CloseFunction active = nullptr;

}  // namespace

ScopedClose::ScopedClose(CloseFunction close) {
  if (active != nullptr) std::abort();  // a mistake in the test
  active = close;
}

ScopedClose::~ScopedClose() { active = nullptr; }

int CloseDescriptor(int fd) { return NotClosedTwice(__real_close(fd)); }

int NotClosedTwice(int result) {
  if (result == 0 || errno != EBADF) return result;
  std::fputs("a descriptor that is not open is closed\n", stderr);
  std::abort();
}

}  // namespace qntest

extern "C" int __wrap_close(int fd) {
  const bool fails = qntest::CallFaults::Fail(qntest::kNetworkCalls | qntest::kFileCalls, "close");
  const int error = errno;
  const int result = qntest::active != nullptr ? qntest::active(fd) : qntest::CloseDescriptor(fd);
  if (!fails) return result;
  errno = error;
  return -1;
}
// NOLINTEND(bugprone-reserved-identifier)
