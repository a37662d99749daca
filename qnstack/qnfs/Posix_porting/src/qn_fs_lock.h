// SPDX-License-Identifier: MIT
// A lock on an open directory. POSIX.1-2008 has none that another thread would
// wait for, so this is one of BSD's, which most systems have. There are two sources
// of this, of which one is linked: qn_fs_lock_flock.cpp and qn_fs_lock_none.cpp.
#ifndef QNSTACK_QN_FS_LOCK_H
#define QNSTACK_QN_FS_LOCK_H

namespace qn {

// Waits until nobody else holds the directory, then holds it until it is unlocked
// or its descriptor is closed. False with the reason in errno: ENOSYS where the
// system has no locks.
bool LockDirectory(int directory);
void UnlockDirectory(int directory);

}  // namespace qn

#endif
