// SPDX-License-Identifier: MIT
// New content beside a file. The temporary's name is made of the file's, so a
// crash leaves at most one behind, which the next write of that file takes
// over; a lock on it keeps two processes from writing the same one. The POSIX
// file port writes and copies whole files through it.
#include "qn_fs_replacement.h"

#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

constexpr char kSuffix[] = ".~new";  // no body file's name ends so: those are numbers
constexpr mode_t kFileMode = 0600;
constexpr int kMostTries = 100;  // while other processes put the same file in place

bool Lock(int fd) {
  int result = -1;
  do {
    result = flock(fd, LOCK_EX);
  } while (result != 0 && errno == EINTR);
  return result == 0;
}

// Whether the open file still has that name.
bool IsStillNamed(int fd, int directory, const char *name) {
  struct stat open_file = {};
  struct stat named = {};
  return fstat(fd, &open_file) == 0 && S_ISREG(open_file.st_mode) &&
         fstatat(directory, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         open_file.st_dev == named.st_dev && open_file.st_ino == named.st_ino;
}

}  // namespace

qn::Replacement::Replacement(const char *name) : place_(FindPlace(name)) {
  if (!place_.IsFound() || !IsReplaceable(name, place_) || !NameTemporary()) return;
  for (int tries = 0; tries < kMostTries && OpenTemporary(); ++tries) {
    if (IsStillNamed(file_.Get(), place_.directory.Get(), temporary_)) break;
    file_.Close();
  }
  // A crash may have left old content in it.
  if (file_.IsOpen() && ftruncate(file_.Get(), 0) != 0) file_.Close();
}

qn::Replacement::~Replacement() {
  if (file_.IsOpen() || lock_.IsOpen()) unlinkat(place_.directory.Get(), temporary_, 0);
}

bool qn::Replacement::NameTemporary() {
  const std::size_t length = std::strlen(place_.base);
  if (length + sizeof kSuffix > sizeof temporary_) return false;
  std::memcpy(temporary_, place_.base, length);
  std::memcpy(temporary_ + length, kSuffix, sizeof kSuffix);
  return true;
}

bool qn::Replacement::OpenTemporary() {
  file_ = Descriptor(openat(place_.directory.Get(), temporary_,
                            O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC,
                            kFileMode));
  if (file_.IsOpen() && !Lock(file_.Get())) file_.Close();
  return file_.IsOpen();
}

bool qn::Replacement::Commit() {
  if (!file_.IsOpen() || fsync(file_.Get()) != 0) return false;
  // Closing may report that a write failed after all. A second descriptor of the
  // same open file holds the lock until the file has its name.
  lock_ = Descriptor(fcntl(file_.Get(), F_DUPFD_CLOEXEC, 0));
  if (!lock_.IsOpen() || !file_.Close()) return false;
  const int directory = place_.directory.Get();
  if (renameat(directory, temporary_, directory, place_.base) != 0) return false;
  lock_.Close();
  SyncDirectory(place_.directory);
  return true;
}

void qn::SyncDirectory(const Descriptor &directory) { fsync(directory.Get()); }
