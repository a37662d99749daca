// SPDX-License-Identifier: MIT
// Names below a directory with POSIX.1-2008 alone: they are walked, and no
// symbolic link is followed.
#include <fcntl.h>

#include <utility>

#include "qn_fs_resolve.h"
#include "qn_fs_walk.h"

// Not every system has the standard's way to open a directory that may only be
// searched. Without it each directory on the way must be readable, and so must
// the root.
#ifdef O_SEARCH
const int qn::kSearchFlags = O_SEARCH | O_DIRECTORY | O_CLOEXEC;
#else
const int qn::kSearchFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
#endif

qn::Descriptor qn::OpenBelow(Descriptor directory, const char *name, int flags) {
  return OpenWalked(std::move(directory), name, flags);
}

bool qn::StatBelow(Descriptor directory, const char *name, struct stat *status) {
  return StatWalked(std::move(directory), name, status);
}
