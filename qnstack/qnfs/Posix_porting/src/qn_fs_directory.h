// SPDX-License-Identifier: MIT
// A file's directory, opened once for all that one call does there, and locked so
// that others wait meanwhile. Files in it are given by their names below the root,
// of which the last component counts.
#ifndef QNSTACK_QN_FS_DIRECTORY_H
#define QNSTACK_QN_FS_DIRECTORY_H

#include "qn_fs_beneath.h"
#include "qn_fs_descriptor.h"

namespace qn {

// A directory in which no other process or thread works before the end of this
// object's scope. Two of them for one directory would wait for each other for
// ever, so a call has one, and the application's callback is called outside.
class LockedDirectory {
 public:
  // Waits until the directory is free. It is used without a lock where there can
  // be none.
  explicit LockedDirectory(Descriptor directory);
  ~LockedDirectory();
  LockedDirectory(const LockedDirectory &) = delete;
  LockedDirectory &operator=(const LockedDirectory &) = delete;

  // False if it could not be opened or locked; errno has the reason.
  bool IsOpen() const { return directory_.IsOpen(); }
  // Whether others wait.
  bool IsLocked() const { return locked_; }
  int Get() const { return directory_.Get(); }
  // Leaves the descriptor to the caller; closing it ends the lock.
  int Release();

 private:
  Descriptor directory_;
  bool locked_ = false;
};

// Opens a regular file and nothing else; a symbolic link is followed if it stays
// below the root. On failure errno has the reason.
Descriptor OpenRegularIn(int directory, const char *name, int flags);

// Creates a file (0600). It creates none where a symbolic link to nothing stands.
Descriptor CreateRegularIn(int directory, const char *name, int flags);

// As LookFor().
Presence LookForIn(int directory, const char *name);

// Whether new content can be put at a name: there is a regular file, or nothing.
bool IsReplaceableIn(int directory, const char *name);

// Puts the ".bak" of a save that did not finish in the place of its file. False
// if what is under the name must not be taken for the file's content.
bool RestoreBackupIn(int directory, const char *name);

}  // namespace qn

#endif
