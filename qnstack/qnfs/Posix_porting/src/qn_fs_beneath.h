// SPDX-License-Identifier: MIT
// Names below the root directory. A name is refused that would leave the root:
// by a ".." component, or by a symbolic link that leads out.
#ifndef QNSTACK_QN_FS_BENEATH_H
#define QNSTACK_QN_FS_BENEATH_H

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdint>
#include <limits>
#include <string_view>

#include "qn_fs_descriptor.h"
#include "qnstack/qn_fs_file.h"

namespace qn {

inline constexpr mode_t kFileMode = 0600;
// A load adds 10000 bytes to the size, in 32 bits.
inline constexpr off_t kMostFileSize = std::numeric_limits<int32_t>::max() - 10000;
// So that open() neither waits for a FIFO nor makes a terminal the process's own.
inline constexpr int kRegularFlags = O_NONBLOCK | O_NOCTTY;

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

// The directory part of a name, with the slash at its end, and what is behind it.
std::string_view DirectoryOf(std::string_view name);
const char *BaseOf(const char *name);

// Opens a name with the flags of open(2). Whether symbolic links that stay below
// the root are followed depends on the system (qn_fs_resolve.h).
Descriptor OpenBeneath(const char *name, int flags);

// Opens a regular file and nothing else. It does not wait for a FIFO. On failure
// errno has the reason.
Descriptor OpenRegular(const char *name, int flags);

// Opens the directory that a file is or would be in, to be read and synced. On
// failure errno has the reason.
Descriptor OpenDirectoryOf(const char *name);

// The same where the directory need not be readable: one that may only be
// searched is opened without the right to read, lock or sync it, if the system
// can do that.
Descriptor OpenSearchedDirectoryOf(const char *name);

// Whether a name is a regular file. It cannot be told where a call fails for any
// other reason than that there is none.
enum class Presence { kAbsent, kThere, kUnknown };
Presence LookFor(const char *name);

// Gets the status of an open file; false, with the reason in errno, for any but a
// regular one.
bool IsRegularFile(const Descriptor &file, struct stat *status);

// Gets the status of the regular file that OpenRegular() would open. False, with the
// reason in errno, if there is none or it cannot be told.
bool StatRegular(const char *name, struct stat *status);

// Whether an error means that there is no file to read by the name.
bool MeansAbsent(int error);

// Writes a directory's entries to the medium. Where the file system cannot do
// that, the entries are in place all the same.
void SyncDirectory(int directory);

// Creates a directory (0700) and those it is in, as far as they are missing.
bool MakeDirectories(std::string_view path);

}  // namespace qn

#endif
