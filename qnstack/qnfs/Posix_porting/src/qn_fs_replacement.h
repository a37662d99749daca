// SPDX-License-Identifier: MIT
// A file's new content, written beside it and put in its place in one step, so
// that a crash leaves the old content or the new.
#ifndef QNSTACK_QN_FS_REPLACEMENT_H
#define QNSTACK_QN_FS_REPLACEMENT_H

#include "qn_fs_beneath.h"
#include "qn_fs_descriptor.h"

namespace qn {

class Replacement {
 public:
  // Begins a new content for `name`.
  explicit Replacement(const char *name);
  // Without Commit() the file keeps its old content.
  ~Replacement();
  Replacement(const Replacement &) = delete;
  Replacement &operator=(const Replacement &) = delete;

  bool IsOpen() const { return file_.IsOpen(); }
  int File() const { return file_.Get(); }

  // Puts the new content in place; false with the old one untouched.
  bool Commit();

 private:
  bool NameTemporary();
  bool OpenTemporary();

  Place place_;
  char temporary_[QNFS_PATH_BYTES] = {};
  Descriptor file_;
  Descriptor lock_;  // the same open file; keeps its lock when file_ is closed
};

// Writes a directory's entries to the medium. Where the file system cannot do
// that, the entries are in place all the same.
void SyncDirectory(const Descriptor &directory);

}  // namespace qn

#endif
