// SPDX-License-Identifier: MIT
// The lock is on the descriptor of the directory, so it ends with the process that
// has it. All that is done inside needs one more descriptor at most;
// only what follows a symbolic link needs two, as that begins at the root.
#include "qn_fs_directory.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>

#include "qn_fs_lock.h"
#include "qn_fs_unread.h"

namespace {

constexpr std::string_view kBackupSuffix = ".bak";
constexpr std::size_t kShortestWithBackup = 3;

// The name of a file's backup, without the heap, whose refusal would hide it.
// Empty for a name that has none.
class BackupName {
 public:
  explicit BackupName(std::string_view name) {
    if (name.size() < kShortestWithBackup || name.size() >= QNFS_PATH_BYTES) return;
    std::memcpy(text_.data(), name.data(), name.size());
    std::memcpy(text_.data() + name.size(), kBackupSuffix.data(), kBackupSuffix.size());
  }
  const char *Text() const { return text_.data(); }

 private:
  std::array<char, QNFS_PATH_BYTES + kBackupSuffix.size()> text_ = {};
};

// Whether an error of a lock means that there can be no lock: the medium has
// none, or the directory may only be searched.
bool MeansNoLocks(int error) {
  constexpr int kErrors[] = {ENOLCK, ENOSYS, EOPNOTSUPP, EBADF};
  return std::find(std::begin(kErrors), std::end(kErrors), error) != std::end(kErrors);
}

bool StatIn(int directory, const char *name, struct stat *status) {
  return fstatat(directory, qn::BaseOf(name), status, AT_SYMLINK_NOFOLLOW) == 0;
}

}  // namespace

qn::LockedDirectory::LockedDirectory(Descriptor directory) : directory_(std::move(directory)) {
  if (!IsOpen()) return;
  locked_ = LockDirectory(Get());
  if (!locked_ && !MeansNoLocks(errno)) directory_ = Descriptor();
}

// Closing alone would leave the lock to a process that was forked meanwhile.
qn::LockedDirectory::~LockedDirectory() {
  if (locked_) UnlockDirectory(Get());
}

int qn::LockedDirectory::Release() {
  locked_ = false;
  return directory_.Release();
}

qn::Descriptor qn::OpenRegularIn(int directory, const char *name, int flags) {
  constexpr int kFlags = kRegularFlags | O_NOFOLLOW | O_CLOEXEC;
  Descriptor file(openat(directory, BaseOf(name), flags | kFlags));
  if (!file.IsOpen() && errno == ELOOP) return OpenRegular(name, flags);
  struct stat status = {};
  return file.IsOpen() && IsRegularFile(file, &status) ? std::move(file) : Descriptor();
}

qn::Descriptor qn::CreateRegularIn(int directory, const char *name, int flags) {
  constexpr int kFlags = kRegularFlags | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC;
  return Descriptor(openat(directory, BaseOf(name), flags | kFlags, kFileMode));
}

qn::Presence qn::LookForIn(int directory, const char *name) {
  struct stat status = {};
  if (!StatIn(directory, name, &status)) {
    return MeansAbsent(errno) ? Presence::kAbsent : Presence::kUnknown;
  }
  if (S_ISLNK(status.st_mode)) return LookFor(name);
  return S_ISREG(status.st_mode) ? Presence::kThere : Presence::kAbsent;
}

bool qn::IsReplaceableIn(int directory, const char *name) {
  struct stat status = {};
  if (!StatIn(directory, name, &status)) return errno == ENOENT;
  if (S_ISLNK(status.st_mode)) return LookFor(name) == Presence::kThere;
  return S_ISREG(status.st_mode);
}

bool qn::RestoreBackupIn(int directory, const char *name) {
  const BackupName backup(name);
  const Presence presence = LookForIn(directory, backup.Text());
  if (presence != Presence::kThere) return presence == Presence::kAbsent;
  if (!IsReplaceableIn(directory, name) ||
      renameat(directory, BaseOf(backup.Text()), directory, BaseOf(name)) != 0) {
    return false;
  }
  RenameUnread(name, backup.Text());
  return true;
}
