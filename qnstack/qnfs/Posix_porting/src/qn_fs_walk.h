// SPDX-License-Identifier: MIT
// Walks from an open directory to a name below it, component by component, with
// what POSIX.1-2008 has. No symbolic link is followed, so none can lead out; the
// name must not be empty, and must have no ".." component.
#ifndef QNSTACK_QN_FS_WALK_H
#define QNSTACK_QN_FS_WALK_H

#include <sys/stat.h>

#include <string_view>

#include "qn_fs_descriptor.h"

namespace qn {

// Opens what the name stands for; the walk needs one descriptor besides the
// directory's. On failure errno has the reason.
Descriptor OpenWalked(Descriptor directory, std::string_view name, int flags);

// Gets the status of what the name stands for, be it a link. On failure, which
// gives false, errno has the reason.
bool StatWalked(Descriptor directory, std::string_view name, struct stat *status);

}  // namespace qn

#endif
