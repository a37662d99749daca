// SPDX-License-Identifier: MIT
// New content beside a file, in a temporary of its directory. A crash leaves at
// most one temporary of a file behind, which the next write of that file takes
// over; a lock keeps other writers from one that is in use.
#include "qn_fs_replacement.h"

#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <utility>

#include "qn_fs_hash.h"
#include "qn_fs_unread.h"

namespace {

constexpr mode_t kFileMode = 0600;
constexpr int kMostNames = 1000;  // of temporaries that others have in use
constexpr std::size_t kTemporaryBytes = 20;
constexpr int kOpenFlags = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

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
  bool OpenTemporary(int number);
  void LockAndMark();
  void TakeOver();
  bool IsLeftBehind(const struct stat &status) const;
  uint64_t MarkOf(const struct stat &status) const;

  qn::Place place_;
  char temporary_[kTemporaryBytes] = {};
  qn::Descriptor file_;
  bool in_place_ = false;
};

bool TryLock(int fd) { return flock(fd, LOCK_EX | LOCK_NB) == 0; }

// Whether the open file still has that name.
bool IsStillNamed(const struct stat &open_file, int directory, const char *name) {
  struct stat named = {};
  return fstatat(directory, name, &named, AT_SYMLINK_NOFOLLOW) == 0 &&
         open_file.st_dev == named.st_dev && open_file.st_ino == named.st_ino;
}

Replacement::Replacement(const char *name) : place_(qn::FindPlace(name)) {
  if (!place_.IsFound() || !qn::IsReplaceable(name, &place_)) return;
  for (int number = 0; number < kMostNames && OpenTemporary(number); ++number) {
    if (file_.IsOpen()) break;
  }
}

Replacement::~Replacement() {
  if (file_.IsOpen() && !in_place_) unlinkat(place_.directory.Get(), temporary_, 0);
}

// Opens the temporary with this number. True without one if the next should be
// tried: what has that name is in use, or no temporary at all.
bool Replacement::OpenTemporary(int number) {
  const auto seed = static_cast<uint64_t>(number) + 1;
  std::snprintf(temporary_, sizeof temporary_, ".~%016" PRIx64, qn::HashOf(place_.base, seed));
  file_ = qn::Descriptor(
      openat(place_.directory.Get(), temporary_, kOpenFlags | O_CREAT | O_EXCL, kFileMode));
  if (file_.IsOpen()) {
    LockAndMark();
  } else if (errno == EEXIST) {
    TakeOver();
  } else {
    return false;
  }
  return true;
}

// Secures a temporary that was just made. One that another writer was quicker to
// take over is left to that one. A medium that refuses locks is used without, and
// without marks: a temporary that is in use is never taken over there.
void Replacement::LockAndMark() {
  struct stat status = {};
  if (!TryLock(file_.Get())) {
    if (errno == EWOULDBLOCK) file_.Close();
    return;
  }
  if (fstat(file_.Get(), &status) != 0) return;
  const timespec times[] = {{status.st_atim.tv_sec, static_cast<long>(MarkOf(status))},
                            {0, UTIME_OMIT}};
  static_cast<void>(futimens(file_.Get(), times));  // unmarked, it does its work too
}

// Opens a temporary that a crash left behind, and empties it. Another file of the
// name is left alone.
void Replacement::TakeOver() {
  const int directory = place_.directory.Get();
  qn::Descriptor found(openat(directory, temporary_, kOpenFlags));
  struct stat status = {};
  if (found.IsOpen() && fstat(found.Get(), &status) == 0 && IsLeftBehind(status) &&
      TryLock(found.Get()) && IsStillNamed(status, directory, temporary_) &&
      ftruncate(found.Get(), 0) == 0) {
    file_ = std::move(found);
  }
}

// A crash may come before the mark; the temporary is empty then.
bool Replacement::IsLeftBehind(const struct stat &status) const {
  const bool is_private =
      status.st_mode == (S_IFREG | kFileMode) && status.st_nlink == 1 && status.st_uid == geteuid();
  const auto mark = static_cast<uint64_t>(status.st_atim.tv_nsec);
  return is_private && (status.st_size == 0 || mark == MarkOf(status));
}

// What a temporary of this file has in the nanoseconds of its last access. It is
// made of the inode and the file's name, so no other file that came to have the
// temporary's name has it, be it one that this port has written. Whoever reads a
// temporary that was left behind may take its mark away; it then stays.
uint64_t Replacement::MarkOf(const struct stat &status) const {
  constexpr uint64_t kBelowASecond = 999999937;
  return qn::HashOf(place_.base, status.st_ino) % kBelowASecond;
}

bool Replacement::Commit() {
  if (!file_.IsOpen() || fsync(file_.Get()) != 0) return false;
  const int directory = place_.directory.Get();
  in_place_ = renameat(directory, temporary_, directory, place_.base) == 0;
  if (!in_place_) return false;
  // A close after a successful fsync has nothing to lose.
  file_.Close();
  qn::SyncDirectory(place_.directory);
  return true;
}

}  // namespace

bool qn::WholeFile::Read(const char *name) {
  Descriptor file = OpenRegular(name, O_RDONLY);
  struct stat status = {};
  bool read = file.IsOpen() && fstat(file.Get(), &status) == 0;
  if (read) {
    size_ = static_cast<std::size_t>(status.st_size);
    bytes_.reset(static_cast<char *>(AllocateZeroed(uint64_t{size_} + 1)));
    // The byte more shows whether the file grew meanwhile.
    read = bytes_ != nullptr &&
           ReadWhole(file.Get(), bytes_.get(), size_ + 1) == static_cast<ssize_t>(size_) &&
           file.Close();
  }
  if (!read) size_ = 0;
  return read;
}

bool qn::ReplaceContent(const char *name, std::string_view first, std::string_view second) {
  if (!MayWrite(name)) return false;
  Replacement content(name);
  return content.IsOpen() && WriteWhole(content.File(), first.data(), first.size()) &&
         WriteWhole(content.File(), second.data(), second.size()) && content.Commit();
}

void qn::SyncDirectory(const Descriptor &directory) { fsync(directory.Get()); }
