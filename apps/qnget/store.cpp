// SPDX-License-Identifier: MIT
// One qnget at a time works in a root, from reading to writing: the library keeps
// other processes out only for the length of one load or save. For that it locks
// the folder itself, so the lock here is on a file. Reading does not make it: as
// long as it is not there, nobody has written.
#include "store.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iterator>
#include <thread>

#include "failure.h"
#include "qnstack/qnstack.h"
#include "signals.h"

namespace qnget {
namespace {

constexpr mode_t kOwnerAlone = 0700;
constexpr mode_t kLockMode = 0600;
constexpr const char *kLockFile = ".qnget.lock";
constexpr std::chrono::milliseconds kBetweenTries{5};
constexpr int kMostTries = 2000;  // where no deadline is set

[[noreturn]] void Fail(const std::string &what, const std::string &root, int error) {
  throw Failure(kNotWritten, "could not " + what + " folder " + root + ": " + strerror(error));
}

// The value of a variable that holds an absolute path; empty without one.
std::string FolderIn(const char *variable) {
  const char *value = getenv(variable);
  return value != nullptr && value[0] == '/' ? value : "";
}

// qnget's folder in what the variable names, or else in that folder at home.
std::string UserFolder(const char *variable, const char *at_home) {
  const std::string named = FolderIn(variable);
  if (!named.empty()) return named + "/qnget";
  const std::string home = FolderIn("HOME");
  return home.empty() ? "" : home + at_home + "/qnget";
}

void CreateWithParents(const std::string &root) {
  for (size_t end = root.find('/', 1);; end = root.find('/', end + 1)) {
    const std::string folder = root.substr(0, end);
    // A parent that is there may lie where nothing can be made.
    const bool made = mkdir(folder.c_str(), kOwnerAlone) == 0;
    if (end == std::string::npos) {
      if (!made && errno != EEXIST) Fail("create", root, errno);
      return;
    }
  }
}

int OpenLock(int folder, Purpose purpose) {
  constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  if (purpose == Purpose::kRead) return openat(folder, kLockFile, kFlags);
  return openat(folder, kLockFile, kFlags | O_CREAT, kLockMode);
}

// Whether there need be no lock: where nobody has written, or this one cannot.
bool IsDispensable(int error) {
  constexpr int kErrors[] = {ENOENT, EACCES, EPERM, EROFS, ENOSPC, EDQUOT};
  return std::find(std::begin(kErrors), std::end(kErrors), error) != std::end(kErrors);
}

}  // namespace

Folders FoldersBelow(const std::string &root) {
  if (!root.empty()) return {root, root, ""};
  const std::string cache = UserFolder("XDG_CACHE_HOME", "/.cache");
  return {UserFolder("XDG_CONFIG_HOME", "/.config"), cache, cache};
}

Store::Opened::~Opened() {
  if (descriptor_ >= 0) close(descriptor_);
}

Store::Store(const std::string &root, Purpose purpose) : root_(root) {
  const bool create = purpose == Purpose::kWrite;
  if (root.empty() && !create) return;
  if (root.empty())
    throw Failure(kNotWritten, "there is no folder of the user; give one by --root");
  if (*fnQNFS_SetFullPath(root.c_str()) == '\0') Fail("use", root, ENAMETOOLONG);
  if (create) CreateWithParents(root);
  folder_.Set(open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!IsOpen() && !create && errno == ENOENT) return;
  if (!IsOpen()) Fail("open", root, errno);
  lock_.Set(OpenLock(folder_.Get(), purpose));
  if (lock_.Get() >= 0) {
    WaitForTurn();
  } else if (!IsDispensable(errno)) {
    Fail("lock", root, errno);
  }
}

Store::~Store() { fnQNFS_SetFullPath(nullptr); }

void Store::Use() const { fnQNFS_SetFullPath(root_.c_str()); }

// A medium that knows no locks is used without.
void Store::WaitForTurn() const {
  for (int tries = 0; flock(lock_.Get(), LOCK_EX | LOCK_NB) != 0; ++tries) {
    if (errno != EWOULDBLOCK && errno != EINTR) return;
    const std::optional<double> left = TimeLeft();
    if (left ? *left <= 0 : tries == kMostTries) {
      throw Failure(kNotWritten, "folder " + root_ + " is in use by another qnget");
    }
    std::this_thread::sleep_for(kBetweenTries);
  }
}

}  // namespace qnget
