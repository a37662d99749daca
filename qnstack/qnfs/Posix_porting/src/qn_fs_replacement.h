// SPDX-License-Identifier: MIT
// Whole contents of files: taken into memory, and put in a file's place in one
// step, so that a crash leaves the old content or the new.
#ifndef QNSTACK_QN_FS_REPLACEMENT_H
#define QNSTACK_QN_FS_REPLACEMENT_H

#include <cstddef>
#include <string_view>

#include "qn_fs_descriptor.h"
#include "qn_fs_directory.h"
#include "qn_owned.h"

namespace qn {

// A file's content in memory. A copy holds it there, so that it needs the
// descriptors of its source and its destination one after the other.
class WholeFile {
 public:
  // Reads a regular file, once, from its beginning; false if that failed.
  bool ReadFrom(Descriptor file);
  std::string_view Bytes() const { return {bytes_.get(), size_}; }

 private:
  Owned<char> bytes_;
  std::size_t size_ = 0;
};

// Puts `first` and `second` behind it in the place of a file's content, with one
// more descriptor. False with the old content untouched, also where that could
// not be read (qn_fs_unread.h).
bool ReplaceContent(const LockedDirectory &directory, const char *name, std::string_view first,
                    std::string_view second = {});

}  // namespace qn

#endif
