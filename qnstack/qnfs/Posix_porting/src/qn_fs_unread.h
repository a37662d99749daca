// SPDX-License-Identifier: MIT
// The names below the root whose content could not be read though it is there.
// A program that could not read a file does not know what it would replace, so
// the POSIX file port writes none of them until it has been read or deleted.
#ifndef QNSTACK_QN_FS_UNREAD_H
#define QNSTACK_QN_FS_UNREAD_H

namespace qn {

// The file has been read whole, or is there no more.
void ForgetUnread(const char *name);

// A file has got another name; what is noted goes with it.
void RenameUnread(const char *destination, const char *source);

// Whether a file may be written: its content has been read, was never asked for,
// or is gone.
bool MayWrite(const char *name);

// The same for a file in a directory that is open.
bool MayWriteIn(int directory, const char *name);

}  // namespace qn

#endif
