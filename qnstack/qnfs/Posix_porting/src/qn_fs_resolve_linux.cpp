// SPDX-License-Identifier: MIT
// Names below a directory on Linux: the kernel resolves them, and follows symbolic
// links that stay below it. Where it cannot, the names are walked.
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

#include "qn_fs_resolve.h"
#include "qn_fs_walk.h"

const int qn::kSearchFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

namespace {

constexpr int kMostTries = 16;  // where the kernel says that a rename came between

int OpenResolved(const qn::Descriptor &directory, const char *name, int flags) {
  open_how how = {};
  how.flags = static_cast<unsigned>(flags | O_CLOEXEC);
  how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS;
  long fd = -1;
  for (int tries = 0; tries < kMostTries; ++tries) {
    fd = syscall(SYS_openat2, directory.Get(), name, &how, sizeof how);
    if (fd >= 0 || (errno != EAGAIN && errno != EINTR)) break;
  }
  return static_cast<int>(fd);
}

// ENOSYS comes from a kernel without openat2(), EPERM from a sandbox that forbids it.
bool MeansNoResolving(int error) { return error == ENOSYS || error == EPERM; }

}  // namespace

qn::Descriptor qn::OpenBelow(Descriptor directory, const char *name, int flags) {
  Descriptor found(OpenResolved(directory, name, flags));
  if (found.IsOpen() || !MeansNoResolving(errno)) return found;
  return OpenWalked(std::move(directory), name, flags);
}

bool qn::StatBelow(Descriptor directory, const char *name, struct stat *status) {
  const Descriptor found(OpenResolved(directory, name, O_PATH));
  if (found.IsOpen()) return fstat(found.Get(), status) == 0;
  return MeansNoResolving(errno) && StatWalked(std::move(directory), name, status);
}
