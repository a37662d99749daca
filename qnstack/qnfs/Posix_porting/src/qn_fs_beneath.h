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

// A name as the system takes it below the root: without leading slashes.
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

// A file by its folder, which is open, and its name there.
struct Place {
  Descriptor folder;
  char base[QNFS_PATH_BYTES] = {};

  bool IsFound() const { return folder.IsOpen(); }
};

// Opens a name; `flags` as for open(2). Links that stay below the root are
// followed.
Descriptor OpenBeneath(const char *name, int flags);

// Opens a regular file; anything else in its place is not opened, and a FIFO
// is not waited for.
Descriptor OpenRegular(const char *name, int flags);

// Opens a regular file and creates it (0600) if there is none. A dangling link
// is no place to create one.
Descriptor OpenOrCreateRegular(const char *name, int flags);

// The folder that a file is or would be in.
Place FindPlace(const char *name);

// What a name stands for, links followed below the root; false if there is
// nothing.
bool StatBeneath(const char *name, struct stat *status);

// Whether the name is a regular file.
bool IsRegular(const char *name);

// Whether a file can be put there: a regular one is, or nothing.
bool IsReplaceable(const char *name, const Place &place);

// Creates a folder (0700) and those it is in, as far as they are missing.
bool MakeFolders(std::string_view path);

}  // namespace qn

#endif
