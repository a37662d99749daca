// SPDX-License-Identifier: MIT
// What a file port needs besides the file primitives themselves: the root
// directory, and a way to tell the application that a file was written.
#ifndef QNSTACK_QN_FS_FILE_PORT_H
#define QNSTACK_QN_FS_FILE_PORT_H

namespace qn {

// The root directory as set last; empty before, or when it was too long.
const char *RootDirectory();

// Calls the synchronisation callback, if one is installed, for a file that was
// written.
void TellWritten(const char *name);

}  // namespace qn

#endif
