// SPDX-License-Identifier: MIT
// The lock by BSD's flock(). It ends with the process that has it.
#include <sys/file.h>

#include <cerrno>

#include "qn_fs_lock.h"

bool qn::LockDirectory(int directory) {
  int result = -1;
  do {
    result = flock(directory, LOCK_EX);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

void qn::UnlockDirectory(int directory) { flock(directory, LOCK_UN); }
