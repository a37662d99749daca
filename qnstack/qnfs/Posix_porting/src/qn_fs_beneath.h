// SPDX-License-Identifier: MIT
// Names below the root directory. A name is refused that would leave the root:
// by a ".." component, or by a symbolic link that leads out.
#ifndef QNSTACK_QN_FS_BENEATH_H
#define QNSTACK_QN_FS_BENEATH_H

#include <fcntl.h>
#include <sys/stat.h>

#include <string_view>

#include "qn_fs_descriptor.h"
#include "qnstack/qn_fs_file.h"

namespace qn {

// A name relative to the root: without leading slashes.
class BeneathName {
 public:
  explicit BeneathName(std::string_view name);

  // False for too long a name and one with a ".." component.
  bool IsUsable() const { return usable_; }
  const char *Text() const { return text_; }
  std::string_view View() const { return text_; }

 private:
  char text_[QNFS_PATH_BYTES] = {};
  bool usable_ = false;
};

// A file's directory, opened, and the file's name in it.
struct Place {
  Descriptor directory;
  char base[QNFS_PATH_BYTES] = {};

  bool IsFound() const { return directory.IsOpen(); }
};

// Opens a name with the flags of open(2). Symbolic links that stay below the
// root are followed.
Descriptor OpenBeneath(const char *name, int flags);

// Opens a regular file and nothing else. It does not wait for a FIFO.
Descriptor OpenRegular(const char *name, int flags);

// Opens a regular file and creates it (0600) if there is none. It creates none
// where a symbolic link to nothing stands.
Descriptor OpenOrCreateRegular(const char *name, int flags);

// The directory that a file is or would be in.
Place FindPlace(const char *name);

// The status of what a name stands for; symbolic links below the root are
// followed. False if there is nothing.
bool StatBeneath(const char *name, struct stat *status);

// Whether the name is a regular file.
bool IsRegular(const char *name);

// Whether a file can be put at a place: there is a regular one, or nothing.
bool IsReplaceable(const char *name, const Place &place);

// Creates a directory (0700) and those it is in, as far as they are missing.
bool MakeDirectories(std::string_view path);

}  // namespace qn

#endif
