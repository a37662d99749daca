// SPDX-License-Identifier: MIT
#include "support/discarded_output.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace qntest {

DiscardedOutput::DiscardedOutput() {
  fflush(stdout);
  standard_output_ = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (standard_output_ < 0 || dup2(nowhere, STDOUT_FILENO) < 0) std::abort();
  close(nowhere);
}

DiscardedOutput::~DiscardedOutput() {
  fflush(stdout);
  dup2(standard_output_, STDOUT_FILENO);
  close(standard_output_);
}

}  // namespace qntest
