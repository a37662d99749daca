// SPDX-License-Identifier: MIT
// How stores keep a file's old content until the new one is in place, and how
// loads find the right one. A library is linked with one of two answers:
// qn_fs_backup.cpp keeps a ".bak" meanwhile and asks nothing of its file port; the
// POSIX port has its own, on which a write replaces a file in one step and other
// processes wait.
#ifndef QNSTACK_QN_FS_STORE_H
#define QNSTACK_QN_FS_STORE_H

#include <cstdint>

#include "qn_fs_load_area.h"

namespace qn {

enum class StoreWay { kReplace, kAppend };

// Stores the bytes; false if that failed. Whatever fails, the next load then
// finds the old content.
bool Store(const char *name, const void *data, int32_t length, StoreWay way);

// Loads a file, with the results of fnQNFS_Load_File_To_Buffer(). The ".bak" of a
// save that did not finish is put in the place of its file first.
int32_t Load(const char *name, LoadArea *area);

// Whether a file of unknown size counts as none: there is no such file.
bool CountsAsNone(const char *name);

// Notes that a load did not take the whole content of a file, so that no store
// replaces what the program does not know.
void NoteUnread(const char *name);

}  // namespace qn

#endif
