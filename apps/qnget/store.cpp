// The lock is on the root itself, so that reading leaves nothing behind. The
// library's own protection is against crashes, not against a second writer.
#include "store.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "failure.h"
#include "qnstack/qnstack.h"
#include "signals.h"

namespace qnget {
namespace {

constexpr mode_t kOwnerAlone = 0700;
constexpr double kBetweenTries = 0.005;  // seconds
constexpr int kMostTries = 2000;

[[noreturn]] void Fail(const std::string &what, const std::string &root, int error) {
  throw Failure(kNotWritten, "could not " + what + " folder " + root + ": " + strerror(error));
}

// The value of a variable that holds an absolute path; empty without one.
std::string FolderIn(const char *variable) {
  const char *value = getenv(variable);
  return value != nullptr && value[0] == '/' ? value : "";
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

std::string RootFolder(const std::string &given) {
  if (!given.empty()) return given;
  const std::string caches = FolderIn("XDG_CACHE_HOME");
  if (!caches.empty()) return caches + "/qnget";
  const std::string home = FolderIn("HOME");
  return home.empty() ? "" : home + "/.cache/qnget";
}

Store::Store(const std::string &root, IfMissing missing) {
  const bool create = missing == IfMissing::kCreate;
  if (root.empty() && !create) return;
  if (root.empty())
    throw Failure(kNotWritten, "there is no folder of the user; give one by --root");
  if (*fnQNFS_SetFullPath(root.c_str()) == '\0') Fail("use", root, ENAMETOOLONG);
  if (create) CreateWithParents(root);
  descriptor_ = open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor_ < 0 && !create && errno == ENOENT) return;
  if (descriptor_ < 0) Fail("open", root, errno);
  WaitForTurn(root);
}

Store::~Store() {
  if (descriptor_ >= 0) close(descriptor_);
  fnQNFS_SetFullPath(nullptr);
}

// A medium that knows no locks is used without.
void Store::WaitForTurn(const std::string &root) const {
  for (int tries = 0; flock(descriptor_, LOCK_EX | LOCK_NB) != 0; ++tries) {
    if (errno != EWOULDBLOCK && errno != EINTR) return;
    if (tries == kMostTries) {
      close(descriptor_);
      throw Failure(kNotWritten, "folder " + root + " is in use by another qnget");
    }
    PauseFor(kBetweenTries, "waiting for another qnget");
  }
}

}  // namespace qnget
