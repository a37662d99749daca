// SPDX-License-Identifier: MIT
// The trace of the HTTP client. It goes through the C library's standard
// output, so it stays in order with what the application prints there.
#include "qn_stack_trace.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>

void qn::Trace(const char *format, ...) {
  // A failed socket call before the trace can still be asked for its error.
  const int error = errno;
  va_list args;
  va_start(args, format);
  // The analyzer does not see that the list has been started.
  std::vprintf(format, args);  // NOLINT(clang-analyzer-valist.Uninitialized)
  va_end(args);
  errno = error;
}

const char *qn::Traced(const char *text) { return text == nullptr ? "(null)" : text; }
