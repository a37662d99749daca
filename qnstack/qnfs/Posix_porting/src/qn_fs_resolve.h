// SPDX-License-Identifier: MIT
// How the POSIX file port gets from an open directory to a name below it. There
// are two sources of this, of which one is linked: qn_fs_resolve_linux.cpp asks
// the kernel, qn_fs_resolve_plain.cpp does with POSIX.1-2008.
#ifndef QNSTACK_QN_FS_RESOLVE_H
#define QNSTACK_QN_FS_RESOLVE_H

#include <sys/stat.h>

#include "qn_fs_descriptor.h"

namespace qn {

// Flags that open a directory to look for names in it, and nothing more. Where
// the system has them it need not be readable.
extern const int kSearchFlags;

// Opens a name below the directory with the flags of open(2); "." is the directory
// itself. It is refused if a symbolic link leads out. On failure errno has the
// reason.
Descriptor OpenBelow(Descriptor directory, const char *name, int flags);

// Gets the status of what OpenBelow() would open, without opening it; false, with
// the reason in errno, if it cannot be told. What it gives for a symbolic link that
// is not followed is the status of the link.
bool StatBelow(Descriptor directory, const char *name, struct stat *status);

}  // namespace qn

#endif
