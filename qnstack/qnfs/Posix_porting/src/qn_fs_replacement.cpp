// SPDX-License-Identifier: MIT
// New content beside a file, in a temporary of its directory. A crash leaves at
// most one temporary of a file behind, which the next write of that file takes
// over: while it holds the directory, none is in use. On a medium without locks
// that cannot be known, so there each write makes a temporary of its own.
#include "qn_fs_replacement.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <utility>

#include "qn_fs_hash.h"
#include "qn_fs_unread.h"

namespace {

constexpr int kMostNames = 1000;  // of temporaries that are in use, or no temporaries
constexpr std::size_t kTemporaryBytes = 20;
constexpr int kOpenFlags = O_WRONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;

class Replacement {
 public:
  // Begins a new content for `name`.
  Replacement(const qn::LockedDirectory &directory, const char *name);
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
  void Mark();
  void TakeOver();
  bool IsLeftBehind(const struct stat &status) const;
  uint64_t MarkOf(const struct stat &status) const;

  const qn::LockedDirectory &directory_;
  const char *base_;
  char temporary_[kTemporaryBytes] = {};
  qn::Descriptor file_;
  bool in_place_ = false;
};

Replacement::Replacement(const qn::LockedDirectory &directory, const char *name)
    : directory_(directory), base_(qn::BaseOf(name)) {
  if (!qn::IsReplaceableIn(directory_.Get(), name)) return;
  for (int number = 0; number < kMostNames && OpenTemporary(number); ++number) {
    if (file_.IsOpen()) break;
  }
}

Replacement::~Replacement() {
  if (file_.IsOpen() && !in_place_) unlinkat(directory_.Get(), temporary_, 0);
}

// Opens the temporary with this number. True without one if the next should be
// tried: what has that name is in use, or no temporary at all.
bool Replacement::OpenTemporary(int number) {
  const auto seed = static_cast<uint64_t>(number) + 1;
  std::snprintf(temporary_, sizeof temporary_, ".~%016" PRIx64, qn::HashOf(base_, seed));
  file_ = qn::Descriptor(
      openat(directory_.Get(), temporary_, kOpenFlags | O_CREAT | O_EXCL, qn::kFileMode));
  if (file_.IsOpen()) {
    if (directory_.IsLocked()) Mark();
  } else if (errno == EEXIST) {
    if (directory_.IsLocked()) TakeOver();
  } else {
    return false;
  }
  return true;
}

void Replacement::Mark() {
  struct stat status = {};
  if (fstat(file_.Get(), &status) != 0) return;
  const timespec times[] = {{status.st_atim.tv_sec, static_cast<long>(MarkOf(status))},
                            {0, UTIME_OMIT}};
  static_cast<void>(futimens(file_.Get(), times));  // unmarked, it does its work too
}

// Opens a temporary that a crash left behind, and empties it. Another file of the
// name is left alone.
void Replacement::TakeOver() {
  qn::Descriptor found(openat(directory_.Get(), temporary_, kOpenFlags));
  struct stat status = {};
  if (found.IsOpen() && fstat(found.Get(), &status) == 0 && IsLeftBehind(status) &&
      ftruncate(found.Get(), 0) == 0) {
    file_ = std::move(found);
  }
}

// A crash may come before the mark; the temporary is empty then.
bool Replacement::IsLeftBehind(const struct stat &status) const {
  const bool is_private = status.st_mode == (S_IFREG | qn::kFileMode) && status.st_nlink == 1 &&
                          status.st_uid == geteuid();
  const auto mark = static_cast<uint64_t>(status.st_atim.tv_nsec);
  return is_private && (status.st_size == 0 || mark == MarkOf(status));
}

// What a temporary of this file has in the nanoseconds of its last access. It is
// made of the inode and the file's name, so no other file that came to have the
// temporary's name has it, be it one that this port has written. Whoever reads a
// temporary that was left behind may take its mark away; it then stays.
uint64_t Replacement::MarkOf(const struct stat &status) const {
  constexpr uint64_t kBelowASecond = 999999937;
  return qn::HashOf(base_, status.st_ino) % kBelowASecond;
}

bool Replacement::Commit() {
  if (!file_.IsOpen() || fsync(file_.Get()) != 0) return false;
  in_place_ = renameat(directory_.Get(), temporary_, directory_.Get(), base_) == 0;
  if (!in_place_) return false;
  qn::SyncDirectory(directory_.Get());
  return true;
}

}  // namespace

bool qn::WholeFile::ReadFrom(Descriptor file) {
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

bool qn::ReplaceContent(const LockedDirectory &directory, const char *name, std::string_view first,
                        std::string_view second) {
  if (!MayWriteIn(directory.Get(), name)) return false;
  Replacement content(directory, name);
  return content.IsOpen() && WriteWhole(content.File(), first.data(), first.size()) &&
         WriteWhole(content.File(), second.data(), second.size()) && content.Commit();
}
