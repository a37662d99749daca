// SPDX-License-Identifier: MIT
// The lock is on the root itself, so that reading leaves nothing behind. The
// library's own protection is against crashes, not against a second writer.
#include "store.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "failure.h"
#include "qnstack/qnstack.h"
#include "signals.h"

namespace qnget {
namespace {

constexpr mode_t kOwnerAlone = 0700;
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

}  // namespace

Folders FoldersBelow(const std::string &root) {
  if (!root.empty()) return {root, root, ""};
  const std::string cache = UserFolder("XDG_CACHE_HOME", "/.cache");
  return {UserFolder("XDG_CONFIG_HOME", "/.config"), cache, cache};
}

Store::Store(const std::string &root, IfMissing missing) : root_(root) {
  const bool create = missing == IfMissing::kCreate;
  if (root.empty() && !create) return;
  if (root.empty())
    throw Failure(kNotWritten, "there is no folder of the user; give one by --root");
  if (*fnQNFS_SetFullPath(root.c_str()) == '\0') Fail("use", root, ENAMETOOLONG);
  if (create) CreateWithParents(root);
  descriptor_ = open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor_ < 0 && !create && errno == ENOENT) return;
  if (descriptor_ < 0) Fail("open", root, errno);
  WaitForTurn();
}

Store::~Store() {
  if (descriptor_ >= 0) close(descriptor_);
  fnQNFS_SetFullPath(nullptr);
}

void Store::Use() const { fnQNFS_SetFullPath(root_.c_str()); }

// A medium that knows no locks is used without.
void Store::WaitForTurn() const {
  for (int tries = 0; flock(descriptor_, LOCK_EX | LOCK_NB) != 0; ++tries) {
    if (errno != EWOULDBLOCK && errno != EINTR) return;
    const std::optional<double> left = TimeLeft();
    if (left ? *left <= 0 : tries == kMostTries) {
      close(descriptor_);
      throw Failure(kNotWritten, "folder " + root_ + " is in use by another qnget");
    }
    std::this_thread::sleep_for(kBetweenTries);
  }
}

}  // namespace qnget
