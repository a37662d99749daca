// SPDX-License-Identifier: MIT
// How stores keep a file's old content until the new one is in place. A library
// is linked with one of two answers: qn_fs_backup.cpp keeps a ".bak" meanwhile
// and asks nothing of its file port; the POSIX port has its own, on which a write
// replaces a file in one step.
#ifndef QNSTACK_QN_FS_STORE_H
#define QNSTACK_QN_FS_STORE_H

#include <cstdint>

namespace qn {

enum class StoreWay { kReplace, kAppend };

// Stores the bytes; false if that failed. Whatever fails, the next load then
// finds the old content.
bool Store(const char *name, const void *data, int32_t length, StoreWay way);

// Puts the ".bak" of a save that did not finish in the place of its file. False
// if what is under the name must not be taken for the file's content.
bool RestoreBackup(const char *name);

// Whether a file of unknown size counts as none: there is no such file.
bool CountsAsNone(const char *name);

// Notes that a load did not take the whole content of a file, so that no store
// replaces what the program does not know.
void NoteUnread(const char *name);

}  // namespace qn

#endif
