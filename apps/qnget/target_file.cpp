// SPDX-License-Identifier: MIT
// An unnamed file goes with its last descriptor, however the program ends. A
// link cannot take the place of a file, so where one is replaced the new one has
// a passing name for the moment between two calls.
#include "target_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "signals.h"

namespace qnget {
namespace {

constexpr mode_t kFileMode = 0666;  // less what the umask takes away
constexpr mode_t kPermissions = 0777;

mode_t CurrentUmask() {
  const mode_t mask = umask(0);
  umask(mask);
  return mask;
}

// The file behind a symbolic link, which is to stay a link.
std::string Resolved(const std::string &file) {
  std::error_code none;
  const std::filesystem::path real = std::filesystem::canonical(file, none);
  return none ? file : real.string();
}

std::string FolderOf(const std::string &file) {
  const std::string folder = std::filesystem::path(file).parent_path();
  return folder.empty() ? "." : folder;
}

// How media and kernels say that they know no unnamed files.
bool MeansNoUnnamedFiles(int error) {
  return error == EOPNOTSUPP || error == EISDIR || error == ENOENT || error == EINVAL;
}

std::string PathOfDescriptor(int descriptor) {
  return "/proc/self/fd/" + std::to_string(descriptor);
}

}  // namespace

Failure WriteFailure(const std::string &what, const std::string &name) {
  return {kNotWritten, "could not " + what + " " + name + ": " + strerror(errno)};
}

TargetFile::TargetFile(const std::string &file)
    : name_(file), target_(Resolved(file)), folder_(FolderOf(target_)) {
  NoteReplaced();
  if (!OpenUnnamed()) OpenNamed();
}

TargetFile::~TargetFile() {
  if (descriptor_ >= 0) close(descriptor_);
  if (temporary_.empty()) return;
  const SignalPause pause;
  unlink(temporary_.c_str());
  SetTemporaryFile("");
}

void TargetFile::NoteReplaced() {
  struct stat found {};
  if (stat(target_.c_str(), &found) != 0) return;
  if (faccessat(AT_FDCWD, target_.c_str(), W_OK, AT_EACCESS) != 0) {
    throw WriteFailure("write", name_);
  }
  replaced_ = found;
}

// Without /proc the file could get no name later on.
bool TargetFile::OpenUnnamed() {
  descriptor_ = open(folder_.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kFileMode);
  if (descriptor_ < 0) {
    if (MeansNoUnnamedFiles(errno)) return false;
    throw WriteFailure("create", name_);
  }
  if (access(PathOfDescriptor(descriptor_).c_str(), F_OK) == 0) return true;
  close(descriptor_);
  return false;
}

void TargetFile::OpenNamed() {
  std::string path = folder_ + "/.qnget-XXXXXX";
  const SignalPause pause;
  descriptor_ = mkostemp(path.data(), O_CLOEXEC);
  if (descriptor_ < 0) throw WriteFailure("create", name_);
  fchmod(descriptor_, kFileMode & ~CurrentUmask());  // some media have no modes to change
  temporary_ = path;
  SetTemporaryFile(path);
}

void TargetFile::Commit() {
  TakeOverOwnerAndMode();
  if (fsync(descriptor_) != 0) throw WriteFailure("write", name_);
  PutInPlace();
  SyncFolder();
}

// Not everybody may give files away, and some media know neither owners nor modes.
void TargetFile::TakeOverOwnerAndMode() const {
  if (!replaced_) return;
  if (fchown(descriptor_, replaced_->st_uid, replaced_->st_gid) != 0) {
    const int ignored = fchown(descriptor_, static_cast<uid_t>(-1), replaced_->st_gid);
    (void)ignored;
  }
  fchmod(descriptor_, replaced_->st_mode & kPermissions);
}

void TargetFile::PutInPlace() {
  const SignalPause pause;
  if (temporary_.empty()) {
    if (!replaced_ && LinkTo(target_)) return;
    LinkBeside();
  }
  if (rename(temporary_.c_str(), target_.c_str()) != 0) throw WriteFailure("create", name_);
  temporary_.clear();
  SetTemporaryFile("");
}

// False where the path is taken.
bool TargetFile::LinkTo(const std::string &path) const {
  const std::string unnamed = PathOfDescriptor(descriptor_);
  if (linkat(AT_FDCWD, unnamed.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0) {
    return true;
  }
  if (errno != EEXIST) throw WriteFailure("create", name_);
  return false;
}

void TargetFile::LinkBeside() {
  const std::string stem = folder_ + "/.qnget-" + std::to_string(getpid()) + "-";
  std::string path = stem + "0";
  for (int i = 1; !LinkTo(path); ++i) path = stem + std::to_string(i);
  temporary_ = path;
  SetTemporaryFile(path);
}

// A folder that may be written need not be one that may be read, and not every
// medium has anything to do here.
void TargetFile::SyncFolder() const {
  const int folder = open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder < 0) return;
  const bool synced = fsync(folder) == 0 || errno == EINVAL;
  const int problem = errno;
  close(folder);
  errno = problem;
  if (!synced) throw WriteFailure("write", name_);
}

}  // namespace qnget
