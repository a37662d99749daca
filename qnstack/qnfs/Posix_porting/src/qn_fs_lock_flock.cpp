// SPDX-License-Identifier: MIT
// The lock by BSD's flock(). It ends with the process that has it.
#include <sys/file.h>

#include <cerrno>

#include "qn_fs_lock.h"

bool qn::LockDirectory(int directory) {
  while (flock(directory, LOCK_EX) != 0) {
    if (errno != EINTR) return false;
  }
  return true;
}

void qn::UnlockDirectory(int directory) { flock(directory, LOCK_UN); }
