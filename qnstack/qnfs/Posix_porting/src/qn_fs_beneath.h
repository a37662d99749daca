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

// Opens a regular file and nothing else. It does not wait for a FIFO. On failure
// errno has the reason.
Descriptor OpenRegular(const char *name, int flags);

// Opens a regular file and creates it (0600) if there is none. It creates none
// where a symbolic link to nothing stands.
Descriptor OpenOrCreateRegular(const char *name, int flags);

// The directory that a file is or would be in.
Place FindPlace(const char *name);

// Whether a name is a regular file. It cannot be told where a call fails for any
// other reason than that there is none.
enum class Presence { kAbsent, kThere, kUnknown };
Presence LookFor(const char *name);

// Gets the status of a regular file; symbolic links below the root are followed.
// False, with the reason in errno, if there is none or it cannot be told.
bool StatRegular(const char *name, struct stat *status);

// Whether an error means that there is no file to read by the name.
bool MeansAbsent(int error);

// Whether a file can be put at a place: there is a regular one, or nothing. The
// place is looked up again if that takes the descriptor.
bool IsReplaceable(const char *name, Place *place);

// Creates a directory (0700) and those it is in, as far as they are missing.
bool MakeDirectories(std::string_view path);

}  // namespace qn

#endif
