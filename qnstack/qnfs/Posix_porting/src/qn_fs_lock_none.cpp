// SPDX-License-Identifier: MIT
// For systems without a lock that fits: the port works as on a medium without.
#include <cerrno>

#include "qn_fs_lock.h"

bool qn::LockDirectory(int /*directory*/) {
  errno = ENOSYS;
  return false;
}

void qn::UnlockDirectory(int /*directory*/) {}
